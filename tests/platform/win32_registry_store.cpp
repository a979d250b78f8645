// The file of the registry: how it is made, and what becomes of calls when it is damaged, locked, read-only, of another
// kind or replaced.

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "kvtfile/Registry.h"
#include "platform/win32/environment.h"
#include "platform/win32/registry_database.h"
#include "platform/win32/registry_handles.h"
#include "tests/platform/registry_support.h"

namespace {

using namespace kvttest::registry;
using kvttest::Hex;

namespace fs = std::filesystem;

std::string StorePath() {
    return std::string(kvtwin::Env().prefix) + "/registry.db";
}

void RemoveStore() {
    kvtwin::CloseRegistryStore();
    for (const char* end : {"", "-wal", "-shm", "-journal"}) {
        fs::remove_all(StorePath() + end);
    }
}

// Another program at the same file.
class OtherProgram {
public:
    OtherProgram() { EXPECT_EQ(sqlite3_open(StorePath().c_str(), &m_database), SQLITE_OK); }
    ~OtherProgram() { sqlite3_close(m_database); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    void Run(const char* sql) { EXPECT_EQ(sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql; }
    std::string Text(const char* sql) {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr), SQLITE_OK) << sql;
        std::string text;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const auto* column = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
            text += (text.empty() ? "" : ",") + std::string(column ? column : "null");
        }
        sqlite3_finalize(statement);
        return text;
    }

private:
    sqlite3* m_database = nullptr;
};

std::string FileBytes(const std::string& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

class Win32RegistryStore : public testing::Test {
protected:
    void SetUp() override { RemoveStore(); }
    void TearDown() override {
        fs::permissions(kvtwin::Env().prefix, fs::perms::owner_all);
        kvtwin::RegistryDatabase::busy_limit = m_busy_limit;
        RemoveStore();
    }

private:
    const std::chrono::milliseconds m_busy_limit = kvtwin::RegistryDatabase::busy_limit;
};

const CString kPath = _T("Software\\Test");

// A store with something in it, closed.
void FillStore(int values = 3) {
    {
        const Handle key = Create(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
        for (int i = 0; i < values; ++i) {
            CString name;
            name.Format(_T("v%d"), i);
            EXPECT_EQ(SetBytes(key, name, "value " + std::to_string(i)), 0);
        }
    }
    kvtwin::CloseRegistryStore();
}

void ExpectEveryCallFails(LSTATUS error) {
    DWORD number = 0;
    WCHAR name[10];
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath, KEY_READ), error);
    EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath), error);
    EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_USER, kPath), error);
    EXPECT_EQ(::RegEnumKeyW(HKEY_CURRENT_USER, 0, name, 10), error);
    EXPECT_EQ(::RegQueryInfoKeyW(HKEY_CURRENT_USER, nullptr, nullptr, nullptr, &number, nullptr, nullptr, nullptr,
                                 nullptr, nullptr, nullptr, nullptr),
              error);
    EXPECT_EQ(::RegQueryValueExW(HKEY_CURRENT_USER, _T("v"), nullptr, nullptr, nullptr, nullptr), error);
    EXPECT_EQ(SetBytes(HKEY_CURRENT_USER, _T("v"), "1"), error);
    EXPECT_EQ(::RegDeleteValueW(HKEY_CURRENT_USER, _T("v")), error);
    EXPECT_EQ(::RegFlushKey(HKEY_CURRENT_USER), error);
}

TEST_F(Win32RegistryStore, IsMadeAtTheFirstCall) {
    EXPECT_FALSE(fs::exists(StorePath()));
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, _T("none")), LSTATUS{ERROR_FILE_NOT_FOUND});
    EXPECT_TRUE(fs::exists(StorePath()));
}

