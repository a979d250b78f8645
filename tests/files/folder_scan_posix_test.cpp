// Scans over what only a POSIX file system has: links, folders without right, names that are no text, sparse files.

#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "kvtfile/FileInfo.h"
#include "tests/support/support.h"

namespace {

namespace fs = std::filesystem;
using kvtfile::CFileInfo;
using kvtfile::CFileInfoArray;

using Names = std::vector<std::string>;

class FolderScanPosix : public testing::Test {
protected:
    FolderScanPosix() {
        std::string name = (fs::temp_directory_path() / "kvtfile-scan-XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        m_root = name;
    }
    ~FolderScanPosix() override {
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }

    void Write(const std::string& name, const std::string& bytes = "") const {
        std::ofstream(m_root / name, std::ios::binary) << bytes;
    }
    CString Root() const { return CString::FromUtf8(m_root.string() + "/"); }

    Names Scan(int recurse = 1, int folders = 1, CFileInfoArray* records = nullptr) const {
        CFileInfoArray own;
        CFileInfoArray& all = records ? *records : own;
        const int added = all.AddDir(Root(), _T("*"), recurse, 0, folders);
        EXPECT_EQ(added, all.GetSize());
        Names names;
        for (INT_PTR i = 0; i < all.GetSize(); ++i) {
            names.push_back(kvttest::Utf8(all[i].GetFilePath().Mid(Root().GetLength())));
        }
        return names;
    }

    fs::path m_root;
};

TEST_F(FolderScanPosix, LinksToFoldersAreFollowed) {
    fs::create_directories(m_root / "real" / "sub");
    Write("real/sub/f");
    fs::create_directory_symlink("real", m_root / "link");
    fs::create_symlink("real/sub/f", m_root / "linked file");
    fs::create_symlink("nowhere", m_root / "dangling");
    EXPECT_EQ(Scan(), (Names{"link", "link\\sub", "link\\sub\\f", "real", "real\\sub", "real\\sub\\f", "linked file"}));
}

TEST_F(FolderScanPosix, LinksThatLeadUpAreListedAndNotEntered) {
    fs::create_directories(m_root / "a" / "b");
    Write("a/b/f");
    fs::create_directory_symlink(".", m_root / "a" / "itself");
    fs::create_directory_symlink("../..", m_root / "a" / "b" / "up");
    EXPECT_EQ(Scan(), (Names{"a", "a\\b", "a\\b\\up", "a\\b\\f", "a\\itself"}));
}

TEST_F(FolderScanPosix, LinksToEachOtherEnd) {
    fs::create_directories(m_root / "x");
    fs::create_directories(m_root / "y");
    fs::create_directory_symlink("../y", m_root / "x" / "to y");
    fs::create_directory_symlink("../x", m_root / "y" / "to x");
    EXPECT_EQ(Scan(), (Names{"x", "x\\to y", "x\\to y\\to x", "y", "y\\to x", "y\\to x\\to y"}));
}

TEST_F(FolderScanPosix, AFolderIsEnteredThroughOneLink) {
    fs::create_directories(m_root / "real");
    Write("real/f");
    fs::create_directory_symlink("real", m_root / "one");
    fs::create_directory_symlink("real", m_root / "two");
    EXPECT_EQ(Scan(), (Names{"one", "one\\f", "real", "real\\f", "two"}));
}

TEST_F(FolderScanPosix, ManyFoldersThatAreAllLinkedWithEachOtherEnd) {
    constexpr int kFolders = 12;
    for (int i = 0; i < kFolders; ++i) {
        fs::create_directories(m_root / std::to_string(i));
        for (int j = 0; j < kFolders; ++j) {
            if (j != i) {
                fs::create_directory_symlink("../" + std::to_string(j), m_root / std::to_string(i) / std::to_string(j));
            }
        }
    }
    // Each folder as it is and through one link, with its links.
    EXPECT_EQ(Scan().size(), kFolders + 2u * kFolders * (kFolders - 1));
}

TEST_F(FolderScanPosix, AFolderThatTellsNamesAloneCannotBeListed) {
    fs::create_directories(m_root / "names");
    Write("names/f");
    ::chmod(m_root.c_str(), 0755);
    ::chmod((m_root / "names").c_str(), 0444);
    // Root may read everything.
    const int user = ::setfsuid(65534);
    const CString folder = Root() + _T("names");
    WIN32_FIND_DATAW found;
    EXPECT_EQ(::FindFirstFileW(folder + _T("\\*"), &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(::CreateFileW(folder, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                            nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(Scan(), (Names{"names"}));
    ::setfsuid(static_cast<uid_t>(user));
    ::chmod((m_root / "names").c_str(), 0700);
}

TEST_F(FolderScanPosix, NamesThatAreNoTextAreShownAndOpened) {
    Write("ok");
    Write("bad\xFF\x80name", "abcd");
    Write("cut\xE4\xB8", "abcd");
    Write("back\\slash", "abcd");
    CFileInfoArray records;
    EXPECT_EQ(Scan(1, 1, &records).size(), 4u);
    int opened = 0;
    for (INT_PTR i = 0; i < records.GetSize(); ++i) {
        opened += records[i].GetChecksum() == 0x64636261u ? 1 : 0;
        CFileInfo again(records[i].GetFilePath(), 0);
        EXPECT_EQ(again.GetFilePath(), records[i].GetFilePath());
    }
    EXPECT_EQ(opened, 3);
}

TEST_F(FolderScanPosix, FoldersWithoutRightArePassedOver) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    fs::create_directories(m_root / "closed");
    Write("closed/f");
    Write("open");
    ::chmod((m_root / "closed").c_str(), 0);
    EXPECT_EQ(Scan(), (Names{"closed", "open"}));
    ::chmod((m_root / "closed").c_str(), 0700);
}

TEST_F(FolderScanPosix, SizesOver4GiBAndTheirWrappedPositions) {
    Write("large", "abcd");
    constexpr ULONGLONG kSize = (1ULL << 32) + 16384;
    fs::resize_file(m_root / "large", kSize);
    CFileInfoArray records;
    Scan(0, 0, &records);
    ASSERT_EQ(records.GetSize(), 1);
    EXPECT_EQ(records[0].GetLength64(), kSize);
    EXPECT_EQ(records[0].GetLength(), 16384u);
    // From shortly before 4 GiB on: the position wraps, so that it never reaches the length, and the file's end ends
    // it.
    records[0].m_dwCRCPos = records[0].m_dwChecksumPos = 0xFFFFC000;
    EXPECT_EQ(records[0].GetChecksum(0, 0), 0u);
    EXPECT_EQ(records[0].m_dwChecksumPos, 16384u);
    const DWORD code = records[0].GetCRC(0, 0);
    EXPECT_EQ(records[0].m_dwCRCPos, 16384u);
    EXPECT_EQ(code, records[0].m_dwCRC);
    // The same zeros, unfinalised.
    Write("zeros", std::string(32768, '\0'));
    CFileInfo zeros(Root() + _T("zeros"), 0);
    EXPECT_EQ(code, ~zeros.GetCRC());
}

TEST_F(FolderScanPosix, StampsFrom1901To2446) {
    Write("old");
    Write("new");
    const auto set = [this](const char* name, time_t seconds) {
        const timespec times[2] = {{seconds, 0}, {seconds, 999999999}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (m_root / name).c_str(), times, 0), 0);
    };
    set("new", 4417934400);   // 2109-12-30
    set("old", -2147400000);  // 1901-12-14
    CFileInfoArray records;
    Scan(0, 0, &records);
    ASSERT_EQ(records.GetSize(), 2);
    EXPECT_EQ(records[0].GetLastWriteTime().GetYear(), 2109);
    EXPECT_EQ(records[1].GetLastWriteTime().GetYear(), 1901);
    EXPECT_EQ(records[1].GetLastAccessTime().GetYear(), 1901);
}

TEST_F(FolderScanPosix, EntriesThatVanishMeanwhileArePassedOver) {
    // The first record's arrival removes what is still to come.
    class Removing : public CFileInfoArray {
    public:
        explicit Removing(fs::path root) : m_root(std::move(root)) {}

    protected:
        int AddFileInfo(CFileInfo& fi, LONGLONG sortMode) override {
            fs::remove_all(m_root / "a" / "gone");
            fs::remove(m_root / "a" / "gone.txt");
            fs::remove_all(m_root / "b");
            return CFileInfoArray::AddFileInfo(fi, sortMode);
        }

    private:
        fs::path m_root;
    };
    fs::create_directories(m_root / "a" / "gone" / "deeper");
    Write("a/gone.txt");
    Write("a/stays.txt");
    fs::create_directories(m_root / "b");
    Write("b/f");
    Removing records(m_root);
    const int added = records.AddDir(Root(), _T("*"), 1, 0, 1);
    ASSERT_EQ(added, 3);
    EXPECT_EQ(records[1].GetFileName(), _T("stays.txt"));
    // A folder that was seen while it was there.
    EXPECT_EQ(records[2].GetFileName(), _T("b"));
}

TEST_F(FolderScanPosix, PipesAndSocketsAreListedAndNotWaitedFor) {
    ASSERT_EQ(::mkfifo((m_root / "pipe").c_str(), 0600), 0);
    CFileInfoArray records;
    EXPECT_EQ(Scan(1, 1, &records), (Names{"pipe"}));
    EXPECT_EQ(records[0].GetChecksum(), 0u);
    EXPECT_EQ(records[0].GetCRC(), 0xFFFFFFFFu);
}

TEST_F(FolderScanPosix, ATreeThatIsTooDeepForPathsEndsAtTheirLimit) {
    // Deeper than a path can name: made from inside.
    const int start = ::open(m_root.c_str(), O_RDONLY | O_DIRECTORY);
    int at = ::dup(start);
    constexpr int kLevels = 300;
    const std::string name(40, 'd');
    for (int i = 0; i < kLevels; ++i) {
        ASSERT_EQ(::mkdirat(at, name.c_str(), 0700), 0);
        const int next = ::openat(at, name.c_str(), O_RDONLY | O_DIRECTORY);
        ASSERT_GE(next, 0);
        ::close(at);
        at = next;
    }
    ::close(at);
    ::close(start);
    const int found = static_cast<int>(Scan().size());
    EXPECT_GT(found, 90);
    EXPECT_LT(found, kLevels);
}

}  // namespace
