// Reads the environment: the prefix, the user's name and the language's code pages.
//
// The result is plain memory without a destructor, so that calls made while the process ends still find it.

#include "environment.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>

namespace {

struct LanguageRow {
    std::string_view locale;  // a language, or a language and a country
    kvtwin::CodePages pages;

    bool Begins(std::string_view name) const {
        return name.starts_with(locale) &&
               (name.size() == locale.size() ||
                std::string_view("_.@").find(name[locale.size()]) != std::string_view::npos);
    }
};

// The first row that begins the locale's name holds.
constexpr LanguageRow kLanguages[] = {
    {"zh_TW", {950, 950}},  {"zh_HK", {950, 950}},  {"zh_MO", {950, 950}},  {"zh", {936, 936}},
    {"ja", {932, 932}},     {"ko", {949, 949}},     {"th", {874, 874}},     {"vi", {1258, 1258}},
    {"ru", {1251, 866}},    {"uk", {1251, 866}},    {"be", {1251, 866}},    {"bg", {1251, 866}},
    {"mk", {1251, 866}},    {"pl", {1250, 852}},    {"cs", {1250, 852}},    {"sk", {1250, 852}},
    {"hu", {1250, 852}},    {"ro", {1250, 852}},    {"hr", {1250, 852}},    {"sl", {1250, 852}},
    {"sq", {1250, 852}},    {"sr", {1251, 855}},    {"el", {1253, 737}},    {"tr", {1254, 857}},
    {"az", {1254, 857}},    {"he", {1255, 862}},    {"ar", {1256, 720}},    {"fa", {1256, 720}},
    {"ur", {1256, 720}},    {"et", {1257, 775}},    {"lv", {1257, 775}},    {"lt", {1257, 775}},
    {"en_GB", {1252, 850}}, {"en_AU", {1252, 850}}, {"en_NZ", {1252, 850}}, {"en_IE", {1252, 850}},
    {"de", {1252, 850}},    {"fr", {1252, 850}},    {"es", {1252, 850}},    {"it", {1252, 850}},
    {"pt", {1252, 850}},    {"nl", {1252, 850}},    {"sv", {1252, 850}},    {"da", {1252, 850}},
    {"nb", {1252, 850}},    {"nn", {1252, 850}},    {"fi", {1252, 850}},    {"is", {1252, 850}},
    {"ca", {1252, 850}},
};

std::string_view Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// A home folder or a user's name from the user database, for processes without the variables.
struct User {
    std::string name;
    std::string home;
};

User CurrentUser() {
    User user;
    char buffer[16384];
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer, sizeof buffer, &found) == 0 && found) {
        user.name = found->pw_name ? found->pw_name : "";
        user.home = found->pw_dir ? found->pw_dir : "";
    }
    if (const std::string_view home = Variable("HOME"); !home.empty()) {
        user.home = home;
    }
    if (user.name.empty() || user.name.find('/') != std::string::npos) {
        user.name = "user";
    }
    return user;
}

void CutSeparators(std::string& path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
}

std::string DataFolder(const std::string& home) {
    std::string data;
    if (const std::string_view own = Variable("XDG_DATA_HOME"); own.starts_with('/')) {
        data = own;
    } else if (home.starts_with('/')) {
        data = home + "/.local/share";
    }
    CutSeparators(data);
    return data;
}

std::string Prefix(const std::string& data) {
    std::string prefix;
    if (const std::string_view own = Variable("KVTFILE_PREFIX"); !own.empty()) {
        prefix = own;
    } else if (!data.empty()) {
        prefix = data + "/kvtfile";
    } else {
        return {};
    }
    if (!prefix.starts_with('/')) {
        char current[PATH_MAX];
        if (!getcwd(current, sizeof current)) {
            return {};
        }
        prefix = std::string(current) + '/' + prefix;
    }
    CutSeparators(prefix);
    return prefix;
}

kvtwin::CodePages PagesOfLanguage() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        if (const std::string_view locale = Variable(name); !locale.empty()) {
            return kvtwin::PagesOf(locale);
        }
    }
    return kvtwin::PagesOf({});
}

constinit std::once_flag g_once;
constinit kvtwin::Environment g_environment{};

void ReadEnvironment() {
    const User user = CurrentUser();
    std::snprintf(g_environment.user, sizeof g_environment.user, "%s", user.name.c_str());
    const std::string data = DataFolder(user.home);
    const std::string prefix = Prefix(data);
    if (data.size() < sizeof g_environment.data - 256) {
        std::snprintf(g_environment.data, sizeof g_environment.data, "%s", data.c_str());
    }
    // Room is kept for a drive and a name: a longer prefix could hold no file.
    if (prefix.size() < sizeof g_environment.prefix - 256) {
        std::snprintf(g_environment.prefix, sizeof g_environment.prefix, "%s", prefix.c_str());
    }
    g_environment.pages = PagesOfLanguage();
}

}  // namespace

kvtwin::CodePages kvtwin::PagesOf(std::string_view locale) {
    for (const LanguageRow& row : kLanguages) {
        if (row.Begins(locale)) {
            return row.pages;
        }
    }
    return {1252, 437};
}

const kvtwin::Environment& kvtwin::Env() {
    std::call_once(g_once, ReadEnvironment);
    return g_environment;
}
