// The command link against a simulated camera: result codes, attempts, time-out slices, the
// link-lost refusal, the trace lines, and replies that are short, garbled or too large.
#include <gtest/gtest.h>

#include <chrono>

#include "tw_fixture.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.51";

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class CommandLink : public ::testing::Test {
protected:
    CommandLink() : camera(kIp, {"--state", "2"}) { port.Target(kIp, 0x0A); }
    Camera camera;
    TestPort port;
    std::string reply;
};

TEST_F(CommandLink, AcceptedReplyReturnsOneAndOtherCodesReturnTheCode) {
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ("#0A114002\r\n", reply);
    EXPECT_EQ("OK", camera.Control("result 40 00"));
    EXPECT_EQ(0, port.Send("#0A40\r\n", reply));
    EXPECT_EQ("OK", camera.Control("result 40 21"));
    EXPECT_EQ(0x21, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(0u, port.GetErrorCode());
}

TEST_F(CommandLink, SilentCameraIsAskedOncePerAttemptAndTimesOutInSlices) {
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ("OK", camera.Control("silent on"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 1000000, 3));
    EXPECT_GE(SecondsSince(start), 0.55);  // three slices of a fifth of a second
    const auto lines = camera.Lines();
    ASSERT_EQ(3u, lines.size());
    for (const auto& line : lines) EXPECT_EQ("#0A40\\r\\n", line);
}

TEST_F(CommandLink, ZeroAttemptsSendNothing) {
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 6000000, 0));
    usleep(200000);
    EXPECT_TRUE(camera.Lines().empty());
}

TEST_F(CommandLink, NoReplyCommandIsSentOnceAndNeverRead) {
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ(1, port.Send("#0A74\r\n", reply, -1));
    EXPECT_EQ("#0A74\r\n", reply);  // the buffer still holds the line: nothing was read into it
    usleep(200000);
    EXPECT_EQ(std::vector<std::string>{"#0A74\\r\\n"}, camera.Lines());
}

TEST_F(CommandLink, LostLinkRefusesOrdinaryCommandsButLetsForcedOnesThrough) {
    ASSERT_TRUE(camera.Ready());
    port.m_dwLinkLost = 1;
    EXPECT_EQ(-1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(2008u, port.GetErrorCode());
    usleep(200000);
    EXPECT_TRUE(camera.Lines().empty());
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply, 6000000, 1, 1));
    EXPECT_EQ(1u, camera.Lines().size());
    port.m_dwLinkLost = 0;
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(2008u, port.GetErrorCode());  // a success never clears the error code
}

TEST_F(CommandLink, TraceShowsCommandReplyAndFailures) {
    ASSERT_TRUE(camera.Ready());
    const std::string base = "/tmp/zp_twport_trace_" + std::to_string(::getpid()) + ".log";
    port.EnableTrace(7, base.c_str(), 1);
    EXPECT_EQ(1, port.Send("54\r\n", reply));
    EXPECT_EQ("OK", camera.Control("silent on"));
    EXPECT_EQ(-2, port.Send("#0A40\r\n", reply, 500000));
    EXPECT_EQ(1, port.Send("#0A74\r\n", reply, -1));
    port.EnableTrace(7, base.c_str(), 0);
    const std::string path = "/tmp/zp_twport_trace_" + std::to_string(::getpid()) + "_0000000007.log";
    const std::string log = ReadFile(path);
    ::unlink(path.c_str());
    char description[128];
    CXTrace trace;
    trace.GetTWCommandDescr(0x54, description);
    EXPECT_NE(std::string::npos, log.find(std::string("CMD: 54  (") + description + ")")) << log;
    EXPECT_NE(std::string::npos, log.find("RSP: #0A11540A  ")) << log;
    EXPECT_NE(std::string::npos, log.find("ERR: time-out = 0")) << log;
    trace.GetTWCommandDescr(0x74, description);
    EXPECT_NE(std::string::npos, log.find(std::string("CMD: #0A74  (") + description + ") - No required rsp"))
        << log;
}

TEST_F(CommandLink, BadRepliesNeverReadOutsideTheBuffer) {
    ASSERT_TRUE(camera.Ready());
    EXPECT_EQ("OK", camera.Control("raw 40 #0"));
    EXPECT_NE(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ("#0", reply);
    EXPECT_EQ("OK", camera.Control("raw 40 ##ZZ%s%n garbage"));
    const int garbled = port.Send("#0A40\r\n", reply);
    EXPECT_NE(1, garbled);
    EXPECT_GE(garbled, 0);
    EXPECT_LE(garbled, 255);
    EXPECT_EQ("OK", camera.Control("raw 40 fill 4000"));
    EXPECT_EQ(1, port.Send("#0A40\r\n", reply));
    EXPECT_EQ(2047u, reply.size());  // cut to the buffer, and still a terminated text
    // A caller's reads at fixed positions on a short reply stay inside the buffer.
    EXPECT_EQ("OK", camera.Control("raw 45 #0A11"));
    unsigned int index = 99;
    EXPECT_EQ(1u, port.GetLatestFrameIndex(&index));
}

}  // namespace
}  // namespace zptest
