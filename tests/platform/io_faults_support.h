#pragma once

// Makes chosen file calls fail for as long as it lives.

#include "platform/io/io.h"

namespace kvttest {

/// Counts the calls of the file seam and makes chosen ones fail. One at a time.
class Faults {
public:
    Faults();
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// Makes the n-th call (from 1) of a kind fail with an error.
    void FailNth(kvtio::Call call, int n, kvtio::Error error);
    /// Makes every call of a kind fail.
    void FailAll(kvtio::Call call, kvtio::Error error);
    /// Lets at most `limit` bytes be written altogether; what goes beyond is written short, then fails.
    void LimitDisk(size_t limit);

    /// How many calls of a kind were made.
    int Count(kvtio::Call call) const;

private:
    static kvtio::Error Hook(kvtio::Call call, LPCWSTR path, size_t& count);
    kvtio::Error Decide(kvtio::Call call, size_t& count);

    static constexpr int kCalls = 12;
    int m_counts[kCalls] = {};
    int m_failing[kCalls] = {};
    kvtio::Error m_errors[kCalls] = {};
    bool m_all[kCalls] = {};
    bool m_limited = false;
    size_t m_room = 0;
    kvtio::FaultHook m_previous;
    static Faults* s_current;
};

}  // namespace kvttest
