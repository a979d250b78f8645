// The program's operator new, watched and with one failure on demand.

#include "tests/config/failing_new.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local int g_left = -1;
thread_local bool g_failed = false;
thread_local std::size_t g_largest = 0;

}  // namespace

namespace kvttest {

void FailAllocation(int after) {
    g_left = after;
    g_failed = false;
}

bool AllocationFailed() {
    return g_failed;
}

std::size_t LargestAllocation() {
    return std::exchange(g_largest, 0);
}

}  // namespace kvttest

void* operator new(std::size_t size) {
    g_largest = std::max(g_largest, size);
    if (g_left >= 0 && g_left-- == 0) {
        g_failed = true;
        throw std::bad_alloc();
    }
    if (void* block = std::malloc(size ? size : 1)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
