// The session against a simulated camera: the open sequence line by line, the close, and the
// state commands with the reply values of their edge cases.
#include <gtest/gtest.h>

#include <ctime>

#include "tw_fixture.h"
#include "twport/clock_lines.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.52";

const std::vector<std::string> kHead = {"54\\r\\n", "#0A48\\r\\n", "#0A0102\\r\\n", "#0A40\\r\\n"};
const std::vector<std::string> kPrepare = {"#0A9802\\r\\n", "#0A83010000\\r\\n"};
const std::vector<std::string> kModes = {"#0A538000\\r\\n", "#0A538000SLOW\\r\\n", "#0A8F1E\\r\\n",
                                         "#0A8700\\r\\n"};
const std::string kColourLine = "#0A0F302E302C312E302C312E302C312E302C30000000000000000000000000000000\\r\\n";

// The expected open sequence; the clock and date lines are checked separately.
std::vector<std::string> ExpectedOpen(bool prepare, bool colour, bool option) {
    std::vector<std::string> lines = kHead;
    if (prepare) lines.insert(lines.end(), kPrepare.begin(), kPrepare.end());
    lines.insert(lines.end(), kModes.begin(), kModes.end());
    lines.push_back("<clock>");
    lines.push_back("<date>");
    lines.push_back("#0A0D0200000000\\r\\n");
    if (colour) lines.push_back(kColourLine);
    lines.push_back("#0A0C00\"0\"\\r\\n");
    if (option) lines.push_back("#0A7103\\r\\n");
    lines.push_back("#0A4700000000000000\\r\\n");
    lines.push_back("#0A0A0000\\r\\n");
    return lines;
}

// Replaces the clock and date lines by placeholders after checking their form and date.
std::vector<std::string> MaskClock(std::vector<std::string> lines) {
    _OS_SYSTEMTIME now{};
    OS_GetLocalTime(&now);
    const zptw::ClockFields fields = zptw::ClockFieldsOf(now);
    char date[32];
    std::snprintf(date, sizeof date, "#0A09%02d%02d%02d\\r\\n", fields.month, fields.day, fields.year);
    for (auto& line : lines) {
        if (line.rfind("#0A08", 0) == 0) {
            EXPECT_EQ(15u, line.size()) << line;
            line = "<clock>";
        } else if (line.rfind("#0A09", 0) == 0) {
            EXPECT_EQ(date, line);
            line = "<date>";
        }
    }
    return lines;
}

struct OpenCase {
    const char* state;
    const char* option;
    bool prepare, colour, option71;
};

class OpenSequence : public ::testing::TestWithParam<OpenCase> {};

TEST_P(OpenSequence, SendsTheLinesOfTheCamerasState) {
    const OpenCase& c = GetParam();
    Camera camera(kIp, {"--state", c.state, "--option", c.option});
    ASSERT_TRUE(camera.Ready());
    TestPort port;
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    EXPECT_EQ(ExpectedOpen(c.prepare, c.colour, c.option71), MaskClock(camera.Lines()));
    EXPECT_EQ(0u, port.Lock(1000));  // the outer lock exists now
    port.Unlock();
    camera.ClearLog();
    port.Close();
    const bool endsPlayback = c.colour;  // states 5 and 6
    EXPECT_EQ(endsPlayback ? std::vector<std::string>{"#0A86\\r\\n"} : std::vector<std::string>{},
              camera.Lines());
    EXPECT_EQ(nullptr, port.m_hListener);
    EXPECT_EQ(0, port.m_nAnnSocket.load());
}

INSTANTIATE_TEST_SUITE_P(States, OpenSequence,
                         ::testing::Values(OpenCase{"0", "0", true, false, false},
                                           OpenCase{"3", "0", false, false, false},
                                           OpenCase{"5", "0", false, true, false},
                                           OpenCase{"6", "2", false, true, false},
                                           OpenCase{"7", "1", true, false, true}));

TEST(OpenFailure, StopsAtTheFirstRefusedCommandAndKeepsItsListener) {
    Camera camera(kIp, {"--state", "0", "--result", "8F=21"});
    ASSERT_TRUE(camera.Ready());
    TestPort port;
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    EXPECT_EQ(0u, port.Open(&item));
    const auto lines = camera.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ("#0A8F1E\\r\\n", lines.back());
    EXPECT_NE(nullptr, port.m_hListener);
    EXPECT_EQ(0u, port.Lock(1000));  // no lock was made: Lock returns at once
}

TEST(CloseFailure, RefusedEndOfPlaybackLeavesTheSessionInPlace) {
    Camera camera(kIp, {"--state", "5"});
    ASSERT_TRUE(camera.Ready());
    TestPort port;
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    EXPECT_EQ("OK", camera.Control("result 86 21"));
    port.Close();
    EXPECT_NE(nullptr, port.m_hListener);
    EXPECT_NE(0, port.m_nAnnSocket.load());
    EXPECT_EQ("OK", camera.Control("clear"));
    port.Close();
    EXPECT_EQ(nullptr, port.m_hListener);
}

