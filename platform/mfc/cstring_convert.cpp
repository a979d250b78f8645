// CString: from and to narrow text, by the code pages of the platform, and from UTF-32 where wide literals have 32-bit
// characters.
#include <climits>
#include <cstring>

#include "kvtfile/types.h"

namespace kvtmfc {

namespace {

int ByteCount(size_t count) {
    if (count > INT_MAX) {
        AfxThrowMemoryException();
    }
    return static_cast<int>(count);
}

}  // namespace

CString CString::FromCodePage(std::string_view text, UINT codePage) {
    CString result;
    if (text.empty()) {
        return result;
    }
    const int bytes = ByteCount(text.size());
    const int length = ::MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
    if (length > 0) {
        ::MultiByteToWideChar(codePage, 0, text.data(), bytes, result.GetBuffer(length), length);
        result.ReleaseBufferSetLength(length);
    }
    return result;
}

std::string CString::ToCodePage(UINT codePage) const {
    std::string result;
    if (IsEmpty()) {
        return result;
    }
    const int bytes = ::WideCharToMultiByte(codePage, 0, m_pszData, GetLength(), nullptr, 0, nullptr, nullptr);
    if (bytes > 0) {
        result.resize(static_cast<size_t>(bytes));
        ::WideCharToMultiByte(codePage, 0, m_pszData, GetLength(), result.data(), bytes, nullptr, nullptr);
    }
    return result;
}

CString CString::FromUtf8(std::string_view text) {
    return FromCodePage(text, CP_UTF8);
}

std::string CString::ToUtf8() const {
    return ToCodePage(CP_UTF8);
}

CString::CString(const char* text) : CString() {
    if (text) {
        *this = FromCodePage(text, CP_ACP);
    }
}

CString::CString(const char* text, int length) : CString() {
    if (length < 0 || (!text && length != 0)) {
        AfxThrowInvalidArgException();
    }
    *this = FromCodePage(std::string_view(text, static_cast<size_t>(length)), CP_ACP);
}

#ifndef _WIN32

CString::CString(const wchar_t* text) : CString() {
    for (; text && *text; ++text) {
        const uint32_t code = static_cast<uint32_t>(*text);
        if (code >= 0x10000 && code <= 0x10FFFF) {
            AppendChar(static_cast<WCHAR>(0xD7C0 + (code >> 10)));
            AppendChar(static_cast<WCHAR>(0xDC00 + (code & 0x3FF)));
        } else {
            AppendChar(code < 0x10000 ? static_cast<WCHAR>(code) : WCHAR{0xFFFD});
        }
    }
}

CString& CString::operator=(const wchar_t* text) {
    return *this = CString(text);
}

#endif

}  // namespace kvtmfc
