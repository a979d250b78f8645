// DataIO: one object, one archive, one file. Storing ends in one step on the disk, and no exception passes.
#include <algorithm>
#include <vector>

#include "kvtfile/FileBase.h"
#include "platform/io/safe_save.h"

namespace kvtfile {

namespace {

constexpr int archiveBuffer = 4096;
constexpr UINT copyBlock = 1u << 20;

// Does the work; whatever it throws is a failure.
template <typename Work>
bool Succeeds(Work work) {
    try {
        return work();
    } catch (CException* error) {
        error->Delete();
    } catch (...) {
        // An object's own Serialize may throw anything.
    }
    return false;
}

bool Transfer(CFile& file, bool read, CObject* object) {
    CArchive archive(&file, (read ? CArchive::load : CArchive::store) | CArchive::bNoFlushOnDelete, archiveBuffer);
    object->Serialize(archive);
    archive.Close();
    return true;
}

// Puts the memory file's whole content in the place of a file; its position stays.
bool SaveContent(LPCWSTR path, CMemFile& content) {
    kvtio::SafeSave save;
    if (save.Open(path, kvtio::SafeSave::Mode::Replace) != ERROR_SUCCESS) {
        return false;
    }
    const ULONGLONG position = content.GetPosition();
    content.SeekToBegin();
    std::vector<BYTE> block(static_cast<size_t>(std::min<ULONGLONG>(content.GetLength(), copyBlock)));
    bool written = true;
    while (written && content.GetPosition() < content.GetLength()) {
        const UINT count = content.Read(block.data(), static_cast<UINT>(block.size()));
        written = save.Write(block.data(), count) == ERROR_SUCCESS;
    }
    content.Seek(static_cast<LONGLONG>(position), CFile::begin);
    return written && save.Commit() == ERROR_SUCCESS;
}

// Closed by the destructor, so that the file is free again whatever happened.
bool OpenForReading(CFile& file, LPCWSTR path) {
    return file.Open(path, CFile::modeRead | CFile::shareDenyWrite) != FALSE;
}

bool LoadContent(LPCWSTR path, CMemFile& content) {
    CFile file;
    if (!OpenForReading(file, path)) {
        return false;
    }
    std::vector<BYTE> bytes;
    for (;;) {
        const size_t length = bytes.size();
        bytes.resize(length + copyBlock);
        const UINT got = file.Read(bytes.data() + length, copyBlock);
        bytes.resize(length + got);
        if (got < copyBlock) {
            break;
        }
    }
    content.SetLength(bytes.size());
    content.SeekToBegin();
    for (size_t done = 0; done < bytes.size();) {
        const UINT count = static_cast<UINT>(std::min<size_t>(bytes.size() - done, copyBlock));
        content.Write(bytes.data() + done, count);
        done += count;
    }
    content.SeekToBegin();
    return true;
}

bool FileIO(LPCWSTR path, bool read, CObject* object) {
    if (!path || !object) {
        return false;
    }
    return Succeeds([&] {
        if (read) {
            CFile file;
            return OpenForReading(file, path) && Transfer(file, read, object);
        }
        CMemFile content(archiveBuffer);
        content.SetFilePath(path);
        return Transfer(content, read, object) && SaveContent(path, content);
    });
}

}  // namespace

bool DataIO(CString strFile, bool bRead, CObject* pObj) {
    return FileIO(strFile, bRead, pObj);
}

bool DataIO(CString strFile, bool bRead, CWnd* pWnd) {
    return FileIO(strFile, bRead, pWnd);
}

bool DataIO(LPWSTR pszFile, bool bRead, CWnd* pWnd) {
    return FileIO(pszFile, bRead, pWnd);
}

bool DataIO(CMemFile& file, bool bRead, CObject* pObj) {
    return pObj && Succeeds([&] { return Transfer(file, bRead, pObj); });
}

bool DataIO(CString& strFile, bool bRead, CMemFile& file) {
    return Succeeds([&] { return bRead ? LoadContent(strFile, file) : SaveContent(strFile, file); });
}

}  // namespace kvtfile