class StateCommands : public ::testing::Test {
protected:
    StateCommands()
        : camera(kIp,
                 {"--state",       "4",          "--model",          "12",    "--option",      "2",
                  "--serial",      "0xC0FFEE",   "--firmware",       "0x205", "--temperature", "-10",
                  "--period",      "1000000",    "--width",          "1280",  "--height",      "1024",
                  "--first-frame", "10",         "--last-frame",     "4",     "--ip-word",     "0xC0A80164",
                  "--mask-word",   "0xFFFFFF00", "--frame-capacity", "3"}) {
        port.Target(kIp, 0x0A);
    }
    Camera camera;
    TestPort port;
};

TEST_F(StateCommands, StatusWordFollowsTheState) {
    ASSERT_TRUE(camera.Ready());
    unsigned int status = 0;
    ASSERT_EQ(1u, port.GetStatus2(&status));
    EXPECT_EQ(0x40001u, status);
    EXPECT_EQ("OK", camera.Control("state 2"));
    ASSERT_EQ(1u, port.GetStatus2(&status));
    EXPECT_EQ(0x20000u, status);
    EXPECT_EQ("OK", camera.Control("state 11"));
    ASSERT_EQ(1u, port.GetStatus2(&status));
    EXPECT_EQ(0x70000u, status);
    EXPECT_EQ(0x11, port.m_byCameraState.load());
    EXPECT_EQ("OK", camera.Control("result 40 00"));
    status = 5;
    EXPECT_EQ(0u, port.GetStatus2(&status));
    EXPECT_EQ(5u, status);
}

TEST_F(StateCommands, PortParameters) {
    ASSERT_TRUE(camera.Ready());
    unsigned int value = 0;
    ASSERT_EQ(1u, port.GetPortParameter(ZPP_BOARD_TEMP, &value));
    EXPECT_EQ(0xFFFFFFF6u, value);
    ASSERT_EQ(1u, port.GetPortParameter(ZPP_PERIOD_MIN, &value));
    EXPECT_EQ(1000u, value);
    ASSERT_EQ(1u, port.GetPortParameter(ZPP_FRAME_CAP, &value));
    EXPECT_EQ(3u, value);
    camera.ClearLog();
    value = 77;
    EXPECT_EQ(0u, port.GetPortParameter(ZPP_GAIN, &value));
    EXPECT_EQ(77u, value);
    EXPECT_TRUE(camera.Lines().empty());
}

TEST_F(StateCommands, CountersAreSubtractedWithoutSign) {
    ASSERT_TRUE(camera.Ready());
    unsigned int index = 1;
    ASSERT_EQ(1u, port.GetLatestFrameIndex(&index));
    EXPECT_EQ(4294967290u, index);
    EXPECT_EQ("OK", camera.Control("raw 45 #0A114500000000000000000000"));
    ASSERT_EQ(1u, port.GetLatestFrameIndex(&index));
    EXPECT_EQ(0u, index);
    EXPECT_EQ("OK", camera.Control("raw 45 off"));
    EXPECT_EQ("OK", camera.Control("result 45 21"));
    index = 1;
    EXPECT_EQ(0u, port.GetLatestFrameIndex(&index));
    EXPECT_EQ(0u, index);
}

TEST_F(StateCommands, EraseAcceptsFinishedAndEmptyCodes) {
    ASSERT_TRUE(camera.Ready());
    for (const char* code : {"18", "16", "11"}) {
        EXPECT_EQ("OK", camera.Control(std::string("result 96 ") + code));
        EXPECT_EQ(1u, port.EraseMemory()) << code;
    }
    EXPECT_EQ("OK", camera.Control("result 96 22"));
    EXPECT_EQ(0u, port.EraseMemory());
}

TEST_F(StateCommands, StopGrabStopsOnlyARecordingCamera) {
    ASSERT_TRUE(camera.Ready());
    unsigned int frames = 9;
    camera.ClearLog();
    ASSERT_EQ(1u, port.StopGrab(&frames));
    EXPECT_EQ(0u, frames);
    EXPECT_EQ(std::vector<std::string>{"#0A40\\r\\n"}, camera.Lines());
    EXPECT_EQ("OK", camera.Control("state 3"));
    camera.ClearLog();
    ASSERT_EQ(1u, port.StopGrab(nullptr));
    EXPECT_EQ((std::vector<std::string>{"#0A40\\r\\n", "#0A99\\r\\n", "#0A19\\r\\n", "#0A40\\r\\n"}),
              camera.Lines());
}

TEST_F(StateCommands, ResetIgnoresAllButTheStateQuery) {
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ("OK", camera.Control("result 99 21"));
    camera.ClearLog();
    EXPECT_EQ(1u, port.Reset());
    EXPECT_EQ((std::vector<std::string>{"#0A5FFF\\r\\n", "#0A99\\r\\n", "#0A86\\r\\n", "#0A19\\r\\n",
                                        "#0A40\\r\\n"}),
              camera.Lines());
    EXPECT_EQ("OK", camera.Control("result 40 21"));
    EXPECT_EQ(0u, port.Reset());
}

