// Safe saves: the target is its old or its new self, whatever fails, and nothing is left beside it.

#include <memory>
#include <string>

#include "platform/io/safe_save.h"
#include "tests/platform/io_faults_support.h"
#include "tests/support/support.h"

namespace {

using kvtio::Call;
using kvtio::SafeSave;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

using Mode = SafeSave::Mode;
using Names = std::vector<std::string>;

// A whole save; the first error, or 0.
kvtio::Error Save(const CString& path, Mode mode, const std::string& bytes) {
    SafeSave save;
    if (const kvtio::Error error = save.Open(path, mode)) {
        return error;
    }
    // In two parts, as callers write.
    const size_t half = bytes.size() / 2;
    if (const kvtio::Error error = save.Write(bytes.data(), half)) {
        EXPECT_EQ(save.Write("", 0), error);
        EXPECT_EQ(save.Commit(), error);
        return error;
    }
    if (const kvtio::Error error = save.Write(bytes.data() + half, bytes.size() - half)) {
        EXPECT_EQ(save.Commit(), error);
        return error;
    }
    const kvtio::Error error = save.Commit();
    EXPECT_EQ(save.RescuedCopy(), nullptr);
    return error;
}

TEST(IoSafeSave, ReplacesTheContent) {
    TestFolder folder;
    const CString path = folder.Path(_T("f.txt"));
    WriteBytes(path, "old content");
    SafeSave save;
    ASSERT_EQ(save.Open(path, Mode::Replace), 0u);
    EXPECT_EQ(save.ExistingSize(), 0u);
    EXPECT_EQ(save.Write("new", 3), 0u);
    EXPECT_EQ(ReadBytes(path), "old content");
    EXPECT_EQ(save.Commit(), 0u);
    EXPECT_EQ(ReadBytes(path), "new");
    EXPECT_EQ(folder.Names(), (Names{"f.txt"}));
    EXPECT_EQ(save.Commit(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(save.Write("x", 1), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(ReadBytes(path), "new");
}

TEST(IoSafeSave, NewFileIsCollectedUnderANameForWhichEveryFolderHasRoom) {
    // A folder's path may be so long that a name of eleven characters just fits.
    TestFolder folder;
    SafeSave first;
    SafeSave second;
    ASSERT_EQ(first.Open(folder.Path(_T("a")), Mode::Replace), 0u);
    ASSERT_EQ(second.Open(folder.Path(_T("a")), Mode::Replace), 0u);
    const Names names = folder.Names();
    ASSERT_EQ(names.size(), 2u);
    EXPECT_LE(names[0].size(), 11u) << names[0];
    EXPECT_LE(names[1].size(), 11u) << names[1];
    EXPECT_EQ(second.Commit(), 0u);
    EXPECT_EQ(first.Commit(), 0u);
    EXPECT_EQ(folder.Names(), (Names{"a"}));
}

TEST(IoSafeSave, AppendsToTheOldBytes) {
    TestFolder folder;
    const CString path = folder.Path(_T("f.txt"));
    const std::string old(700000, 'o');
    WriteBytes(path, old);
    SafeSave save;
    ASSERT_EQ(save.Open(path, Mode::Append), 0u);
    EXPECT_EQ(save.ExistingSize(), 700000u);
    EXPECT_EQ(save.Write("new", 3), 0u);
    EXPECT_EQ(save.Commit(), 0u);
    EXPECT_EQ(ReadBytes(path), old + "new");
    EXPECT_EQ(folder.Names(), (Names{"f.txt"}));
}

TEST(IoSafeSave, MissingTargetIsCreatedByCommit) {
    TestFolder folder;
    for (const Mode mode : {Mode::Replace, Mode::Append}) {
        const CString path = folder.Path(mode == Mode::Append ? _T("a") : _T("r"));
        SafeSave save;
        ASSERT_EQ(save.Open(path, mode), 0u);
        EXPECT_EQ(save.ExistingSize(), 0u);
        EXPECT_EQ(save.Write("new", 3), 0u);
        EXPECT_FALSE(kvttest::Exists(path));
        EXPECT_EQ(save.Commit(), 0u);
        EXPECT_EQ(ReadBytes(path), "new");
    }
    EXPECT_EQ(folder.Names(), (Names{"a", "r"}));
}

TEST(IoSafeSave, WithoutCommitNothingHappened) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    for (const Mode mode : {Mode::Replace, Mode::Append}) {
        {
            SafeSave save;
            ASSERT_EQ(save.Open(path, mode), 0u);
            EXPECT_EQ(save.Write("new", 3), 0u);
            ::SetLastError(99);
        }
        EXPECT_EQ(::GetLastError(), 99u);
        EXPECT_EQ(ReadBytes(path), "old");
        EXPECT_EQ(folder.Names(), (Names{"f"}));
    }
}

TEST(IoSafeSave, OpeningAgainDropsTheFirstSave) {
    TestFolder folder;
    SafeSave save;
    ASSERT_EQ(save.Open(folder.Path(_T("a")), Mode::Replace), 0u);
    EXPECT_EQ(save.Write("A", 1), 0u);
    ASSERT_EQ(save.Open(folder.Path(_T("b")), Mode::Replace), 0u);
    EXPECT_EQ(save.Write("B", 1), 0u);
    EXPECT_EQ(save.Commit(), 0u);
    EXPECT_EQ(folder.Names(), (Names{"b"}));
}

TEST(IoSafeSave, UseBeforeOpenIsError6) {
    SafeSave save;
    EXPECT_EQ(save.Write("x", 1), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(save.Commit(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(save.ExistingSize(), 0u);
    EXPECT_EQ(save.RescuedCopy(), nullptr);
}

TEST(IoSafeSave, RefusesWhatTheModesOwnOpenRefuses) {
    TestFolder folder;
    ::CreateDirectoryW(folder.Path(_T("dir")), nullptr);
    WriteBytes(folder.Path(_T("ro")), "old");
    ::SetFileAttributesW(folder.Path(_T("ro")), FILE_ATTRIBUTE_READONLY);
    const struct {
        LPCWSTR name;
        DWORD error;
    } rows[] = {{_T("dir"), ERROR_ACCESS_DENIED},
                {_T("ro"), ERROR_ACCESS_DENIED},
                {_T("no\\f"), ERROR_PATH_NOT_FOUND},
                {_T("ro\\f"), ERROR_PATH_NOT_FOUND},
                {_T("a?b"), ERROR_INVALID_NAME}};
    for (const auto& row : rows) {
        for (const Mode mode : {Mode::Replace, Mode::Append}) {
            SafeSave save;
            ::SetLastError(0);
            EXPECT_EQ(save.Open(folder.Path(row.name), mode), row.error) << kvttest::Utf8(row.name);
            EXPECT_EQ(::GetLastError(), row.error);
            EXPECT_EQ(save.Write("x", 1), DWORD{ERROR_INVALID_HANDLE});
        }
    }
    SafeSave save;
    EXPECT_EQ(save.Open(_T(""), Mode::Replace), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_NE(save.Open(folder.Path(_T("dir\\")), Mode::Replace), 0u);  // 123, but 5 in Wine
    EXPECT_EQ(ReadBytes(folder.Path(_T("ro"))), "old");
    EXPECT_EQ(folder.Names(), (Names{"dir", "ro"}));
}

TEST(IoSafeSave, TargetThatOthersHoldWithoutSharingIsError32) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    const HANDLE holder = ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(Save(path, Mode::Replace, "new"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Save(path, Mode::Append, "new"), DWORD{ERROR_SHARING_VIOLATION});
    ::CloseHandle(holder);
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_EQ(folder.Names(), (Names{"f"}));
}

TEST(IoSafeSave, TargetThatCannotBeReplacedButWrittenIsWrittenInPlace) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    const std::string old(600000, 'o');
    for (const Mode mode : {Mode::Replace, Mode::Append}) {
        WriteBytes(path, old);
        // Held by somebody who lets others write, but not delete or rename.
        const HANDLE holder =
            ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_EQ(Save(path, mode, "new"), 0u);
        ::CloseHandle(holder);
        EXPECT_EQ(ReadBytes(path), mode == Mode::Append ? old + "new" : "new");
        EXPECT_EQ(folder.Names(), (Names{"f"}));
    }
}

TEST(IoSafeSave, AppendToAFileThatOthersChangedMeanwhileIsError32) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    SafeSave save;
    ASSERT_EQ(save.Open(path, Mode::Append), 0u);
    EXPECT_EQ(save.Write("new", 3), 0u);
    WriteBytes(path, "others");
    EXPECT_EQ(save.Commit(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(path), "others");
    EXPECT_EQ(folder.Names(), (Names{"f"}));
}

TEST(IoSafeSave, AttributesAreKept) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    constexpr DWORD kAttributes = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    ASSERT_TRUE(::SetFileAttributesW(path, kAttributes));
    EXPECT_EQ(Save(path, Mode::Append, "new"), 0u);
    EXPECT_EQ(::GetFileAttributesW(path), kAttributes);
    EXPECT_EQ(ReadBytes(path), "oldnew");
}

TEST(IoSafeSave, EmptyContentIsContent) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old");
    EXPECT_EQ(Save(path, Mode::Append, ""), 0u);
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_EQ(Save(path, Mode::Replace, ""), 0u);
    EXPECT_EQ(ReadBytes(path), "");
}

TEST(IoSafeSave, TargetWithTheSpellingOfAnotherCaseIsTheSameFile) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("Name.Txt")), "old");
    EXPECT_EQ(Save(folder.Path(_T("NAME.TXT")), Mode::Append, "new"), 0u);
    EXPECT_EQ(folder.Names().size(), 1u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("Name.Txt"))), "oldnew");
}

