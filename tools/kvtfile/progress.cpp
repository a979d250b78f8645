// The progress line. The worker never waits for it: the watching thread looks ten times a second.

#include "tools/kvtfile/progress.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <thread>

#include "platform/tool_entry/terminal.h"
#include "tools/kvtfile/report.h"

namespace kvtcommand {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenLooks{100};

template <typename... Args>
std::string Format(const char* format, Args... args) {
    char text[160];
    std::snprintf(text, sizeof text, format, args...);
    return text;
}

std::string Size(double bytes) {
    const char* const units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    size_t unit = 0;
    for (; bytes >= 1024 && unit + 1 < std::size(units); ++unit) {
        bytes /= 1024;
    }
    return Format(unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
}

std::string Duration(double seconds) {
    const auto whole = static_cast<long long>(std::min(seconds, 3.6e6));
    return whole >= 3600 ? Format("%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60)
                         : Format("%lld:%02lld", whole / 60, whole % 60);
}

std::string Bar(double part, int width) {
    const int full = static_cast<int>(part * width);
    return "[" + std::string(static_cast<size_t>(full), '#') + std::string(static_cast<size_t>(width - full), '.') +
           "]";
}

// Draws over the line before, and clears it at the end.
class Line {
public:
    ~Line() { Draw(""); }
    void Draw(const std::string& text) {
        const size_t blanks = text.size() < m_length ? m_length - text.size() : 0;
        std::fprintf(stderr, "\r%s%s%s", text.c_str(), std::string(blanks, ' ').c_str(), text.empty() ? "\r" : "");
        std::fflush(stderr);
        m_length = text.size();
    }

private:
    size_t m_length = 0;
};

}  // namespace

std::string ProgressLine(const Progress& progress, double seconds, int columns) {
    const double time = std::max(seconds, 0.001);
    std::string line;
    if (progress.counting) {
        const DWORD found = progress.found;
        line = "scanning  " + WithSeparators(found) + " found  " +
               WithSeparators(static_cast<uint64_t>(static_cast<double>(found) / time)) + "/s  " + Duration(seconds);
    } else {
        const double all = static_cast<double>(std::max<uint64_t>(progress.bytesInAll, 1));
        const double done = std::min(static_cast<double>(progress.bytesDone), all);
        const double rate = done / time;
        const std::string left = rate > 0 ? Duration((all - done) / rate) + " left" : "";
        const std::string rest = Format("  %3.0f%%  ", 100 * done / all) + Size(done) + " of " + Size(all) + "  " +
                                 Size(rate) + "/s  " + left;
        const int width = columns - 1 - static_cast<int>(std::string("reading  []").size() + rest.size());
        line = "reading  " + (width >= 10 ? Bar(done / all, std::min(width, 40)) : "") + rest;
    }
    return line.substr(0, static_cast<size_t>(std::max(columns - 1, 0)));
}

void RunWatched(const Progress& progress, const std::function<void()>& work) {
    if (!kvtterminal::ErrorsAreSeen()) {
        work();
        return;
    }
    std::mutex mutex;
    std::condition_variable changed;
    bool finished = false;
    std::exception_ptr failure;
    std::thread worker([&] {
        try {
            work();
        } catch (...) {
            failure = std::current_exception();
        }
        const std::lock_guard lock(mutex);
        finished = true;
        changed.notify_one();
    });
    {
        Line line;
        Clock::time_point start = Clock::now();
        bool counted = progress.counting;
        std::unique_lock lock(mutex);
        while (!changed.wait_for(lock, kBetweenLooks, [&finished] { return finished; })) {
            if (counted && !progress.counting) {
                counted = false;
                start = Clock::now();
            }
            const std::chrono::duration<double> seconds = Clock::now() - start;
            line.Draw(ProgressLine(progress, seconds.count(), kvtterminal::Width()));
        }
    }
    worker.join();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace kvtcommand
