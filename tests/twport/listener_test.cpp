// The announcement listener against stray datagrams and other cameras, and what a failed open leaves.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kCamera = "127.0.0.61";

// Entries of a folder, given up to a second to reach the expected count: a finished thread leaves
// /proc/self/task shortly after.
int Entries(const char* path, int expected = -1) {
    for (int attempt = 0;; ++attempt, std::this_thread::sleep_for(std::chrono::milliseconds(20))) {
        const int count = static_cast<int>(std::distance(std::filesystem::directory_iterator(path), {}));
        if (expected < 0 || count == expected || attempt == 50) return count;
    }
}

// Opens of an address where nothing answers and of a camera that refuses a line of the open.
TEST(FailedOpen, LeavesNoThreadNoSocketAndNoPortBehind) {
    Camera refusing(kCamera, {"--result", "8F=21"});
    ASSERT_TRUE(refusing.Ready());
    std::thread([] {}).join();  // a sanitizer runtime starts its helper thread with the first thread
    const int threads = Entries("/proc/self/task"), fds = Entries("/proc/self/fd");
    for (const char* ip : {"127.0.0.63", kCamera, kCamera, kCamera}) {
        _ZP_ENUMITEMEX item = ItemFor(ip);
        ZP_PORT_HANDLE handle = nullptr;
        EXPECT_NE(0u, PoOpen(&item, &handle)) << ip;
    }
    EXPECT_EQ(threads, Entries("/proc/self/task", threads));
    EXPECT_EQ(fds, Entries("/proc/self/fd", fds));
}

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
