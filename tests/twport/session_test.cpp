// The session against a simulated camera: the command link's results, retries, time-outs and bad
// replies, the open and close sequences line by line, the state and identity commands, the
// announcement listener and the resources an open holds.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.51";

// A stored recording (state 4) with every identity value a query can show, announcing to the
// port's address, and a port aimed at it.
class Session : public ::testing::Test {
protected:
    Session()
        : camera(kIp,
                 {"--state",       "4",          "--model",          "12",    "--option",      "2",
                  "--serial",      "0xC0FFEE",   "--firmware",       "0x205", "--temperature", "-10",
                  "--period",      "1000000",    "--width",          "1280",  "--height",      "1024",
                  "--first-frame", "10",         "--last-frame",     "4",     "--ip-word",     "0xC0A80164",
                  "--mask-word",   "0xFFFFFF00", "--frame-capacity", "3",     "--announce-to", kIp}) {
        std::snprintf(port.m_szCameraAddress, sizeof port.m_szCameraAddress, "%s", kIp);
        port.m_byCameraAddress = 0x0A;
    }
    void SetUp() override { ASSERT_TRUE(camera.Ready()); }
    // Control lines that must each be accepted.
    void Control(std::initializer_list<const char*> lines) {
        for (const char* line : lines) EXPECT_EQ("OK", camera.Control(line)) << line;
    }
    Camera camera;
    TestPort port;
    std::string reply;
};

TEST_F(Session, ReplyCodesDecideTheResultAndBadRepliesStayInsideTheBuffer) {
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ("#0A114004\r\n", reply);
    for (const auto& [control, result] : {std::make_pair("result 40 00", 0), {"result 40 21", 0x21}}) {
        Control({control});
        EXPECT_EQ(result, port.Send("#0A40\r\n", reply)) << control;
    }
    EXPECT_EQ(0u, port.GetErrorCode());
    Control({"raw 40 #0"});
    EXPECT_NE(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ("#0", reply);
    Control({"raw 40 fill 4000"});
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(2047u, reply.size());  // cut to the buffer, and still a terminated text
    Control({"raw 45 #0A11"});
    unsigned int index = 99;
    EXPECT_EQ(1u, port.GetLatestFrameIndex(&index));  // fixed read positions stay inside the buffer
}

TEST_F(Session, SilentDroppingAndSlowCamerasAreAskedOncePerAttempt) {
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 6000000, 0));  // no attempt: nothing is sent
    Control({"silent on"});
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 1000000, 3));
    EXPECT_GE(SecondsSince(start), 0.55);  // three slices of a fifth of the time-out
    Control({"clear", "drop 2"});          // every second reply is lost
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply, 1000000, 3));
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply, 1000000, 3));
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 1000000, 1));
    EXPECT_EQ(Logged("#0A40|#0A40|#0A40|#0A40|#0A40|#0A40|#0A40"), camera.Lines());
    Control({"clear", "delay 1500"});
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 1000000, 2));
    start = std::chrono::steady_clock::now();
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply, 1000000, 15));  // the first attempt's late reply counts
    EXPECT_GE(SecondsSince(start), 1.4);
    EXPECT_EQ("#0A114004\r\n", reply);
}

TEST_F(Session, NoReplyCommandsTheLostLinkAndTheTrace) {
    TempDir dir;
    port.EnableTrace(7, dir.File("trace.log").c_str(), 1);
    EXPECT_EQ(1, port.Send("54\r\n", reply));
    EXPECT_EQ(1, port.Send("#0A74\r\n", reply, -1));
    EXPECT_EQ("#0A74\r\n", reply);  // nothing was read into the buffer
    port.m_dwLinkLost = 1;
    EXPECT_EQ(-1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(2008u, port.GetErrorCode());
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply, 6000000, 1, 1));  // forced lines pass
    port.m_dwLinkLost = 0;
    Control({"raw 40 fill 0"});  // an empty datagram
    EXPECT_EQ(-1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(2008u, port.GetErrorCode());  // a success never clears the error code
    Control({"silent on"});
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 500000));
    EXPECT_EQ(Logged("54|#0A74|#0A40|#0A40|#0A40"), camera.Lines());
    port.EnableTrace(7, dir.File("trace.log").c_str(), 0);
    const std::string log = ReadFile(dir.File("trace_0000000007.log"));
    for (const char* text : {"CMD: 54  (", "RSP: #0A11540A  ", ") - No required rsp", "ERR: recvfrom = 0",
                             "ERR: time-out = 0"}) {
        EXPECT_NE(std::string::npos, log.find(text)) << text << "\n" << log;
    }
}

