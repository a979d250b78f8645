// The icon of a file's type: as registered, a program's own, or one of the shell's by the kind of thing.

#include "kvtfile/FileUtil.h"
#include "platform/quiet.h"

namespace kvtfile {

namespace {

// Kinds are the numbers that the icons have in the shell's own library; those below this one are known.
constexpr int kKinds = 18;
constexpr int kUnknownDocument = 0;
constexpr int kApplication = 2;

/// Where an icon stands: a file and the icon's number in it.
struct IconPlace {
    CString file;
    int index = 0;
};

/// A decimal number with nothing but blanks around it.
bool IsNumber(CString text) {
    text.Trim();
    const CString digits = text.Mid(text.Left(1) == _T("-") || text.Left(1) == _T("+") ? 1 : 0);
    return !digits.IsEmpty() && digits.SpanIncluding(_T("0123456789")) == digits;
}

CString Expanded(const CString& text) {
    const DWORD size = ::ExpandEnvironmentStringsW(text, nullptr, 0);
    if (size == 0) {
        return text;
    }
    CString result;
    ::ExpandEnvironmentStringsW(text, result.GetBuffer(static_cast<int>(size)), size);
    result.ReleaseBuffer();
    return result;
}

/// Splits "file,number" at its last comma, and a quoted file behind its quotes. A comma without a number behind it may
/// also belong to the file's name.
IconPlace SplitPlace(CString text) {
    text.Trim();
    int end = text.ReverseFind(_T(','));
    if (text.Left(1) == _T("\"")) {
        end = text.Find(_T('"'), 1);
        return {text.Mid(1, end < 0 ? text.GetLength() : end - 1), end < 0 ? 0 : ::_wtoi(text.Mid(end + 2))};
    }
    if (end < 0 || (!IsNumber(text.Mid(end + 1)) && FileExist(Expanded(text)))) {
        return {text, 0};
    }
    return {text.Left(end).TrimRight(), ::_wtoi(text.Mid(end + 1))};
}

/// What a registered place stands for: variables are expanded, "%1" is the very file.
IconPlace ParsePlace(const CString& registered, const CString& path) {
    IconPlace place = SplitPlace(registered);
    place.file = place.file == _T("%1") ? path : Expanded(place.file);
    return place;
}

/// Null when there is no such icon.
HICON Extract(const IconPlace& place, bool bSmall) {
    if (place.file.IsEmpty()) {
        return nullptr;
    }
    HICON icon = nullptr;
    const UINT count = ::ExtractIconExW(place.file, place.index, bSmall ? nullptr : &icon, bSmall ? &icon : nullptr, 1);
    // After a failure the handle means nothing.
    return count == 1 ? icon : nullptr;
}

HICON RegisteredIcon(const CString& path, const CString& extension, bool bSmall) {
    const CString fileClass = extension.IsEmpty() ? CString() : GetTypeRegInfo(extension);
    const CString place = fileClass.IsEmpty() ? CString() : GetTypeRegInfo(fileClass + _T("\\DefaultIcon"));
    return place.IsEmpty() ? nullptr : Extract(ParsePlace(place, path), bSmall);
}

HICON ShellIcon(int kind, bool bSmall) {
    const bool known = kind >= 0 && kind < kKinds;
    return Extract({GetSystemPath() + _T("shell32.dll"), known ? kind : kUnknownDocument}, bSmall);
}

HICON TypeIcon(const CString& path, int kind, bool bSmall) {
    const CString extension = GetFileExt(path);
    if (extension.CompareNoCase(_T(".exe")) == 0) {
        // A program shows its own icon, not that of its type.
        const HICON own = Extract({path, 0}, bSmall);
        return own ? own : ShellIcon(kApplication, bSmall);
    }
    const HICON registered = RegisteredIcon(path, extension, bSmall);
    return registered ? registered : ShellIcon(kind, bSmall);
}

}  // namespace

HICON GetTypeIcon(CString path, int kind, bool bSmall) {
    return detail::Quiet<HICON>(nullptr, [&] { return TypeIcon(path, kind, bSmall); });
}

}  // namespace kvtfile
