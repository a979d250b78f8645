// All-or-nothing writing of a file.
//
// The new content is collected in a private file. When it stands beside the target it takes its place in one step;
// else, or when that step is refused, the target is written in place under the protection of a full copy of its old
// bytes (for an append: of its old size). Invariants: until Commit the target is not touched; whatever fails, the
// target holds the old or the new content and the private files are gone, but for a copy of the old bytes that could
// not be put back, which RescuedCopy names.

#include "platform/io/safe_save.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "platform/io/faults.h"
#include "platform/io/raw.h"

namespace kvtio {

namespace {

constexpr int kTries = 6;
constexpr DWORD kPause = 20;  // milliseconds between two tries
constexpr size_t kPart = 1 << 18;

constinit std::atomic<unsigned> g_next_name{0};

// Does something that another program's look at the file may hinder for a moment.
template <typename Action>
Error TryPatiently(Action action) {
    for (int i = 1;; ++i) {
        const Error error = action();
        if (error == ERROR_SUCCESS || i == kTries || !raw::MayPass(error)) {
            return error;
        }
        ::Sleep(kPause);
    }
}

Path FolderOf(const Path& path) {
    const size_t end = path.find_last_of(_T("\\/:"));
    return end == Path::npos ? Path() : path.substr(0, end + 1);
}

Path TemporaryFolder() {
    WCHAR folder[MAX_PATH + 1];
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
    return length <= MAX_PATH ? Path(folder, length) : Path();
}

// A name that hardly any other save uses; a file that bears it already is never touched. It is short, so that it fits
// wherever Windows lets a folder be made: the longest path of a folder leaves room for eleven characters.
Path PrivateName() {
    constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;  // mixes what differs into the upper bits
    const uint64_t number =
        kSpread * (uint64_t{::GetCurrentProcessId()} << 24 ^ g_next_name++ ^ ::GetTickCount64() << 8);
    Path name = _T("~");
    for (int shift = 59; shift >= 34; shift -= 5) {
        name += _T("0123456789abcdefghijklmnopqrstuv")[number >> shift & 31];
    }
    return name += _T(".tmp");
}

enum class Openable { ByUser, AsUsual };

Error CreateTemporary(const Path& folder, Openable openable, File& file, Path& path) {
    for (int i = 0; i < kTries; ++i) {
        path = folder + PrivateName();
        const Error error = openable == Openable::ByUser
                                ? file.OpenPrivate(path.c_str())
                                : file.Open(path.c_str(), Access::ReadWrite, Disposition::CreateNew, 0);
        if (error != ERROR_FILE_EXISTS) {
            return error;
        }
    }
    return ERROR_FILE_EXISTS;
}

// Appends `count` bytes (or all that are left) of one file, from its file pointer on, to another.
Error CopyBytes(File& from, File& to, uint64_t count) {
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[kPart]);
    if (!buffer) {
        return Report(ERROR_NOT_ENOUGH_MEMORY);
    }
    while (count > 0) {
        size_t got = 0;
        const size_t part = static_cast<size_t>(std::min<uint64_t>(count, kPart));
        if (const Error error = from.Read(buffer.get(), part, got)) {
            return error;
        }
        if (const Error error = to.Write(buffer.get(), got)) {
            return error;
        }
        count -= got;
        if (got < part) {
            return Report(ERROR_HANDLE_EOF);
        }
    }
    return ERROR_SUCCESS;
}

Error SeekTo(File& file, uint64_t position) {
    uint64_t ignored = 0;
    return file.Seek(static_cast<int64_t>(position), FILE_BEGIN, ignored);
}

}  // namespace

struct SafeSave::State {
    Path target;
    Mode mode = Mode::Replace;
    bool exists = false;  // at Open
    bool beside = false;  // the staging file stands in the target's folder and holds the whole new content
    bool failed = false;
    Error failure = ERROR_SUCCESS;
    raw::Target nature;
    uint64_t old_size = 0;   // of the target, when it existed
    uint64_t new_bytes = 0;  // that were written to this save
    File staging;
    Path staging_path;
    Path rescued;

    ~State() { DropStaging(); }

    Error Fail(Error error) {
        failed = true;
        failure = error;
        return Report(error);
    }

