#pragma once

/// @file
/// All-or-nothing writing of a file.
#include <memory>

#include "io.h"

namespace kvtio {

/// Writes a file so that it holds either its old content or the whole of the new one, whatever happens.
///
/// The bytes go to a private file beside the target (created exclusively, in the same folder), which is synced and
/// then takes the target's place in one step; then the folder is synced. The new file keeps the target's attributes,
/// permissions and, where the system lets us, its owner. A symbolic link stays, the file it leads to is replaced.
/// Where nothing can take the target's place (a folder in which no file may be created, a file with several hard
/// links, a device), the target is written in place at Commit, after a full copy of its old bytes was kept; when that
/// write fails the old bytes are put back, and the error is reported.
class SafeSave {
public:
    enum class Mode {
        Replace,  ///< The new content is what is written.
        Append    ///< The new content is the old one followed by what is written.
    };

    SafeSave();
    SafeSave(const SafeSave&) = delete;
    SafeSave& operator=(const SafeSave&) = delete;
    /// Without a successful Commit: as after a failed one.
    ~SafeSave();

    /// Begins a save. A target that cannot be opened for writing (read-only, a folder, no right, in use by others
    /// without sharing) or created (missing folder, bad name) is refused with the error that opening it gives, and
    /// stays as it was. A target that does not exist is created by Commit, not before.
    Error Open(LPCWSTR target, Mode mode);

    /// Size in bytes of the target's content that is kept in front (Append); 0 for Replace and for a new file.
    uint64_t ExistingSize() const;

    /// Adds bytes to the new content. After a failure every further call returns that error.
    Error Write(const void* bytes, size_t count);

    /// Makes the new content the target's. On failure: the system's error, the target whole as it was (or, when only
    /// the sync of the folder failed, whole with its new content), nothing left beside it. Error 32: others changed the
    /// file that was to be appended to. Exception: when the target had to be written in place and putting the old bytes
    /// back failed too, the error is returned and the full copy of the old bytes stays at RescuedCopy.
    Error Commit();

    /// Path of the copy of the old bytes that a failed Commit had to leave; null when the target is whole.
    LPCWSTR RescuedCopy() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace kvtio
