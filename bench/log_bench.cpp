// Log messages: LOG::Out, which opens, appends and closes for each, against the same done by hand, and against another
// logging library (Debian: libspdlog-dev, where it is installed) in the same way and in its usual one.
//
// Every row writes one message of the same text into a file of its own.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "kvtfile/LogFile.h"

#if defined(KVTFILE_BENCH_SPDLOG)
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

using kvtfile::LOG;

constexpr const char* kText = "drawing opened: C:\\Drawings\\Plant\\floor-2.dwg, 1234 entities";

/// A file for one row, removed at its end.
class LogPath {
public:
    LogPath() {
        char name[] = "/tmp/kvtfile-log-bench-XXXXXX";
        ::close(::mkstemp(name));
        m_path = name;
    }
    ~LogPath() { std::remove(m_path.c_str()); }
    LogPath(const LogPath&) = delete;
    LogPath& operator=(const LogPath&) = delete;

    const std::string& Path() const { return m_path; }
    CString Wide() const { return CString::FromUtf8(m_path); }

private:
    std::string m_path;
};

void Append(const std::string& path, const char* bytes, size_t count) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (::write(fd, bytes, count) != static_cast<ssize_t>(count)) {
        std::abort();
    }
    ::close(fd);
}

size_t Stamped(char* line, size_t room) {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    tm local{};
    ::localtime_r(&now.tv_sec, &local);
    return static_cast<size_t>(std::snprintf(line, room, "\r\n[%2d-%2d %2d:%2d:%2d_%3d]%s", local.tm_mon + 1,
                                             local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                                             static_cast<int>(now.tv_usec / 1000), kText));
}

void ByHandReadyBytes(benchmark::State& state) {
    const LogPath log;
    char line[256];
    const size_t length = Stamped(line, sizeof line);
    for (auto _ : state) {
        Append(log.Path(), line, length);
    }
}
BENCHMARK(ByHandReadyBytes);

void ByHandStamped(benchmark::State& state) {
    const LogPath log;
    for (auto _ : state) {
        char line[256];
        Append(log.Path(), line, Stamped(line, sizeof line));
    }
}
BENCHMARK(ByHandStamped);

void ByHandStdio(benchmark::State& state) {
    const LogPath log;
    for (auto _ : state) {
        char line[256];
        const size_t length = Stamped(line, sizeof line);
        std::FILE* const file = std::fopen(log.Path().c_str(), "ae");
        std::fwrite(line, 1, length, file);
        std::fclose(file);
    }
}
BENCHMARK(ByHandStdio);

void LogOut(benchmark::State& state) {
    const LogPath log;
    const CString text = CString::FromUtf8(kText);
    LOG::SetLogFile(log.Wide());
    for (auto _ : state) {
        LOG::Out(_T("%s"), text.GetString());
    }
    LOG::SetLogFile(nullptr);
}
BENCHMARK(LogOut);

void LogFileKeptOpen(benchmark::State& state) {
    const LogPath path;
    const CString text = CString::FromUtf8(kText);
    kvtfile::CFLogFile log(path.Wide());
    for (auto _ : state) {
        log.WriteTimeAndString(text);
    }
}
BENCHMARK(LogFileKeptOpen);

#if defined(KVTFILE_BENCH_SPDLOG)

constexpr const char* kPattern = "[%m-%d %H:%M:%S_%e]%v";

void SpdlogOpenedAndClosed(benchmark::State& state) {
    const LogPath path;
    for (auto _ : state) {
        spdlog::logger log("bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path.Path()));
        log.set_pattern(kPattern);
        log.info("{}", kText);
        log.flush();
    }
}
BENCHMARK(SpdlogOpenedAndClosed);

void SpdlogFlushed(benchmark::State& state) {
    const LogPath path;
    spdlog::logger log("bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path.Path()));
    log.set_pattern(kPattern);
    log.flush_on(spdlog::level::trace);
    for (auto _ : state) {
        log.info("{}", kText);
    }
}
BENCHMARK(SpdlogFlushed);

void SpdlogBuffered(benchmark::State& state) {
    const LogPath path;
    spdlog::logger log("bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path.Path()));
    log.set_pattern(kPattern);
    for (auto _ : state) {
        log.info("{}", kText);
    }
}
BENCHMARK(SpdlogBuffered);

#endif

}  // namespace

BENCHMARK_MAIN();
