#pragma once

/// @file
/// The file that holds the registry: opening and making it, its statements and transactions, and what becomes of its
/// errors. docs/registry-store.md describes the file.

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "wintypes.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kvtwin {

/// Thrown by what stands on the store, and caught by the Win32 calls, which return the number.
struct RegistryError {
    DWORD error;
};

/// An open store. Not for two threads at once.
class RegistryDatabase {
public:
    /// How long a call waits for the other processes that write.
    static std::chrono::milliseconds busy_limit;

    /// Opens the file, or makes it with its folder when there is none. A file that may not be written is opened for
    /// reading; one that is not there and cannot be made reads as a new one.
    /// Throws RegistryError; the file is then as it was.
    explicit RegistryDatabase(const std::string& path);
    ~RegistryDatabase();
    RegistryDatabase(const RegistryDatabase&) = delete;
    RegistryDatabase& operator=(const RegistryDatabase&) = delete;

    /// Whether the path still leads to the file that is open, and what is open shows all that it holds.
    bool IsCurrent() const;
    bool IsWritable() const { return m_writable; }
    /// The file; number 0 for a store in memory.
    const struct stat& File() const { return m_file; }

    /// A number that changes whenever a statement sees content that an earlier one, of any connection of the process,
    /// did not see.
    std::uint64_t ContentVersion() const;

    /// Returns when all that was committed is on the storage device.
    void Flush();

    /// For a store whose file is no longer at its path: takes away the log that stands there, which the file that took
    /// the place would else be read with. The log of another one stays. Failures are passed over.
    void RemoveLogLeftBehind() noexcept;

    /// Leaves the log as it is at the end: closing is then quick, and the next one to open the file reads it.
    void KeepLogAtClose();

    /// The prepared form of a statement, made at its first use. REQUIRES: `sql` is a constant.
    sqlite3_stmt* Prepared(const char* sql);
    /// Runs statements that give nothing and are not needed again.
    void Run(const char* script);
    /// Ends a transaction, if it still is open, with "COMMIT" or "ROLLBACK".
    void EndTransaction(const char* sql) noexcept;
    /// Throws the error of a result code.
    [[noreturn]] void Fail(int code) const;

private:
    void Open();
    int OpenFile(const std::string& name, int flags);
    void OpenInMemory();
    void OpenWithoutLog();
    std::string FilePath(const char* end = "") const;
    bool HasLog() const;
    static int KeepLogShort(void* self, sqlite3*, const char*, int pages);
    static int WaitForOthers(void* self, int tries);
    void MakeTables();
    bool IsEmpty();
    void CheckKind();
    void Close();
    std::int64_t Number(const char* sql);

    std::string m_path;
    sqlite3* m_database = nullptr;
    std::vector<std::pair<const char*, sqlite3_stmt*>> m_statements;
    std::chrono::steady_clock::time_point m_wait_start;
    bool m_keeping_short = false;
    int m_long_log;  // pages of the log at which those who read are waited for
    bool m_writable = false;
    bool m_immutable = false;
    std::uint64_t m_connection;  // counts those of the process
    struct stat m_file = {};     // st_ino is 0 for a store in memory
    struct stat m_log = {};      // while the store may be written
};

/// A statement in use: bound, stepped through, and ready for the next use at the end.
class Statement {
public:
    Statement(RegistryDatabase& database, const char* sql)
        : m_database(database), m_statement(database.Prepared(sql)) {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Arguments are bound in their order. Bytes must outlive the statement's use.
    Statement& Bind(std::int64_t number);
    Statement& Bind(std::string_view bytes);
    Statement& Bind(std::u16string_view name);

    /// Goes to the next row; false after the last one.
    bool Step();

    std::int64_t Number(int column) const;
    /// Valid until the next step.
    std::string_view Bytes(int column) const;
    std::u16string Name(int column) const;

private:
    RegistryDatabase& m_database;
    sqlite3_stmt* m_statement;
    int m_bound = 0;
};

/// Several statements that see one state of the store.
class ReadTransaction {
public:
    explicit ReadTransaction(RegistryDatabase& database);
    ~ReadTransaction();
    ReadTransaction(const ReadTransaction&) = delete;
    ReadTransaction& operator=(const ReadTransaction&) = delete;

private:
    RegistryDatabase& m_database;
};

/// Several statements of which all or none come into force.
class WriteTransaction {
public:
    explicit WriteTransaction(RegistryDatabase& database);
    ~WriteTransaction();
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;

    void Commit();

private:
    RegistryDatabase& m_database;
    bool m_open = true;
};

}  // namespace kvtwin