TEST(IoSafeSave, RelativePathsAreSavedInTheCurrentFolder) {
    TestFolder folder;
    WCHAR before[MAX_PATH + 1];
    ASSERT_GT(::GetCurrentDirectoryW(MAX_PATH + 1, before), 0u);
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path()));
    EXPECT_EQ(Save(_T("relative"), Mode::Replace, "new"), 0u);
    EXPECT_EQ(Save(_T("relative"), Mode::Append, "er"), 0u);
    EXPECT_TRUE(::SetCurrentDirectoryW(before));
    EXPECT_EQ(ReadBytes(folder.Path(_T("relative"))), "newer");
}

TEST(IoSafeSave, DiskThatFillsUpLeavesTheOldFileWhole) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    for (const bool exists : {true, false}) {
        for (const size_t room : {size_t{0}, size_t{1}, size_t{5}, size_t{9}}) {
            if (exists) {
                WriteBytes(path, "old content");
            }
            kvttest::Faults faults;
            faults.LimitDisk(room);
            EXPECT_EQ(Save(path, Mode::Replace, "new content that is longer"), DWORD{ERROR_DISK_FULL}) << room;
        }
        EXPECT_EQ(folder.Names(), exists ? Names{"f"} : Names{});
        if (exists) {
            EXPECT_EQ(ReadBytes(path), "old content");
            ::DeleteFileW(path);
        }
    }
}

