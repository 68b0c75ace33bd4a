#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "zpport/BorderData.h"

namespace {

BORDER_DATA IrigRecord(const unsigned char time[6], unsigned int microseconds) {
    BORDER_DATA border;
    SetDefaultBorder(&border, 1);
    std::memcpy(border.IrigHours, time, 2);
    std::memcpy(border.IrigMinutes, time + 2, 2);
    std::memcpy(border.IrigSeconds, time + 4, 2);
    border.IrigMicroseconds = microseconds;
    return border;
}

BORDER_DATA DateRecord(unsigned char year, int dayOfYear) {
    BORDER_DATA border;
    SetDefaultBorder(&border, 1);
    border.Year = year;
    border.IrigDayOfYear[0] = static_cast<uint8_t>(dayOfYear / 100);
    border.IrigDayOfYear[1] = static_cast<uint8_t>(dayOfYear / 10 % 10);
    border.IrigDayOfYear[2] = static_cast<uint8_t>(dayOfYear % 10);
    return border;
}

std::string TimeText(BORDER_DATA border, int* length = nullptr) {
    char text[32];
    std::memset(text, 'Z', sizeof(text));
    const int written = ExtractIRIGTime(&border, text, 0);
    if (length != nullptr) *length = written;
    return text;
}

std::string DateText(BORDER_DATA border, int* length = nullptr) {
    char text[32];
    std::memset(text, 'Z', sizeof(text));
    const int written = ExtractIRIGDate(&border, text, 0);
    if (length != nullptr) *length = written;
    return text;
}

TEST(IrigTime, NumbersFromDigitPairs) {
    const unsigned char digits[6] = {1, 2, 3, 4, 5, 6};
    BORDER_DATA border = IrigRecord(digits, 7008);
    int hours = -1, minutes = -1, seconds = -1, microseconds = -1;
    EXPECT_EQ(7008, ExtractIRIGTime(&border, hours, minutes, seconds, microseconds));
    EXPECT_EQ(12, hours);
    EXPECT_EQ(34, minutes);
    EXPECT_EQ(56, seconds);
    EXPECT_EQ(7008, microseconds);
}

TEST(IrigTime, TextSplitsMillisecondsAndMicroseconds) {
    const unsigned char digits[6] = {1, 2, 3, 4, 5, 6};
    int length = 0;
    EXPECT_EQ("12:34:56:007:008", TimeText(IrigRecord(digits, 7008), &length));
    EXPECT_EQ(16, length);
    const unsigned char midnight[6] = {0, 0, 0, 0, 0, 0}, late[6] = {2, 3, 5, 9, 5, 9};
    EXPECT_EQ("00:00:00:000:000", TimeText(IrigRecord(midnight, 0)));
    EXPECT_EQ("23:59:59:999:999", TimeText(IrigRecord(late, 999999)));
}

TEST(IrigDate, NumbersFromBcdYearAndDayDigits) {
    int year = 0, day = -1;
    BORDER_DATA border = DateRecord(0x06, 123);
    EXPECT_EQ(2006, ExtractIRIGDate(&border, year, day));
    EXPECT_EQ(2006, year);
    EXPECT_EQ(123, day);
    border = DateRecord(0x24, 366);
    EXPECT_EQ(2024, ExtractIRIGDate(&border, year, day));
    EXPECT_EQ(366, day);
    border = DateRecord(0x99, 0);
    EXPECT_EQ(2099, ExtractIRIGDate(&border, year, day));
    EXPECT_EQ(0, day);
}

// Day zero is the first of January; February follows the leap year of the full year; past the year
// end the month is thirteen; the printed year is exact only up to 15 (2016 prints as 00, 2024 as 08).
TEST(IrigDate, TextIsDayMonthYearWithOpeningParenthesisOnly) {
    int length = 0;
    EXPECT_EQ("(05/02/06", DateText(DateRecord(0x06, 36), &length));
    EXPECT_EQ(9, length);
    const struct {
        unsigned char year;
        int day;
        const char* text;
    } rows[] = {{0x06, 365, "(31/12/06"}, {0x06, 0, "(01/01/06"},   {0x06, 1, "(01/01/06"},
                {0x04, 60, "(29/02/04"},  {0x06, 60, "(01/03/06"},  {0x24, 60, "(29/02/08"},
                {0x16, 60, "(29/02/00"},  {0x15, 60, "(01/03/15"},  {0x04, 366, "(31/12/04"},
                {0x06, 366, "(01/13/06"}, {0x06, 399, "(34/13/06"}, {0x09, 1, "(01/01/09"},
                {0x10, 1, "(01/01/10"},   {0x15, 1, "(01/01/15"},   {0x16, 1, "(01/01/00"},
                {0x24, 1, "(01/01/08"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.text, DateText(DateRecord(row.year, row.day))) << int(row.year) << " day " << row.day;
    }
}

}  // namespace
