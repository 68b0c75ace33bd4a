// The simulator program answering the session commands over real UDP on 127.0.0.41.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "sim_process.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.41";
constexpr const char* kSecondIp = "127.0.0.141";
constexpr std::uint16_t kCommandPort = 1027;
constexpr std::uint16_t kAnnouncePort = 10505;
constexpr std::uint16_t kControlPort = 7041;

class SimSession : public ::testing::Test {
protected:
    SimSession()
        : logPath("/tmp/zpcam_sim_session_" + std::to_string(::getpid()) + ".log"),
          announcements(kIp, kAnnouncePort),
          sim({"--ip",          kIp,          "--ip",           kSecondIp,
               "--address",     "0x0A",       "--model",        "12",
               "--option",      "1",          "--serial",       "0xC0FFEE",
               "--firmware",    "0x205",      "--temperature",  "-10",
               "--period",      "1000000",    "--width",        "1280",
               "--height",      "1024",       "--first-frame",  "10",
               "--last-frame",  "4",          "--ip-word",      "0xC0A80164",
               "--mask-word",   "0xFFFFFF00", "--log",          logPath,
               "--announce-to", kIp,          "--control-port", std::to_string(kControlPort)}) {}

    ~SimSession() override { ::unlink(logPath.c_str()); }

    std::string Ask(const std::string& line, const char* ip = kIp) {
        return client.Exchange(ip, kCommandPort, line).value_or("<no reply>");
    }
    std::string Control(const std::string& line) {
        return client.Exchange(kIp, kControlPort, line).value_or("<no reply>");
    }

    std::string logPath;
    UdpClient announcements;
    UdpClient client{kIp};
    SimProcess sim;
};

const std::vector<std::string> kOpenSequence = {"54\r\n",
                                                "#0A48\r\n",
                                                "#0A0102\r\n",
                                                "#0A40\r\n",
                                                "#0A9802\r\n",
                                                "#0A83010000\r\n",
                                                "#0A538000\r\n",
                                                "#0A538000SLOW\r\n",
                                                "#0A8F1E\r\n",
                                                "#0A8700\r\n",
                                                "#0A08101502\r\n",
                                                "#0A09112326\r\n",
                                                "#0A0D0200000000\r\n",
                                                "#0A0C00\"0\"\r\n",
                                                "#0A7103\r\n",
                                                "#0A4700000000000000\r\n",
                                                "#0A0A0000\r\n"};

TEST_F(SimSession, OpenSequenceIsAnsweredAndLoggedExactly) {
    ASSERT_TRUE(sim.Ready());
    ASSERT_TRUE(announcements.Valid());
    std::string expectedLog;
    for (const auto& line : kOpenSequence) {
        std::string reply = Ask(line);
        ASSERT_GE(reply.size(), 7u) << line;
        EXPECT_EQ(reply.substr(3, 2), "11") << line;
        expectedLog += std::string(kIp) + " " + line.substr(0, line.size() - 2) + "\\r\\n\n";
    }
    EXPECT_EQ(Ask("54\r\n"), "#0A11540A\r\n");
    EXPECT_EQ(Ask("#0A48\r\n"), "#0A114801\r\n");
    EXPECT_EQ(Ask("#0A40\r\n"), "#0A114001\r\n");
    expectedLog += std::string(kIp) + " 54\\r\\n\n" + kIp + " #0A48\\r\\n\n" + kIp + " #0A40\\r\\n\n";
    EXPECT_EQ(ReadFile(logPath), expectedLog);
}

TEST_F(SimSession, QueriesCarryDataAtTheReadPositions) {
    ASSERT_TRUE(sim.Ready());
    EXPECT_EQ(Ask("#0A97\r\n"), "#0A11970C0000020500000000\r\n");
    EXPECT_EQ(Ask("#0A91\r\n"), "#0A119100C0FFEE\r\n");
    EXPECT_EQ(Ask("#0A50\r\n"), "#0A1150F6\r\n");
    EXPECT_EQ(Ask("#0A05\r\n").substr(9, 8), "000F4240");
    EXPECT_EQ(Ask("#0A90\r\n"), "#0A119005000400\r\n");
    EXPECT_EQ(Ask("#0A45\r\n"), "#0A11450000000A00000004\r\n");
    EXPECT_EQ(Ask("#0A0E\r\n").substr(15, 8), "00002000");
    EXPECT_EQ(Ask("#0A4D\r\n"), "#0A114DC0A80164\r\n");
    EXPECT_EQ(Ask("#0A4E\r\n"), "#0A114EFFFFFF00\r\n");
    EXPECT_EQ(Ask("#0A520A\"Left\"\r\n"), "#0A1152\r\n");
    EXPECT_EQ(Ask("#0A74\r\n"), "#0A1174\r\n");
    EXPECT_EQ(Ask("#0AE7\r\n"), "#0A20E7\r\n");
}

