// Settings upload, read-back and the recording request against a simulated camera: the exact
// lines of a first upload and of single-field changes, the early stop while replaying, a refused
// command mid-upload, the round trip; and the value rules of the lines that one camera cannot show.
#include <gtest/gtest.h>

#include <cstring>

#include "tw_fixture.h"
#include "twport/settings_lines.h"
#include "twport/tw_port_internal.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.52";

// The value rules that one camera's upload and read-back cannot show.
TEST(SettingsValues, RateCodesFirmwareFormsAndReadBackRules) {
    const std::pair<std::uint32_t, std::uint32_t> rateCodes[] = {
        {0, 1},      {39, 1},     {40, 2},     {79, 2},     {159, 3},    {399, 4},
        {749, 5},    {1000, 6},   {1499, 6},   {2499, 7},   {3999, 8},   {7499, 9},
        {14999, 10}, {24999, 11}, {39999, 12}, {74999, 13}, {75000, 14}, {200000, 14}};
    for (const auto& [rate, code] : rateCodes) EXPECT_EQ(code, zptw::RateCode(rate)) << rate;
    EXPECT_EQ(500u, zptw::RateFromPeriod(1996000));  // 501.0, down to a multiple of 5
    EXPECT_EQ("#0A0606060600000059", zptw::FrameRateLine(0x0A, 1000000, 0x59, zptw::kLongPostFirmware));
    EXPECT_EQ("#0A0600000003E8000003E8000003E800000059",
              zptw::FrameRateLine(0x0A, 1000000, 0x59, zptw::kNewFrameRateFirmware + 1));
    EXPECT_EQ(33333333u, zptw::PeriodFromRateCode(15, 0));
}

using Settings = _CAMERA_SETTINGS;

Settings BaseRecord() {
    const std::pair<unsigned int Settings::*, unsigned int> fields[] = {
        {&Settings::netPerform, 50},    {&Settings::netSpeed, 2},       {&Settings::wbRed, 0x40000},
        {&Settings::wbGreen, 1000},     {&Settings::wbBlue, 2000},      {&Settings::roiWidth, 640},
        {&Settings::roiHeight, 480},    {&Settings::frames, 100},       {&Settings::preTrigger, 10},
        {&Settings::period, 1000000},   {&Settings::exposure, 500000},  {&Settings::syncInMode, 2},
        {&Settings::syncInFlags, 0x04}, {&Settings::burstLength, 16},   {&Settings::trigInFlags, 0x01},
        {&Settings::trigInTime, 20000}, {&Settings::trigDelay, 3000000}};
    Settings s{};
    for (const auto& [field, value] : fields) s.*field = value;
    return s;
}

const Lines kFirstUpload = Logged(
    "#0A89006400640100|#0A9E02|#0A120003FFC0000003E8000007D0|#0A90028001E0|#0A8D00000000028001E001|"
    "#0A0E00000064|#0A0400000059|#0A060606060059|#0A070101F4|#0A070201F4|#0A820302|#0A9B0010|"
    "#0A840100000014|#0A5D0003");

// An open port to a camera with the colour option.
class SettingsUpload : public ::testing::Test {
protected:
    SettingsUpload() : camera(kIp, {"--option", "1"}) {}
    void SetUp() override {
        ASSERT_TRUE(camera.Ready());
        _ZP_ENUMITEMEX item = ItemFor(kIp);
        ASSERT_EQ(1u, port.Open(&item));
        camera.ClearLog();
    }
    void TearDown() override { port.Close(); }
    Lines Upload(_CAMERA_SETTINGS& s, unsigned int expected = 1) {
        camera.ClearLog();
        EXPECT_EQ(expected, port.WriteData2(&s, sizeof s));
        return camera.Lines();
    }
    Camera camera;
    TestPort port;
};

