// Counts heap allocations made anywhere in the process (library included), so a benchmark can
// report allocations per operation.
#ifndef ZP_BENCH_ALLOC_COUNTER_H
#define ZP_BENCH_ALLOC_COUNTER_H

#include <cstdint>

namespace zpbench {

std::uint64_t AllocationCount();

}  // namespace zpbench

#endif  // ZP_BENCH_ALLOC_COUNTER_H
