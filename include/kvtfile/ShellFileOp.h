#pragma once

/// @file
/// `CFShellFileOp`: lists of sources and destinations, and one operation of the shell on them.

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// Collects the paths of one shell operation (copy, move, delete, rename) and runs it through `SHFileOperationW`.
///
///     CFShellFileOp op;
///     op.AddSourceFile(_T("C:\\Plans\\*.dwg"));
///     op.AddDestFile(_T("D:\\Archive"));
///     op.SetOperationFlags(FO_COPY, nullptr, FOF_SILENT | FOF_NOCONFIRMATION);
///     int started = 0, result = 0, aborted = 0;
///     if (!op.Go(&started, &result, &aborted) || aborted) { ... }
///
/// Use full paths: relative ones mean the current folder of the moment when `Go` runs. Memory that runs out throws
/// `CMemoryException*`; the lists are then as they were. Not copyable; one object is used by one thread at a time.
class KVTFILE_API CFShellFileOp {
public:
    /// Empty lists, no operation.
    CFShellFileOp();
    ~CFShellFileOp();
    CFShellFileOp(const CFShellFileOp&) = delete;
    CFShellFileOp& operator=(const CFShellFileOp&) = delete;

    /// Empties both lists and the title, and forgets the operation, its flags and its result.
    void Reset();

    /// Adds a path, whose last component may hold wildcards. Null is an empty path, with which `Go` refuses.
    /// @return 1.
    int AddSourceFile(LPCWSTR pszPath);
    /// Adds every path of an array, in order; none of them when the memory does not suffice for all.
    /// @return 1, also for an empty array.
    int AddSourceFile(CStringArray& arrPaths);

    /// Adds a destination and makes it, and the folders above it, as a folder where it is missing; that this failed
    /// shows in the operation. One destination is for all sources, several are one for each.
    ///
    /// Since the destination is a folder then, a copy or move for `d\b.txt` comes to stand at `d\b.txt\a.txt`, and
    /// FO_RENAME finds the new name taken: remove the folder again before `Go` to give a new name.
    /// @return 1.
    int AddDestFile(LPCWSTR pszPath);

    const CStringList& GetSourceFileList() const { return m_lstSourceFiles; }
    const CStringList& GetDestFileList() const { return m_lstDestFiles; }

    /// Says what `Go` does.
    /// @param nOperation FO_MOVE (1), FO_COPY (2), FO_DELETE (3) or FO_RENAME (4); others make `Go` refuse.
    /// @param pOwner     The window that the shell's dialogs belong to; may be null. It is not kept, its handle is.
    /// @param nFlags     FOF_ flags.
    void SetOperationFlags(UINT nOperation, CWnd* pOwner, FILEOP_FLAGS nFlags);
    /// The same with a switch for each flag: FOF_SILENT, FOF_ALLOWUNDO, FOF_FILESONLY (of what a wildcard matches),
    /// FOF_NOCONFIRMATION, FOF_NOCONFIRMMKDIR, FOF_RENAMEONCOLLISION, FOF_SIMPLEPROGRESS (shows the title).
    void SetOperationFlags(UINT nOperation, CWnd* pOwner, int bSilent, int bAllowUndo, int bWildcardFilesOnly,
                           int bNoConfirmation, int bNoConfirmationToMakeDir, int bRenameOnCollision,
                           int bSimpleProgressDlg);

    /// The text of the progress dialog. Null is an empty text.
    void SetProgressDlgTitle(LPCWSTR pszTitle);

    /// Whether the last run, after it had begun, left something undone, because of an answer or a failure. A run that
    /// is refused at its beginning has only a result: look at both.
    BOOL AnyOperationsAborted() const { return m_rFOS.fAnyOperationsAborted; }

    /// Runs the operation. It waits for its end; the lists stay, so that it can be run again.
    ///
    /// Refused, without calling the shell: no operation was set, or it is none of the four; there is no source; unless
    /// it deletes, the destinations are neither one nor as many as the sources; a path is empty or holds a NUL, since
    /// that would end the shell's list early.
    /// @param pbStarted   Receives 1 when the shell was called, else 0. Each of the three pointers may be null.
    /// @param pnApiResult Receives the shell's result, of which only zero or not zero is certain. Unchanged when
    /// refused.
    /// @param pbAborted   Receives whether something was left undone after the run had begun. Unchanged when refused.
    /// @return 1 when the shell's result was 0.
    int Go(int* pbStarted, int* pnApiResult, int* pbAborted);

protected:
    int m_bFlagsSet;
    int m_bGoCalled;
    CStringList m_lstSourceFiles;
    CStringList m_lstDestFiles;
    SHFILEOPSTRUCTW m_rFOS;
    CString m_strProgressTitle;
};

}  // namespace kvtfile