TEST_F(Win32RegistryStore, HasTheDocumentedForm) {
    FillStore();
    OtherProgram other;
    EXPECT_EQ(other.Text("PRAGMA application_id"), std::to_string(0x4B565247));
    EXPECT_EQ(other.Text("PRAGMA user_version"), "1");
    EXPECT_EQ(other.Text("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(other.Text("PRAGMA encoding"), "UTF-16le");
    EXPECT_EQ(other.Text("SELECT cast(name AS TEXT) FROM key WHERE id BETWEEN 2 AND 9 ORDER BY id"),
              "MACHINE,USER,SOFTWARE,Classes,SYSTEM,CurrentControlSet,Hardware Profiles,Current");
    EXPECT_EQ(other.Text("SELECT cast(v.name AS TEXT) FROM value v JOIN key k ON k.id = v.key WHERE cast(k.name AS "
                         "TEXT) = 'Sub' ORDER BY position"),
              "v0,v1,v2");
    EXPECT_EQ(other.Text("SELECT hex(fold) FROM key WHERE cast(name AS TEXT) = 'Sub'"), "005300550042");
    EXPECT_EQ(
        other.Text("SELECT count(*) FROM key k WHERE subkeys <> (SELECT count(*) FROM key c WHERE c.parent = k.id)"),
        "0");
    EXPECT_EQ(other.Text("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(other.Text("PRAGMA foreign_key_check"), "");
}

TEST_F(Win32RegistryStore, ClosingLeavesOneFileWithEverything) {
    FillStore();
    EXPECT_FALSE(fs::exists(StorePath() + "-wal"));
    const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
    EXPECT_EQ(GetValue(key, _T("v2")).bytes, "value 2");
}

TEST_F(Win32RegistryStore, FlushMovesTheLogIntoTheFile) {
    const Handle key = Create(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(SetBytes(key, _T("v"), "flushed to the file itself"), 0);
    EXPECT_EQ(FileBytes(StorePath()).find("flushed to the file itself"), std::string::npos);
    EXPECT_EQ(::RegFlushKey(key), 0);
    EXPECT_NE(FileBytes(StorePath()).find("flushed to the file itself"), std::string::npos);
}

TEST_F(Win32RegistryStore, NewerVersionIsError1306AndStaysAsItIs) {
    FillStore();
    OtherProgram().Run("PRAGMA user_version = 2");
    const std::string before = FileBytes(StorePath());
    ExpectEveryCallFails(ERROR_REVISION_MISMATCH);
    kvtwin::CloseRegistryStore();
    EXPECT_TRUE(FileBytes(StorePath()) == before);
}

TEST_F(Win32RegistryStore, DatabaseOfAnotherProgramIsError1009AndStaysAsItIs) {
    OtherProgram().Run("CREATE TABLE theirs (x); INSERT INTO theirs VALUES (1)");
    const std::string before = FileBytes(StorePath());
    ExpectEveryCallFails(ERROR_BADDB);
    kvtwin::CloseRegistryStore();
    EXPECT_TRUE(FileBytes(StorePath()) == before);
}

TEST_F(Win32RegistryStore, FileOfAnotherKindIsError1009AndStaysAsItIs) {
    for (const std::string& bytes : {std::string("x"), std::string(600, 'x'), std::string(20000, '\0'),
                                     "SQLite format 3" + std::string(5000, '\xFF')}) {
        SCOPED_TRACE(Hex(bytes.substr(0, 20)) + " and so on, " + std::to_string(bytes.size()));
        RemoveStore();
        WriteFile(StorePath(), bytes);
        ExpectEveryCallFails(ERROR_BADDB);
        kvtwin::CloseRegistryStore();
        EXPECT_TRUE(FileBytes(StorePath()) == bytes);
    }
}

TEST_F(Win32RegistryStore, EmptyFileBecomesAStore) {
    WriteFile(StorePath(), "");
    FillStore();
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath), 0);
}

TEST_F(Win32RegistryStore, FolderInPlaceOfTheFileIsError5) {
    fs::create_directory(StorePath());
    ExpectEveryCallFails(ERROR_ACCESS_DENIED);
}

// Runs calls of every kind on a store that is damaged somehow: any error will do, and each must come back.
void UseDamagedStore() {
    const auto known = [](LSTATUS error) {
        for (const DWORD expected :
             {DWORD{0}, ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_INVALID_PARAMETER, ERROR_NO_MORE_ITEMS,
              ERROR_BADDB, ERROR_REGISTRY_CORRUPT, ERROR_REGISTRY_IO_FAILED, ERROR_KEY_DELETED, ERROR_REVISION_MISMATCH,
              ERROR_NOT_ENOUGH_MEMORY, ERROR_MORE_DATA}) {
            if (static_cast<DWORD>(error) == expected) {
                return true;
            }
        }
        return false;
    };
    HKEY key = nullptr;
    LSTATUS error = ::RegOpenKeyExW(HKEY_CURRENT_USER, kPath + _T("\\Sub"), 0, KEY_ALL_ACCESS, &key);
    EXPECT_TRUE(known(error)) << error;
    const Handle closed(key);
    for (const HKEY target : {key, HKEY_CURRENT_USER}) {
        if (!target) {
            continue;
        }
        WCHAR name[300];
        BYTE data[100];
        for (DWORD i = 0; i < 60; ++i) {
            DWORD length = 300;
            DWORD size = 100;
            error = ::RegEnumValueW(target, i, name, &length, nullptr, nullptr, data, &size);
            EXPECT_TRUE(known(error)) << error;
            error = ::RegEnumKeyW(target, i, name, 300);
            EXPECT_TRUE(known(error)) << error;
        }
        DWORD number = 0;
        error = ::RegQueryInfoKeyW(target, nullptr, nullptr, nullptr, &number, &number, &number, &number, &number,
                                   &number, nullptr, nullptr);
        EXPECT_TRUE(known(error)) << error;
        EXPECT_TRUE(known(GetValue(target, _T("v1")).error));
        error = SetBytes(target, _T("new"), std::string(3000, 'n'));
        EXPECT_TRUE(known(error)) << error;
        error = ::RegDeleteValueW(target, _T("v2"));
        EXPECT_TRUE(known(error)) << error;
        error = CreateError(target, _T("below\\new"));
        EXPECT_TRUE(known(error)) << error;
        error = ::RegDeleteKeyW(target, _T("below\\new"));
        EXPECT_TRUE(known(error)) << error;
    }
}

TEST_F(Win32RegistryStore, DamagedTablesAreError1015) {
    FillStore(200);
    std::string bytes = FileBytes(StorePath());
    for (size_t page = 1; page * 4096 < bytes.size(); ++page) {
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(page * 4096), 4096, '\xFF');
    }
    WriteFile(StorePath(), bytes);
    ExpectEveryCallFails(ERROR_REGISTRY_CORRUPT);
    kvtwin::CloseRegistryStore();
    EXPECT_TRUE(FileBytes(StorePath()) == bytes);
}

TEST_F(Win32RegistryStore, AnyDamagedPageIsAnErrorAndNoCrash) {
    FillStore(200);
    const std::string whole = FileBytes(StorePath());
    unsigned random = 1;
    for (size_t page = 0; page * 4096 < whole.size(); ++page) {
        for (int kind = 0; kind < 4; ++kind) {
            std::string bytes = whole;
            char* start = bytes.data() + page * 4096;
            for (size_t i = page == 0 ? 24 : 0; i < 4096; ++i) {
                random = random * 1664525 + 1013904223;
                const auto byte = static_cast<char>(random >> 24);
                start[i] = kind == 0 ? '\0' : kind == 1 ? byte : (random >> 8) % 64 == 0 ? byte : start[i];
            }
            RemoveStore();
            WriteFile(StorePath(), bytes);
            UseDamagedStore();
        }
    }
}

TEST_F(Win32RegistryStore, CutFileIsAnErrorAndNoCrash) {
    FillStore(200);
    const std::string whole = FileBytes(StorePath());
    for (size_t size = 1; size < whole.size(); size += 1500) {
        RemoveStore();
        WriteFile(StorePath(), whole.substr(0, size));
        UseDamagedStore();
    }
}

TEST_F(Win32RegistryStore, LogOfAnyBytesIsNoCrashAndLosesNothingOfTheFile) {
    FillStore();
    for (const std::string& log : {std::string("x"), std::string(5000, '\xFF'), std::string(40, '\0')}) {
        kvtwin::CloseRegistryStore();
        WriteFile(StorePath() + "-wal", log);
        const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
        EXPECT_EQ(GetValue(key, _T("v1")).bytes, "value 1");
    }
}

TEST_F(Win32RegistryStore, LockedStoreIsReadAndWritesAreError170AfterTheLimit) {
    FillStore();
    const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
    kvtwin::RegistryDatabase::busy_limit = std::chrono::milliseconds(20);
    OtherProgram other;
    other.Run("BEGIN IMMEDIATE");
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "value 1");
    EXPECT_EQ(SetBytes(key, _T("v1"), "new"), LSTATUS{ERROR_BUSY});
    EXPECT_EQ(CreateError(key, _T("new")), LSTATUS{ERROR_BUSY});
    EXPECT_EQ(::RegDeleteValueW(key, _T("v1")), LSTATUS{ERROR_BUSY});
    other.Run("ROLLBACK");
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "value 1");
    EXPECT_EQ(SetBytes(key, _T("v1"), "new"), 0);
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "new");
}

