// Loss and return of the link with a camera that stops answering (takes about a minute).
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.54";

struct Texts {
    std::mutex mutex;
    std::vector<std::string> texts;
    static void Callback(void* context, char* text) {
        auto* self = static_cast<Texts*>(context);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->texts.emplace_back(text);
    }
    std::vector<std::string> WaitFor(size_t n, int timeoutMs) {
        for (int waited = 0;; waited += 100) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                if (texts.size() >= n || waited >= timeoutMs) return texts;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
};

TEST(LinkLoss, FourthFailedKeepAliveDeclaresLossAndAnAnswerBringsItBack) {
    Camera camera(kIp, {"--state", "4"});
    ASSERT_TRUE(camera.Ready());
    TestPort port;
    Texts texts;
    port.SetAnnouncementCallback(&Texts::Callback, &texts);
    _ZP_ENUMITEMEX item = ItemFor(kIp);
    ASSERT_EQ(1u, port.Open(&item));
    EXPECT_EQ("OK", camera.Control("silent on"));
    const auto start = std::chrono::steady_clock::now();
    auto got = texts.WaitFor(1, 70000);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    ASSERT_EQ(1u, got.size());
    EXPECT_EQ("#0A01A411_[127.0.0.54]", got[0]);
    EXPECT_GE(seconds, 35.0);
    EXPECT_EQ(0x11, port.m_byCameraState.load());
    EXPECT_EQ(1u, port.m_dwLinkLost.load());

    // Ordinary commands fail at once with 2008 while the link is lost.
    const auto before = std::chrono::steady_clock::now();
    unsigned int status = 0;
    EXPECT_EQ(0u, port.GetStatus2(&status));
    EXPECT_EQ(0u, port.Trigger());
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count(), 1.0);
    EXPECT_EQ(2008u, port.GetErrorCode());

    EXPECT_EQ("OK", camera.Control("silent off"));
    got = texts.WaitFor(2, 15000);
    ASSERT_EQ(2u, got.size());  // no second loss report in between
    EXPECT_EQ("#0A01A800_[127.0.0.54]", got[1]);
    EXPECT_EQ(0u, port.m_dwLinkLost.load());
    EXPECT_EQ(4, port.m_byCameraState.load());
    EXPECT_EQ(1u, port.GetStatus2(&status));
    EXPECT_EQ(0x40001u, status);
    port.Close();
}

}  // namespace
}  // namespace zptest