    void DropStaging() {
        if (staging.IsOpen()) {
            staging.Close();
        }
        if (!staging_path.empty()) {
            ::DeleteFileW(staging_path.c_str());
            staging_path.clear();
        }
    }

    Error ProbeTarget();
    Error CreateStaging();
    Error CopyOldContent();
    Error CheckUnchanged();
    Error Replace();
    Error WriteInPlace();
    Error AppendInPlace(File& file);
    Error OverwriteInPlace(File& file);
    Error Overwrite(File& file, File& content, uint64_t size);
};

// Opens the target as the save will have to, without touching it.
Error SafeSave::State::ProbeTarget() {
    File file;
    const Access access = mode == Mode::Append ? Access::ReadWrite : Access::Write;
    Error error = TryPatiently([&] { return file.Open(target.c_str(), access, Disposition::OpenExisting); });
    if (error == ERROR_FILE_NOT_FOUND) {
        return ERROR_SUCCESS;
    }
    if (error) {
        return error;
    }
    exists = true;
    if ((error = raw::Examine(target.c_str(), nature))) {
        return error;
    }
    if (nature.read_only) {
        return ERROR_ACCESS_DENIED;
    }
    return nature.plain ? file.Size(old_size) : ERROR_SUCCESS;
}

Error SafeSave::State::CreateStaging() {
    Error error = ERROR_ACCESS_DENIED;
    if (nature.replaceable) {
        // What becomes a new file is made as any new file; what replaces one gets that one's permissions before it is
        // seen.
        error = CreateTemporary(FolderOf(target), exists ? Openable::ByUser : Openable::AsUsual, staging, staging_path);
        beside = error == ERROR_SUCCESS;
    }
    // A file that exists can still be written where it is; a new one would have to be made in its folder.
    if (error && exists) {
        error = CreateTemporary(TemporaryFolder(), Openable::ByUser, staging, staging_path);
    }
    if (error) {
        staging_path.clear();
    }
    return error;
}

Error SafeSave::State::CopyOldContent() {
    if (mode == Mode::Replace || !exists || !beside || old_size == 0) {
        return ERROR_SUCCESS;
    }
    File file;
    if (const Error error = TryPatiently(
            [&] { return file.Open(target.c_str(), Access::Read, Disposition::OpenExisting, ShareAll); })) {
        return error;
    }
    return CopyBytes(file, staging, old_size);
}

// An append extends the bytes that it found: others must not have changed them meanwhile.
Error SafeSave::State::CheckUnchanged() {
    if (mode == Mode::Replace || !exists || !nature.plain) {
        return ERROR_SUCCESS;
    }
    raw::Target now;
    File file;
    uint64_t size = 0;
    if (const Error error = raw::Examine(target.c_str(), now)) {
        return error;
    }
    if (const Error error = file.Open(target.c_str(), Access::Read, Disposition::OpenExisting)) {
        return error;
    }
    if (const Error error = file.Size(size)) {
        return error;
    }
    const bool same = size == old_size && ::CompareFileTime(&now.written, &nature.written) == 0;
    return same ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION;
}

// Puts the staging file in the target's place. Where that is refused, a target that exists is written in place.
Error SafeSave::State::Replace() {
    Error error = staging.Sync();
    if (!error) {
        error = staging.Close();
    }
    if (error) {
        return error;
    }
    if (exists && !(error = AskHook(Call::Attributes, target.c_str()))) {
        error = raw::CopyNature(target.c_str(), staging_path.c_str());
    }
    if (!error) {
        error = TryPatiently([&] { return Rename(staging_path.c_str(), target.c_str(), true); });
    }
    if (!error) {
        staging_path.clear();
        return SyncFolderOf(target.c_str());
    }
    if (!exists) {
        return error;
    }
    error = staging.Open(staging_path.c_str(), Access::Read, Disposition::OpenExisting);
    return error ? error : WriteInPlace();
}

// Makes the file hold `size` bytes of `content`, from its start.
Error SafeSave::State::Overwrite(File& file, File& content, uint64_t size) {
    Error error = SeekTo(content, 0);
    if (!error) {
        error = SeekTo(file, 0);
    }
    if (!error) {
        error = CopyBytes(content, file, size);
    }
    if (!error) {
        error = file.SetSize(size);
    }
    return error ? error : file.Sync();
}

