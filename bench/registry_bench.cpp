// The registry against what it stands on: the same bare statements, prepared once, on a connection set up alike; and
// against hivex, which reads the registry files of Windows in memory, where it is installed.
//
// Compare CPU as well as time: a shared machine stretches both alike. The rows "...Bare" write to and read from a copy
// of the same tables with the same content.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kvtfile/types.h"

#if defined(KVTFILE_BENCH_HIVEX)
#include <hivex.h>
#endif

namespace {

constexpr int kMany = 10000;

void Check(bool good, const char* what) {
    if (!good) {
        throw std::runtime_error(what);
    }
}

std::u16string Name(const char* start, int number) {
    const std::string name = start + std::to_string(number);
    return std::u16string(name.begin(), name.end());
}

// ---- The registry -----------------------------------------------------------------------------------------------

HKEY Create(const std::u16string& path) {
    HKEY key = nullptr;
    Check(
        ::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) == 0,
        "create");
    return key;
}

void SetValue(HKEY key, const std::u16string& name) {
    Check(::RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(name.c_str()),
                           static_cast<DWORD>((name.size() + 1) * sizeof(WCHAR))) == 0,
          "set");
}

void Fill() {
    static bool done = false;
    if (!done) {
        const HKEY keys = Create(u"Software\\Bench\\Keys");
        const HKEY values = Create(u"Software\\Bench\\Values");
        for (int i = 0; i < kMany; ++i) {
            HKEY key = nullptr;
            Check(::RegCreateKeyExW(keys, Name("k", i).c_str(), 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr) == 0,
                  "create");
            ::RegCloseKey(key);
            SetValue(values, Name("v", i));
        }
        ::RegCloseKey(keys);
        ::RegCloseKey(values);
        done = true;
    }
}

void OpenAndReadValue(benchmark::State& state) {
    Fill();
    int i = 0;
    std::vector<std::u16string> names;
    for (int n = 0; n < kMany; ++n) {
        names.push_back(Name("v", n * 7919 % kMany));
    }
    for (auto _ : state) {
        HKEY key = nullptr;
        Check(::RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Bench\\Values", 0, KEY_READ, &key) == 0, "open");
        BYTE data[64];
        DWORD size = sizeof data;
        Check(::RegQueryValueExW(key, names[static_cast<size_t>(i++ % kMany)].c_str(), nullptr, nullptr, data, &size) ==
                  0,
              "query");
        ::RegCloseKey(key);
    }
}
BENCHMARK(OpenAndReadValue)->Unit(benchmark::kMicrosecond);

void ReadValue(benchmark::State& state) {
    Fill();
    const HKEY key = Create(u"Software\\Bench\\Values");
    for (auto _ : state) {
        BYTE data[64];
        DWORD size = sizeof data;
        Check(::RegQueryValueExW(key, u"V5000", nullptr, nullptr, data, &size) == 0, "query");
    }
    ::RegCloseKey(key);
}
BENCHMARK(ReadValue)->Unit(benchmark::kMicrosecond);

void EnumerateSubKeys(benchmark::State& state) {
    Fill();
    const HKEY key = Create(u"Software\\Bench\\Keys");
    for (auto _ : state) {
        WCHAR name[256];
        DWORD i = 0;
        while (::RegEnumKeyW(key, i, name, 256) == 0) {
            ++i;
        }
        Check(i == kMany, "enumerate keys");
    }
    ::RegCloseKey(key);
}
BENCHMARK(EnumerateSubKeys)->Unit(benchmark::kMillisecond);

void EnumerateValues(benchmark::State& state) {
    Fill();
    const HKEY key = Create(u"Software\\Bench\\Values");
    for (auto _ : state) {
        DWORD i = 0;
        for (;; ++i) {
            WCHAR name[256];
            BYTE data[64];
            DWORD length = 256;
            DWORD size = sizeof data;
            if (::RegEnumValueW(key, i, name, &length, nullptr, nullptr, data, &size) != 0) {
                break;
            }
        }
        Check(i == kMany, "enumerate values");
    }
    ::RegCloseKey(key);
}
BENCHMARK(EnumerateValues)->Unit(benchmark::kMillisecond);

// As callers delete: what is there is asked, the first sub-key taken, until none is left.
void DeleteTree(HKEY parent, const std::u16string& path) {
    HKEY key = nullptr;
    Check(::RegOpenKeyExW(parent, path.c_str(), 0, KEY_ALL_ACCESS, &key) == 0, "open");
    for (;;) {
        DWORD count = 0;
        DWORD longest = 0;
        Check(::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr, nullptr,
                                 nullptr, nullptr) == 0,
              "info");
        if (count == 0) {
            break;
        }
        std::u16string name(longest + 1, u'\0');
        Check(::RegEnumKeyW(key, 0, name.data(), longest + 1) == 0, "enumerate");
        DeleteTree(parent, path + u'\\' + name.c_str());
    }
    ::RegCloseKey(key);
    Check(::RegDeleteKeyW(parent, path.c_str()) == 0, "delete");
}

