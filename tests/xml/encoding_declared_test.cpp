// The encoding that a text declares for itself, in XML and in HTML, and hostile texts.

#include <string>

#include "kvtfile/XmlFile.h"
#include "tests/support/support.h"

namespace {

std::string Declared(const std::string& text) {
    return kvttest::Utf8(kvtfile::CFXmlFile::GetDeclaredEncoding(kvttest::Wide(text)));
}

std::string InHead(const std::string& elements) {
    return "<html><head>" + elements + "</head><body/></html>";
}

TEST(DeclaredEncoding, XmlDeclarationNamesIt) {
    EXPECT_EQ(Declared("<?xml version=\"1.0\" encoding=\"gb2312\"?><r/>"), "gb2312");
    EXPECT_EQ(Declared("<?xml version='1.0' encoding='ISO-8859-1'?><r/>"), "ISO-8859-1");
    EXPECT_EQ(Declared("<?xml encoding = \"GBK\" version=\"1.0\" standalone='yes' ?>"), "GBK");
}

TEST(DeclaredEncoding, XmlDeclarationWithoutEncodingNamesNone) {
    EXPECT_EQ(Declared("<?xml version=\"1.0\"?><r encoding=\"gbk\"/>"), "");
    EXPECT_EQ(
        Declared("<?xml version=\"1.0\"?>" + InHead("<meta http-equiv=\"Content-Type\" content=\"charset=gbk\">")), "");
    EXPECT_EQ(Declared("<?xml version=\"1.0\" encoding=\"\"?><r/>"), "");
}

TEST(DeclaredEncoding, OnlyTheDeclarationAtTheStartCounts) {
    EXPECT_EQ(Declared(" <?xml version=\"1.0\" encoding=\"gbk\"?><r/>"), "");
    EXPECT_EQ(Declared("<!-- c --><?xml version=\"1.0\" encoding=\"gbk\"?><r/>"), "");
    EXPECT_EQ(Declared("<?other encoding=\"gbk\"?><r/>"), "");
    EXPECT_EQ(Declared("<?xmlish encoding=\"gbk\"?><r/>"), "");
}

TEST(DeclaredEncoding, AnUnfinishedDeclarationNamesNone) {
    EXPECT_EQ(Declared("<?xml version=\"1.0\" encoding=\"gb"), "");
    EXPECT_EQ(Declared("<?xml"), "");
    EXPECT_EQ(Declared("<?"), "");
    EXPECT_EQ(Declared("<"), "");
}

TEST(DeclaredEncoding, AttributesBehindTheDeclarationDoNotCount) {
    EXPECT_EQ(Declared("<?xml version=x\"y \"?> \" encoding='gbk' ?>"), "");
    EXPECT_EQ(Declared(InHead("<meta http-equiv=x\"y \"z> \" http-equiv='Content-Type' content='charset=gbk'>")), "");
}

TEST(DeclaredEncoding, HtmlMetaElementNamesIt) {
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">")), "gb2312");
    EXPECT_EQ(Declared("<!DOCTYPE html>\r\n<!-- c -->\r\n<HTML lang='zh'>\r\n<HEAD><TITLE>x</TITLE>"
                       "<META HTTP-EQUIV='content-type' CONTENT='text/html; CHARSET = Big5 ; x'></HEAD>"),
              "Big5");
    EXPECT_EQ(Declared(InHead("<meta name=\"k\" content=\"charset=no\"/>"
                              "<meta content=\"charset='utf-8'\" http-equiv=\"Content-Type\"/>")),
              "utf-8");
}

TEST(DeclaredEncoding, MetaElementsWithoutItNameNone) {
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Refresh\" content=\"text/html; charset=gb2312\">")), "");
    EXPECT_EQ(Declared(InHead("<meta content=\"text/html; charset=gb2312\">")), "");
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Content-Type\" content=\"text/html\">")), "");
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Content-Type\" content=\"text/html; charset\">")), "");
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Content-Type\" content=\"charset=\">")), "");
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Content-Type\">")), "");
}

TEST(DeclaredEncoding, MetaElementsCountInsideTheHeadOfHtmlOnly) {
    const std::string meta = "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">";
    EXPECT_EQ(Declared("<html>" + meta + "</html>"), "");
    EXPECT_EQ(Declared("<html><head></head>" + meta + "</html>"), "");
    EXPECT_EQ(Declared("<html><head><body>" + meta + "</html>"), "");
    EXPECT_EQ(Declared("<head>" + meta + "</head>"), "");
    EXPECT_EQ(Declared("<r><head>" + meta + "</head></r>"), "");
    EXPECT_EQ(Declared(meta), "");
}

TEST(DeclaredEncoding, OtherTextsNameNone) {
    EXPECT_EQ(Declared(""), "");
    EXPECT_EQ(Declared("encoding=\"gbk\""), "");
    EXPECT_EQ(Declared("<r encoding=\"gbk\"/>"), "");
    EXPECT_EQ(kvtfile::CFXmlFile::GetDeclaredEncoding(static_cast<LPCWSTR>(nullptr)), CString());
}

TEST(DeclaredEncoding, ASecondCharsetCountsWhenTheFirstHasNoValue) {
    EXPECT_EQ(Declared(InHead("<meta http-equiv=\"Content-Type\" content=\"charset; charset=gbk\">")), "gbk");
}

TEST(DeclaredEncoding, HostileTextsAreReadInLinearTime) {
    // A scan that began again at each of these would take hours.
    const struct {
        const char* start;
        const char* part;
    } rows[] = {{"", "<!--"},
                {"", "<!"},
                {"", "</"},
                {"", "<? "},
                {"<html><head>", "<meta "},
                {"<html><head>", "<a b='c' \""},
                {"<html>", "text "},
                {"<html><head>", "</x>"},
                {"<html><head><meta http-equiv='Content-Type' content='", "charset "}};
    for (const auto& row : rows) {
        std::string text = row.start;
        while (text.size() < 4000000) {
            text += row.part;
        }
        EXPECT_EQ(Declared(text), "") << row.part;
    }
}

}  // namespace
