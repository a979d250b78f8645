// The file of the registry through SQLite.
//
// The file is in WAL mode: a transaction that was committed is in the log when the call returns, whatever becomes of
// the process then, and one that was not leaves nothing behind. Nobody waits for those who only read. A file of another
// kind or of a newer version is never written.

#include "registry_database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
#include <thread>

#include "errors.h"
#include "paths.h"
#include "registry_schema.h"

namespace kvtwin {

namespace {

constexpr char kApplicationId[] = "PRAGMA application_id";
constexpr char kUserVersion[] = "PRAGMA user_version";
constexpr char kCountTables[] = "SELECT count(*) FROM sqlite_schema";
constexpr char kBegin[] = "BEGIN";
constexpr char kBeginImmediate[] = "BEGIN IMMEDIATE";
constexpr char kCommit[] = "COMMIT";
constexpr char kRollback[] = "ROLLBACK";

// From this length on the log is carried over into the file at each commit. It then begins anew, unless somebody reads
// just then;
constexpr int kLogPages = 1000;
// at this length, that it comes to when many read all the time, those who read are waited for, but not for long.
constexpr int kLongLogPages = 4 * kLogPages;
constexpr std::chrono::milliseconds kKeepShortLimit{100};
constexpr int kRecoveryTries = 1000;

constinit std::atomic<std::uint64_t> g_connections = 0;

DWORD ErrorOf(int code, int system_error) {
    switch (code & 0xFF) {
        case SQLITE_NOMEM:
        case SQLITE_TOOBIG:
            return ERROR_NOT_ENOUGH_MEMORY;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
            return ERROR_BUSY;
        case SQLITE_PERM:
        case SQLITE_READONLY:
        case SQLITE_AUTH:
            return ERROR_ACCESS_DENIED;
        case SQLITE_CANTOPEN:
            return system_error == EMFILE || system_error == ENFILE ? ERROR_TOO_MANY_OPEN_FILES : ERROR_ACCESS_DENIED;
        case SQLITE_FULL:
            return ERROR_DISK_FULL;
        case SQLITE_NOTADB:
            return ERROR_BADDB;
        case SQLITE_CONSTRAINT:
            // A value of a key that is not there; any other means that the tables are not ours.
            return code == SQLITE_CONSTRAINT_FOREIGNKEY ? ERROR_KEY_DELETED : ERROR_REGISTRY_CORRUPT;
        case SQLITE_IOERR:
            return system_error == ENOSPC || system_error == EDQUOT ? ERROR_DISK_FULL : ERROR_REGISTRY_IO_FAILED;
        default:
            return ERROR_REGISTRY_CORRUPT;
    }
}

// A path as SQLite reads it in a URI.
std::string ReadOnlyUri(const std::string& path) {
    std::string uri = "file://";
    for (const char byte : path) {
        if (byte == '%' || byte == '?' || byte == '#') {
            constexpr char kDigits[] = "0123456789ABCDEF";
            uri += '%';
            uri += kDigits[byte >> 4];
            uri += kDigits[byte & 0xF];
        } else {
            uri += byte;
        }
    }
    return uri + "?immutable=1";
}

bool SameFile(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

}  // namespace

std::chrono::milliseconds RegistryDatabase::busy_limit{30000};

RegistryDatabase::RegistryDatabase(const std::string& path)
    : m_path(path), m_long_log(kLongLogPages), m_connection(++g_connections) {
    const auto start = std::chrono::steady_clock::now();
    if (!m_path.empty()) {
        MakeFolders(ParentOf(m_path));
    }
    for (;;) {
        try {
            Open();
            return;
        } catch (const RegistryError& error) {
            Close();
            // While another process makes the file or is the last one to close it, SQLite does not always wait.
            if (error.error != ERROR_BUSY || std::chrono::steady_clock::now() - start >= busy_limit) {
                throw;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } catch (...) {
            Close();
            throw;
        }
    }
}

RegistryDatabase::~RegistryDatabase() {
    Close();
}

void RegistryDatabase::Close() {
    for (const auto& [sql, statement] : m_statements) {
        sqlite3_finalize(statement);
    }
    m_statements.clear();
    sqlite3_close(m_database);
    m_database = nullptr;
}

void RegistryDatabase::Open() {
    if (m_path.empty()) {
        OpenInMemory();
        return;
    }
    struct stat status;
    if (::stat(m_path.c_str(), &status) == 0 && status.st_size > 0 && status.st_size < 512) {
        throw RegistryError{ERROR_BADDB};  // SQLite would take it for an empty one
    }
    const int code = OpenFile(m_path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    if (code != SQLITE_OK) {
        if ((code & 0xFF) == SQLITE_CANTOPEN && ::stat(m_path.c_str(), &status) != 0) {
            OpenInMemory();
            return;
        }
        Fail(code);
    }
    m_writable = sqlite3_db_readonly(m_database, "main") == 0;
    if (m_writable || HasLog()) {
        try {
            Number(kApplicationId);
        } catch (const RegistryError& error) {
            if (error.error != ERROR_ACCESS_DENIED) {
                throw;
            }
            OpenWithoutLog();  // one cannot be made beside the file
        }
    } else {
        OpenWithoutLog();
    }
    if (!IsEmpty()) {
        CheckKind();
    } else if (!m_writable) {
        OpenInMemory();
        return;
    }
    if (m_writable) {
        // The encoding counts for a new file only; what is text in it are names, for those who look with other tools.
        Run("PRAGMA encoding = 'UTF-16le'; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
            "PRAGMA foreign_keys = ON");
        if (IsEmpty()) {
            MakeTables();
        }
    }
    if (::stat(m_path.c_str(), &m_file) != 0) {
        Fail(SQLITE_BUSY);  // removed at this moment: once more
    }
    if (m_writable) {
        sqlite3_wal_hook(m_database, KeepLogShort, this);
        if (::stat(FilePath("-wal").c_str(), &m_log) != 0) {
            m_log = {};
        }
    }
}

// For a file that cannot be written: nothing is made beside it. As there is no log, the file is all there is.
void RegistryDatabase::OpenWithoutLog() {
    Close();
    m_writable = false;
    m_immutable = true;
    if (const int code = OpenFile(ReadOnlyUri(m_path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI); code != SQLITE_OK) {
        Fail(code);
    }
}

// Where the file is when the path is a link to it: the log is there too.
std::string RegistryDatabase::FilePath(const char* end) const {
    const char* path = sqlite3_db_filename(m_database, "main");
    return std::string(path ? path : "") + end;
}

bool RegistryDatabase::HasLog() const {
    struct stat status;
    return ::stat(FilePath("-wal").c_str(), &status) == 0;
}

// Called after each commit. The commit is done: nothing that happens here is its failure.
int RegistryDatabase::KeepLogShort(void* self, sqlite3* database, const char* name, int pages) {
    auto& store = *static_cast<RegistryDatabase*>(self);
    if (pages < kLogPages) {
        store.m_long_log = kLongLogPages;
        return SQLITE_OK;
    }
    const bool is_long = pages >= store.m_long_log;
    const auto start = std::chrono::steady_clock::now();
    store.m_keeping_short = is_long;
    sqlite3_wal_checkpoint_v2(database, name, is_long ? SQLITE_CHECKPOINT_RESTART : SQLITE_CHECKPOINT_PASSIVE, nullptr,
                              nullptr);
    store.m_keeping_short = false;
    if (is_long && std::chrono::steady_clock::now() - start >= kKeepShortLimit) {
        store.m_long_log = pages + kLogPages;  // somebody reads on and on: the next commits need not wait too
    }
    return SQLITE_OK;
}

// The lock is that of the file that was open and of its log: of all that had it open, one takes the log away.
void RegistryDatabase::RemoveLogLeftBehind() noexcept {
    if (!m_writable || m_log.st_ino == 0) {
        return;
    }
    try {
        struct stat now;
        if (::stat(FilePath().c_str(), &now) == 0 && SameFile(now, m_file)) {
            return;  // another link
        }
        const WriteTransaction lock(*this);
        if (::stat(FilePath("-wal").c_str(), &now) == 0 && SameFile(now, m_log)) {
            ::unlink(FilePath("-wal").c_str());
            ::unlink(FilePath("-shm").c_str());
        }
    } catch (const RegistryError&) {
        // What stands there is left to the one who put the file in its place.
    } catch (const std::bad_alloc&) {
    }
}

int RegistryDatabase::OpenFile(const std::string& name, int flags) {
    const int code =
        sqlite3_open_v2(name.c_str(), &m_database,
                        flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE | SQLITE_OPEN_PRIVATECACHE, nullptr);
    if (!m_database) {
        throw RegistryError{ERROR_NOT_ENOUGH_MEMORY};
    }
    if (code == SQLITE_OK) {
        sqlite3_busy_handler(m_database, WaitForOthers, this);
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(m_database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        Run("PRAGMA cell_size_check = ON");
    }
    return code;
}

// Waits longer from try to try, with some scatter, so that many writers neither crowd nor starve each other.
int RegistryDatabase::WaitForOthers(void* self, int tries) {
    auto& database = *static_cast<RegistryDatabase*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (tries == 0) {
        database.m_wait_start = now;
    } else if (now - database.m_wait_start >= (database.m_keeping_short ? kKeepShortLimit : busy_limit)) {
        return 0;
    }
    const std::int64_t longest = 100 << std::min(tries, 6);
    const std::int64_t scatter = now.time_since_epoch().count() / 64 % (longest / 2);
    std::this_thread::sleep_for(std::chrono::microseconds(longest / 2 + scatter));
    return 1;
}

void RegistryDatabase::OpenInMemory() {
    Close();
    m_writable = false;
    m_immutable = false;
    m_file = {};
    if (const int code = OpenFile(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE); code != SQLITE_OK) {
        Fail(code);
    }
    MakeTables();
    Run("PRAGMA query_only = ON");
}

void RegistryDatabase::MakeTables() {
    WriteTransaction transaction(*this);
    if (IsEmpty()) {  // else another process was quicker
        MakeRegistry(*this);
    }
    CheckKind();
    transaction.Commit();
}

bool RegistryDatabase::IsEmpty() {
    return Number(kCountTables) == 0 && Number(kUserVersion) == 0 && Number(kApplicationId) == 0;
}

void RegistryDatabase::CheckKind() {
    if (Number(kApplicationId) != kRegistryApplication || Number(kUserVersion) < 1) {
        throw RegistryError{ERROR_BADDB};
    }
    if (Number(kUserVersion) > kRegistryVersion) {
        throw RegistryError{ERROR_REVISION_MISMATCH};
    }
}

std::int64_t RegistryDatabase::Number(const char* sql) {
    Statement statement(*this, sql);
    if (!statement.Step()) {
        throw RegistryError{ERROR_REGISTRY_CORRUPT};
    }
    return statement.Number(0);
}

bool RegistryDatabase::IsCurrent() const {
    struct stat now;
    if (m_path.empty() || ::stat(m_path.c_str(), &now) != 0) {
        return m_file.st_ino == 0;
    }
    if (!SameFile(now, m_file)) {
        return false;
    }
    return !m_immutable || (now.st_size == m_file.st_size && now.st_mtim.tv_sec == m_file.st_mtim.tv_sec &&
                            now.st_mtim.tv_nsec == m_file.st_mtim.tv_nsec && !HasLog());
}

std::uint64_t RegistryDatabase::ContentVersion() const {
    unsigned version = 0;
    sqlite3_file_control(m_database, "main", SQLITE_FCNTL_DATA_VERSION, &version);
    return m_connection << 32 | version;
}

void RegistryDatabase::Flush() {
    if (m_writable) {
        if (const int code = sqlite3_wal_checkpoint_v2(m_database, "main", SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
            code != SQLITE_OK) {
            Fail(code);
        }
    }
}

void RegistryDatabase::KeepLogAtClose() {
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

sqlite3_stmt* RegistryDatabase::Prepared(const char* sql) {
    for (const auto& [known, statement] : m_statements) {
        if (known == sql) {
            return statement;
        }
    }
    m_statements.reserve(m_statements.size() + 1);
    sqlite3_stmt* statement = nullptr;
    if (const int code = sqlite3_prepare_v3(m_database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
        code != SQLITE_OK) {
        Fail(code);
    }
    m_statements.emplace_back(sql, statement);
    return statement;
}

void RegistryDatabase::Run(const char* script) {
    if (const int code = sqlite3_exec(m_database, script, nullptr, nullptr, nullptr); code != SQLITE_OK) {
        Fail(code);
    }
}

void RegistryDatabase::EndTransaction(const char* sql) noexcept {
    // A serious error ends a transaction by itself.
    if (sqlite3_get_autocommit(m_database) == 0) {
        try {
            Statement(*this, sql).Step();
        } catch (...) {
            sqlite3_exec(m_database, kRollback, nullptr, nullptr, nullptr);
        }
    }
}

void RegistryDatabase::Fail(int code) const {
    throw RegistryError{ErrorOf(code, sqlite3_system_errno(m_database))};
}

// ---- Statements -------------------------------------------------------------------------------------------------

Statement::~Statement() {
    sqlite3_reset(m_statement);
}

Statement& Statement::Bind(std::int64_t number) {
    if (const int code = sqlite3_bind_int64(m_statement, ++m_bound, number); code != SQLITE_OK) {
        m_database.Fail(code);
    }
    return *this;
}

Statement& Statement::Bind(std::string_view bytes) {
    // An empty blob needs an address to be one.
    const char* start = bytes.empty() ? "" : bytes.data();
    if (const int code = sqlite3_bind_blob64(m_statement, ++m_bound, start, bytes.size(), SQLITE_STATIC);
        code != SQLITE_OK) {
        m_database.Fail(code);
    }
    return *this;
}

Statement& Statement::Bind(std::u16string_view name) {
    return Bind(std::string_view(reinterpret_cast<const char*>(name.data()), name.size() * sizeof(WCHAR)));
}

bool Statement::Step() {
    int code = sqlite3_step(m_statement);
    // A process without the right to write cannot take up a log that another is just taking up.
    for (int tries = 0; code == SQLITE_READONLY_RECOVERY && tries < kRecoveryTries; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        sqlite3_reset(m_statement);
        code = sqlite3_step(m_statement);
    }
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code != SQLITE_DONE) {
        m_database.Fail(code);
    }
    return false;
}

std::int64_t Statement::Number(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

std::string_view Statement::Bytes(int column) const {
    const void* start = sqlite3_column_blob(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    if (!start && size > 0) {
        throw RegistryError{ERROR_NOT_ENOUGH_MEMORY};
    }
    return start ? std::string_view(static_cast<const char*>(start), static_cast<size_t>(size)) : std::string_view();
}

std::u16string Statement::Name(int column) const {
    const std::string_view bytes = Bytes(column);
    std::u16string name(bytes.size() / sizeof(WCHAR), u'\0');
    if (!name.empty()) {
        std::memcpy(name.data(), bytes.data(), name.size() * sizeof(WCHAR));
    }
    return name;
}

// ---- Transactions -----------------------------------------------------------------------------------------------

ReadTransaction::ReadTransaction(RegistryDatabase& database) : m_database(database) {
    Statement(m_database, kBegin).Step();
}

ReadTransaction::~ReadTransaction() {
    m_database.EndTransaction(kCommit);
}

WriteTransaction::WriteTransaction(RegistryDatabase& database) : m_database(database) {
    Statement(m_database, kBeginImmediate).Step();
}

WriteTransaction::~WriteTransaction() {
    if (m_open) {
        m_database.EndTransaction(kRollback);
    }
}

void WriteTransaction::Commit() {
    Statement(m_database, kCommit).Step();
    m_open = false;
}

}  // namespace kvtwin
