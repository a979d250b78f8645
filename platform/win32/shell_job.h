#pragma once

/// @file
/// One run of SHFileOperationW: what it was told, the questions it asks, and what became of it.

#include <string>

#include "wintypes.h"

namespace kvtwin {

/// Numbers of the shell beside those of the system.
enum ShellError : DWORD {
    kShellSameFile = 0x71,        ///< source and target are one
    kShellManySources = 0x72,     ///< several sources, one target that can hold but one
    kShellOtherFolder = 0x73,     ///< renaming into another folder
    kShellRoot = 0x74,            ///< the root of a drive
    kShellCancelled = 0x75,       ///< an answer was No
    kShellTargetInSource = 0x76,  ///< the target lies inside the source
    kShellPathTooDeep = 0x79,     ///< a path that is too long
    kShellManyTargets = 0x7A,     ///< targets that do not pair with the sources
    kShellInvalidPath = 0x7C,     ///< a path that cannot be one, or whose folder is missing
    kShellFolderOntoFile = 0x7E,  ///< a file stands where a folder is to come
    kShellFileOntoFolder = 0x80   ///< a folder stands where a file is to come
};

class ShellJob {
public:
    ShellJob(UINT operation, FILEOP_FLAGS flags) : m_operation(operation), m_flags(flags) {}

    bool Has(FILEOP_FLAGS flag) const { return (m_flags & flag) != 0; }
    /// The sources go away, as they do in a rename.
    bool IsMove() const { return m_operation == FO_MOVE || m_operation == FO_RENAME; }
    bool IsCopy() const { return m_operation == FO_COPY; }
    bool IsRename() const { return m_operation == FO_RENAME; }

    /// Asks the user about a path (of the file system), unless there is to be no confirmation.
    /// @param one_of_several The answer Cancel is offered too; it ends the run.
    /// @return Whether the answer was Yes; another one is remembered.
    bool Confirm(const std::u16string& question, bool one_of_several);
    /// The same, asked in any case.
    bool Ask(const std::u16string& question, bool one_of_several);

    /// A user has said Cancel: nothing more is begun.
    bool IsCancelled() const { return m_cancelled; }

    /// Remembers the first error of the run and the path that it is about.
    void Note(DWORD error, const std::string& path);
    bool HasFailed() const { return m_error != 0; }

    /// Changes may have been made: from here on an end before all is done is an abort.
    void Begin() { m_begun = true; }
    BOOL Aborted() const { return m_refused || (m_begun && m_error != 0); }

    /// What the call returns.
    int Code() const;
    /// The same; tells the user of an error, unless that is not wanted.
    int Finish() const;

private:
    UINT m_operation;
    FILEOP_FLAGS m_flags;
    bool m_begun = false;
    bool m_refused = false;
    bool m_cancelled = false;
    DWORD m_error = 0;
    std::string m_error_path;
};

/// The words of a question, with a path as the user knows it.
std::u16string WithPath(std::u16string_view before, const std::string& path, std::u16string_view after);

}  // namespace kvtwin