// ---- Every call in turn ----

struct FaultCase {
    Call call;
    Mode mode;
    bool exists;
    bool in_place;  // the rename is refused, so the target is written where it is
};

class IoSafeSaveFaults : public testing::TestWithParam<FaultCase> {};

TEST_P(IoSafeSaveFaults, LeaveTheTargetOldOrNewAndNothingBeside) {
    const FaultCase& row = GetParam();
    const std::string old(300000, 'o');
    const std::string added(300001, 'n');
    const std::string whole = row.mode == Mode::Append && row.exists ? old + added : added;
    bool reached = true;
    for (int n = 1; reached && n < 100; ++n) {
        TestFolder folder;
        const CString path = folder.Path(_T("f"));
        if (row.exists) {
            WriteBytes(path, old);
        }
        kvtio::Error error = 0;
        int made = 0;
        {
            kvttest::Faults faults;
            if (row.in_place) {
                faults.FailAll(Call::Rename, ERROR_ACCESS_DENIED);
            }
            faults.FailNth(row.call, n, ERROR_IO_DEVICE);
            error = Save(path, row.mode, added);
            made = faults.Count(row.call);
        }
        reached = made >= n;
        const std::string now = kvttest::Exists(path) ? ReadBytes(path) : std::string("missing");
        if (error == 0) {
            EXPECT_TRUE(now == whole) << "call " << n << " failed unnoticed, size " << now.size();
        } else {
            const std::string before = row.exists ? old : std::string("missing");
            // The last steps, closing and the folder's sync, may fail when the new content is already there.
            EXPECT_TRUE(now == before || now == whole) << "call " << n << ", size " << now.size();
        }
        EXPECT_EQ(folder.Names(), now == "missing" ? Names{} : Names{"f"}) << "call " << n;
        if (!reached) {
            EXPECT_EQ(error, row.in_place && !row.exists ? DWORD{ERROR_ACCESS_DENIED} : DWORD{0});
        }
    }
    EXPECT_FALSE(reached);
}