TEST_F(Win32RegistryStore, ReplacedStoreIsUsedAndHandlesOfTheOldOneAreError1018) {
    const Handle old = Create(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(SetBytes(old, _T("v"), "old"), 0);
    fs::rename(StorePath(), StorePath() + ".kept");
    EXPECT_EQ(GetValue(old, _T("v")).error, LSTATUS{ERROR_KEY_DELETED});
    EXPECT_EQ(SetBytes(old, _T("v"), "new"), LSTATUS{ERROR_KEY_DELETED});
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath), LSTATUS{ERROR_FILE_NOT_FOUND});
    const Handle fresh = Create(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(SetBytes(fresh, _T("v"), "new"), 0);
    kvtwin::CloseRegistryStore();
    EXPECT_NE(FileBytes(StorePath()).find("new"), std::string::npos);
    fs::remove(StorePath() + ".kept");
}

TEST_F(Win32RegistryStore, CopyPutBackIsReadWithoutTheLogOfTheFileBefore) {
    const std::string copy = StorePath() + ".copy";
    FillStore();
    fs::copy_file(StorePath(), copy);
    {
        const Handle key = Create(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
        EXPECT_EQ(SetBytes(key, _T("v1"), "newer"), 0);
        EXPECT_EQ(CreateError(key, _T("Newer")), 0);
    }
    fs::rename(copy, StorePath());
    const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "value 1");
    EXPECT_EQ(SubKeys(key), std::vector<std::string>{});
    EXPECT_EQ(SetBytes(key, _T("v1"), "newest"), 0);
    kvtwin::CloseRegistryStore();
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "newest");
    EXPECT_EQ(OtherProgram().Text("PRAGMA integrity_check"), "ok");
}

