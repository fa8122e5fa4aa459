#include "faults/heap.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own functions under names that nobody replaces.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

std::atomic<long> handedOut{0};
thread_local long untilFailure = 0; ///< 0: none is to fail

bool mayHaveMemory() {
    if (untilFailure == 0 || --untilFailure > 0) {
        return true;
    }
    errno = ENOMEM;
    return false;
}

void* counted(void* block) {
    handedOut += block != nullptr ? 1 : 0;
    return block;
}

} // namespace

namespace heap {

long blocks() {
    return handedOut;
}

void failAllocation(long n) {
    untilFailure = n;
}

long stopFailing() {
    const long left = untilFailure;
    untilFailure = 0;
    return left;
}

} // namespace heap

extern "C" {

void* malloc(std::size_t size) noexcept {
    return mayHaveMemory() ? counted(__libc_malloc(size)) : nullptr;
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return mayHaveMemory() ? counted(__libc_calloc(count, size)) : nullptr;
}

void* realloc(void* block, std::size_t size) noexcept {
    if (!mayHaveMemory()) {
        return nullptr;
    }
    const bool given = block != nullptr;
    void* moved = __libc_realloc(block, size);
    handedOut += (moved != nullptr ? 1 : 0) - (given && (moved != nullptr || size == 0) ? 1 : 0);
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return mayHaveMemory() ? counted(__libc_memalign(alignment, size)) : nullptr;
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) noexcept {
    handedOut -= block != nullptr ? 1 : 0;
    __libc_free(block);
}

} // extern "C"
