#include "os/deadline.h"

namespace zpos {

bool DeadlineFromNow(uint64_t timeoutMs, timespec& deadline) {
    constexpr long kNanosPerSecond = 1000000000L;
    if (clock_gettime(CLOCK_REALTIME, &deadline) != 0) return false;
    deadline.tv_sec += static_cast<time_t>(timeoutMs / 1000);
    deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec > kNanosPerSecond - 1) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= kNanosPerSecond;
    }
    return true;
}

}  // namespace zpos
