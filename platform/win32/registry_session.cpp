// The process's connection to the store: when it is made, when it is closed, and who may use it.
//
// Nothing is made when the library is loaded. The connection is closed when the library is unloaded or the process
// ends, unless a thread is using it at that moment: then the system closes it, which loses nothing.

#include <pthread.h>

#include "environment.h"
#include "registry_handles.h"
#include "registry_names.h"
#include "registry_schema.h"

namespace kvtwin {

namespace {

constexpr size_t kPredefined = 6;

struct Connection {
    explicit Connection(const std::string& path);

    RegistryDatabase database;
    std::int64_t user_key = kEmptyKey;
    OpenKey predefined[kPredefined];
};

constinit std::mutex g_mutex;
constinit Connection* g_connection = nullptr;
// Goes up when another file takes the store's place.
constinit unsigned g_store = 0;
// The file that was open last: a connection that was closed in between goes on with it.
constinit struct stat g_file = {};
constinit bool g_fork_known = false;

std::u16string UserName() {
    const std::string_view name = Env().user;
    return std::u16string(name.begin(), name.end());
}

// The hive of the current user, made when it may be made.
std::int64_t UserHive(RegistryDatabase& database) {
    const std::u16string user = UserName();
    const std::u16string_view names[] = {user, u"Software", u"Classes"};
    if (FindKey(database, kUsersKey, names) == 0 && database.IsWritable()) {
        WriteTransaction transaction(database);
        std::int64_t key = kUsersKey;
        for (const std::u16string_view name : names) {
            const std::int64_t next = FindSubKey(database, key, name);
            key = next != 0 ? next : AddKey(database, key, name, {});
        }
        transaction.Commit();
    }
    const std::int64_t hive = FindSubKey(database, kUsersKey, user);
    return hive != 0 ? hive : kEmptyKey;
}

Connection::Connection(const std::string& path) : database(path), user_key(UserHive(database)) {
    const auto set = [this](HKEY name, std::int64_t key, bool classes) {
        OpenKey& row = predefined[reinterpret_cast<UINT_PTR>(name) & 0xF];
        row.key = key;
        row.access = KEY_ALL_ACCESS;
        row.classes = classes;
    };
    set(HKEY_CLASSES_ROOT, kMachineClassesKey, true);
    set(HKEY_CURRENT_USER, user_key, false);
    set(HKEY_LOCAL_MACHINE, kMachineKey, false);
    set(HKEY_USERS, kUsersKey, false);
    set(HKEY_CURRENT_CONFIG, kCurrentConfigKey, false);
}

void Close() {
    delete g_connection;
    g_connection = nullptr;
}

void Connect() {
    if (g_connection) {
        g_connection->database.RemoveLogLeftBehind();
    }
    Close();
    const std::string prefix = Env().prefix;
    auto fresh = std::make_unique<Connection>(prefix.empty() ? prefix : prefix + "/registry.db");
    const struct stat& file = fresh->database.File();
    if (g_store == 0 || file.st_ino != g_file.st_ino || file.st_dev != g_file.st_dev) {
        ++g_store;
    }
    g_file = file;
    for (OpenKey& key : fresh->predefined) {
        key.store = g_store;
    }
    g_connection = fresh.release();
}

void BeforeFork() {
    g_mutex.lock();
    if (g_connection) {
        g_connection->database.KeepLogAtClose();
        Close();
    }
}

void AfterFork() {
    g_mutex.unlock();
}

__attribute__((destructor)) void AtUnload() {
    if (g_mutex.try_lock()) {
        Close();
        g_mutex.unlock();
    }
}

}  // namespace

RegistrySession::RegistrySession(For what) : m_lock(g_mutex) {
    if (!g_fork_known) {
        // A thread that works with the store asks for handles: they are locked in this order only.
        KeepHandlesThroughForks();
        if (pthread_atfork(BeforeFork, AfterFork, AfterFork) != 0) {
            throw RegistryError{ERROR_NOT_ENOUGH_MEMORY};
        }
        g_fork_known = true;
    }
    if (!g_connection || !g_connection->database.IsCurrent() ||
        (what != For::Reading && !g_connection->database.IsWritable())) {
        Connect();
    }
    if (what == For::Writing && !g_connection->database.IsWritable()) {
        throw RegistryError{ERROR_ACCESS_DENIED};
    }
}

RegistryDatabase& RegistrySession::Database() {
    return g_connection->database;
}

unsigned RegistrySession::StoreNumber() const {
    return g_store;
}

OpenKey* RegistrySession::Predefined(HKEY key) {
    return IsPredefinedKey(key) ? &g_connection->predefined[reinterpret_cast<UINT_PTR>(key) & 0xF] : nullptr;
}

std::int64_t RegistrySession::UserKey() const {
    return g_connection->user_key;
}

void CloseRegistryStore() {
    const std::lock_guard lock(g_mutex);
    Close();
}

}  // namespace kvtwin
