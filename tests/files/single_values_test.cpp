// Single values of INI files and of the registry's file classes.

#include "kvtfile/FileUtil.h"
#include "tests/support/registry.h"
#include "tests/support/support.h"

namespace {

using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

TEST(IniKey, ValuesAreReadWithADefault) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[Window]\r\nWidth=800\r\nFlag\r\n[\xD3\xEF]\r\nk=\xD6\xD0\r\n");
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, _T("Window"), _T("Width"), _T("1")), _T("800"));
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, _T("WINDOW"), _T("width"), _T("1")), _T("800"));
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, _T("语"), _T("k"), _T("1")), _T("中"));
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, _T("Window"), _T("Flag"), _T("none")), _T("none")) << "an empty value";
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, _T("Window"), _T("Height"), _T("none")), _T("none"));
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, _T("No"), _T("Width"), _T("none")), _T("none"));
    EXPECT_EQ(kvtfile::GetIniKeyValue(folder.Path(_T("no.ini")), _T("a"), _T("b"), _T("none")), _T("none"));
    EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(IniKey, NullTextsAreEmptyOnes) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "k=v\r\n");
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, nullptr, _T("k"), nullptr), _T("v"));
    EXPECT_EQ(kvtfile::GetIniKeyValue(path, nullptr, nullptr, nullptr), _T(""));
    EXPECT_EQ(kvtfile::GetIniKeyValue(nullptr, _T("a"), _T("b"), _T("none")), _T("none"));
    EXPECT_EQ(kvtfile::SetIniKeyValue(nullptr, _T("a"), _T("b"), _T("c")), 0);
    EXPECT_FALSE(kvtfile::DelIniKey(nullptr, _T("a"), _T("b")));
}

TEST(IniKey, SettingSavesAtOnce) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    EXPECT_EQ(kvtfile::SetIniKeyValue(path, _T("Window"), _T("Width"), _T("800")), 1);
    EXPECT_EQ(ReadBytes(path), "[Window]\r\nWidth=800\r\n\r\n");
    EXPECT_EQ(kvtfile::SetIniKeyValue(path, _T("Window"), _T("Width"), _T("1024")), 1);
    EXPECT_EQ(kvtfile::SetIniKeyValue(path, _T("语"), _T("k"), _T("中")), 1);
    EXPECT_EQ(ReadBytes(path), "[Window]\r\nWidth=1024\r\n\r\n[\xD3\xEF]\r\nk=\xD6\xD0\r\n\r\n");
}

TEST(IniKey, DeletingSavesAtOnce) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[A]\r\nk=v\r\nx=y\r\n\r\n");
    EXPECT_TRUE(kvtfile::DelIniKey(path, _T("a"), _T("K")));
    EXPECT_EQ(ReadBytes(path), "[A]\r\nx=y\r\n\r\n");
    EXPECT_FALSE(kvtfile::DelIniKey(path, _T("A"), _T("k")));
    EXPECT_FALSE(kvtfile::DelIniKey(path, _T("B"), _T("x")));
    EXPECT_EQ(ReadBytes(path), "[A]\r\nx=y\r\n\r\n");
    EXPECT_FALSE(kvtfile::DelIniKey(folder.Path(_T("no.ini")), _T("A"), _T("k")));
    EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(IniKey, WhatCannotBeSavedIsTold) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[A]\r\nk=v\r\n");
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(kvtfile::SetIniKeyValue(path, _T("A"), _T("k"), _T("w")), 0);
    EXPECT_FALSE(kvtfile::DelIniKey(path, _T("A"), _T("k")));
    EXPECT_EQ(ReadBytes(path), "[A]\r\nk=v\r\n");
    EXPECT_EQ(kvtfile::SetIniKeyValue(folder.Path(_T("no\\a.ini")), _T("A"), _T("k"), _T("w")), 0);
}

TEST(TypeRegInfo, TheUnnamedValueComesWithoutWhiteSpaceAtItsEnd) {
    const CString key = _T("Software\\Classes\\.kvttest");
    kvttest::PutText(HKEY_LOCAL_MACHINE, key, _T(""), _T(" Some.Class \t\r\n"));
    EXPECT_EQ(kvtfile::GetTypeRegInfo(_T(".kvttest")), _T(" Some.Class"));
    kvttest::PutText(HKEY_LOCAL_MACHINE, key + _T("\\DefaultIcon"), _T(""), _T("C:\\a.dll,3"));
    EXPECT_EQ(kvtfile::GetTypeRegInfo(_T(".kvttest\\DefaultIcon")), _T("C:\\a.dll,3"));
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, key);
    EXPECT_EQ(kvtfile::GetTypeRegInfo(_T(".kvttest")), _T(""));
    kvttest::PutKey(HKEY_LOCAL_MACHINE, key);
    EXPECT_EQ(kvtfile::GetTypeRegInfo(_T(".kvttest")), _T("")) << "a key without a value";
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, key);
}

}  // namespace