TEST_F(Session, QueriesAndTheVendorRecordReadTheirReplyFields) {
    unsigned int value = 0, low = 0, high = 1;
    for (const auto& [state, word] : {std::make_pair("4", 0x40001u), {"2", 0x20000u}, {"11", 0x70000u}}) {
        Control({(std::string("state ") + state).c_str()});
        ASSERT_EQ(1u, port.GetStatus2(&value));
        EXPECT_EQ(word, value) << state;
    }
    EXPECT_EQ(0x11, port.m_byCameraState.load());
    for (const auto& [parameter, expected] :
         {std::make_pair(ZPP_BOARD_TEMP, 0xFFFFFFF6u), {ZPP_PERIOD_MIN, 1000u}, {ZPP_FRAME_CAP, 3u}}) {
        ASSERT_EQ(1u, port.GetPortParameter(parameter, &value));
        EXPECT_EQ(expected, value) << parameter;
    }
    ASSERT_EQ(1u, port.GetLatestFrameIndex(&value));
    EXPECT_EQ(4294967290u, value);  // last minus first, without sign
    ASSERT_EQ(1u, port.ReadCameraInfo(1, &low, &high));
    EXPECT_EQ(std::make_pair(1280u * 1024u * 3u, 0u), std::make_pair(low, high));
    Control({"clear", "result 45 21", "result 40 00"});
    value = 1;
    EXPECT_EQ(0u, port.GetLatestFrameIndex(&value));
    EXPECT_EQ(0u, value);  // a failed query gives 0
    EXPECT_EQ(0u, port.GetStatus2(&value));
    _VENDOR_INFO info{};
    ASSERT_EQ(1u, port.GetVendorInfo(&info));
    EXPECT_EQ(0xC0FFEEu, info.serialNumber);
    EXPECT_EQ(0, info.cameraTypeByte);  // option value 2 is stored as 0
    EXPECT_EQ(std::make_pair(14, 1), (std::pair<int, int>(info.classCode, info.variantCode)));  // model 12
    unsigned int first = 1, second = 1;
    port.GetControllersVersion(first, second);
    EXPECT_EQ(std::make_pair(0x205u, 0u), std::make_pair(first, second));
    Control({"clear", "result 97 21"});
    port.GetControllersVersion(first, second);
    EXPECT_EQ(std::make_pair(0u, 0u), std::make_pair(first, second));
}

