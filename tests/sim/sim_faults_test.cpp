// Fault injection of the simulator program, by option and through the control channel, on 127.0.0.42.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "sim_process.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.42";
constexpr std::uint16_t kCommandPort = 1027;
constexpr std::uint16_t kControlPort = 7042;

std::vector<std::string> Args(std::vector<std::string> extra) {
    std::vector<std::string> args{
        "--ip", kIp, "--address", "5", "--control-port", std::to_string(kControlPort)};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

class SimFaults : public ::testing::Test {
protected:
    std::optional<std::string> Ask(const std::string& line, int timeoutMs = 2000) {
        return client.Exchange(kIp, kCommandPort, line, timeoutMs);
    }
    std::string Control(const std::string& line) {
        return client.Exchange(kIp, kControlPort, line).value_or("<no reply>");
    }

    UdpClient client{kIp};
};

TEST_F(SimFaults, SilentOptionLogsButNeverAnswers) {
    std::string logPath = "/tmp/zpcam_sim_faults_" + std::to_string(::getpid()) + ".log";
    {
        SimProcess sim(Args({"--silent", "--log", logPath}));
        ASSERT_TRUE(sim.Ready());
        EXPECT_FALSE(Ask("54\r\n", 1500));
        EXPECT_FALSE(Ask("#0540\r\n", 500));
        // The control channel still answers and can end the silence.
        EXPECT_EQ(Control("silent off"), "OK\n");
        EXPECT_EQ(Ask("#0540\r\n").value_or(""), "#05114001\r\n");
    }
    EXPECT_EQ(ReadFile(logPath), "127.0.0.42 54\\r\\n\n127.0.0.42 #0540\\r\\n\n127.0.0.42 #0540\\r\\n\n");
    ::unlink(logPath.c_str());
}

TEST_F(SimFaults, ResultOverrideByOptionAndAtRunTime) {
    SimProcess sim(Args({"--result", "40=21"}));
    ASSERT_TRUE(sim.Ready());
    EXPECT_EQ(Ask("#0540\r\n").value_or(""), "#05214001\r\n");
    EXPECT_EQ(Ask("#0548\r\n").value_or(""), "#05114800\r\n");
    EXPECT_EQ(Control("result 96 18"), "OK\n");
    EXPECT_EQ(Ask("#0596\r\n").value_or(""), "#051896\r\n");
    EXPECT_EQ(Control("result 40 off"), "OK\n");
    EXPECT_EQ(Ask("#0540\r\n").value_or(""), "#05114001\r\n");
}

TEST_F(SimFaults, DropsEveryThirdReply) {
    SimProcess sim(Args({"--drop", "3"}));
    ASSERT_TRUE(sim.Ready());
    std::string pattern;
    for (int i = 0; i < 6; ++i) {
        pattern += Ask("#0540\r\n", 700) ? 'R' : '-';
    }
    EXPECT_EQ(pattern, "RR-RR-");
    EXPECT_EQ(Control("drop 0"), "OK\n");
    EXPECT_TRUE(Ask("#0540\r\n"));
    EXPECT_TRUE(Ask("#0540\r\n"));
    EXPECT_TRUE(Ask("#0540\r\n"));
}

TEST_F(SimFaults, DelayHoldsRepliesWithoutBlockingOthers) {
    SimProcess sim(Args({}));
    ASSERT_TRUE(sim.Ready());
    ASSERT_EQ(Control("delay 800"), "OK\n");
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(Ask("#0540\r\n", 300));  // not yet
    EXPECT_EQ(Control("ping"), "OK\n");   // the loop keeps serving while a reply waits
    auto late = client.Receive(3000);
    auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(late.value_or(""), "#05114001\r\n");
    EXPECT_GE(elapsed, std::chrono::milliseconds(700));
    ASSERT_EQ(Control("delay 0"), "OK\n");
    EXPECT_EQ(Ask("#0540\r\n").value_or(""), "#05114001\r\n");
}

TEST_F(SimFaults, ControlChannelRefusesBadLines) {
    SimProcess sim(Args({}));
    ASSERT_TRUE(sim.Ready());
    EXPECT_EQ(Control("drop x"), "ERR usage: drop <number>\n");
    EXPECT_EQ(Control("@127.0.0.99 ping"), "ERR no camera 127.0.0.99\n");
    EXPECT_EQ(Control("state 1FF"), "ERR usage: state <hex byte>\n");
    EXPECT_EQ(Control("state 11"), "OK\n");
    EXPECT_EQ(Ask("#0540\r\n").value_or(""), "#05114011\r\n");
}

}  // namespace
}  // namespace zptest
