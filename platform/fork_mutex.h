#pragma once

// A mutex that a forked child finds free, whatever other threads were doing at the fork.

#include <atomic>
#include <mutex>

namespace kvtplatform {

#ifdef _WIN32

using ForkMutex = std::mutex;  // nothing forks

#else

/// For objects of static storage, which are never destroyed. Whoever forks takes them all first: while one is held, no
/// other lock may be waited for.
class ForkMutex {
public:
    constexpr ForkMutex() = default;
    ForkMutex(const ForkMutex&) = delete;
    ForkMutex& operator=(const ForkMutex&) = delete;

    void lock();
    void unlock() { m_mutex.unlock(); }

private:
    static void BeforeFork();
    static void AfterFork();
    static const int s_handled;

    void TakeAtForks();

    std::mutex m_mutex;
    std::atomic<bool> m_known{false};
    ForkMutex* m_next = nullptr;
};

#endif

}  // namespace kvtplatform