TEST_F(Session, StateAndAddressCommandsSendTheirLines) {
    // Erasing: finished, already empty and accepted count as done.
    for (const auto& [code, done] : {std::make_pair("18", 1u), {"16", 1u}, {"11", 1u}, {"22", 0u}}) {
        Control({(std::string("result 96 ") + code).c_str()});
        EXPECT_EQ(done, port.EraseMemory()) << code;
    }
    Control({"clear"});
    camera.ClearLog();
    unsigned int frames = 9;
    ASSERT_EQ(1u, port.StopGrab(&frames));  // stored: nothing to stop
    EXPECT_EQ(0u, frames);
    Control({"state 3"});
    ASSERT_EQ(1u, port.StopGrab(nullptr));
    EXPECT_EQ(1u, port.Attach());
    EXPECT_EQ(1u, port.Trigger());
    EXPECT_EQ(1u, port.WriteCameraName("Lab 1"));
    Control({"result 99 21"});
    EXPECT_EQ(1u, port.Reset());  // only the state query counts
    EXPECT_EQ(
        Logged(
            "#0A40|#0A40|#0A99|#0A19|#0A40|#0A0102|#0A74|#0A520A\"Lab 1\"|#0A5FFF|#0A99|#0A86|#0A19|#0A40"),
        camera.Lines());
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    unsigned int address = 0, mask = 0;
    ASSERT_EQ(1u, port.GetIpAddress(&item, &address, &mask));
    EXPECT_EQ(std::make_pair(0xC0A80164u, 0xFFFFFF00u), std::make_pair(address, mask));
    EXPECT_EQ(0u, port.GetIpAddress(nullptr, &address, &mask));
    ASSERT_EQ(1u, port.ReadSysDataFromFlash(0, &address));
    EXPECT_EQ(0xC0A80164u, address);
    camera.ClearLog();
    ASSERT_EQ(1u, port.SetIpAddress(&item, 0xC0A80165u, 0xFFFF0000u));  // current word set: mask first
    ASSERT_EQ(1u, port.SetIpAddress(&item, 0, 0x12345678u));            // a cleared address clears both
    ASSERT_EQ(1u, port.SetIpAddress(&item, 0xC0A80166u, 0xFFFFFF00u));  // current word 0: address first
    EXPECT_EQ(Logged("54|#0A0102|#0A4D|#0A4EFFFF0000|#0A4DC0A80165|#0A5F|54|#0A0102|#0A4D|#0A4E00000000|"
                     "#0A4D00000000|#0A5F|54|#0A0102|#0A4D|#0A4DC0A80166|#0A4EFFFFFF00|#0A5F"),
              camera.Lines());
}

TEST_F(Session, AnnouncementsReachTheCallbackAndOneKeepAliveFollowsTenSecondsWithoutThem) {
    Announcements announcements;
    port.SetAnnouncementCallback(&Announcements::Callback, &announcements);
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    const struct {
        const char* control;
        const char* text;
        int state;  // -1: not checked
    } cases[] = {
        {"state 5", "#0A01A405_[127.0.0.51]", 5},
        {"announce #0A01A407012345678901234567890", "#0A01A407_[127.0.0.51]", 7},  // cut to nine characters
        {"announce #0A01A305", "#0A01A305_[127.0.0.51]", 7},                       // another event
        {"announce fill 5000", "#00110000_[127.0.0.51]", -1},  // longer than the buffer
        {"announce #ZZ01A4ZZ", "#ZZ01A4ZZ_[127.0.0.51]", -1},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        Control({cases[i].control});
        const auto texts = announcements.WaitFor(i + 1);
        ASSERT_EQ(i + 1, texts.size()) << cases[i].control;
        EXPECT_EQ(cases[i].text, texts[i]);
        EXPECT_TRUE(cases[i].state < 0 || cases[i].state == port.m_byCameraState.load()) << cases[i].control;
    }
    // The keep-alive goes out while the host sends commands, and its reply is never taken for theirs.
    camera.ClearLog();
    size_t exchanges = 0;
    for (const auto start = std::chrono::steady_clock::now(); SecondsSince(start) < 12; ++exchanges) {
        ASSERT_EQ(1, port.Send("#0A50\r\n", reply));
        ASSERT_EQ("#0A1150F6\r\n", reply);  // never the keep-alive's reply
    }
    const Lines lines = camera.Lines();
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), "#0A40\\r\\n"));
    EXPECT_EQ(exchanges + 1, lines.size());
    port.Close();
}