TEST_F(Win32RegistryStore, CopyPutBackWithItsOwnLogIsReadWithIt) {
    const std::string copy = StorePath() + ".copy";
    {
        const Handle key = Create(HKEY_CURRENT_USER, kPath);
        EXPECT_EQ(SetBytes(key, _T("v"), "in the log"), 0);
        fs::copy_file(StorePath(), copy);
        fs::copy_file(StorePath() + "-wal", copy + "-wal");
        EXPECT_EQ(SetBytes(key, _T("v"), "newer"), 0);
    }
    fs::remove(StorePath() + "-shm");
    fs::rename(copy + "-wal", StorePath() + "-wal");
    fs::rename(copy, StorePath());
    const Handle key = Open(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(GetValue(key, _T("v")).bytes, "in the log");
}

TEST_F(Win32RegistryStore, LinkThatLeadsElsewhereLeavesTheLogOfTheFileBefore) {
    const std::string folder = std::string(kvtwin::Env().prefix) + "/elsewhere";
    fs::create_directory(folder);
    for (const char* name : {"/one", "/two"}) {
        fs::remove(StorePath());
        fs::create_symlink(folder + name, StorePath());
        FillStore();
    }
    const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
    EXPECT_EQ(SetBytes(key, _T("v1"), "two's"), 0);
    OtherProgram other;
    EXPECT_EQ(other.Text("SELECT count(*) FROM value"), "3");
    fs::remove(StorePath());
    fs::create_symlink(folder + "/one", StorePath());
    const Handle one = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"));
    EXPECT_EQ(GetValue(one, _T("v1")).bytes, "value 1");
    EXPECT_TRUE(fs::exists(folder + "/two-wal"));
    EXPECT_EQ(other.Text("SELECT count(*) FROM value WHERE data = x'74776F2773'"), "1");
    RemoveStore();
    fs::remove_all(folder);
}

TEST_F(Win32RegistryStore, KeyThatStandsBelowItselfEndsEveryPath) {
    const Handle key = Create(HKEY_CLASSES_ROOT, _T("kvtfile.Test\\Sub"));
    const Handle plain = Open(HKEY_LOCAL_MACHINE, _T("Software\\Classes\\kvtfile.Test\\Sub"));
    OtherProgram().Run("UPDATE key SET parent = id WHERE cast(name AS TEXT) = 'Sub'");
    EXPECT_EQ(GetValue(key, _T("v")).error, LSTATUS{ERROR_REGISTRY_CORRUPT});
    CString path = _T("Sub");
    for (int level = 1; level < 512; ++level) {
        path += _T("\\Sub");
    }
    EXPECT_EQ(OpenError(plain, path), 0);
    EXPECT_EQ(OpenError(plain, path + _T("\\Sub")), LSTATUS{ERROR_FILE_NOT_FOUND});
}

TEST_F(Win32RegistryStore, NameThatIsNoPartOfAPathIsListedAsError1015) {
    for (const char* name : {"x''", "x'5C00'", "x'61005C006200'", "x'0000'", "x'610000006200'"}) {
        SCOPED_TRACE(name);
        RemoveStore();
        FillStore();
        const Handle key = Open(HKEY_CURRENT_USER, kPath);
        OtherProgram().Run(
            (std::string("UPDATE key SET name = ") + name + " WHERE cast(name AS TEXT) = 'Sub'").c_str());
        WCHAR text[10];
        EXPECT_EQ(::RegEnumKeyW(key, 0, text, 10), LSTATUS{ERROR_REGISTRY_CORRUPT});
        kvtfile::CFRegistry registry(0, 0);
        EXPECT_EQ(registry.DeleteKey(kPath, 0), 0);
    }
}

TEST_F(Win32RegistryStore, HandlesOutliveAClosedConnection) {
    const Handle key = Create(HKEY_CURRENT_USER, kPath);
    EXPECT_EQ(SetBytes(key, _T("v"), "1"), 0);
    kvtwin::CloseRegistryStore();
    EXPECT_EQ(GetValue(key, _T("v")).bytes, "1");
}

// ---- Without the right to write ---------------------------------------------------------------------------------

class Win32RegistryStoreReadOnly : public Win32RegistryStore {
protected:
    void SetUp() override {
        if (::geteuid() == 0) {
            GTEST_SKIP() << "permissions do not bind root";
        }
        Win32RegistryStore::SetUp();
    }
    static void ExpectReadOnly() {
        const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"), KEY_READ);
        EXPECT_EQ(GetValue(key, _T("v1")).bytes, "value 1");
        EXPECT_EQ(ValueNames(key).size(), 3u);
        EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath, KEY_ALL_ACCESS), LSTATUS{ERROR_ACCESS_DENIED});
        EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath, MAXIMUM_ALLOWED), 0);
        EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath + _T("\\New")), LSTATUS{ERROR_ACCESS_DENIED});
        EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath, KEY_READ), 0);
        EXPECT_EQ(SetBytes(HKEY_CURRENT_USER, _T("v"), "1"), LSTATUS{ERROR_ACCESS_DENIED});
        EXPECT_EQ(::RegDeleteValueW(HKEY_CURRENT_USER, _T("v")), LSTATUS{ERROR_ACCESS_DENIED});
        EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_USER, kPath), LSTATUS{ERROR_ACCESS_DENIED});
        EXPECT_EQ(::RegFlushKey(HKEY_CURRENT_USER), 0);
    }
};

