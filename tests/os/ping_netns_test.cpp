// Ping through the system program, inside the test's private network namespace:
// targets are loopback or addresses of this namespace only. A second group runs
// a stand-in "ping" script found first on PATH, to pin down the arguments and
// the parsing of its output without any traffic.
#include <arpa/inet.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/netns.h"
#include "zpport/OSLayer.h"

namespace {

using Clock = std::chrono::steady_clock;

_OS_PING_RESULT Untouched() {
    _OS_PING_RESULT r;
    std::memset(&r, 0xA5, sizeof(r));
    return r;
}

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class PingTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        ready_ = zptest::AddVethPair("pg0", "pg0p", "02:00:00:aa:cc:01", 0, "10.88.0.1/24");
    }
    static void TearDownTestSuite() { zptest::DeleteLink("pg0"); }
    void SetUp() override { ASSERT_TRUE(ready_); }
    static bool ready_;
};
bool PingTest::ready_ = false;

TEST_F(PingTest, LoopbackAddressStoresZeroAddressAndWholeMilliseconds) {
    _OS_PING_RESULT r = Untouched();
    ASSERT_EQ(OS_OK, OS_NetPing("127.0.0.1", &r, 64, 10000));
    EXPECT_EQ(0u, r.Address);
    EXPECT_GE(r.RoundTrip, 0);
    EXPECT_LT(r.RoundTrip, 10000);
}

TEST_F(PingTest, HostNameStoresResolvedAddress) {
    _OS_PING_RESULT r = Untouched();
    ASSERT_EQ(OS_OK, OS_NetPing("localhost", &r, 64, 10000));
    EXPECT_EQ(htonl(INADDR_LOOPBACK), r.Address);
    EXPECT_GE(r.RoundTrip, 0);
}

TEST_F(PingTest, NoRouteEndsWhenThePingProgramExits) {
    _OS_PING_RESULT r = Untouched();
    const auto start = Clock::now();
    EXPECT_EQ(OS_ERR_SYSTEM, OS_NetPing("10.200.0.1", &r, 64, 30000));
    EXPECT_LT(SecondsSince(start), 25.0);
    EXPECT_EQ(0xA5A5A5A5u, r.Address);
}

TEST_F(PingTest, SilentNeighbourTimesOut) {
    _OS_PING_RESULT r = Untouched();
    const auto start = Clock::now();
    EXPECT_EQ(OS_ERR_TIMEOUT, OS_NetPing("10.88.0.99", &r, 64, 500));
    EXPECT_GE(SecondsSince(start), 0.45);
    EXPECT_EQ(0xA5A5A5A5u, r.Address);
}

TEST_F(PingTest, UnresolvableNameIsReported) {
    _OS_PING_RESULT r = Untouched();
    testing::internal::CaptureStderr();
    const int rc = OS_NetPing("no-such-host.invalid", &r, 64, 500);
    EXPECT_EQ("OS_NetPing: Could not resolve the host name no-such-host.invalid\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(OS_ERR_SYSTEM, rc);
}

// PATH points at a private directory holding only the stand-in program.
class PingProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/zp_ping_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        dir_ = pattern;
        const char* path = std::getenv("PATH");
        savedPath_ = path != nullptr ? path : "";
        setenv("PATH", dir_.c_str(), 1);
    }
    void TearDown() override {
        setenv("PATH", savedPath_.c_str(), 1);
        unlink((dir_ + "/ping").c_str());
        unlink((dir_ + "/args").c_str());
        rmdir(dir_.c_str());
    }
    void WriteProgram(const std::string& body) {
        const std::string file = dir_ + "/ping";
        std::ofstream(file) << "#!/bin/sh\n" << body << "\n";
        ASSERT_EQ(0, chmod(file.c_str(), 0755));
    }
    std::string ReadArgs() {
        std::stringstream text;
        text << std::ifstream(dir_ + "/args").rdbuf();
        return text.str();
    }
    std::string dir_;
    std::string savedPath_;
};

TEST_F(PingProgramTest, PassesCountTtlLowByteAndHostAndParsesTheIntegerPart) {
    WriteProgram("echo \"$@\" > " + dir_ + "/args\n"
                 "echo 'PING 10.1.2.3 (10.1.2.3) 56(84) bytes of data.'\n"
                 "echo '64 bytes from 10.1.2.3: icmp_seq=1 ttl=44 time=12.9 ms'");
    _OS_PING_RESULT r = Untouched();
    ASSERT_EQ(OS_OK, OS_NetPing("10.1.2.3", &r, 300, 5000));
    EXPECT_EQ("-c 1 -t 44 10.1.2.3\n", ReadArgs());
    EXPECT_EQ(0u, r.Address);
    EXPECT_EQ(12, r.RoundTrip);
}

TEST_F(PingProgramTest, ResolvedNameIsPassedAsDottedText) {
    WriteProgram("echo \"$@\" > " + dir_ + "/args\necho 'time=0.045 ms'");
    _OS_PING_RESULT r = Untouched();
    ASSERT_EQ(OS_OK, OS_NetPing("localhost", &r, 1, OS_INFINITE));
    EXPECT_EQ("-c 1 -t 1 127.0.0.1\n", ReadArgs());
    EXPECT_EQ(htonl(INADDR_LOOPBACK), r.Address);
    EXPECT_EQ(0, r.RoundTrip);
}

TEST_F(PingProgramTest, ReportInALaterChunkIsFound) {
    WriteProgram("echo 'PING header'\n/bin/sleep 0.3\necho 'reply time=010.5 ms'");  // base 10, not octal
    _OS_PING_RESULT r = Untouched();
    ASSERT_EQ(OS_OK, OS_NetPing("10.1.2.3", &r, 64, 10000));
    EXPECT_EQ(10, r.RoundTrip);
}

TEST_F(PingProgramTest, EndOfDataWithoutReportGivesOne) {
    WriteProgram("echo 'PING header'\necho 'Request timeout'");
    _OS_PING_RESULT r = Untouched();
    EXPECT_EQ(OS_ERR_SYSTEM, OS_NetPing("10.1.2.3", &r, 64, 10000));
    EXPECT_EQ(0xA5A5A5A5u, r.Address);
}

TEST_F(PingProgramTest, SilentProgramTimesOutAndIsInterrupted) {
    WriteProgram("exec /bin/sleep 60");
    _OS_PING_RESULT r = Untouched();
    const auto start = Clock::now();
    EXPECT_EQ(OS_ERR_TIMEOUT, OS_NetPing("10.1.2.3", &r, 64, 1500));
    const double elapsed = SecondsSince(start);
    EXPECT_GE(elapsed, 1.45);
    EXPECT_LT(elapsed, 30.0);  // the child was interrupted and reaped, not waited out
}

TEST_F(PingProgramTest, MissingProgramEndsTheChildAndGivesOne) {
    _OS_PING_RESULT r = Untouched();
    const pid_t self = getpid();
    testing::internal::CaptureStderr();
    const int rc = OS_NetPing("10.1.2.3", &r, 64, 10000);
    const std::string err = testing::internal::GetCapturedStderr();
    if (getpid() != self) _exit(3);  // a child that came back must not run the rest of the tests
    EXPECT_EQ(OS_ERR_SYSTEM, rc);
    EXPECT_EQ(0u, err.rfind("OS_NetPing: execlp: ", 0)) << err;
}

}  // namespace
