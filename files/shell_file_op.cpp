// CFShellFileOp: two lists of paths become one call of SHFileOperationW.
//
// Invariants: the shell is called only with lists that it reads to their ends, and it finds the title and the buffers
// in the structure only while it runs.
#include "kvtfile/ShellFileOp.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "kvtfile/FileUtil.h"
#include "platform/quiet.h"

namespace kvtfile {

namespace {

constexpr INT_PTR kBlockSize = 10;

// Whether a path takes one place in the shell's list: an empty one would end the list, a NUL would make two of it.
bool FitsIntoList(const CString& path) {
    const size_t shown = std::char_traits<WCHAR>::length(path.GetString());
    return shown != 0 && shown == static_cast<size_t>(path.GetLength());
}

bool FitIntoList(const CStringList& paths) {
    for (POSITION position = paths.GetHeadPosition(); position;) {
        if (!FitsIntoList(paths.GetNext(position))) {
            return false;
        }
    }
    return true;
}

// The bytes of the list: each path and its NUL, and one NUL more.
size_t SizeOfList(const CStringList& paths) {
    size_t bytes = sizeof(WCHAR);
    for (POSITION position = paths.GetHeadPosition(); position;) {
        bytes += (static_cast<size_t>(paths.GetNext(position).GetLength()) + 1) * sizeof(WCHAR);
    }
    return bytes;
}

// The list as the shell takes it. The buffer has as many units as the list has bytes; what is not used is NUL.
std::unique_ptr<WCHAR[]> ListForShell(const CStringList& paths) {
    std::unique_ptr<WCHAR[]> buffer(new (std::nothrow) WCHAR[SizeOfList(paths)]());
    if (!buffer) {
        AfxThrowMemoryException();
    }
    WCHAR* end = buffer.get();
    for (POSITION position = paths.GetHeadPosition(); position;) {
        const CString& path = paths.GetNext(position);
        const size_t units = static_cast<size_t>(path.GetLength());
        std::memcpy(end, path.GetString(), units * sizeof(WCHAR));
        end += units + 1;
    }
    return buffer;
}

// The structure has the lists and the title for as long as this lives.
class LentLists {
public:
    LentLists(SHFILEOPSTRUCTW& operation, LPCWSTR from, LPCWSTR to, LPCWSTR title) : m_operation(operation) {
        m_operation.pFrom = from;
        m_operation.pTo = to;
        m_operation.lpszProgressTitle = title;
    }
    ~LentLists() { m_operation.pFrom = m_operation.pTo = m_operation.lpszProgressTitle = nullptr; }
    LentLists(const LentLists&) = delete;
    LentLists& operator=(const LentLists&) = delete;

private:
    SHFILEOPSTRUCTW& m_operation;
};

}  // namespace

CFShellFileOp::CFShellFileOp() : m_bGoCalled(0), m_lstSourceFiles(kBlockSize), m_lstDestFiles(kBlockSize) {
    Reset();
}

CFShellFileOp::~CFShellFileOp() = default;

void CFShellFileOp::Reset() {
    m_lstSourceFiles.RemoveAll();
    m_lstDestFiles.RemoveAll();
    m_bFlagsSet = 0;
    m_strProgressTitle.Empty();
    m_rFOS = {};
}

int CFShellFileOp::AddSourceFile(LPCWSTR pszPath) {
    m_lstSourceFiles.AddTail(CString(pszPath));
    return 1;
}

int CFShellFileOp::AddSourceFile(CStringArray& arrPaths) {
    INT_PTR added = 0;
    try {
        for (; added < arrPaths.GetSize(); ++added) {
            m_lstSourceFiles.AddTail(arrPaths[added]);
        }
    } catch (...) {
        for (; added > 0; --added) {
            m_lstSourceFiles.RemoveTail();
        }
        throw;
    }
    return 1;
}

int CFShellFileOp::AddDestFile(LPCWSTR pszPath) {
    m_lstDestFiles.AddTail(CString(pszPath));
    FMakeSurePathExists(pszPath, 0);
    return 1;
}

void CFShellFileOp::SetOperationFlags(UINT nOperation, CWnd* pOwner, FILEOP_FLAGS nFlags) {
    m_rFOS.wFunc = nOperation;
    m_rFOS.hwnd = pOwner ? pOwner->GetSafeHwnd() : nullptr;
    m_rFOS.fFlags = nFlags;
    m_bFlagsSet = 1;
}

void CFShellFileOp::SetOperationFlags(UINT nOperation, CWnd* pOwner, int bSilent, int bAllowUndo,
                                      int bWildcardFilesOnly, int bNoConfirmation, int bNoConfirmationToMakeDir,
                                      int bRenameOnCollision, int bSimpleProgressDlg) {
    int flags = 0;
    flags |= bSilent ? FOF_SILENT : 0;
    flags |= bAllowUndo ? FOF_ALLOWUNDO : 0;
    flags |= bWildcardFilesOnly ? FOF_FILESONLY : 0;
    flags |= bNoConfirmation ? FOF_NOCONFIRMATION : 0;
    flags |= bNoConfirmationToMakeDir ? FOF_NOCONFIRMMKDIR : 0;
    flags |= bRenameOnCollision ? FOF_RENAMEONCOLLISION : 0;
    flags |= bSimpleProgressDlg ? FOF_SIMPLEPROGRESS : 0;
    SetOperationFlags(nOperation, pOwner, static_cast<FILEOP_FLAGS>(flags));
}

void CFShellFileOp::SetProgressDlgTitle(LPCWSTR pszTitle) {
    m_strProgressTitle = CString(pszTitle);
}

int CFShellFileOp::Go(int* pbStarted, int* pnApiResult, int* pbAborted) {
    m_bGoCalled = 0;
    if (pbStarted) {
        *pbStarted = 0;
    }
    const bool known = m_rFOS.wFunc >= FO_MOVE && m_rFOS.wFunc <= FO_RENAME;
    if (!m_bFlagsSet || !known || m_lstSourceFiles.IsEmpty() || !FitIntoList(m_lstSourceFiles)) {
        return 0;
    }
    const bool deletes = m_rFOS.wFunc == FO_DELETE;
    const INT_PTR destinations = m_lstDestFiles.GetCount();
    if (!deletes &&
        ((destinations != 1 && destinations != m_lstSourceFiles.GetCount()) || !FitIntoList(m_lstDestFiles))) {
        return 0;
    }
    const std::unique_ptr<WCHAR[]> from = ListForShell(m_lstSourceFiles);
    const std::unique_ptr<WCHAR[]> to = deletes ? nullptr : ListForShell(m_lstDestFiles);
    const LentLists lent(m_rFOS, from.get(), to.get(), m_strProgressTitle);
    if (destinations > 1) {
        m_rFOS.fFlags = static_cast<FILEOP_FLAGS>(m_rFOS.fFlags | FOF_MULTIDESTFILES);
    }
    m_rFOS.fAnyOperationsAborted = FALSE;
    m_bGoCalled = 1;
    if (pbStarted) {
        *pbStarted = 1;
    }
    const int result = ::SHFileOperationW(&m_rFOS);
    if (pnApiResult) {
        *pnApiResult = result;
    }
    if (pbAborted) {
        *pbAborted = m_rFOS.fAnyOperationsAborted;
    }
    return result == 0;
}

int DelFile(CString path) {
    return detail::Quiet(0, [&path] {
        if (!FitsIntoList(path)) {
            return 0;
        }
        CStringList paths;
        paths.AddTail(path);
        const std::unique_ptr<WCHAR[]> from = ListForShell(paths);
        SHFILEOPSTRUCTW operation{};
        operation.wFunc = FO_DELETE;
        operation.pFrom = from.get();
        operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
        return ::SHFileOperationW(&operation) == 0 ? 1 : 0;
    });
}

}  // namespace kvtfile
