// Mutexes that are held by the forking thread for the length of a fork, so that the child, which has that thread alone,
// can free them.
//
// Each enters a list before it is locked for the first time; the list is never shortened.

#include "platform/fork_mutex.h"

#include <pthread.h>

namespace kvtplatform {

namespace {

constinit std::mutex g_mutex;
constinit ForkMutex* g_first = nullptr;

}  // namespace

void ForkMutex::BeforeFork() {
    g_mutex.lock();
    for (ForkMutex* mutex = g_first; mutex; mutex = mutex->m_next) {
        mutex->m_mutex.lock();
    }
}

void ForkMutex::AfterFork() {
    for (ForkMutex* mutex = g_first; mutex; mutex = mutex->m_next) {
        mutex->m_mutex.unlock();
    }
    g_mutex.unlock();
}

const int ForkMutex::s_handled = ::pthread_atfork(BeforeFork, AfterFork, AfterFork);

void ForkMutex::TakeAtForks() {
    const std::lock_guard lock(g_mutex);
    if (!m_known.load(std::memory_order_relaxed)) {
        m_next = g_first;
        g_first = this;
        m_known.store(true, std::memory_order_release);
    }
}

void ForkMutex::lock() {
    if (!m_known.load(std::memory_order_acquire)) {
        TakeAtForks();
    }
    m_mutex.lock();
}

}  // namespace kvtplatform
