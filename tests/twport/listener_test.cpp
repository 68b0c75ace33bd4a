// The announcement listener against a simulated camera: callback texts, state updates,
// malformed announcements, and keep-alives racing with host commands.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.53";

class Listener : public ::testing::Test {
protected:
    Listener() : camera(kIp, {"--state", "4", "--announce-to", kIp}) {}
    void SetUp() override {
        ASSERT_TRUE(camera.Ready());
        port.SetAnnouncementCallback(&Announcements::Callback, &announcements);
        _ZP_ENUMITEMEX item = ItemFor(kIp);
        ASSERT_EQ(1u, port.Open(&item));
    }
    void TearDown() override { port.Close(); }
    Camera camera;
    TestPort port;
    Announcements announcements;
};

TEST_F(Listener, StateAnnouncementReachesTheCallbackAndSetsTheState) {
    EXPECT_EQ("OK", camera.Control("state 5"));
    const auto texts = announcements.WaitFor(1);
    ASSERT_EQ(1u, texts.size());
    EXPECT_EQ("#0A01A405_[127.0.0.53]", texts[0]);
    EXPECT_EQ(5, port.m_byCameraState.load());
}

TEST_F(Listener, LongAnnouncementIsCutToNineCharacters) {
    EXPECT_EQ("OK", camera.Control("announce #0A01A407012345678901234567890"));
    const auto texts = announcements.WaitFor(1);
    ASSERT_EQ(1u, texts.size());
    EXPECT_EQ("#0A01A407_[127.0.0.53]", texts[0]);
    EXPECT_EQ(7, port.m_byCameraState.load());
}

TEST_F(Listener, OtherEventsLeaveTheState) {
    const unsigned char before = port.m_byCameraState.load();
    EXPECT_EQ("OK", camera.Control("announce #0A01A305\r\n"));
    const auto texts = announcements.WaitFor(1);
    ASSERT_EQ(1u, texts.size());
    EXPECT_EQ("#0A01A305_[127.0.0.53]", texts[0]);
    EXPECT_EQ(before, port.m_byCameraState.load());
}

TEST_F(Listener, MalformedAnnouncementsOfAnyLengthAreHarmless) {
    EXPECT_EQ("OK", camera.Control("announce #"));
    EXPECT_EQ("OK", camera.Control("announce fill 5000"));
    EXPECT_EQ("OK", camera.Control("announce fill 2048"));
    EXPECT_EQ("OK", camera.Control("announce #ZZ01A4ZZ"));
    const auto texts = announcements.WaitFor(4);
    ASSERT_EQ(4u, texts.size());
    EXPECT_EQ("#", texts[0]);  // too short: the text ends before the appended sender
    EXPECT_EQ("#00110000_[127.0.0.53]", texts[1]);
    EXPECT_EQ("#00110000_[127.0.0.53]", texts[2]);
    EXPECT_EQ("#ZZ01A4ZZ_[127.0.0.53]", texts[3]);
    unsigned int status = 0;
    EXPECT_EQ(1u, port.GetStatus2(&status));  // the listener and the link still work
}

TEST_F(Listener, KeepAlivesAndHostCommandsNeverShareAnExchange) {
    camera.ClearLog();
    std::atomic<bool> stop{false};
    std::atomic<int> failures{0};
    std::atomic<int> exchanges{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            const char* code = (t % 2) == 0 ? "50" : "45";
            char line[2048];
            while (!stop.load()) {
                std::snprintf(line, sizeof line, "#0A%s\r\n", code);
                const int result =
                    port.SendCmdAndGetRsp(line, line, sizeof line, port.m_szCameraAddress, 6000000, 1, 0);
                // Each reply echoes the command it answers.
                if (result != 1 || std::string(line + 5, 2) != code) ++failures;
                ++exchanges;
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::seconds(12));  // one keep-alive after 10 s of silence
    stop = true;
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(0, failures.load());
    EXPECT_GT(exchanges.load(), 100);
    size_t keepAlives = 0;
    for (const auto& line : camera.Lines()) keepAlives += line == "#0A40\\r\\n" ? 1 : 0;
    EXPECT_EQ(1u, keepAlives);
}

}  // namespace
}  // namespace zptest
