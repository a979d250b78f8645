// Line files. A file is written whole or not at all, and read to its end or not at all.

#include <string>

#include "kvtfile/FileBase.h"
#include "kvtfile/FileUtil.h"
#include "platform/io/folders.h"
#include "platform/io/safe_save.h"
#include "platform/mfc/codepage936.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr size_t WRITE_AT_ONCE = 1 << 20;
constexpr int FAILED = -1;

bool IsContent(const CString& line) {
    return !line.IsEmpty() && line.Left(2) != _T("//");
}

// Puts what `write` hands out, piece by piece, in the place of a file.
template <typename Write>
int ReplaceText(LPCWSTR path, Write write) {
    if (!path) {
        return FAILED;
    }
    return Quiet(FAILED, [&] {
        kvtio::SafeSave file;
        if (file.Open(kvtio::LongForm(path).c_str(), kvtio::SafeSave::Mode::Replace) != ERROR_SUCCESS) {
            return FAILED;
        }
        std::string bytes;
        // A failure of writing comes back from Commit.
        write([&](const CString& text) {
            kvtmfc::codepage936::AppendEncoded(text.View(), bytes);
            if (bytes.size() >= WRITE_AT_ONCE) {
                file.Write(bytes.data(), bytes.size());
                bytes.clear();
            }
        });
        file.Write(bytes.data(), bytes.size());
        return file.Commit() == ERROR_SUCCESS ? 1 : FAILED;
    });
}

}  // namespace

int ReadData(LPCWSTR file, CStringArray& lines) {
    if (!file) {
        return FAILED;
    }
    return Quiet(FAILED, [&] {
        CFStdioFile text;
        if (!text.Open(kvtio::LongForm(file).c_str(), CFile::modeRead | CFile::shareDenyNone)) {
            return FAILED;
        }
        CStringArray read;
        CString line;
        while (text.ReadString(line)) {
            if (IsContent(line)) {
                read.Add(line);
            }
        }
        lines.Append(read);
        return 1;
    });
}

int WriteData(LPCWSTR file, CStringArray& lines) {
    return ReplaceText(file, [&](auto put) {
        for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
            put(lines[i]);
            if (lines[i].Right(1) != _T("\n")) {
                put(_T("\n"));
            }
        }
    });
}

int WriteData(LPCWSTR file, CStringList* lines) {
    if (!lines) {
        return FAILED;
    }
    return ReplaceText(file, [&](auto put) {
        for (POSITION at = lines->GetHeadPosition(); at;) {
            put(lines->GetNext(at));
        }
    });
}

}  // namespace kvtfile
