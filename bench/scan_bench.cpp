// Scans of a tree of files and codes of a large file's content, each beside what else does the same work.
//
// The tree and the file are made in a temporary folder and removed at the end. Rounds of all rivals take turns, so that
// what else the machine does hits all of them; the best and the middle round are told, and the processor time of the
// best, which a busy machine changes less.
//
//   scan_bench [FILES (1000000)] [MEBIBYTES (1024)] [ROUNDS (5)]

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "kvtfile/FileInfo.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

[[noreturn]] void Die(const std::string& what) {
    std::perror(what.c_str());
    std::exit(1);
}

// Something that is timed; it returns how much it found, for all rivals to agree on.
struct Rival {
    std::string name;
    std::function<long long()> run;
    std::vector<double> seconds;
    double processor = 1e9;  // seconds, in the best round
};

// Processor time of this process and of those that it waited for.
double ProcessorTime() {
    double sum = 0;
    for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        ::getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
            sum += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        }
    }
    return sum;
}

void TakeTurns(std::vector<Rival>& rivals, int rounds) {
    long long expected = -1;
    for (int round = 0; round < rounds; ++round) {
        for (Rival& rival : rivals) {
            const auto start = Clock::now();
            const double busy = ProcessorTime();
            const long long found = rival.run();
            rival.processor = std::min(rival.processor, ProcessorTime() - busy);
            rival.seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
            expected = expected < 0 ? found : expected;
            if (found != expected) {
                std::fprintf(stderr, "%s: %lld in place of %lld\n", rival.name.c_str(), found, expected);
                std::exit(1);
            }
        }
    }
    for (Rival& rival : rivals) {
        std::sort(rival.seconds.begin(), rival.seconds.end());
    }
    const double first = rivals.front().seconds.front();
    for (const Rival& rival : rivals) {
        std::printf("  %-46s %7.3f s best %7.3f s middle %7.3f s processor   x %.2f\n", rival.name.c_str(),
                    rival.seconds.front(), rival.seconds[rival.seconds.size() / 2], rival.processor,
                    rival.seconds.front() / first);
    }
    std::fflush(stdout);
}

// ---- Scans

void MakeTree(const fs::path& root, int files) {
    constexpr int kInOneFolder = 1000;
    for (int made = 0; made < files;) {
        char name[64];
        std::snprintf(name, sizeof name, "group%02d/folder%03d", made / 32000, made / kInOneFolder);
        const fs::path folder = root / name;
        fs::create_directories(folder);
        const int in = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
        for (int i = 0; i < kInOneFolder && made < files; ++i, ++made) {
            std::snprintf(name, sizeof name, "drawing%04d.%s", i * 7919 % kInOneFolder, i % 3 ? "dwg" : "xml");
            const int file = ::openat(in, name, O_WRONLY | O_CREAT | O_EXCL, 0644);
            if (file < 0 || ::ftruncate(file, 7919LL * made % 100003) != 0) {
                Die(folder / name);
            }
            ::close(file);
        }
        ::close(in);
    }
}

long long ScanWithFind(const fs::path& root) {
    const std::string command = "find '" + root.string() + R"(' -printf '%p\t%s\t%C@\t%A@\t%T@\t%m\n' >/dev/null)";
    return std::system(command.c_str()) == 0 ? 0 : -1;
}

// The same facts with the standard library alone; it has no time of the last access.
long long ScanWithIterator(const fs::path& root) {
    struct Record {
        fs::path path;
        uintmax_t size;
        fs::file_time_type written;
        fs::file_status status;
    };
    std::vector<Record> records;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const fs::file_status status = entry.status();
        records.push_back(
            {entry.path(), fs::is_directory(status) ? 0 : entry.file_size(), entry.last_write_time(), status});
    }
    return static_cast<long long>(records.size());
}

// The iterator, and one call for all facts of an entry.
long long ScanWithIteratorAndStat(const fs::path& root) {
    struct Record {
        fs::path path;
        struct stat status;
    };
    std::vector<Record> records;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        Record record{entry.path(), {}};
        if (::stat(record.path.c_str(), &record.status) == 0) {
            records.push_back(std::move(record));
        }
    }
    return static_cast<long long>(records.size());
}

