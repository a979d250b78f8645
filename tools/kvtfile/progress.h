#pragma once

// Work that takes long, on a thread of its own, with its progress drawn on the terminal meanwhile.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "kvtfile/types.h"

namespace kvtcommand {

/// How far work has come. One thread works, another watches.
struct Progress {
    std::atomic<bool> counting{true};    ///< entries are being found; their number is not known before
    volatile DWORD found = 0;            ///< entries so far
    std::atomic<uint64_t> bytesDone{0};  ///< of the content that is to be read
    std::atomic<uint64_t> bytesInAll{0};
};

/// The line that shows it: a bar with rate and remaining time, or the number found and its rate.
/// @param seconds How long this stage has run. @param columns The line is never longer.
std::string ProgressLine(const Progress& progress, double seconds, int columns);

/// Runs the work; when standard error goes to a terminal, the line is drawn there and gone afterwards. What the work
/// throws is thrown on.
void RunWatched(const Progress& progress, const std::function<void()>& work);

}  // namespace kvtcommand