TEST_F(StateCommands, SimpleCommandsSendTheirLines) {
    ASSERT_TRUE(camera.Ready());
    camera.ClearLog();
    EXPECT_EQ(1u, port.Attach());
    EXPECT_EQ(1u, port.Trigger());
    EXPECT_EQ(1u, port.WriteCameraName("Lab 1"));
    unsigned char reg = 5;
    EXPECT_EQ(1u, port.ReadRegister(3, &reg));
    EXPECT_EQ(0, reg);
    EXPECT_EQ(1u, port.WriteRegister(3, 4));
    EXPECT_EQ(0u, port.ReadWriteCameraComment(0, nullptr));
    EXPECT_EQ((std::vector<std::string>{"#0A0102\\r\\n", "#0A74\\r\\n", "#0A520A\"Lab 1\"\\r\\n"}),
              camera.Lines());
}

TEST_F(StateCommands, CameraInfoMultipliesAreaAndFrames) {
    ASSERT_TRUE(camera.Ready());
    unsigned int low = 0;
    unsigned int high = 0;
    ASSERT_EQ(1u, port.ReadCameraInfo(1, &low, &high));
    EXPECT_EQ(1280u * 1024u * 3u, low);
    EXPECT_EQ(0u, high);
    EXPECT_EQ(0u, port.ReadCameraInfo(2, &low, &high));
}

TEST_F(StateCommands, VendorInfo) {
    ASSERT_TRUE(camera.Ready());
    _VENDOR_INFO info;
    std::memset(&info, 0xAB, sizeof info);
    ASSERT_EQ(1u, port.GetVendorInfo(&info));
    EXPECT_EQ(512, info.version);
    EXPECT_EQ(0, std::memcmp(info.magic, "VINF", 4));
    EXPECT_EQ(0xC0FFEEu, info.serialNumber);
    EXPECT_EQ(0, info.cameraTypeByte);  // option value 2 is stored as 0
    EXPECT_EQ(4, info.word18);
    EXPECT_EQ(14, info.classCode);
    EXPECT_EQ(1, info.variantCode);
    EXPECT_EQ(50, info.words184[6]);
    EXPECT_EQ(0, info.words184[0]);
    EXPECT_EQ(1, info.byte205);
    EXPECT_EQ(0, info.text[3][0]);
    unsigned int first = 1;
    unsigned int second = 1;
    port.GetControllersVersion(first, second);
    EXPECT_EQ(0x205u, first);
    EXPECT_EQ(0u, second);
    EXPECT_EQ("OK", camera.Control("raw 97 #0A119705"));
    EXPECT_EQ(0u, port.GetVendorInfo(&info));
}

TEST_F(StateCommands, AddressWordsAreReadAndWrittenInOrder) {
    ASSERT_TRUE(camera.Ready());
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    unsigned int address = 0;
    unsigned int mask = 0;
    ASSERT_EQ(1u, port.GetIpAddress(&item, &address, &mask));
    EXPECT_EQ(0xC0A80164u, address);
    EXPECT_EQ(0xFFFFFF00u, mask);
    unsigned int value = 0;
    EXPECT_EQ(0u, port.ReadSysDataFromFlash(1, &value));
    ASSERT_EQ(1u, port.ReadSysDataFromFlash(0, &value));
    EXPECT_EQ(0xC0A80164u, value);
    camera.ClearLog();
    ASSERT_EQ(1u, port.SetIpAddress(&item, 0xC0A80165u, 0xFFFF0000u));
    EXPECT_EQ((std::vector<std::string>{"54\\r\\n", "#0A0102\\r\\n", "#0A4D\\r\\n", "#0A4EFFFF0000\\r\\n",
                                        "#0A4DC0A80165\\r\\n", "#0A5F\\r\\n"}),
              camera.Lines());
    camera.ClearLog();
    ASSERT_EQ(1u, port.SetIpAddress(&item, 0, 0x12345678u));
    ASSERT_EQ(1u, port.SetIpAddress(&item, 0xC0A80166u, 0xFFFFFF00u));
    const auto lines = camera.Lines();
    ASSERT_EQ(12u, lines.size());
    EXPECT_EQ("#0A4E00000000\\r\\n", lines[3]);  // a cleared address clears the second word too
    EXPECT_EQ("#0A4DC0A80166\\r\\n", lines[9]);  // current word 0: the address goes first
    EXPECT_EQ("#0A4EFFFFFF00\\r\\n", lines[10]);
}

TEST(ClockLines, EarlyYearsCountAsTwoThousand) {
    _OS_SYSTEMTIME time{};
    time.wYear = 99;  // 1999
    time.wMonth = 11;
    time.wDay = 31;
    zptw::ClockFields fields = zptw::ClockFieldsOf(time);
    EXPECT_EQ(0, fields.year);
    EXPECT_EQ(12, fields.month);
    time.wYear = 126;
    time.wMonth = 2;
    fields = zptw::ClockFieldsOf(time);
    EXPECT_EQ(26, fields.year);
    EXPECT_EQ(3, fields.month);
}

}  // namespace
}  // namespace zptest
