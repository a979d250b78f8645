// Modules, memory blocks, the clock.

#include "tests/support/support.h"

namespace {

#ifdef _WIN32
constexpr LPCWSTR kLibrary = L"oleaut32.dll";
constexpr LPCSTR kSymbol = "SysAllocString";
#else
constexpr LPCWSTR kLibrary = u"libicuuc.so.72";
constexpr LPCSTR kSymbol = "u_toupper_72";
#endif

TEST(Win32Modules, ProgramHasAPathThatExists) {
    WCHAR path[1024] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, 1024);
    ASSERT_GT(length, 3u);
    EXPECT_EQ(CString(path).GetLength(), static_cast<int>(length));
    EXPECT_EQ(path[1], _T(':'));
    EXPECT_TRUE(kvttest::Exists(path));
    EXPECT_NE(::GetModuleHandleW(nullptr), nullptr);
}

TEST(Win32Modules, PathIsCutToTheBufferWithError122) {
    WCHAR path[1024] = {};
    const DWORD length = ::GetModuleFileNameW(nullptr, path, 1024);
    WCHAR part[8] = {};
    ::SetLastError(0);
    EXPECT_EQ(::GetModuleFileNameW(nullptr, part, 8), 8u);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(CString(part, 7), CString(path).Left(7));  // Wine leaves out the NUL
    EXPECT_GT(length, 7u);
}

TEST(Win32Modules, LibraryIsLoadedFoundAndFreed) {
    const HMODULE module = ::LoadLibraryW(kLibrary);
    ASSERT_NE(module, nullptr);
    EXPECT_NE(::GetProcAddress(module, kSymbol), nullptr);
    EXPECT_EQ(::GetProcAddress(module, "no_such_symbol"), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(::GetModuleHandleW(kLibrary), module);
    WCHAR path[1024] = {};
    EXPECT_GT(::GetModuleFileNameW(module, path, 1024), 0u);
    EXPECT_TRUE(kvttest::Exists(path)) << kvttest::Utf8(path);
    EXPECT_TRUE(::FreeLibrary(module));
}

TEST(Win32Modules, MissingLibraryIsError126) {
    EXPECT_EQ(::LoadLibraryW(_T("no_such_library")), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(::LoadLibraryW(_T("C:\\no\\such\\library.so")), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(::GetModuleHandleW(_T("no_such_library")), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
    int not_a_module = 0;
    WCHAR path[10];
    EXPECT_EQ(::GetModuleFileNameW(reinterpret_cast<HMODULE>(&not_a_module), path, 10), 0u);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(Win32Memory, BlocksKeepSizeAndAreZeroedOnRequest) {
    const HGLOBAL block = ::GlobalAlloc(GHND, 1000);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(::GlobalSize(block), 1000u);
    auto* bytes = static_cast<unsigned char*>(::GlobalLock(block));
    ASSERT_NE(bytes, nullptr);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(bytes[i], 0);
        bytes[i] = 0xAA;
    }
    EXPECT_EQ(::GlobalLock(block), bytes);
    EXPECT_TRUE(::GlobalUnlock(block));
    ::SetLastError(77);
    EXPECT_FALSE(::GlobalUnlock(block));
    EXPECT_EQ(::GetLastError(), DWORD{NO_ERROR});
    EXPECT_FALSE(::GlobalUnlock(block));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_LOCKED});
    EXPECT_EQ(::GlobalFree(block), nullptr);
}

TEST(Win32Memory, FixedBlocksAreTheirOwnAddress) {
    const HGLOBAL block = ::GlobalAlloc(GPTR, 16);
    EXPECT_EQ(::GlobalLock(block), block);
    EXPECT_TRUE(::GlobalUnlock(block));
    EXPECT_EQ(::GlobalFree(block), nullptr);
}

TEST(Win32Memory, MoreThanThereIsIsRefused) {
    volatile SIZE_T size = ~SIZE_T{0} - 8;
    EXPECT_EQ(::GlobalAlloc(GMEM_FIXED, size), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

TEST(Win32Modules, TickCountDoesNotGoBack) {
    const ULONGLONG first = ::GetTickCount64();
    ::Sleep(0);
    EXPECT_GE(::GetTickCount64(), first);
    EXPECT_NE(::GetCurrentProcessId(), 0u);
}

}  // namespace
