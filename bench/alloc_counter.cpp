// malloc, calloc and realloc of the whole process pass through here on their way to the C
// library's allocator; the executable's definitions take precedence over the C library's.
#include "alloc_counter.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
}

namespace {
std::atomic<std::uint64_t> g_allocations{0};
}

extern "C" void* malloc(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

extern "C" void* calloc(size_t count, size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}

namespace zpbench {

std::uint64_t AllocationCount() { return g_allocations.load(std::memory_order_relaxed); }

}  // namespace zpbench
