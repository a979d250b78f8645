// Text files: opening, reading, writing, and the status texts that tell what was done. Invariants: a file that is read
// is never opened for writing, whatever flags the caller brings; a file that is written is replaced as a whole or not
// at all; the status is put together from its pieces in the order of the work, and a failure of the system puts the
// system's text in its place.

#include "kvtfile/XmlFile.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "platform/io/io.h"
#include "platform/io/safe_save.h"

namespace kvtfile {

struct CFXmlFile::FilePos::Handle {
    kvtio::File reading;
    kvtio::SafeSave writing;
};

CFXmlFile::FilePos::FilePos() = default;
CFXmlFile::FilePos::~FilePos() = default;

namespace {

/// The part of a file in which a declared encoding is looked for.
constexpr std::size_t g_topBytes = 1024;

struct Mark {
    const char* bytes;
    std::size_t length;
    LPCWSTR encoding;
    int flag;
    int unitSize;
};

constexpr Mark g_marks[] = {
    {"\xEF\xBB\xBF", 3, _T("UTF-8"), CFXmlFile::docUtf8Mark, 1},
    {"\xFF\xFE", 2, _T("UTF-16LE"), CFXmlFile::docUtf16Le, 2},
    {"\xFE\xFF", 2, _T("UTF-16BE"), CFXmlFile::docUtf16Be, 2},
};

constexpr int g_markFlags = CFXmlFile::docUtf8Mark | CFXmlFile::docUtf16Le | CFXmlFile::docUtf16Be;

const Mark* MarkAt(const char* bytes, std::size_t count) {
    const auto found = std::find_if(std::begin(g_marks), std::end(g_marks), [=](const Mark& mark) {
        return count >= mark.length && std::memcmp(bytes, mark.bytes, mark.length) == 0;
    });
    return found == std::end(g_marks) ? nullptr : found;
}

/// The mark that the flags ask for; the first one when they ask for several.
const Mark* MarkOf(int flags) {
    const auto found = std::find_if(std::begin(g_marks), std::end(g_marks),
                                    [=](const Mark& mark) { return (flags & mark.flag) != 0; });
    return found == std::end(g_marks) ? nullptr : found;
}

/// The bytes as characters of the same numbers: enough to read a declaration.
CString SingleByteText(const char* bytes, std::size_t count) {
    CString text;
    const LPWSTR characters = text.GetBufferSetLength(static_cast<int>(count));
    std::transform(bytes, bytes + count, characters,
                   [](char byte) { return static_cast<WCHAR>(static_cast<unsigned char>(byte)); });
    return text;
}

template <class Unit>
int RemoveNuls(Unit* units, int count) {
    return static_cast<int>(std::remove(units, units + count, Unit{0}) - units);
}

CString Piece(LPCWSTR before, int number, LPCWSTR after) {
    CString piece;
    piece.Format(_T("%s%d%s"), before, number, after);
    return piece;
}

/// Runs work that may want much memory; `failed` says so when there is none, with the system's error set.
template <class Work, class Failed>
bool Guarded(Work work, Failed failed) {
    try {
        return work();
    } catch (CException* exception) {
        exception->Delete();
    } catch (const std::bad_alloc&) {
        // As for the other kind.
    }
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    failed();
    return false;
}

}  // namespace

CString CFXmlFile::x_FileError() {
    const DWORD error = ::GetLastError();
    const CString text = x_GetLastError();
    return text.IsEmpty() ? Piece(_T("Error "), static_cast<int>(error), _T("")) : text;
}

bool CFXmlFile::Load(MCD_CSTR path) {
    ReadTextFile(path, m_strDoc, &m_strResult, &m_nDocFlags);
    return x_ParseDoc();
}

bool CFXmlFile::Save(MCD_CSTR path) {
    return WriteTextFile(path, m_strDoc, &m_strResult, &m_nDocFlags);
}

bool CFXmlFile::ReadTextFile(MCD_CSTR path, CString& text, CString* result, int* flags, CString* encoding) {
    FilePos file;
    file.flags = ((flags ? *flags : 0) & ~(docWrite | docAppend)) | docRead;
    CString read;
    CString status;
    const auto work = [&] {
        if (!x_Open(path, file)) {
            return false;
        }
        status = file.result;
        file.result.Empty();
        if (encoding && !encoding->IsEmpty() && file.unitSize == 1 && *encoding != file.encoding) {
            file.encoding = *encoding;
            status += _T("forced ") + file.encoding + _T(" ");
        }
        return x_ReadText(read, file) && x_Close(file);
    };
    const bool opened = Guarded(work, [&file] { file.result = x_FileError(); });
    if (!opened) {
        status = file.result;
    } else {
        if (status.IsEmpty()) {
            status = file.encoding.IsEmpty() ? CString(_T("ANSI ")) : file.encoding + _T(" ");
        }
        status += file.result;
    }
    // A file of which no character came out was not read: its encoding is one that the system cannot convert.
    const bool done = opened && (file.unitCount == 0 || !read.IsEmpty());
    if (done && flags) {
        // The big-endian flag is only ever set, never cleared, by reading.
        *flags = (*flags & ~(docUtf8Mark | docUtf16Le)) | (file.flags & g_markFlags);
    }
    if (done && encoding) {
        *encoding = file.encoding;
    }
    text = done ? read : CString();
    if (result) {
        *result = status;
    }
    return done;
}

bool CFXmlFile::WriteTextFile(MCD_CSTR path, const CString& text, CString* result, int* flags, CString* encoding) {
    FilePos file;
    file.flags = ((flags ? *flags : 0) & ~docRead) | docWrite;
    const auto work = [&] {
        if (!x_Open(path, file)) {
            return false;
        }
        if (file.flags & docUtf8Mark) {
            file.encoding = _T("UTF-8");
        } else if (file.unitSize == 1) {
            file.encoding = encoding && !encoding->IsEmpty() ? *encoding : GetDeclaredEncoding(text);
            if (file.encoding.IsEmpty() && !text.IsEmpty() && text[0] == _T('<')) {
                file.encoding = _T("UTF-8");
            }
        }
        return x_WriteText(text, file) && x_Close(file);
    };
    const bool done = Guarded(work, [&file] { file.result = x_FileError(); });
    if (done && encoding) {
        *encoding = file.encoding;
    }
    if (result) {
        *result = file.result;
    }
    return done;
}

bool CFXmlFile::x_Open(LPCWSTR path, FilePos& file) {
    file.file = std::make_unique<FilePos::Handle>();
    file.unitSize = 1;
    file.encoding.Empty();
    const bool opened = file.flags & docWrite ? x_OpenForWriting(path, file) : x_OpenForReading(path, file);
    if (!opened) {
        file.result = x_FileError();
        file.file.reset();
    }
    return opened;
}

bool CFXmlFile::x_OpenForWriting(LPCWSTR path, FilePos& file) {
    kvtio::SafeSave& save = file.file->writing;
    const auto mode = file.flags & docAppend ? kvtio::SafeSave::Mode::Append : kvtio::SafeSave::Mode::Replace;
    if (save.Open(path, mode) != ERROR_SUCCESS) {
        return false;
    }
    const Mark* const mark = MarkOf(file.flags);
    if (mark) {
        // One mark decides on the whole file, so that it never holds anything else than its mark says.
        file.flags = (file.flags & ~g_markFlags) | mark->flag;
        if (save.ExistingSize() == 0 && save.Write(mark->bytes, mark->length) != ERROR_SUCCESS) {
            return false;
        }
        if (mark->unitSize == 2) {
            file.unitSize = 2;
            file.encoding = mark->encoding;
        }
    }
    file.result = file.encoding.IsEmpty() ? CString() : file.encoding + _T(" ");
    return true;
}

bool CFXmlFile::x_OpenForReading(LPCWSTR path, FilePos& file) {
    kvtio::File& reading = file.file->reading;
    std::uint64_t size = 0;
    if (reading.Open(path, kvtio::Access::Read, kvtio::Disposition::OpenExisting) != ERROR_SUCCESS ||
        reading.Size(size) != ERROR_SUCCESS) {
        return false;
    }
    if (size > INT_MAX) {
        ::SetLastError(ERROR_FILE_TOO_LARGE);
        return false;
    }
    char top[g_topBytes];
    std::size_t count = 0;
    if (reading.Read(top, std::min<std::size_t>(size, g_topBytes), count) != ERROR_SUCCESS) {
        return false;
    }
    file.flags &= ~(docUtf16Le | docUtf8Mark);
    const Mark* const mark = MarkAt(top, count);
    if (mark) {
        file.flags = (file.flags & ~g_markFlags) | mark->flag;
        file.unitSize = mark->unitSize;
        file.encoding = mark->encoding;
        file.result = file.encoding + _T(" BOM + ");
    } else {
        if (file.flags & docUtf16Be) {
            file.unitSize = 2;
        }
        file.encoding = GetDeclaredEncoding(SingleByteText(top, count));
        if (file.encoding.IsEmpty() && count > 0 && top[0] == '<') {
            file.encoding = _T("UTF-8");
        }
        file.result = file.encoding.IsEmpty() ? CString() : file.encoding + _T(" ");
    }
    const std::size_t markLength = mark ? mark->length : 0;
    file.byteCount = static_cast<int>(size - markLength);
    std::uint64_t position = 0;
    return reading.Seek(static_cast<std::int64_t>(markLength), FILE_BEGIN, position) == ERROR_SUCCESS;
}

bool CFXmlFile::x_Close(FilePos& file) {
    const std::unique_ptr<FilePos::Handle> handle = std::move(file.file);
    if (!handle) {
        return true;
    }
    const kvtio::Error error = file.flags & docWrite ? handle->writing.Commit() : handle->reading.Close();
    if (error == ERROR_SUCCESS) {
        return true;
    }
    file.result = x_FileError();
    if (const LPCWSTR copy = handle->writing.RescuedCopy()) {
        file.result += CString(_T(" The old content is in ")) + copy;
    }
    return false;
}

bool CFXmlFile::x_Read(void* buffer, FilePos& file) {
    const std::size_t unitSize = static_cast<std::size_t>(file.unitSize);
    file.unitCount = file.byteCount / file.unitSize;
    std::size_t got = 0;
    if (file.file->reading.Read(buffer, static_cast<std::size_t>(file.unitCount) * unitSize, got) != ERROR_SUCCESS) {
        file.result = x_FileError();
        return false;
    }
    file.unitCount = static_cast<int>(got / unitSize);
    file.result += Piece(_T("length "), file.unitCount, _T(" "));
    const int kept = file.unitSize == 2 ? RemoveNuls(static_cast<WCHAR*>(buffer), file.unitCount)
                                        : RemoveNuls(static_cast<char*>(buffer), file.unitCount);
    if (kept != file.unitCount) {
        file.result += Piece(_T("("), file.unitCount - kept, _T(" nulls removed) "));
        file.unitCount = kept;
    }
    if (x_EndianSwapRequired(file.flags)) {
        x_EndianSwapUTF16(static_cast<WCHAR*>(buffer), file.unitCount);
        file.result += _T("endian swap ");
    }
    return true;
}

bool CFXmlFile::x_ReadText(CString& text, FilePos& file) {
    text.Empty();
    if (file.byteCount == 0) {
        file.result += _T("0 length ");
        return true;
    }
    if (file.unitSize == 2) {
        const bool read = x_Read(text.GetBuffer(file.byteCount / 2), file);
        text.ReleaseBufferSetLength(read ? file.unitCount : 0);
        text.FreeExtra();
        return read;
    }
    const std::unique_ptr<char[]> bytes(new char[static_cast<std::size_t>(file.byteCount)]);
    if (!x_Read(bytes.get(), file)) {
        return false;
    }
    if (file.encoding.IsEmpty()) {
        if (DetectUTF8(bytes.get(), file.unitCount)) {
            file.encoding = _T("UTF-8");
        }
        file.result += _T("(used UTF-8 detection) ");
    }
    ConvertRequest request;
    request.encoding = file.encoding;
    request.from = bytes.get();
    request.fromCount = file.unitCount;
    request.toWide = true;
    // In most code pages no byte gives more than one character; the others are asked for the length.
    request.room = file.unitCount;
    int length = x_ConvertEncoding(request, text.GetBuffer(request.room));
    if (length == 0 && request.fromCount > 0 && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        request.room = x_ConvertEncoding(request, nullptr);
        length = x_ConvertEncoding(request, text.GetBuffer(request.room));
    }
    text.ReleaseBufferSetLength(length);
    text.FreeExtra();
    file.result += Piece(_T("to "), length, _T(" wide chars "));
    return true;
}

bool CFXmlFile::x_Write(const void* buffer, FilePos& file, int count) {
    const std::size_t bytes = static_cast<std::size_t>(count) * static_cast<std::size_t>(file.unitSize);
    if (file.file->writing.Write(buffer, bytes) != ERROR_SUCCESS) {
        file.result = x_FileError();
        return false;
    }
    file.result += Piece(_T("length "), count, _T(" "));
    return true;
}

bool CFXmlFile::x_WriteText(const CString& text, FilePos& file) {
    const int length = text.GetLength();
    if (length == 0) {
        file.result += _T("0 length ");
        return true;
    }
    file.result += Piece(_T("from wide length "), length, _T(" "));
    if (file.unitSize == 2) {
        if (!x_EndianSwapRequired(file.flags)) {
            return x_Write(text.GetString(), file, length);
        }
        CString swapped(text.GetString(), length);
        x_EndianSwapUTF16(swapped.GetBuffer(length), length);
        file.result += _T("endian swap ");
        return x_Write(swapped.GetString(), file, length);
    }
    ConvertRequest request;
    request.encoding = file.encoding;
    request.from = text.GetString();
    request.fromCount = length;
    // Three bytes a character do for UTF-8 and most code pages; the others are asked for the length.
    request.room = std::min(length, INT_MAX / 3) * 3;
    std::unique_ptr<char[]> bytes(new char[static_cast<std::size_t>(request.room)]);
    int count = x_ConvertEncoding(request, bytes.get());
    if (count == 0 && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
        bytes.reset();
        request.room = x_ConvertEncoding(request, nullptr);
        bytes.reset(new char[static_cast<std::size_t>(request.room)]);
        count = x_ConvertEncoding(request, bytes.get());
    }
    if (count == 0) {
        file.result = x_FileError();
        return false;
    }
    if (request.lost) {
        file.result += _T("(chars lost in conversion!) ");
    }
    return x_Write(bytes.get(), file, count);
}

}  // namespace kvtfile
