// Absolute CLOCK_REALTIME deadlines for the timed waits of the OS layer.
#pragma once

#include <cstdint>
#include <ctime>

namespace zpos {

// now + timeoutMs: whole seconds, then the millisecond part as nanoseconds with
// one carry into the seconds. False when the clock cannot be read (errno set).
bool DeadlineFromNow(uint64_t timeoutMs, timespec& deadline);

}  // namespace zpos