void RecursiveDelete(benchmark::State& state) {
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::u16string path = Name("Software\\Bench\\Delete", round++);
        const HKEY key = Create(path);
        for (int64_t i = 0; i < state.range(0); ++i) {
            HKEY sub = nullptr;
            Check(::RegCreateKeyExW(key, Name("k", static_cast<int>(i)).c_str(), 0, nullptr, 0, KEY_READ, nullptr, &sub,
                                    nullptr) == 0,
                  "create");
            ::RegCloseKey(sub);
        }
        ::RegCloseKey(key);
        state.ResumeTiming();
        DeleteTree(HKEY_CURRENT_USER, path);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(RecursiveDelete)
    ->Arg(2500)
    ->Arg(5000)
    ->Arg(10000)
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

// ---- The bare statements ----------------------------------------------------------------------------------------

constexpr char kPragmas[] = "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA foreign_keys = ON";
constexpr char kWrite[] =
    "INSERT INTO value (key, position, fold, name, type, data, written) "
    "VALUES (?1, (SELECT coalesce(max(position), 0) + 1 FROM value WHERE key = ?1), ?2, ?3, ?4, ?5, ?6) "
    "ON CONFLICT (key, fold) DO UPDATE SET type = excluded.type, data = excluded.data, written = excluded.written";
constexpr char kRead[] = "SELECT type, data FROM value WHERE key = ?1 AND fold = ?2";

// A copy of the store, so that neither side's log is the other's matter.
class Bare {
public:
    Bare(const char* sql, const char* key_name) {
        Check(sqlite3_open_v2(Path().c_str(), &m_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == 0,
              "open");
        Check(sqlite3_exec(m_database, kPragmas, nullptr, nullptr, nullptr) == 0, "pragmas");
        sqlite3_busy_timeout(m_database, 30000);
        Check(sqlite3_prepare_v3(m_database, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr) == 0,
              "prepare");
        sqlite3_stmt* find = nullptr;
        const std::string query = std::string("SELECT id FROM key WHERE cast(name AS TEXT) = '") + key_name + "'";
        Check(
            sqlite3_prepare_v2(m_database, query.c_str(), -1, &find, nullptr) == 0 && sqlite3_step(find) == SQLITE_ROW,
            "key");
        m_key = sqlite3_column_int64(find, 0);
        sqlite3_finalize(find);
    }
    ~Bare() {
        sqlite3_finalize(m_statement);
        sqlite3_close(m_database);
    }
    Bare(const Bare&) = delete;
    Bare& operator=(const Bare&) = delete;

    static std::string Path() { return std::string(std::getenv("KVTFILE_PREFIX")) + "/bare.db"; }

    void Write(const std::string& fold, const std::u16string& name) {
        const int size = static_cast<int>(name.size() * sizeof(WCHAR));
        sqlite3_bind_int64(m_statement, 1, m_key);
        sqlite3_bind_blob(m_statement, 2, fold.data(), static_cast<int>(fold.size()), SQLITE_STATIC);
        sqlite3_bind_blob(m_statement, 3, name.data(), size, SQLITE_STATIC);
        sqlite3_bind_int64(m_statement, 4, REG_SZ);
        sqlite3_bind_blob(m_statement, 5, name.data(), size + 2, SQLITE_STATIC);
        sqlite3_bind_int64(m_statement, 6,
                           std::chrono::steady_clock::now()
                               .time_since_epoch()
                               .count());  // content that stays as it is would not be written at all
        Check(sqlite3_step(m_statement) == SQLITE_DONE, "write");
        sqlite3_reset(m_statement);
    }
    void Read(const std::string& fold) {
        sqlite3_bind_int64(m_statement, 1, m_key);
        sqlite3_bind_blob(m_statement, 2, fold.data(), static_cast<int>(fold.size()), SQLITE_STATIC);
        Check(sqlite3_step(m_statement) == SQLITE_ROW, "read");
        benchmark::DoNotOptimize(sqlite3_column_blob(m_statement, 1));
        sqlite3_reset(m_statement);
    }

private:
    sqlite3* m_database = nullptr;
    sqlite3_stmt* m_statement = nullptr;
    sqlite3_int64 m_key = 0;
};

std::string Fold(const std::u16string& name) {
    std::string fold;
    for (const char16_t unit : name) {
        fold += '\0';
        fold += static_cast<char>(unit >= 'a' && unit <= 'z' ? unit - 32 : unit);
    }
    return fold;
}

void CopyStore() {
    Fill();
    for (const char* end : {"", "-wal", "-shm"}) {
        std::filesystem::remove(Bare::Path() + end);
    }
    Check(::RegFlushKey(HKEY_CURRENT_USER) == 0, "flush");
    std::filesystem::copy_file(std::string(std::getenv("KVTFILE_PREFIX")) + "/registry.db", Bare::Path());
}

// 10,000 writes, each a transaction, shared out among so many processes. New values go to another key in each round.
constexpr int kRounds = 5;

std::string WriteKey(int round) {
    return "Write" + std::to_string(round);
}

template <typename Work>
void InProcesses(benchmark::State& state, const Work& work) {
    const int processes = static_cast<int>(state.range(0));
    int round = 0;
    for (auto _ : state) {
        if (processes == 1) {
            work(round++, 0, kMany);
            continue;
        }
        std::vector<pid_t> children;
        for (int p = 0; p < processes; ++p) {
            children.push_back(::fork());
            if (children.back() == 0) {
                try {
                    work(round, p, kMany / processes);
                } catch (const std::exception&) {
                    ::_exit(1);
                }
                ::_exit(0);
            }
        }
        ++round;
        for (const pid_t child : children) {
            int status = 0;
            Check(::waitpid(child, &status, 0) == child && status == 0, "a child failed");
        }
    }
    state.SetItemsProcessed(state.iterations() * kMany);
}

void MakeWriteKeys() {
    Fill();
    for (int round = 0; round < kRounds; ++round) {
        ::RegCloseKey(Create(u"Software\\Bench\\" + Name("Write", round)));
    }
}

void ReadValueBare(benchmark::State& state) {
    if (!std::filesystem::exists(Bare::Path())) {
        MakeWriteKeys();
        CopyStore();
    }
    Bare bare(kRead, "Values");
    const std::string fold = Fold(u"v5000");
    for (auto _ : state) {
        bare.Read(fold);
    }
}
BENCHMARK(ReadValueBare)->Unit(benchmark::kMicrosecond);

void WriteValues(benchmark::State& state) {
    MakeWriteKeys();
    InProcesses(state, [](int round, int process, int count) {
        const HKEY key = Create(u"Software\\Bench\\" + Name("Write", round));
        for (int i = 0; i < count; ++i) {
            SetValue(key, Name("v", process * 100000 + i));
        }
        ::RegCloseKey(key);
    });
}

void WriteValuesBare(benchmark::State& state) {
    if (!std::filesystem::exists(Bare::Path())) {
        MakeWriteKeys();
        CopyStore();
    }
    InProcesses(state, [](int round, int process, int count) {
        Bare bare(kWrite, WriteKey(round).c_str());
        for (int i = 0; i < count; ++i) {
            const std::u16string name = Name("v", process * 100000 + i);
            bare.Write(Fold(name), name);
        }
    });
}

void Writing(benchmark::internal::Benchmark* bench) {
    bench->Iterations(kRounds)->UseRealTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(WriteValuesBare)->Name("WriteValuesBare/new")->Arg(1)->Apply(Writing);
BENCHMARK(WriteValues)->Name("WriteValues/new")->Arg(1)->Apply(Writing);
BENCHMARK(WriteValuesBare)->Name("WriteValuesBare/again")->Arg(1)->Apply(Writing);
BENCHMARK(WriteValues)->Name("WriteValues/again")->Arg(1)->Apply(Writing);
BENCHMARK(WriteValuesBare)->Name("WriteValuesBare/processes")->Arg(4)->Apply(Writing);
BENCHMARK(WriteValues)->Name("WriteValues/processes")->Arg(4)->Apply(Writing);

// ---- hivex ------------------------------------------------------------------------------------------------------

#if defined(KVTFILE_BENCH_HIVEX)

void Put(std::string& bytes, size_t at, uint64_t number, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        bytes[at + i] = static_cast<char>(number >> (8 * i));
    }
}

// A hive with an empty root key, to which hivex then adds.
std::string EmptyHive() {
    constexpr size_t kBin = 4096;
    constexpr size_t kRoot = 0x20;
    constexpr size_t kSecurity = kRoot + 88;
    constexpr size_t kFree = kSecurity + 48;
    std::string hive(2 * kBin, '\0');
    hive.replace(0, 4, "regf");
    Put(hive, 4, 1, 4);
    Put(hive, 8, 1, 4);
    Put(hive, 20, 1, 4);
    Put(hive, 24, 5, 4);
    Put(hive, 32, 1, 4);
    Put(hive, 36, kRoot, 4);
    Put(hive, 40, kBin, 4);
    Put(hive, 44, 1, 4);
    hive.replace(kBin, 4, "hbin");
    Put(hive, kBin + 8, kBin, 4);
    const size_t root = kBin + kRoot;
    Put(hive, root, static_cast<uint64_t>(-88), 4);
    hive.replace(root + 4, 2, "nk");
    Put(hive, root + 6, 0x2C, 2);
    for (const size_t none : {28, 32, 40, 48}) {
        Put(hive, root + 4 + none, 0xFFFFFFFF, 4);
    }
    Put(hive, root + 4 + 44, kSecurity, 4);
    Put(hive, root + 4 + 72, 1, 2);
    hive[root + 4 + 76] = 'R';
    const size_t security = kBin + kSecurity;
    Put(hive, security, static_cast<uint64_t>(-48), 4);
    hive.replace(security + 4, 2, "sk");
    Put(hive, security + 8, kSecurity, 4);
    Put(hive, security + 12, kSecurity, 4);
    Put(hive, security + 16, 1, 4);
    Put(hive, security + 20, 20, 4);
    hive[security + 24] = 1;
    Put(hive, security + 26, 0x8000, 2);
    Put(hive, kBin + kFree, kBin - kFree, 4);
    uint32_t sum = 0;
    for (size_t at = 0; at < 508; at += 4) {
        uint32_t number = 0;
        hive.copy(reinterpret_cast<char*>(&number), 4, at);
        sum ^= number;
    }
    Put(hive, 508, sum, 4);
    return hive;
}

// The hive with what Fill makes, open for reading.
hive_h* Hive() {
    static hive_h* opened = nullptr;
    if (!opened) {
        const std::string path = std::string(std::getenv("KVTFILE_PREFIX")) + "/hive";
        std::ofstream(path, std::ios::binary) << EmptyHive();
        hive_h* hive = hivex_open(path.c_str(), HIVEX_OPEN_WRITE);
        Check(hive != nullptr, "hivex_open");
        const hive_node_h keys = hivex_node_add_child(hive, hivex_root(hive), "Keys");
        const hive_node_h values = hivex_node_add_child(hive, hivex_root(hive), "Values");
        std::vector<std::string> names;
        std::vector<std::u16string> texts;
        std::vector<hive_set_value> rows;
        for (int i = 0; i < kMany; ++i) {
            Check(hivex_node_add_child(hive, keys, ("k" + std::to_string(i)).c_str()) != 0, "hivex_node_add_child");
            names.push_back("v" + std::to_string(i));
            texts.push_back(Name("v", i));
        }
        for (size_t i = 0; i < names.size(); ++i) {
            rows.push_back({names[i].data(), hive_t_REG_SZ, (texts[i].size() + 1) * sizeof(WCHAR),
                            reinterpret_cast<char*>(texts[i].data())});
        }
        Check(hivex_node_set_values(hive, values, rows.size(), rows.data(), 0) == 0, "hivex_node_set_values");
        Check(hivex_commit(hive, nullptr, 0) == 0, "hivex_commit");
        hivex_close(hive);
        opened = hivex_open(path.c_str(), 0);
        Check(opened != nullptr, "hivex_open");
    }
    return opened;
}

void HivexOpenAndReadValue(benchmark::State& state) {
    hive_h* hive = Hive();
    int i = 0;
    for (auto _ : state) {
        const hive_node_h node = hivex_node_get_child(hive, hivex_root(hive), "Values");
        const std::string name = "v" + std::to_string(i++ * 7919 % kMany);
        hive_type type = hive_t_REG_NONE;
        size_t size = 0;
        char* data = hivex_value_value(hive, hivex_node_get_value(hive, node, name.c_str()), &type, &size);
        Check(data != nullptr && size > 0, "hivex_value_value");
        std::free(data);
    }
}
BENCHMARK(HivexOpenAndReadValue)->Unit(benchmark::kMicrosecond);

void HivexEnumerateSubKeys(benchmark::State& state) {
    hive_h* hive = Hive();
    for (auto _ : state) {
        hive_node_h* children = hivex_node_children(hive, hivex_node_get_child(hive, hivex_root(hive), "Keys"));
        int count = 0;
        for (; children && children[count] != 0; ++count) {
            std::free(hivex_node_name(hive, children[count]));
        }
        std::free(children);
        Check(count == kMany, "hivex_node_children");
    }
}
BENCHMARK(HivexEnumerateSubKeys)->Unit(benchmark::kMillisecond);

void HivexEnumerateValues(benchmark::State& state) {
    hive_h* hive = Hive();
    for (auto _ : state) {
        hive_value_h* values = hivex_node_values(hive, hivex_node_get_child(hive, hivex_root(hive), "Values"));
        int count = 0;
        for (; values && values[count] != 0; ++count) {
            hive_type type = hive_t_REG_NONE;
            size_t size = 0;
            std::free(hivex_value_key(hive, values[count]));
            std::free(hivex_value_value(hive, values[count], &type, &size));
        }
        std::free(values);
        Check(count == kMany, "hivex_node_values");
    }
}
BENCHMARK(HivexEnumerateValues)->Unit(benchmark::kMillisecond);

#endif

}  // namespace

int main(int argc, char** argv) {
    std::string prefix = (std::filesystem::temp_directory_path() / "kvtfile-bench-XXXXXX").string();
    if (!mkdtemp(prefix.data())) {
        return 1;
    }
    setenv("KVTFILE_PREFIX", prefix.c_str(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(prefix);
    return 0;
}
