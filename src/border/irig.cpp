// IRIG time and date of a border record in host order, as numbers and as display text.
#include <cstdio>

#include "zpport/BorderData.h"

namespace {

int TwoDigits(const uint8_t* digits) {
    return 10 * digits[0] + digits[1];
}

int DayOfYear(const BORDER_DATA* border) {
    const uint8_t* d = border->IrigDayOfYear;
    return 100 * d[0] + 10 * d[1] + d[2];
}

// Walks the months from January; past December the month is 13 with the remaining days.
void DayAndMonth(int dayOfYear, bool leap, int& day, int& month) {
    static const int kMonthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    day = dayOfYear == 0 ? 1 : dayOfYear;
    for (month = 1; month <= 12; ++month) {
        const int length = (month == 2 && leap) ? 29 : kMonthDays[month - 1];
        if (day <= length) return;
        day -= length;
    }
}

}  // namespace

int ExtractIRIGTime(BORDER_DATA* border, int& hours, int& minutes, int& seconds, int& microseconds) {
    hours = TwoDigits(border->IrigHours);
    minutes = TwoDigits(border->IrigMinutes);
    seconds = TwoDigits(border->IrigSeconds);
    microseconds = static_cast<int>(border->IrigMicroseconds);
    return microseconds;
}

int ExtractIRIGTime(BORDER_DATA* border, char* text, int /*size*/) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int microseconds = 0;
    ExtractIRIGTime(border, hours, minutes, seconds, microseconds);
    return std::sprintf(text, "%02d:%02d:%02d:%03d:%03d", hours, minutes, seconds, microseconds / 1000,
                        microseconds % 1000);
}

int ExtractIRIGDate(BORDER_DATA* border, int& year, int& dayOfYear) {
    dayOfYear = DayOfYear(border);
    year = 2000 + 10 * (border->Year >> 4) + (border->Year & 0x0F);
    return year;
}

int ExtractIRIGDate(BORDER_DATA* border, char* text, int /*size*/) {
    // The BCD byte plus ten times its tens digit: its low four bits are the printed year (right only
    // up to 15), its low two bits decide the leap year. Hosts rely on this text form.
    const int v = border->Year + 10 * (border->Year >> 4);
    int day = 0;
    int month = 0;
    DayAndMonth(DayOfYear(border), (v & 3) == 0, day, month);
    return std::sprintf(text, "(%02d/%02d/%02d", day, month, v & 0x0F);
}
