// Local time, the millisecond tick and the processor-feature query.
#include <sys/time.h>

#include <ctime>

#include "zpport/OSLayer.h"

void OS_GetLocalTime(_OS_SYSTEMTIME* time) {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    // Stored as broken down: years since 1900 and a 0-based month. Callers that
    // print a date add the offsets themselves.
    time->wYear = static_cast<uint16_t>(parts.tm_year);
    time->wMonth = static_cast<uint16_t>(parts.tm_mon);
    time->wDayOfWeek = static_cast<uint16_t>(parts.tm_wday);
    time->wDay = static_cast<uint16_t>(parts.tm_mday);
    time->wHour = static_cast<uint16_t>(parts.tm_hour);
    time->wMinute = static_cast<uint16_t>(parts.tm_min);
    time->wSecond = static_cast<uint16_t>(parts.tm_sec);
    time->wMilliseconds = 0;
}

uint32_t OS_GetTickCount() {
    timeval now{};
    gettimeofday(&now, nullptr);
    // Restarts every 365 days from the epoch; the product wraps modulo 2^32.
    const uint32_t seconds = static_cast<uint32_t>(now.tv_sec % 31536000);
    return seconds * 1000u + static_cast<uint32_t>(now.tv_usec / 1000);
}

uint32_t OS_timeGetTime() { return OS_GetTickCount(); }

bool OS_IsSSE() { return false; }
