// The pure parts of the settings upload and read-back: clamps, rate codes, the input lines and
// the periods of the rate codes.
#include "twport/settings_lines.h"

#include <gtest/gtest.h>

namespace zptw {
namespace {

TEST(SettingsValues, NetPerformIsClampedTo100Through65535) {
    EXPECT_EQ(100u, ClampNetPerform(50));
    EXPECT_EQ(65535u, ClampNetPerform(70000));
    EXPECT_EQ(1234u, ClampNetPerform(1234));
}

TEST(SettingsValues, RateCodesChangeAtTheirUpperBounds) {
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {
        {0, 1},      {39, 1},     {40, 2},     {79, 2},     {159, 3},    {399, 4},
        {749, 5},    {1000, 6},   {1499, 6},   {2499, 7},   {3999, 8},   {7499, 9},
        {14999, 10}, {24999, 11}, {39999, 12}, {74999, 13}, {75000, 14}, {200000, 14}};
    for (const auto& [rate, code] : cases) EXPECT_EQ(code, RateCode(rate)) << rate;
}

TEST(SettingsValues, RateIsRoundedThenCutToAMultipleOf5) {
    EXPECT_EQ(1000u, RateFromPeriod(1000000));
    EXPECT_EQ(30u, RateFromPeriod(33333333));  // 30.0000003
    EXPECT_EQ(500u, RateFromPeriod(1996000));  // 501.0 -> 500
    EXPECT_EQ(0u, RateFromPeriod(0));
}

TEST(SettingsValues, TriggerPositionAndPostFramesNeverGoNegative) {
    EXPECT_EQ(89u, TriggerPosition(100, 10));
    EXPECT_EQ(0u, TriggerPosition(10, 50));
    EXPECT_EQ(0u, PostTriggerFrames(10, 50));
    EXPECT_EQ(0u, TriggerPosition(0, 0));
    EXPECT_EQ(0xFFFFFFFFu, PostTriggerFrames(0, 0));  // unsigned in the frame-rate command
}

TEST(SettingsValues, ExposureIsCutToThePeriodLess3Microseconds) {
    EXPECT_EQ(500u, ExposureMicros(1000000, 500000));
    EXPECT_EQ(997u, ExposureMicros(1000000, 999000));
    EXPECT_EQ(997u, ExposureMicros(1000000, 2000000));
    EXPECT_EQ(996u, ExposureMicros(1000000, 996999));
}

TEST(SettingsLines, FrameRateFormDependsOnTheFirmware) {
    EXPECT_EQ("#0A060606060059", FrameRateLine(0x0A, 1000000, 0x59, 0x205));
    EXPECT_EQ("#0A0606060600000059", FrameRateLine(0x0A, 1000000, 0x59, kLongPostFirmware));
    EXPECT_EQ("#0A0606060600000059", FrameRateLine(0x0A, 1000000, 0x59, kNewFrameRateFirmware));
    EXPECT_EQ("#0A0600000003E8000003E8000003E800000059",
              FrameRateLine(0x0A, 1000000, 0x59, kNewFrameRateFirmware + 1));
}

TEST(SettingsLines, ConfigurableInputByModeAndFlags) {
    const struct {
        std::uint32_t mode, flags;
        const char* line;
    } cases[] = {{0, 0x04, "#0A820000"}, {1, 0x01, "#0A820101"}, {0, 0x05, "#0A820102"},
                 {2, 0x00, "#0A820301"}, {3, 0x04, "#0A820202"}, {7, 0x00, "#0A820001"}};
    for (const auto& c : cases) EXPECT_EQ(c.line, SyncInLine(0x0A, c.mode, c.flags)) << c.mode;
}

TEST(SettingsLines, TriggerInputByFlagsWithTimeInMicroseconds) {
    EXPECT_EQ("#0A840000000014", TrigInLine(0x0A, 0x04, 20000));
    EXPECT_EQ("#0A840100000014", TrigInLine(0x0A, 0x01, 20000));
    EXPECT_EQ("#0A84020007A120", TrigInLine(0x0A, 0x05, 900000000));
}

TEST(SettingsReadBack, PeriodsOfTheRateCodes) {
    EXPECT_EQ(1000000u, PeriodFromRateCode(6, 0));
    EXPECT_EQ(33333333u, PeriodFromRateCode(1, 0));
    EXPECT_EQ(33333333u, PeriodFromRateCode(15, 0));
    EXPECT_EQ(10000u, PeriodFromRateCode(14, 0));
    EXPECT_EQ(1000000u, PeriodFromRateCode(0, 1000));
}

TEST(SettingsReadBack, SensorSizeByTypeAndInputFlags) {
    std::uint32_t w = 0, h = 0;
    SensorSizeForType(14, w, h);
    EXPECT_EQ(752u, w);
    EXPECT_EQ(564u, h);
    SensorSizeForType(13, w, h);
    EXPECT_EQ(1128u, h);
    SensorSizeForType(12, w, h);
    EXPECT_EQ(1504u, w);
    EXPECT_EQ(3u, SyncInModeFromFunction(2));
    EXPECT_EQ(2u, SyncInModeFromFunction(3));
    EXPECT_EQ(0x65u, SyncInFlagsFrom(1, 2, 2));
    EXPECT_EQ(0x00u, SyncInFlagsFrom(0, 1, 1));
    EXPECT_EQ(0x05u, TrigInFlagsFrom(2));
}

}  // namespace
}  // namespace zptw