long long ScanWithAddDir(const fs::path& root, LONGLONG mode) {
    kvtfile::CFileInfoArray records;
    return records.AddDir(CString::FromUtf8(root.string() + "/"), _T("*"), 1, mode, 1);
}

void BenchScans(const fs::path& root, int files, int rounds) {
    std::printf("Scan of %d files, with path, size, three times and attributes\n", files);
    const auto start = Clock::now();
    MakeTree(root, files);
    std::printf("  (tree made in %.1f s)\n", std::chrono::duration<double>(Clock::now() - start).count());
    const long long all = ScanWithAddDir(root, 0);
    std::vector<Rival> rivals;
    rivals.push_back({"CFileInfoArray::AddDir", [&] { return ScanWithAddDir(root, 0); }, {}, 1e9});
    rivals.push_back({"find -printf, to /dev/null", [&] { return ScanWithFind(root) == 0 ? all : -1; }, {}, 1e9});
    rivals.push_back({"recursive_directory_iterator and its members", [&] { return ScanWithIterator(root); }, {}, 1e9});
    rivals.push_back({"recursive_directory_iterator and stat", [&] { return ScanWithIteratorAndStat(root); }, {}, 1e9});
    for (const LONGLONG mode : {2, 3, 4, 5}) {
        rivals.push_back(
            {"AddDir, sort mode " + std::to_string(mode), [&, mode] { return ScanWithAddDir(root, mode); }, {}, 1e9});
    }
    TakeTurns(rivals, rounds);
}

// ---- Codes

void MakeFile(const fs::path& path, int mebibytes) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<unsigned> block(size_t{1} << 18);
    unsigned state = 1;
    for (int i = 0; i < mebibytes; ++i) {
        for (unsigned& word : block) {
            word = state = state * 1664525u + 1013904223u;
        }
        if (::write(file, block.data(), size_t{1} << 20) != 1 << 20) {
            Die(path);
        }
    }
    ::close(file);
}

long long ReadPlainly(const fs::path& path) {
    const int file = ::open(path.c_str(), O_RDONLY);
    alignas(64) char chunk[16384];
    long long total = 0;
    for (ssize_t got = 0; (got = ::read(file, chunk, sizeof chunk)) > 0;) {
        total += got;
    }
    ::close(file);
    return total;
}

void BenchCodes(const fs::path& path, int mebibytes, int rounds) {
    std::printf("Codes of a file of %d MiB in the cache, chunks of 16384 bytes\n", mebibytes);
    MakeFile(path, mebibytes);
    kvtfile::CFileInfo file(CString::FromUtf8(path.string()), 0);
    volatile DWORD progress = 0;
    const auto size = static_cast<long long>(file.GetLength64());
    std::vector<Rival> rivals;
    rivals.push_back({"read()", [&] { return ReadPlainly(path); }, {}, 1e9});
    rivals.push_back({"GetChecksum", [&] { return file.GetChecksum() != 0 ? size : -1; }, {}, 1e9});
    rivals.push_back({"GetCRC", [&] { return file.GetCRC() != 0 ? size : -1; }, {}, 1e9});
    rivals.push_back({"GetChecksum, with a progress counter",
                      [&] { return file.GetChecksum(0, 1, nullptr, &progress) != 0 ? size : -1; },
                      {},
                      1e9});
    rivals.push_back({"GetCRC, with a progress counter",
                      [&] { return file.GetCRC(0, 1, nullptr, &progress) != 0 ? size : -1; },
                      {},
                      1e9});
    TakeTurns(rivals, rounds);
}

}  // namespace

int main(int count, char** arguments) {
    const auto argument = [&](int i, int otherwise) { return count > i ? std::atoi(arguments[i]) : otherwise; };
    std::string name = (fs::temp_directory_path() / "kvtfile-scan-bench-XXXXXX").string();
    if (!::mkdtemp(name.data())) {
        Die(name);
    }
    const fs::path folder = name;
    BenchScans(folder / "tree", argument(1, 1000000), argument(3, 5));
    BenchCodes(folder / "file", argument(2, 1024), argument(3, 5));
    fs::remove_all(folder);
}
