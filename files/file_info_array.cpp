// CFileInfoArray: records in an order, one by one or from a whole tree at once.

#include <new>
#include <typeinfo>

#include "files/file_order.h"
#include "files/folder_scan.h"
#include "kvtfile/FileInfo.h"

#if !defined(KVTFILE_USE_MFC) && !defined(__MINGW32__)
namespace kvtmfc {
template class CArray<kvtfile::CFileInfo, kvtfile::CFileInfo&>;
}
#endif

namespace kvtfile {

namespace {

bool EndsAsFolder(const CString& path) {
    const WCHAR last = path.IsEmpty() ? _T('\\') : path[path.GetLength() - 1];
    return last == _T('\\') || last == _T('/') || last == _T(':');
}

void WalkWhileMemoryLasts(detail::FolderScan& scan, const CString& folder) {
    try {
        scan.Run(folder);
    } catch (CMemoryException* exception) {
        exception->Delete();
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace

int CFileInfoArray::AddFileInfo(CFileInfo& fi, LONGLONG sortMode) {
    const INT_PTR place = detail::PlaceOf(fi, *this, sortMode);
    InsertAt(place, fi);
    return static_cast<int>(place);
}

int CFileInfoArray::AddFile(CString path, LONGLONG sortMode) {
    CFileInfo record;
    record.Create(path, 0);
    return AddFileInfo(record, sortMode);
}

int CFileInfoArray::AddDir(CString dir, CString ext, int bRecurse, LONGLONG sortMode, int bIncludeDirs,
                           const volatile int* pbAbort, volatile DWORD* pFound) {
    const CString folder = EndsAsFolder(dir) ? dir : dir + _T("\\");
    const detail::ScanWish wish{ext, bRecurse != 0, bIncludeDirs != 0, pbAbort, pFound};
    if (typeid(*this) != typeid(CFileInfoArray)) {
        detail::FolderScan scan(wish, [&](CFileInfo& record) { AddFileInfo(record, sortMode); });
        WalkWhileMemoryLasts(scan, folder);
        return scan.Found();
    }
    // Nobody sees the array meanwhile: the records are put in order when all are there.
    const INT_PTR first = GetSize();
    detail::FolderScan scan(wish, [this](CFileInfo& record) { Add(record); });
    WalkWhileMemoryLasts(scan, folder);
    if (detail::IsSorted(sortMode)) {
        detail::PlaceAppended(*this, first, sortMode, folder.GetLength());
    }
    return scan.Found();
}

void SerializeElements(CArchive& ar, CFileInfo* records, INT_PTR count) {
    for (CFileInfo* record = records; record != records + count; ++record) {
        if (ar.IsStoring()) {
            ar << record->m_lParam << record->m_strFilePath << record->m_dwAttributes << record->m_nLength
               << record->m_timCreation << record->m_timLastAccess << record->m_timLastWrite << record->m_dwChecksum
               << record->m_dwCRC << record->m_dwCRCPos << record->m_dwChecksumPos;
        } else {
            ar >> record->m_lParam >> record->m_strFilePath >> record->m_dwAttributes >> record->m_nLength >>
                record->m_timCreation >> record->m_timLastAccess >> record->m_timLastWrite >> record->m_dwChecksum >>
                record->m_dwCRC >> record->m_dwCRCPos >> record->m_dwChecksumPos;
        }
    }
}

}  // namespace kvtfile
