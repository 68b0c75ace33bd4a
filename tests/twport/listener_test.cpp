// The announcement listener against stray datagrams and other cameras.
#include <gtest/gtest.h>

#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kCamera = "127.0.0.61";

// Another sender's announcement, an empty and a short datagram are each followed by an event of the
// port's own camera: only that one reaches the callback, and the state stays the camera's.
TEST(Listener, TakesOnlyItsOwnCamerasAnnouncementsAndSurvivesEmptyDatagrams) {
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

}  // namespace
}  // namespace zptest
