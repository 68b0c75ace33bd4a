// Constant tables of the border record: the standard frame rates, the Dravik model codes and the
// default record image. Library-internal; shared with the border XML reader.
#ifndef ZPPORT_BORDER_BORDER_TABLES_H
#define ZPPORT_BORDER_BORDER_TABLES_H

#include <cstddef>
#include <cstdint>

#include "zpport/BorderData.h"

namespace zp::border {

// Searched in order; the position from 1 is the record's frame-rate index.
inline constexpr std::uint32_t kBorderFrameRates[13] = {30,   60,   125,   250,   500,    1000, 2000,
                                                        3000, 5000, 10000, 50000, 100000, 0};

// The record's frame-rate index of a rate: 0 for rate 0, the position (from 1) of a standard rate,
// 14 for any other rate.
constexpr std::uint8_t BorderFrameRateIndex(std::uint32_t rate) {
    if (rate == 0) return 0;
    for (std::uint8_t i = 0; i < 12; ++i) {
        if (kBorderFrameRates[i] == rate) return static_cast<std::uint8_t>(i + 1);
    }
    return 14;
}

inline constexpr int kDravikModelCount = 38;

// Dravik code per model index; -1 = the model has none.
inline constexpr std::int32_t kDravikModelCodes[kDravikModelCount] = {
    -1, -1, -1, -1, -1, -1, 37, 38, 37,  56,  37,  4,   22, 29, 37,  38,  56,  60,  61,
    62, 2,  2,  3,  88, 90, 92, 86, 229, 207, 230, 198, -1, -1, 231, 232, 233, 234, 235};

template <std::size_t N>
constexpr void PutText(char (&field)[N], const char* text) {
    for (std::size_t i = 0; i < N && text[i] != '\0'; ++i) field[i] = text[i];
}

constexpr BORDER_DATA MakeDefaultBorder() {
    BORDER_DATA b{};
    PutText(b.ModelText, "TW-7000");
    b.SensorType = 1;
    b.CameraID = 1;
    b.RecordMode = 1;
    b.WhiteBalance = 3;
    b.Byte15 = 3;
    b.WhiteBalanceRed = 1.0f;
    b.WhiteBalanceGreen = 1.0f;
    b.WhiteBalanceBlue = 1.0f;
    b.FrameNumber = 3;
    b.ClockSeconds = 0x19;
    b.ClockMinutes = 0x06;
    b.ClockHours = 0x19;
    b.ClockDay = 0x10;
    b.ClockMonth = 0x08;
    b.Year = 0x06;
    b.ElapsedMicroseconds = 60000;
    b.Exposure = 15707;
    b.Byte127 = 100;
    PutText(b.CameraName, "x");
    PutText(b.SessionName, "0");
    b.SessionName[2] = '0';  // a stray second "0" after the terminator
    b.SerialNumber = 150443;
    b.Width = 1504;
    b.Height = 1128;
    b.Flags = BORDER_FLAG_HUB_PRESENT;
    b.Dword244 = 0x00010000;
    b.Dword260 = 0x00010000;
    b.Dword276 = 0x00010000;
    b.Dword280 = 3;
    b.Dword284 = 20000;
    b.Format = 1;
    b.Width2 = 1504;
    b.Height2 = 1128;
    b.Word293 = 255;
    for (int k = 0; k < BORDER_TONE_ENTRIES; ++k) b.ToneTable[k] = static_cast<std::uint16_t>(k * 257);
    b.FrameRate = 50;
    b.Byte853 = 2;
    PutText(b.EndMarker, "EoBD");
    return b;
}

// The default record in host order.
inline constexpr BORDER_DATA kDefaultBorder = MakeDefaultBorder();

}  // namespace zp::border

#endif  // ZPPORT_BORDER_BORDER_TABLES_H