std::vector<FaultCase> FaultCases() {
    std::vector<FaultCase> cases;
    for (const Call call : {Call::Open, Call::Read, Call::Write, Call::Seek, Call::Size, Call::SetSize, Call::Sync,
                            Call::Close, Call::Rename, Call::Remove, Call::SyncFolder, Call::Attributes}) {
        for (const Mode mode : {Mode::Replace, Mode::Append}) {
            for (const bool exists : {true, false}) {
                for (const bool in_place : {false, true}) {
                    if (!(in_place && call == Call::Rename)) {
                        cases.push_back({call, mode, exists, in_place});
                    }
                }
            }
        }
    }
    return cases;
}

std::string NameOf(const testing::TestParamInfo<FaultCase>& row) {
    static const char* const kNames[] = {"Open", "Read",  "Write",  "Seek",   "Size",       "SetSize",
                                         "Sync", "Close", "Rename", "Remove", "SyncFolder", "Attributes"};
    const FaultCase& what = row.param;
    return std::string(kNames[static_cast<int>(what.call)]) + (what.mode == Mode::Append ? "Append" : "Replace") +
           (what.exists ? "Existing" : "New") + (what.in_place ? "InPlace" : "");
}

INSTANTIATE_TEST_SUITE_P(Calls, IoSafeSaveFaults, testing::ValuesIn(FaultCases()), NameOf);

TEST(IoSafeSave, OldBytesThatCannotBePutBackStayInARescuedCopy) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    WriteBytes(path, "old content");
    CString rescued;
    {
        SafeSave save;
        ASSERT_EQ(save.Open(path, Mode::Replace), 0u);
        ASSERT_EQ(save.Write("new", 3), 0u);
        kvttest::Faults faults;
        faults.FailAll(Call::Rename, ERROR_ACCESS_DENIED);
        faults.FailAll(Call::SetSize, ERROR_IO_DEVICE);
        EXPECT_EQ(save.Commit(), DWORD{ERROR_IO_DEVICE});
        ASSERT_NE(save.RescuedCopy(), nullptr);
        rescued = save.RescuedCopy();
    }
    EXPECT_EQ(ReadBytes(rescued), "old content");
    EXPECT_TRUE(::DeleteFileW(rescued));
    EXPECT_EQ(folder.Names(), (Names{"f"}));
}

TEST(IoSafeSave, RefusedRenameIsRepeatedAFewTimesAtMost) {
    TestFolder folder;
    const CString path = folder.Path(_T("new"));
    kvttest::Faults faults;
    faults.FailAll(Call::Rename, ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Save(path, Mode::Replace, "new"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_LE(faults.Count(Call::Rename), 10);
    EXPECT_EQ(folder.Names(), Names{});
}

}  // namespace
