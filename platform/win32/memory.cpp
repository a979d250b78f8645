// Memory blocks with a handle.
//
// A handle is the block's address; size, kind and lock count stand in a header before it.

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "errors.h"
#include "winapi.h"

using kvtwin::Fail;

namespace {

struct alignas(16) Header {
    SIZE_T size;
    bool moveable;
    std::atomic<DWORD> locks;
};

Header* HeaderOf(HGLOBAL memory) {
    return static_cast<Header*>(memory) - 1;
}

}  // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) {
    void* block = nullptr;
    if (size <= std::numeric_limits<SIZE_T>::max() - sizeof(Header)) {
        const SIZE_T whole = size + sizeof(Header);
        block = flags & GMEM_ZEROINIT ? std::calloc(1, whole) : std::malloc(whole);
    }
    if (!block) {
        Fail(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return new (block) Header{size, (flags & GMEM_MOVEABLE) != 0, 0} + 1;
}

LPVOID GlobalLock(HGLOBAL memory) {
    if (!memory) {
        Fail(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    ++HeaderOf(memory)->locks;
    return memory;
}

BOOL GlobalUnlock(HGLOBAL memory) {
    if (!memory) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    Header* header = HeaderOf(memory);
    if (!header->moveable) {
        return TRUE;
    }
    DWORD locks = header->locks;
    while (locks != 0 && !header->locks.compare_exchange_weak(locks, locks - 1)) {
    }
    if (locks == 0) {
        return Fail(ERROR_NOT_LOCKED);
    }
    return locks > 1 ? TRUE : Fail(ERROR_SUCCESS);
}

SIZE_T GlobalSize(HGLOBAL memory) {
    if (!memory) {
        Fail(ERROR_INVALID_HANDLE);
        return 0;
    }
    return HeaderOf(memory)->size;
}

HGLOBAL GlobalFree(HGLOBAL memory) {
    if (memory) {
        std::free(HeaderOf(memory));
    }
    return nullptr;
}