TEST_F(SimSession, SecondCameraHasNextAddressAndIgnoresOtherAddresses) {
    ASSERT_TRUE(sim.Ready());
    EXPECT_EQ(Ask("54\r\n", kSecondIp), "#0B11540B\r\n");
    EXPECT_EQ(Ask("#0B40\r\n", kSecondIp), "#0B114001\r\n");
    EXPECT_FALSE(client.Exchange(kSecondIp, kCommandPort, "#0A40\r\n", 500));
    EXPECT_FALSE(client.Exchange(kIp, kCommandPort, "#0A40", 500));  // no CR LF: not a command
}

TEST_F(SimSession, StateChangesAreAnnounced) {
    ASSERT_TRUE(sim.Ready());
    ASSERT_EQ(Control("arm"), "OK\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0A01A402\r\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0B01A402\r\n");
    ASSERT_EQ(Control("@127.0.0.41 frames 30"), "OK\n");
    EXPECT_EQ(Ask("#0A74\r\n"), "#0A1174\r\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0A01A403\r\n");
    // StopGrab: state query, stop, acknowledge, state query.
    EXPECT_EQ(Ask("#0A40\r\n"), "#0A114003\r\n");
    EXPECT_EQ(Ask("#0A99\r\n"), "#0A1199\r\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0A01A404\r\n");
    EXPECT_EQ(Ask("#0A19\r\n"), "#0A1119\r\n");
    EXPECT_EQ(Ask("#0A40\r\n"), "#0A114004\r\n");
    // A keep-alive that changes nothing announces nothing.
    EXPECT_FALSE(announcements.Receive(300));
    ASSERT_EQ(Control("@127.0.0.41 state 5"), "OK\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0A01A405\r\n");
    EXPECT_EQ(Ask("#0A86\r\n"), "#0A1186\r\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0A01A404\r\n");
    EXPECT_EQ(Ask("#0A5FFF\r\n"), "#0A115F\r\n");
    EXPECT_EQ(announcements.Receive(2000).value_or("<none>"), "#0A01A401\r\n");
}

TEST_F(SimSession, StopsCleanlyOnSigterm) {
    ASSERT_TRUE(sim.Ready());
    pid_t pid = sim.Pid();
    auto status = sim.Terminate(5000);
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 0);
    EXPECT_EQ(::kill(pid, 0), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_FALSE(client.Exchange(kIp, kCommandPort, "#0A40\r\n", 300));
}

TEST(SimConfigFile, CamerasComeFromItsSections) {
    std::string configPath = "/tmp/zpcam_sim_config_" + std::to_string(::getpid()) + ".conf";
    {
        std::ofstream config(configPath);
        config << "# shared values\nmodel=8\nfirmware=0x300\n[camera]\nip=127.0.0.41\naddress=0x31\n"
                  "[camera]\nip=127.0.0.141\naddress=0x32\nmodel=9\nstate=5\n";
    }
    {
        SimProcess sim({"--config", configPath});
        ASSERT_TRUE(sim.Ready());
        UdpClient client(kIp);
        EXPECT_EQ(client.Exchange(kIp, kCommandPort, "54\r\n").value_or(""), "#31115431\r\n");
        EXPECT_EQ(client.Exchange(kIp, kCommandPort, "#3197\r\n").value_or(""),
                  "#3111970800000300"
                  "00000000\r\n");
        EXPECT_EQ(client.Exchange(kSecondIp, kCommandPort, "#3297\r\n").value_or(""),
                  "#3211970900000300"
                  "00000000\r\n");
        EXPECT_EQ(client.Exchange(kSecondIp, kCommandPort, "#3240\r\n").value_or(""), "#32114005\r\n");
    }
    SimProcess broken({"--config", configPath + ".missing"});
    EXPECT_FALSE(broken.Ready());
    ::unlink(configPath.c_str());
}

TEST(SimStartup, RefusesBadOptions) {
    SimProcess badAddress({"--ip", "127.0.0.41", "--address", "300"});
    EXPECT_FALSE(badAddress.Ready());
    auto status = badAddress.Terminate(5000);
    ASSERT_TRUE(status);
    EXPECT_EQ(WEXITSTATUS(*status), 2);
}

}  // namespace
}  // namespace zptest
