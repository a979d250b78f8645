// Texts of paths: what each function takes from which path.

#include "kvtfile/FileUtil.h"
#include "tests/support/support.h"

namespace {

using kvttest::Utf8;

std::string LocalComputer() {
    WCHAR name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    EXPECT_TRUE(::GetComputerNameW(name, &length));
    return Utf8(name);
}

TEST(PathUtil, ExtensionNameAndFolderAreThoseOfThePathSplitter) {
    const struct {
        LPCWSTR path;
        const char* folder;
        const char* name;
        const char* extension;
    } rows[] = {
        {_T("C:\\a\\b.txt"), "C:\\a\\", "b.txt", ".txt"},
        {_T("C:b.txt"), "C:", "b.txt", ".txt"},
        {_T("\\\\srv\\share\\d\\f.e"), "\\\\srv\\share\\d\\", "f.e", ".e"},
        {_T("\\\\srv\\share"), "\\\\srv\\", "share", ""},
        {_T("a/b.c/d"), "a/b.c/", "d", ""},
        {_T("C:\\a/b\\c/d.e"), "C:\\a/b\\c/", "d.e", ".e"},
        {_T("C:\\a\\b\\"), "C:\\a\\b\\", "", ""},
        {_T("C:\\d.x\\"), "C:\\d.x\\", "", ""},
        {_T(".htaccess"), "", ".htaccess", ".htaccess"},
        {_T("a."), "", "a.", "."},
        {_T(".."), "", "..", "."},
        {_T("a.b.c"), "", "a.b.c", ".c"},
        {_T("C:"), "C:", "", ""},
        {_T("C:\\"), "C:\\", "", ""},
        {_T("CC:\\x"), "CC:\\", "x", ""},
        {_T("a:b:c"), "a:", "b:c", ""},
        {_T("\\\\?\\C:\\x\\y.z"), "\\\\?\\C:\\x\\", "y.z", ".z"},
        {_T("D:\\图\\中文.图"), "D:\\图\\", "中文.图", ".图"},
        {_T("x"), "", "x", ""},
        {_T(""), "", "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.path));
        EXPECT_EQ(Utf8(kvtfile::GetFilePath(row.path)), row.folder);
        EXPECT_EQ(Utf8(kvtfile::GetFileName(row.path)), row.name);
        EXPECT_EQ(Utf8(kvtfile::GetFileExt(row.path)), row.extension);
    }
}

TEST(PathUtil, LongPartsComeOutWhole) {
    const CString folder = _T("C:\\") + CString(_T('f'), 4000) + _T("\\");
    const CString name(_T('n'), 4000);
    const CString extension = _T(".") + CString(_T('e'), 4000);
    EXPECT_EQ(kvtfile::GetFilePath(folder + name + extension), folder);
    EXPECT_EQ(kvtfile::GetFileName(folder + name + extension), name + extension);
    EXPECT_EQ(kvtfile::GetFileExt(folder + name + extension), extension);
}

TEST(PathUtil, FnameIsTheTextBehindTheLastBackslash) {
    const struct {
        LPCWSTR path;
        const char* name;
    } rows[] = {
        {_T("C:\\a\\b.txt"), "b.txt"},
        {_T("b.txt"), "b.txt"},
        {_T("a/b.txt"), "a/b.txt"},
        {_T("C:\\a/b"), "a/b"},
        {_T("C:\\a\\"), ""},
        {_T("C:b"), "C:b"},
        {_T(""), ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Utf8(kvtfile::GetFnameFromFullFileName(row.path)), row.name) << Utf8(row.path);
    }
}

TEST(PathUtil, FnameWithFolderTakesASlashOnlyWhereThereIsNoBackslash) {
    const struct {
        LPCWSTR path;
        const char* name;
        const char* folder;
    } rows[] = {
        {_T("C:\\a\\b.txt"), "b.txt", "C:\\a\\"},
        {_T("a/b/c.txt"), "c.txt", "a/b/"},
        {_T("C:\\a/b"), "a/b", "C:\\"},
        {_T("a/b\\c"), "c", "a/b\\"},
        {_T("c.txt"), "c.txt", ""},
        {_T("C:\\a\\"), "", "C:\\a\\"},
        {_T("a/"), "", "a/"},
        {_T(""), "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Utf8(row.path));
        CString folder = _T("before");
        EXPECT_EQ(Utf8(kvtfile::GetFnameFromFullFileName(row.path, folder)), row.name);
        EXPECT_EQ(Utf8(folder), row.folder);
    }
}

TEST(PathUtil, FnameWithFolderMayTakeItsResultFromItsArgument) {
    CString path = _T("C:\\a\\b.txt");
    EXPECT_EQ(kvtfile::GetFnameFromFullFileName(path, path), _T("b.txt"));
    EXPECT_EQ(path, _T("C:\\a\\"));
}

TEST(PathUtil, FnameWithoutExtensionEndsBeforeTheLastDotWhereverItStands) {
    const struct {
        LPCWSTR path;
        const char* text;
    } rows[] = {
        {_T("C:\\a\\b.txt"), "C:\\a\\b"},
        {_T("C:\\a.b\\c"), "C:\\a"},
        {_T("a.b.c"), "a.b"},
        {_T("C:\\a\\b"), ""},
        {_T(".rc"), ""},
        {_T("a."), "a"},
        {_T(""), ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Utf8(kvtfile::GetFnameWithoutExt(row.path)), row.text) << Utf8(row.path);
    }
}

TEST(PathUtil, UpPathIsTheParentWithItsSeparator) {
    const struct {
        LPCWSTR path;
        const char* parent;
    } rows[] = {
        {_T("C:\\a\\b\\"), "C:\\a\\"},
        {_T("C:\\a\\b"), "C:\\a\\"},
        {_T("C:\\a\\\\\\"), "C:\\"},
        {_T("C:\\a/b//"), "C:\\a/"},
        {_T("C:\\a//\\\\"), "C:\\"},
        {_T("C:\\"), "C:"},
        {_T("C:\\a\\/"), "C:\\a\\"},
        {_T("a"), ""},
        {_T("/a/b/"), "/a/"},
        {_T("\\"), ""},
        {_T(""), ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Utf8(kvtfile::GetUpPath(row.path)), row.parent) << Utf8(row.path);
    }
}

TEST(PathUtil, ComputerNameIsTakenFromANetworkPath) {
    const std::string local = LocalComputer();
    const struct {
        LPCWSTR path;
        std::string name;
    } rows[] = {
        {_T("\\\\srv\\share\\f"), "srv"},
        {_T("\\\\srv"), "srv"},
        {_T("\\\\\\\\srv\\x"), "srv"},
        {_T("\\\\中文\\x"), "中文"},
        {_T("\\\\"), local},
        {_T("\\\\\\"), local},
        {_T("\\srv\\x"), local},
        {_T("C:\\a"), local},
        {_T("//srv/x"), local},
        {_T(""), local},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Utf8(kvtfile::GetComputerNameFromPath(row.path)), row.name) << Utf8(row.path);
    }
    EXPECT_NE(local, "");
}

}  // namespace