TEST_F(Win32RegistryStoreReadOnly, FileWithoutWriteRightIsReadAndWritesAreError5) {
    FillStore();
    fs::permissions(StorePath(), fs::perms::owner_read);
    ExpectReadOnly();
    fs::permissions(StorePath(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(SetBytes(HKEY_CURRENT_USER, _T("v"), "1"), 0);
}

TEST_F(Win32RegistryStoreReadOnly, KeysAreOpenedForWritingAsSoonAsTheFileMayBeWritten) {
    FillStore();
    fs::permissions(StorePath(), fs::perms::owner_read);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath), LSTATUS{ERROR_ACCESS_DENIED});
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, _T("none")), LSTATUS{ERROR_FILE_NOT_FOUND});
    fs::permissions(StorePath(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath), 0);
    fs::permissions(StorePath(), fs::perms::owner_read);
    kvtwin::CloseRegistryStore();
    EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath), LSTATUS{ERROR_ACCESS_DENIED});
    fs::permissions(StorePath(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath), 0);
}

TEST_F(Win32RegistryStoreReadOnly, FolderWithoutWriteRightIsReadAndWritesAreError5) {
    FillStore();
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_read | fs::perms::owner_exec);
    ExpectReadOnly();
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_all);
    EXPECT_EQ(SetBytes(HKEY_CURRENT_USER, _T("v"), "1"), 0);
}

