// Files of the seam.

#include <string>
#include <utility>

#include "platform/io/io.h"
#include "tests/support/support.h"

namespace {

using kvtio::Access;
using kvtio::Disposition;
using kvtio::File;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::WriteBytes;

TEST(IoFile, OpenErrorsAreThoseOfTheSystem) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("f")), "x");
    const struct {
        LPCWSTR name;
        Access access;
        Disposition disposition;
        DWORD error;
    } rows[] = {
        {_T("none"), Access::Read, Disposition::OpenExisting, ERROR_FILE_NOT_FOUND},
        {_T("no\\none"), Access::Read, Disposition::OpenExisting, ERROR_PATH_NOT_FOUND},
        {_T("no\\none"), Access::Write, Disposition::CreateAlways, ERROR_PATH_NOT_FOUND},
        {_T("f"), Access::Write, Disposition::CreateNew, ERROR_FILE_EXISTS},
        {_T("a*"), Access::Write, Disposition::CreateAlways, ERROR_INVALID_NAME},
    };
    for (const auto& row : rows) {
        File file;
        ::SetLastError(0);
        EXPECT_EQ(file.Open(folder.Path(row.name), row.access, row.disposition), row.error) << kvttest::Utf8(row.name);
        EXPECT_EQ(::GetLastError(), row.error);
        EXPECT_FALSE(file.IsOpen());
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("f"))), "x");
}

TEST(IoFile, WritesReadsSeeksAndSizes) {
    TestFolder folder;
    File file;
    ASSERT_EQ(file.Open(folder.Path(_T("f")), Access::ReadWrite, Disposition::CreateAlways), 0u);
    EXPECT_EQ(file.Write("abcdef", 6), 0u);
    uint64_t position = 0;
    EXPECT_EQ(file.Seek(-2, FILE_END, position), 0u);
    EXPECT_EQ(position, 4u);
    char bytes[10];
    size_t got = 0;
    EXPECT_EQ(file.Read(bytes, 10, got), 0u);
    EXPECT_EQ(std::string(bytes, got), "ef");
    EXPECT_EQ(file.Read(bytes, 10, got), 0u);
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(file.Seek(-1, FILE_BEGIN, position), DWORD{ERROR_NEGATIVE_SEEK});
    EXPECT_EQ(position, 4u);
    EXPECT_EQ(file.Seek(1, FILE_BEGIN, position), 0u);
    EXPECT_EQ(file.SetSize(3), 0u);
    uint64_t size = 0;
    EXPECT_EQ(file.Size(size), 0u);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(file.Seek(0, FILE_CURRENT, position), 0u);
    EXPECT_EQ(position, 1u);
    EXPECT_EQ(file.Sync(), 0u);
    EXPECT_EQ(file.Close(), 0u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("f"))), "abc");
}

TEST(IoFile, CallsOnAFileThatIsNotOpenAreError6) {
    File file;
    char byte = 0;
    size_t got = 0;
    uint64_t number = 5;
    EXPECT_EQ(file.Read(&byte, 1, got), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Read(&byte, 0, got), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Write("x", 1), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Write("", 0), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Seek(0, FILE_BEGIN, number), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Size(number), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.SetSize(0), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Sync(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(file.Close(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(number, 5u);
}

TEST(IoFile, MovesAndClosesWithItsOwner) {
    TestFolder folder;
    const CString path = folder.Path(_T("f"));
    File first;
    ASSERT_EQ(first.Open(path, Access::Write, Disposition::CreateNew, 0), 0u);
    File second = std::move(first);
    EXPECT_FALSE(first.IsOpen());
    EXPECT_EQ(second.Write("x", 1), 0u);
    second = File();
    File third;
    EXPECT_EQ(third.Open(path, Access::ReadWrite, Disposition::OpenExisting, 0), 0u);
    ::SetLastError(55);
    { const File dying = std::move(third); }
    EXPECT_EQ(::GetLastError(), 55u);
    EXPECT_EQ(ReadBytes(path), "x");
}

TEST(IoFile, OpeningAgainClosesTheFirstFile) {
    TestFolder folder;
    File file;
    ASSERT_EQ(file.Open(folder.Path(_T("a")), Access::Write, Disposition::CreateNew, 0), 0u);
    ASSERT_EQ(file.Open(folder.Path(_T("b")), Access::Write, Disposition::CreateNew, 0), 0u);
    EXPECT_TRUE(::DeleteFileW(folder.Path(_T("a"))));
}

TEST(IoFile, PrivateFilesAreNew) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "x");
    File file;
    EXPECT_EQ(file.OpenPrivate(folder.Path(_T("a"))), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(file.OpenPrivate(folder.Path(_T("b"))), 0u);
    File other;
    EXPECT_EQ(other.Open(folder.Path(_T("b")), Access::Read, Disposition::OpenExisting),
              DWORD{ERROR_SHARING_VIOLATION});
}

TEST(IoFile, RenameAndRemove) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a")), "A");
    WriteBytes(folder.Path(_T("b")), "B");
    EXPECT_EQ(kvtio::Rename(folder.Path(_T("a")), folder.Path(_T("b")), false), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(kvtio::Rename(folder.Path(_T("a")), folder.Path(_T("b")), true), 0u);
    EXPECT_EQ(ReadBytes(folder.Path(_T("b"))), "A");
    EXPECT_EQ(kvtio::SyncFolderOf(folder.Path(_T("b"))), 0u);
    EXPECT_EQ(kvtio::Remove(folder.Path(_T("b"))), 0u);
    EXPECT_EQ(kvtio::Remove(folder.Path(_T("b"))), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(IoFile, PositionsBeyondFourGigabytes) {
    TestFolder folder;
    File file;
    ASSERT_EQ(file.Open(folder.Path(_T("f")), Access::ReadWrite, Disposition::CreateAlways), 0u);
    uint64_t position = 0;
    EXPECT_EQ(file.Seek(0x100000001, FILE_BEGIN, position), 0u);
    EXPECT_EQ(position, 0x100000001u);
    ASSERT_EQ(file.Write("x", 1), 0u);
    uint64_t size = 0;
    EXPECT_EQ(file.Size(size), 0u);
    EXPECT_EQ(size, 0x100000002u);
    EXPECT_EQ(file.SetSize(0), 0u);
}

}  // namespace
