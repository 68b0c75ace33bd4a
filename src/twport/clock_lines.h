// The clock and date arguments that the open sequence sends, from the OS layer's local time
// (years since 1900, month 0 to 11).
#ifndef ZP_TWPORT_CLOCK_LINES_H
#define ZP_TWPORT_CLOCK_LINES_H

#include "zpport/OSLayer.h"

namespace zptw {

struct ClockFields {
    int hour, minute, second;
    int month, day, year;  // year: two digits after 2000; earlier years count as 2000
};

inline ClockFields ClockFieldsOf(const _OS_SYSTEMTIME& time) {
    const int fullYear = time.wYear + 1900;
    return ClockFields{time.wHour,      time.wMinute, time.wSecond,
                       time.wMonth + 1, time.wDay,    fullYear < 2000 ? 0 : fullYear - 2000};
}

}  // namespace zptw

#endif  // ZP_TWPORT_CLOCK_LINES_H
