// ExpandEnvironmentStringsW: the variables that Windows sets for every process.

#include <string>

#include "tests/support/support.h"

namespace {

CString Expanded(LPCWSTR text) {
    WCHAR buffer[512];
    const DWORD size = ::ExpandEnvironmentStringsW(text, buffer, 512);
    EXPECT_GT(size, 0u);
    const CString result = buffer;
    EXPECT_EQ(size, static_cast<DWORD>(result.GetLength() + 1));
    return result;
}

TEST(Win32Variables, SystemFoldersAreKnownWithoutRegardToCase) {
    EXPECT_EQ(Expanded(_T("%SystemRoot%\\system32\\shell32.dll")), _T("C:\\windows\\system32\\shell32.dll"));
    EXPECT_EQ(Expanded(_T("\"%systemroot%\",%WINDIR%")), _T("\"C:\\windows\",C:\\windows"));
    EXPECT_EQ(Expanded(_T("%ProgramFiles%\\a")), _T("C:\\Program Files\\a"));
    EXPECT_EQ(Expanded(_T("%SystemDrive%")), _T("C:"));
}

TEST(Win32Variables, FoldersOfTheUserBearTheUsersName) {
    const CString user = Expanded(_T("%USERNAME%"));
    EXPECT_FALSE(user.IsEmpty());
    EXPECT_EQ(Expanded(_T("%USERPROFILE%")), _T("C:\\users\\") + user);
}

TEST(Win32Variables, WhatIsNoVariableStays) {
    for (const LPCWSTR text :
         {_T(""), _T("C:\\a"), _T("100%"), _T("%"), _T("%%"), _T("%kvtfile no such%"), _T("%1"), _T("%SystemRoot")}) {
        EXPECT_EQ(Expanded(text), text);
    }
    // A sign that ends no name may begin one.
    EXPECT_EQ(Expanded(_T("50%SystemDrive%")), _T("50C:"));
}

TEST(Win32Variables, ShortBufferGivesTheSizeNeeded) {
    EXPECT_EQ(::ExpandEnvironmentStringsW(_T("%SystemRoot%"), nullptr, 0), 11u);
    WCHAR buffer[16] = {};
    EXPECT_EQ(::ExpandEnvironmentStringsW(_T("%SystemRoot%"), buffer, 11), 11u);
    EXPECT_EQ(CString(buffer), _T("C:\\windows"));
}

}  // namespace
