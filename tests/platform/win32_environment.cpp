// What the library takes from the process's environment.

#include "platform/win32/environment.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Pages(std::string_view locale) {
    const kvtwin::CodePages pages = kvtwin::PagesOf(locale);
    return std::to_string(pages.ansi) + " " + std::to_string(pages.oem);
}

TEST(Environment, CodePagesFollowTheLanguage) {
    EXPECT_EQ(Pages("zh_CN.UTF-8"), "936 936");
    EXPECT_EQ(Pages("zh_TW.UTF-8"), "950 950");
    EXPECT_EQ(Pages("zh_TW"), "950 950");
    EXPECT_EQ(Pages("zh"), "936 936");
    EXPECT_EQ(Pages("ja_JP.eucJP"), "932 932");
    EXPECT_EQ(Pages("ru.UTF-8"), "1251 866");
    EXPECT_EQ(Pages("de@euro"), "1252 850");
    EXPECT_EQ(Pages("en_US.UTF-8"), "1252 437");
    EXPECT_EQ(Pages("en_GB"), "1252 850");
}

TEST(Environment, CodePagesOfNoLanguageAreThoseOfAmericanEnglish) {
    for (const std::string_view locale : {"", "C", "POSIX", "C.UTF-8", "z", "en", "zha_CN", "xx_YY", "_", "."}) {
        EXPECT_EQ(Pages(locale), "1252 437") << locale;
    }
}

}  // namespace