// While the camera replays only the link settings go, and a refused command stops the upload:
// neither is remembered, and the next upload sends every step. After that only changes are sent.
TEST_F(SettingsUpload, EveryStepGoesUntilAnUploadSucceedsAndThenOnlyAChangedFieldsCommands) {
    EXPECT_EQ(1u, port.WriteData2(nullptr, 0));  // length 0: nothing to do
    _CAMERA_SETTINGS base = BaseRecord();
    const auto state = port.m_byCameraState.load();
    for (int replay : {5, 6}) {
        port.m_byCameraState = replay;
        EXPECT_EQ(Lines(kFirstUpload.begin(), kFirstUpload.begin() + 3), Upload(base)) << replay;
    }
    port.m_byCameraState = state;
    ASSERT_EQ("OK", camera.Control("result 06 21"));
    EXPECT_EQ(Lines(kFirstUpload.begin(), kFirstUpload.begin() + 8), Upload(base, 0));
    ASSERT_EQ("OK", camera.Control("result 06 off"));
    EXPECT_EQ(kFirstUpload, Upload(base));
    EXPECT_EQ(262080u, base.wbRed);  // written back into the caller's record
    EXPECT_TRUE(Upload(base).empty());
    const struct {
        void (*change)(_CAMERA_SETTINGS&);
        const char* lines;
    } cases[] = {
        {[](_CAMERA_SETTINGS& s) { s.netPerform = 70000; }, "#0A89FFFFFFFF0100"},
        {[](_CAMERA_SETTINGS& s) { s.netSpeed = 0x1F; }, "#0A9E1F"},
        {[](_CAMERA_SETTINGS& s) { s.wbGreen = 7; }, "#0A120003FFC000000007000007D0"},
        {[](_CAMERA_SETTINGS& s) { s.wbBlue = 0; }, ""},
        {[](_CAMERA_SETTINGS& s) { s.binning = 1; }, "#0A90050003C0|#0A8D00000000050003C001"},
        {[](_CAMERA_SETTINGS& s) { s.roiWidth = 320; }, "#0A90014001E0|#0A8D00000000014001E001"},
        {[](_CAMERA_SETTINGS& s) { s.roiHeight = 240; }, "#0A90028000F0|#0A8D00000000028000F001"},
        {[](_CAMERA_SETTINGS& s) { s.frames = 0; },
         "#0A0E00000001|#0A0400000000|#0A06060606FFFFFFF5|#0A070101F4|#0A070201F4"},
        {[](_CAMERA_SETTINGS& s) { s.preTrigger = 500; },
         "#0A0E00000064|#0A0400000000|#0A060606060000|#0A070101F4|#0A070201F4"},
        {[](_CAMERA_SETTINGS& s) { s.period = 100000; }, "#0A060A0A0A0059|#0A07010061|#0A07020061"},
        {[](_CAMERA_SETTINGS& s) { s.exposure = 2000000; }, "#0A060606060059|#0A070103E5|#0A070203E5"},
        {[](_CAMERA_SETTINGS& s) { s.syncInMode = 1, s.syncInFlags = 1; }, "#0A820101"},
        {[](_CAMERA_SETTINGS& s) { s.burstLength = 0x12345; }, "#0A9B2345"},
        {[](_CAMERA_SETTINGS& s) { s.trigInFlags = 5; }, "#0A840200000014"},
        {[](_CAMERA_SETTINGS& s) { s.trigInTime = 1; }, ""},
        {[](_CAMERA_SETTINGS& s) { s.trigDelay = 25999999; }, "#0A5D0019"},
    };
    for (const auto& c : cases) {
        _CAMERA_SETTINGS s = base;
        c.change(s);
        EXPECT_EQ(Logged(c.lines), Upload(s)) << "case " << &c - cases;
        Upload(base);
    }
}

TEST_F(SettingsUpload, RecordWrittenThenReadBackAgrees) {
    _CAMERA_SETTINGS s = BaseRecord();
    s.trigDelay = 4096000000u;  // every digit of the delay's field counts
    ASSERT_EQ(1u, port.WriteData2(&s, sizeof s));
    _CAMERA_SETTINGS back;
    std::memset(&back, 0xAB, sizeof back);
    ASSERT_EQ(1u, port.ReadFlashMemoryBlocks(7, 9, &back));
    // What was written comes back; the rest is derived (sync input flags: option 2, plus 0x60 for a
    // pre-trigger above 1) or fixed.
    // clang-format off
    const std::pair<unsigned int, unsigned int> same[] = {
        {s.exposure, back.exposure},     {s.exposure, back.exposureCopy},   {s.roiWidth, back.roiWidth},
        {s.roiHeight, back.roiHeight},   {s.period, back.period},           {s.period, back.periodCopy},
        {s.frames, back.frames},         {s.preTrigger, back.preTrigger},   {s.syncInMode, back.syncInMode},
        {s.burstLength, back.burstLength}, {s.trigInFlags, back.trigInFlags}, {s.trigInTime, back.trigInTime},
        {s.trigDelay, back.trigDelay},   {s.wbRed, back.wbRed},             {s.wbGreen, back.wbGreen},
        {s.wbBlue, back.wbBlue},         {s.netSpeed, back.netSpeed},       {0x64u, back.syncInFlags},
        {0u, back.netPerform},           {2u, back.colorFormat},            {24u, back.bitsPerPixel},
        {640u * 480u, back.pixelCount},  {1504u, back.sensorWidth},         {1024u, back.recordLength},
        {180u, back.word564},            {64u, back.word800},               {0u, back.reserved60[0]}};
    // clang-format on
    for (std::size_t i = 0; i < sizeof same / sizeof same[0]; ++i)
        EXPECT_EQ(same[i].first, same[i].second) << i;
    ASSERT_EQ("OK", camera.Control("result 82 21"));
    EXPECT_EQ(0u, port.ReadFlashMemoryBlocks(0, 0, &back));
}

TEST_F(SettingsUpload, RecordingRequestsArmRecordOrDoNothing) {
    _RECORDING_REQUEST request{50, 60, 0, 0};
    // The last recording's first frame, as a download found it, is forgotten: the next one asks.
    port.m_dwState[zptw::kFirstFrameIndex] = 5;
    ASSERT_EQ(1u, port.WriteData2(&request, 1));
    EXPECT_EQ(zptw::kUnknownFirstFrame, port.m_dwState[zptw::kFirstFrameIndex]);
    EXPECT_EQ(Logged("#0A0E00000032|#0A0400000000|#0A1B|#0A74"), camera.Lines());
    camera.ClearLog();
    request = {0, 0, ZP_RECORD_ARM_ONLY, 0};
    ASSERT_EQ(1u, port.WriteData2(&request, 1));
    EXPECT_EQ(Logged("#0A0E00000001|#0A0400000000|#0A1B"), camera.Lines());
    camera.ClearLog();
    request.mode = ZP_RECORD_MODE_NONE;
    EXPECT_EQ(1u, port.WriteData2(&request, 1));
    EXPECT_TRUE(camera.Lines().empty());
}

}  // namespace
}  // namespace zptest