TEST_F(Win32RegistryStoreReadOnly, WhatAnotherWritesIsSeenByAReaderWithoutWriteRight) {
    FillStore();
    const std::string later = StorePath() + ".later";
    {
        fs::copy_file(StorePath(), later);
        OtherProgram().Run("UPDATE value SET data = x'6E6577'");
        fs::rename(StorePath(), StorePath() + ".new");
        fs::rename(later, StorePath());
    }
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_read | fs::perms::owner_exec);
    ExpectReadOnly();
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_all);
    fs::rename(StorePath() + ".new", StorePath());
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_read | fs::perms::owner_exec);
    const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"), KEY_READ);
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "new");
}

TEST_F(Win32RegistryStoreReadOnly, LogOfAStoreThatALinkLeadsToIsRead) {
    FillStore();
    const std::string folder = std::string(kvtwin::Env().prefix) + "/elsewhere";
    fs::create_directory(folder);
    fs::rename(StorePath(), folder + "/store");
    fs::create_symlink(folder + "/store", StorePath());
    {
        OtherProgram other;
        other.Run("UPDATE value SET data = x'6E6577'");
        fs::permissions(folder + "/store", fs::perms::owner_read);
        const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"), KEY_READ);
        EXPECT_EQ(GetValue(key, _T("v1")).bytes, "new");
    }
    RemoveStore();
    fs::remove_all(folder);
}

TEST_F(Win32RegistryStoreReadOnly, LogThatIsBeingTakenUpIsWaitedFor) {
    FillStore();
    int done[2];
    int next[2];
    ASSERT_EQ(::pipe(done), 0);
    ASSERT_EQ(::pipe(next), 0);
    // In a process of its own: within one, all connections share the right to write the log.
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(20);
        OtherProgram other;
        char byte = 0;
        for (const char* sql : {"UPDATE value SET data = x'6E6577'", "SELECT * FROM value"}) {
            other.Run(sql);
            if (::write(done[1], "d", 1) != 1 || ::read(next[0], &byte, 1) != 1) {
                ::_exit(1);
            }
        }
        ::_exit(0);
    }
    char byte = 0;
    ASSERT_EQ(::read(done[0], &byte, 1), 1);
    for (const char* end : {"", "-wal", "-shm"}) {
        fs::permissions(StorePath() + end, fs::perms::owner_read);
    }
    const Handle key = Open(HKEY_CURRENT_USER, kPath + _T("\\Sub"), KEY_READ);
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "new");
    fs::permissions(StorePath() + "-shm", fs::perms::owner_read | fs::perms::owner_write);
    std::fstream(StorePath() + "-shm", std::ios::binary | std::ios::in | std::ios::out) << std::string(100, '\0');
    EXPECT_EQ(::write(next[1], "n", 1), 1);
    EXPECT_EQ(GetValue(key, _T("v1")).bytes, "new");
    EXPECT_EQ(::write(next[1], "n", 1), 1);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (const int end : {done[0], done[1], next[0], next[1]}) {
        ::close(end);
    }
}

TEST_F(Win32RegistryStoreReadOnly, StoreThatCannotBeMadeReadsAsEmpty) {
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(OpenError(HKEY_CURRENT_USER, kPath, KEY_READ), LSTATUS{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(SubKeys(HKEY_CURRENT_USER), std::vector<std::string>{});
    EXPECT_EQ(ValueNames(HKEY_CURRENT_USER), std::vector<std::string>{});
    EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath), LSTATUS{ERROR_ACCESS_DENIED});
    EXPECT_EQ(SetBytes(HKEY_CURRENT_USER, _T("v"), "1"), LSTATUS{ERROR_ACCESS_DENIED});
    fs::permissions(kvtwin::Env().prefix, fs::perms::owner_all);
    EXPECT_EQ(CreateError(HKEY_CURRENT_USER, kPath), 0);
}

TEST_F(Win32RegistryStoreReadOnly, FileWithoutReadRightIsError5) {
    FillStore();
    fs::permissions(StorePath(), fs::perms::none);
    ExpectEveryCallFails(ERROR_ACCESS_DENIED);
}

}  // namespace