// Another sender's announcement, an empty and a short datagram are each followed by an event of the
// port's own camera: only that one reaches the callback, and the state stays the camera's.
TEST(Listener, TakesOnlyItsOwnCamerasAnnouncementsAndSurvivesEmptyDatagrams) {
    constexpr const char* kCamera = "127.0.0.61";
    Camera camera(kCamera, {"--state", "4"});
    ASSERT_TRUE(camera.Ready());
    TestPort port;
    Announcements announcements;
    port.SetAnnouncementCallback(&Announcements::Callback, &announcements);
    _ZP_ENUMITEMEX item = ItemFor(kCamera);
    ASSERT_EQ(1u, port.Open(&item));
    UdpClient own(kCamera), other("127.0.0.62");
    const std::pair<const UdpClient*, std::string> ignored[] = {
        {&other, "#0A01A405"}, {&own, ""}, {&own, "#0A01A4"}};
    std::vector<std::string> taken;
    for (size_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(ignored[i].first->Send(kCamera, 10505, ignored[i].second)) << i;
        taken.push_back("#0A01A30" + std::to_string(i) + "_[127.0.0.61]");
        ASSERT_TRUE(own.Send(kCamera, 10505, taken.back().substr(0, 9)));
        EXPECT_EQ(taken, announcements.WaitFor(i + 1)) << i;
        EXPECT_EQ(4, port.m_byCameraState.load()) << i;
    }
    ASSERT_TRUE(own.Send(kCamera, 10505, "#0A01A405"));
    EXPECT_EQ(4u, announcements.WaitFor(4).size());
    EXPECT_EQ(5, port.m_byCameraState.load());
}

// Loss and return of the link with a camera that stops answering (about a minute: a keep-alive
// goes out after ten seconds without announcements). Run as a test of its own, labelled slow.
using LinkLoss = Session;

// The listener calls back before it changes the link-lost flag: gives it a moment to do so.
unsigned int SettledLinkLost(TestPort& port, unsigned int expected) {
    for (int i = 0; i < 100 && port.m_dwLinkLost.load() != expected; ++i) usleep(10000);
    return port.m_dwLinkLost.load();
}

TEST_F(LinkLoss, TheFourthFailedKeepAliveDeclaresLossAndAnAnswerEndsIt) {
    Announcements texts;
    port.SetAnnouncementCallback(&Announcements::Callback, &texts);
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    camera.ClearLog();

    // After ten seconds without announcements one keep-alive goes out, and is answered.
    std::this_thread::sleep_for(std::chrono::seconds(12));
    EXPECT_EQ(Logged("#0A40"), camera.Lines());

    // The answered keep-alive restarted the count: the fourth failure after it declares the loss.
    Control({"silent on"});
    const auto start = std::chrono::steady_clock::now();
    auto got = texts.WaitFor(1, 70000);
    ASSERT_EQ(1u, got.size());
    EXPECT_EQ("#0A01A411_[127.0.0.51]", got[0]);
    EXPECT_GE(SecondsSince(start), 35.0);
    EXPECT_EQ(0x11, port.m_byCameraState.load());
    EXPECT_EQ(1u, SettledLinkLost(port, 1));
    unsigned int status = 0;
    EXPECT_EQ(0u, port.GetStatus2(&status));  // refused while the link is lost
    EXPECT_EQ(2008u, port.GetErrorCode());

    Control({"silent off"});
    got = texts.WaitFor(2, 15000);
    ASSERT_EQ(2u, got.size());  // no second loss report in between
    EXPECT_EQ("#0A01A800_[127.0.0.51]", got[1]);
    EXPECT_EQ(0u, SettledLinkLost(port, 0));
    EXPECT_EQ(4, port.m_byCameraState.load());
    EXPECT_EQ(1u, port.GetStatus2(&status));
    EXPECT_EQ(0x40001u, status);
    port.Close();
}

// Entries of a folder, given up to a second to reach the expected count: a finished thread leaves
// /proc/self/task shortly after. A sanitizer runtime starts a helper thread with the first thread a
// test makes: tests start one before they count. (Descriptors, locks and memory over many opens and
// closes are counted by the soak run of bench/robustness_runs.)
int CountEntries(const std::string& path, int expected = -1) {
    for (int attempt = 0;; ++attempt) {
        const auto count = static_cast<int>(std::distance(std::filesystem::directory_iterator(path), {}));
        if (expected < 0 || count == expected || attempt == 50) return count;
        usleep(20000);
    }
}

