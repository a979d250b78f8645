// Files and texts for the tests, through the Win32 calls that both targets have.

#include "tests/support/support.h"

#include <algorithm>
#include <atomic>

void kvtmfc::PrintTo(const CString& text, std::ostream* out) {
    *out << '"' << kvttest::Utf8(text) << '"';
}

namespace kvttest {

std::string Utf8(const CString& text) {
    if (text.IsEmpty()) {
        return {};
    }
    const int need = ::WideCharToMultiByte(CP_UTF8, 0, text, text.GetLength(), nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(need), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, text.GetLength(), bytes.data(), need, nullptr, nullptr);
    return bytes;
}

CString Wide(std::string_view utf8) {
    CString text;
    if (utf8.empty()) {
        return text;
    }
    const int size = static_cast<int>(utf8.size());
    const int need = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, text.GetBuffer(need), need);
    text.ReleaseBuffer(need);
    return text;
}

TestFolder::TestFolder() {
    static std::atomic<int> next{0};
    WCHAR temp[MAX_PATH + 1];
    ::GetTempPathW(MAX_PATH, temp);
    for (;;) {
        m_path.Format(_T("%skvt%u_%d"), temp, static_cast<unsigned>(::GetCurrentProcessId()), next++);
        if (::CreateDirectoryW(m_path, nullptr)) {
            break;
        }
        if (::GetLastError() != ERROR_ALREADY_EXISTS) {
            ADD_FAILURE() << "no folder " << Utf8(m_path) << ", error " << ::GetLastError();
            break;
        }
    }
}

TestFolder::~TestFolder() {
    RemoveTree(m_path);
}

CString TestFolder::Path(const CString& name) const {
    return m_path + _T("\\") + name;
}

std::vector<std::string> TestFolder::Names() const {
    std::vector<std::string> names;
    WIN32_FIND_DATAW found;
    const HANDLE find = ::FindFirstFileW(m_path + _T("\\*"), &found);
    if (find == INVALID_HANDLE_VALUE) {
        return names;
    }
    do {
        const CString name = found.cFileName;
        if (name != _T(".") && name != _T("..")) {
            names.push_back(Utf8(name));
        }
    } while (::FindNextFileW(find, &found));
    ::FindClose(find);
    return names;
}

void WriteBytes(const CString& path, std::string_view bytes) {
    const HANDLE file = ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << Utf8(path) << ", error " << ::GetLastError();
    size_t done = 0;
    while (done < bytes.size()) {
        const DWORD part = static_cast<DWORD>(std::min<size_t>(bytes.size() - done, 1u << 24));
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data() + done, part, &written, nullptr)) {
            ADD_FAILURE() << "write to " << Utf8(path) << ", error " << ::GetLastError();
            break;
        }
        done += written;
    }
    ::CloseHandle(file);
}

std::string ReadBytes(const CString& path) {
    const HANDLE file = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        ADD_FAILURE() << "cannot open " << Utf8(path) << ", error " << ::GetLastError();
        return {};
    }
    std::string bytes;
    char part[65536];
    DWORD got = 0;
    while (::ReadFile(file, part, sizeof part, &got, nullptr) && got != 0) {
        bytes.append(part, got);
    }
    ::CloseHandle(file);
    return bytes;
}

bool Exists(const CString& path) {
    return ::GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

void MakeFolders(const CString& path) {
    for (int at = path.Find(_T('\\'), 3); at >= 0; at = path.Find(_T('\\'), at + 1)) {
        ::CreateDirectoryW(path.Left(at), nullptr);
    }
    ::CreateDirectoryW(path, nullptr);
    ASSERT_TRUE(Exists(path)) << Utf8(path) << ", error " << ::GetLastError();
}

void RemoveTree(const CString& path) {
    const DWORD attributes = ::GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    if (attributes & FILE_ATTRIBUTE_READONLY) {
        ::SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
    }
    const bool folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) && !(attributes & FILE_ATTRIBUTE_REPARSE_POINT);
    if (!folder) {
        if (!::DeleteFileW(path)) {
            ::RemoveDirectoryW(path);
        }
        return;
    }
    WIN32_FIND_DATAW found;
    const HANDLE find = ::FindFirstFileW(path + _T("\\*"), &found);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            const CString name = found.cFileName;
            if (name != _T(".") && name != _T("..")) {
                RemoveTree(path + _T("\\") + name);
            }
        } while (::FindNextFileW(find, &found));
        ::FindClose(find);
    }
    ::RemoveDirectoryW(path);
}

void SetFileSeconds(const CString& path, long long seconds) {
    const HANDLE file = ::CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << Utf8(path) << ", error " << ::GetLastError();
    const unsigned long long ticks = (static_cast<unsigned long long>(seconds) + 11644473600ULL) * 10000000ULL;
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    EXPECT_TRUE(::SetFileTime(file, nullptr, nullptr, &time));
    ::CloseHandle(file);
}

CString SystemText(DWORD error) {
    WCHAR text[100] = {};
    ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text, 100, nullptr);
    const CString whole = text;
    const int end = whole.FindOneOf(_T("\r\n"));
    return end < 0 ? whole : whole.Left(end);
}

std::string Hex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02X ", static_cast<unsigned char>(byte));
        text += pair;
    }
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}

}  // namespace kvttest