Error SafeSave::State::OverwriteInPlace(File& file) {
    File backup;
    Path backup_path;
    Error error = CreateTemporary(TemporaryFolder(), Openable::ByUser, backup, backup_path);
    if (error) {
        return error;
    }
    uint64_t size = 0;
    if (!(error = file.Size(size)) && !(error = CopyBytes(file, backup, size))) {
        error = backup.Sync();
    }
    bool whole = true;
    if (!error && (error = Overwrite(file, staging, new_bytes))) {
        whole = Overwrite(file, backup, size) == ERROR_SUCCESS;
    }
    backup.Close();
    if (whole) {
        ::DeleteFileW(backup_path.c_str());
    } else {
        rescued = backup_path;
    }
    return error;
}

Error SafeSave::State::AppendInPlace(File& file) {
    Error error = SeekTo(file, old_size);
    if (!error && !(error = CopyBytes(staging, file, new_bytes))) {
        error = file.Sync();
    }
    if (error) {
        // The old bytes were not touched: cutting the file gives them back.
        file.SetSize(old_size);
    }
    return error;
}

Error SafeSave::State::WriteInPlace() {
    File file;
    const Access access = nature.plain ? Access::ReadWrite : Access::Write;
    Error error = file.Open(target.c_str(), access, Disposition::OpenExisting);
    if (error) {
        return error;
    }
    // What stands beside holds the old content of an append in front.
    const uint64_t skipped = beside && mode == Mode::Append ? old_size : 0;
    if ((error = SeekTo(staging, skipped))) {
        return error;
    }
    if (!nature.plain) {
        error = CopyBytes(staging, file, new_bytes);
    } else if (mode == Mode::Append) {
        error = AppendInPlace(file);
    } else {
        error = OverwriteInPlace(file);
    }
    const Error closed = file.Close();
    return error ? error : closed;
}

SafeSave::SafeSave() = default;

SafeSave::~SafeSave() {
    if (m_state) {
        const DWORD last = ::GetLastError();
        m_state.reset();
        ::SetLastError(last);
    }
}

Error SafeSave::Open(LPCWSTR target, Mode mode) {
    m_state.reset();
    try {
        auto state = std::make_unique<State>();
        state->mode = mode;
        Error error = raw::FollowLinks(target, state->target);
        if (!error) {
            error = state->ProbeTarget();
        }
        if (!error) {
            error = state->CreateStaging();
        }
        if (!error) {
            error = state->CopyOldContent();
        }
        if (error) {
            state.reset();
            return Report(error);
        }
        m_state = std::move(state);
        return ERROR_SUCCESS;
    } catch (const std::bad_alloc&) {
        return Report(ERROR_NOT_ENOUGH_MEMORY);
    }
}

uint64_t SafeSave::ExistingSize() const {
    return m_state && m_state->mode == Mode::Append ? m_state->old_size : 0;
}

Error SafeSave::Write(const void* bytes, size_t count) {
    if (!m_state) {
        return Report(ERROR_INVALID_HANDLE);
    }
    if (m_state->failed) {
        return Report(m_state->failure);
    }
    if (const Error error = m_state->staging.Write(bytes, count)) {
        return m_state->Fail(error);
    }
    m_state->new_bytes += count;
    return ERROR_SUCCESS;
}

Error SafeSave::Commit() {
    if (!m_state) {
        return Report(ERROR_INVALID_HANDLE);
    }
    State& state = *m_state;
    Error error = state.failed ? state.failure : state.CheckUnchanged();
    if (!error) {
        error = state.beside ? state.Replace() : state.WriteInPlace();
    }
    state.DropStaging();
    if (error) {
        return state.Fail(error);
    }
    state.failed = true;  // a save is committed once
    state.failure = ERROR_INVALID_HANDLE;
    return ERROR_SUCCESS;
}

LPCWSTR SafeSave::RescuedCopy() const {
    return m_state && !m_state->rescued.empty() ? m_state->rescued.c_str() : nullptr;
}

}  // namespace kvtio