// The open sequence for cameras of each state and option, the clock and date lines included: state,
// option, and whether the lines that prepare a recording, the colour line and the line of option 1 go.
class OpenSequence : public ::testing::TestWithParam<std::tuple<const char*, const char*, bool, bool, bool>> {
};

TEST_P(OpenSequence, SendsTheLinesOfTheCamerasStateAndClosesByItsState) {
    const auto [state, option, prepare, colour, option71] = GetParam();
    Camera camera(kIp, {"--state", state, "--option", option});
    ASSERT_TRUE(camera.Ready());
    std::thread([] {}).join();
    const int threads = CountEntries("/proc/self/task");
    TestPort port;
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    EXPECT_EQ(threads + 1, CountEntries("/proc/self/task"));  // the listener
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char date[32];
    std::strftime(date, sizeof date, "#0A09%m%d%y", &local);
    const Lines expected =
        Logged(std::string("54|#0A48|#0A0102|#0A40|") + (prepare ? "#0A9802|#0A83010000|" : "") +
               "#0A538000|#0A538000SLOW|#0A8F1E|#0A8700|<clock>|" + date + "|#0A0D0200000000|" +
               (colour ? "#0A0F302E302C312E302C312E302C312E302C30000000000000000000000000000000|" : "") +
               "#0A0C00\"0\"|" + (option71 ? "#0A7103|" : "") + "#0A4700000000000000|#0A0A0000");
    Lines lines = camera.Lines();
    for (auto& line : lines) {
        if (line.rfind("#0A08", 0) != 0) continue;
        EXPECT_EQ(15u, line.size()) << line;  // hours, minutes, seconds
        line = "<clock>\\r\\n";
    }
    EXPECT_EQ(expected, lines);
    camera.ClearLog();
    const auto start = std::chrono::steady_clock::now();
    port.Close();
    EXPECT_LT(SecondsSince(start), 5.0);  // the listener ends after its wait slice, not a keep-alive period
    EXPECT_EQ(colour ? Logged("#0A86") : Lines{}, camera.Lines());  // playback and review end
    EXPECT_EQ(threads, CountEntries("/proc/self/task", threads));  // the listener has ended
}

INSTANTIATE_TEST_SUITE_P(States, OpenSequence,
                         ::testing::Values(std::make_tuple("0", "0", true, false, false),
                                           std::make_tuple("3", "0", false, false, false),
                                           std::make_tuple("5", "0", false, true, false),
                                           std::make_tuple("6", "2", false, true, false),
                                           std::make_tuple("7", "1", true, false, true)));

TEST(OpenAndClose, RefusedCommandsStopTheOpenAndTheCloseAndADeletedPortEndsItsListener) {
    Camera camera(kIp, {"--state", "5", "--result", "8F=21"});
    ASSERT_TRUE(camera.Ready());
    std::thread([] {}).join();
    const int threads = CountEntries("/proc/self/task");
    auto port = std::make_unique<TestPort>();
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    EXPECT_EQ(0u, port->Open(&item));
    EXPECT_EQ(Logged("54|#0A48|#0A0102|#0A40|#0A538000|#0A538000SLOW|#0A8F1E"), camera.Lines());
    EXPECT_EQ(nullptr, port->m_hListener);  // the failed open stopped its listener
    EXPECT_EQ(0u, port->Lock(1000));        // and made no lock: Lock returns at once
    EXPECT_EQ("OK", camera.Control("clear"));
    ASSERT_EQ(1u, port->Open(&item));  // the second open replaces the listener
    EXPECT_EQ(threads + 1, CountEntries("/proc/self/task", threads + 1));
    EXPECT_EQ("OK", camera.Control("result 86 21"));
    port->Close();
    EXPECT_NE(nullptr, port->m_hListener);  // the refused end of playback leaves the session in place
    port.reset();
    EXPECT_EQ(threads, CountEntries("/proc/self/task", threads));
}

}  // namespace
}  // namespace zptest
