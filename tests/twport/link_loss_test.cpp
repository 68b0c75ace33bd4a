// Loss and return of the link with a camera that stops answering (about a minute: a keep-alive
// goes out after ten seconds without announcements).
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.54";

// The listener calls back before it changes the link-lost flag: gives it a moment to do so.
unsigned int SettledLinkLost(TestPort& port, unsigned int expected) {
    for (int i = 0; i < 100 && port.m_dwLinkLost.load() != expected; ++i) usleep(10000);
    return port.m_dwLinkLost.load();
}

TEST(LinkLoss, TheFourthFailedKeepAliveDeclaresLossAndAnAnswerEndsIt) {
    Camera camera(kIp, {"--state", "4"});
    ASSERT_TRUE(camera.Ready());
    TestPort port;
    Announcements texts;
    port.SetAnnouncementCallback(&Announcements::Callback, &texts);
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    camera.ClearLog();

    // After ten seconds without announcements one keep-alive goes out, and is answered.
    std::this_thread::sleep_for(std::chrono::seconds(12));
    EXPECT_EQ(Logged("#0A40"), camera.Lines());

    // The answered keep-alive restarted the count: the fourth failure after it declares the loss.
    EXPECT_EQ("OK", camera.Control("silent on"));
    auto start = std::chrono::steady_clock::now();
    auto got = texts.WaitFor(1, 70000);
    ASSERT_EQ(1u, got.size());
    EXPECT_EQ("#0A01A411_[127.0.0.54]", got[0]);
    EXPECT_GE(SecondsSince(start), 35.0);
    EXPECT_EQ(0x11, port.m_byCameraState.load());
    EXPECT_EQ(1u, SettledLinkLost(port, 1));

    unsigned int status = 0;
    EXPECT_EQ(0u, port.GetStatus2(&status));  // refused while the link is lost
    EXPECT_EQ(2008u, port.GetErrorCode());

    EXPECT_EQ("OK", camera.Control("silent off"));
    got = texts.WaitFor(2, 15000);
    ASSERT_EQ(2u, got.size());  // no second loss report in between
    EXPECT_EQ("#0A01A800_[127.0.0.54]", got[1]);
    EXPECT_EQ(0u, SettledLinkLost(port, 0));
    EXPECT_EQ(4, port.m_byCameraState.load());
    EXPECT_EQ(1u, port.GetStatus2(&status));
    EXPECT_EQ(0x40001u, status);
    port.Close();
}

}  // namespace
}  // namespace zptest
