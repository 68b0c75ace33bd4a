// Every descriptor, thread and lock that an open makes is released by the close, also after
// many rounds; a port deleted after a failed open releases its listener too.
#include <dirent.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.55";

int CountEntries(const char* path, const std::string& prefix = "") {
    DIR* dir = ::opendir(path);
    if (dir == nullptr) return -1;
    int count = 0;
    while (dirent* entry = ::readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && name.rfind(prefix, 0) == 0) ++count;
    }
    ::closedir(dir);
    return count;
}

// Thread count, given a moment to settle: a finished thread leaves the list shortly after.
int SettledThreads(int expected) {
    int count = CountEntries("/proc/self/task");
    for (int i = 0; i < 50 && count != expected; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        count = CountEntries("/proc/self/task");
    }
    return count;
}

// A sanitizer runtime starts a helper thread of its own with the process's first thread; let it
// do so before the counts are taken.
void StartRuntimeThreads() { std::thread([] {}).join(); }

TEST(Resources, OpenAndCloseReleaseEverything) {
    Camera camera(kIp, {"--state", "0"});
    ASSERT_TRUE(camera.Ready());
    StartRuntimeThreads();
    const int fds = CountEntries("/proc/self/fd");
    const int threads = CountEntries("/proc/self/task");
    const std::string semPrefix = "sem.ZPTW_" + std::to_string(::getpid()) + "_";
    for (int round = 0; round < 25; ++round) {
        auto port = std::make_unique<TestPort>();
        _ZP_ENUMITEMEX item = ItemFor(kIp);
        ASSERT_EQ(1u, port->Open(&item));
        EXPECT_EQ(threads + 1, CountEntries("/proc/self/task"));
        const auto start = std::chrono::steady_clock::now();
        port->Close();
        // The listener ends within about one wait slice.
        EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 1.0);
        EXPECT_EQ(threads, SettledThreads(threads));
    }
    EXPECT_EQ(fds, CountEntries("/proc/self/fd"));
    EXPECT_EQ(0, CountEntries("/dev/shm", semPrefix));
}

TEST(Resources, DeletingAPortAfterAFailedOpenEndsItsListener) {
    Camera camera(kIp, {"--result", "48=21"});
    ASSERT_TRUE(camera.Ready());
    StartRuntimeThreads();
    const int fds = CountEntries("/proc/self/fd");
    const int threads = CountEntries("/proc/self/task");
    auto port = std::make_unique<TestPort>();
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    EXPECT_EQ(0u, port->Open(&item));
    EXPECT_NE(nullptr, port->m_hListener);  // the failed open leaves its listener running
    port.reset();
    EXPECT_EQ(threads, SettledThreads(threads));
    EXPECT_EQ(fds, CountEntries("/proc/self/fd"));
}

}  // namespace
}  // namespace zptest
