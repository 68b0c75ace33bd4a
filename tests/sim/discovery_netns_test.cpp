// The simulator answers discovery broadcasts across a veth link: every camera on the interface the
// request came in on answers from its own address; announcements cross the link with TTL 1.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim_process.h"
#include "support/net_fixture.h"

namespace zptest {
namespace {

constexpr const char* kHostIp = "10.75.1.1";

// A host socket on the adapter that broadcasts a request and gathers (sender, datagram) pairs.
class Requester {
public:
    Requester() {
        m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        const int on = 1;
        sockaddr_in local{};
        local.sin_family = AF_INET;
        inet_pton(AF_INET, kHostIp, &local.sin_addr);
        m_valid = m_socket >= 0 && ::setsockopt(m_socket, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) == 0 &&
                  ::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local) == 0;
    }
    ~Requester() {
        if (m_socket >= 0) ::close(m_socket);
    }
    bool Valid() const { return m_valid; }

    std::set<std::pair<std::string, std::string>> Ask(const std::string& request, const std::string& to) const {
        sockaddr_in destination{};
        destination.sin_family = AF_INET;
        destination.sin_port = htons(1027);
        inet_pton(AF_INET, to.c_str(), &destination.sin_addr);
        ::sendto(m_socket, request.data(), request.size(), 0, reinterpret_cast<sockaddr*>(&destination),
                 sizeof destination);
        std::set<std::pair<std::string, std::string>> answers;
        pollfd entry{m_socket, POLLIN, 0};
        while (::poll(&entry, 1, 500) > 0) {
            char buffer[2048];
            sockaddr_in from{};
            socklen_t size = sizeof from;
            const ssize_t got =
                ::recvfrom(m_socket, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
            if (got < 0) break;
            char sender[INET_ADDRSTRLEN] = {};
            inet_ntop(AF_INET, &from.sin_addr, sender, sizeof sender);
            answers.emplace(sender, std::string(buffer, static_cast<size_t>(got)));
        }
        return answers;
    }

private:
    int m_socket = -1;
    bool m_valid = false;
};

CameraLan ThreeCameras(std::vector<std::string> simArgs) {
    CameraLan lan;
    lan.adapters = {HostAdapter{"zps0", "02:00:00:00:75:01", 1500, std::string(kHostIp) + "/24", ""}};
    lan.cameraIps = {"10.75.1.10", "10.75.1.11", "10.75.1.12"};
    lan.firstAddress = 0x0A;
    lan.simArgs = std::move(simArgs);
    return lan;
}

using Answers = std::set<std::pair<std::string, std::string>>;

TEST(SimDiscovery, EveryCameraOnTheLinkAnswersFromItsOwnAddress) {
    // A fourth camera on the camera side's loopback does not hear the link's broadcast.
    NetFixture net({ThreeCameras({"--ip", "127.0.0.5"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    Requester host;
    ASSERT_TRUE(host.Valid());
    const Answers expected = {{"10.75.1.10", "#0A11540A\r\n"},
                              {"10.75.1.11", "#0B11540B\r\n"},
                              {"10.75.1.12", "#0C11540C\r\n"}};
    EXPECT_EQ(host.Ask("54\r\n", "255.255.255.255"), expected);
    EXPECT_EQ(host.Ask("54\r\n", "10.75.1.255"), expected);
    const auto log = net.SimLog(0);
    EXPECT_EQ(std::count(log.begin(), log.end(), "10.75.1.11 54\\r\\n"), 2);
    EXPECT_EQ(std::count_if(log.begin(), log.end(), [](const std::string& l) { return l.rfind("127.", 0) == 0; }),
              0);
    EXPECT_TRUE(host.Ask("55\r\n", "255.255.255.255").empty());
}

TEST(SimDiscovery, BinaryRequestIsAnsweredOnlyWhenATypeIsGiven) {
    const std::string request("\x01\x00\x08\x01\x08\x00\x00\x00", 8);
    {
        NetFixture net({ThreeCameras({})});
        ASSERT_TRUE(net.Ready()) << net.Error();
        Requester host;
        EXPECT_TRUE(host.Ask(request, "10.75.1.255").empty());
    }
    NetFixture net({ThreeCameras({"--binary-type", "27", "--binary-model", "3"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    Requester host;
    const Answers answers = host.Ask(request, "10.75.1.255");
    ASSERT_EQ(answers.size(), 3u);
    for (const auto& [sender, answer] : answers) {
        ASSERT_EQ(answer.size(), 56u) << sender;
        EXPECT_EQ(answer[8], 27) << sender;
        EXPECT_EQ(answer[30], 3) << sender;
    }
}

TEST(SimDiscovery, SilentCamerasAndDisabledDiscoveryStayQuiet) {
    {
        NetFixture net({ThreeCameras({"--no-discovery"})});
        ASSERT_TRUE(net.Ready()) << net.Error();
        Requester host;
        EXPECT_TRUE(host.Ask("54\r\n", "255.255.255.255").empty());
        // The cameras still answer the same line sent to their own address.
        EXPECT_EQ(host.Ask("54\r\n", "10.75.1.10"), (Answers{{"10.75.1.10", "#0A11540A\r\n"}}));
    }
    NetFixture net({ThreeCameras({"--silent"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    Requester host;
    EXPECT_TRUE(host.Ask("54\r\n", "255.255.255.255").empty());
}

// A member of the announcement group on the host adapter.
class GroupMember {
public:
    GroupMember() {
        m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        const int on = 1;
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(10505);
        ip_mreq membership{};
        inet_pton(AF_INET, "225.1.1.201", &membership.imr_multiaddr);
        inet_pton(AF_INET, kHostIp, &membership.imr_interface);
        m_joined = m_socket >= 0 && ::setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
                   ::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local) == 0 &&
                   ::setsockopt(m_socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) == 0;
    }
    ~GroupMember() {
        if (m_socket >= 0) ::close(m_socket);
    }
    bool Joined() const { return m_joined; }
    std::string Receive(int timeoutMs) const {
        pollfd entry{m_socket, POLLIN, 0};
        if (::poll(&entry, 1, timeoutMs) <= 0) return {};
        char buffer[2048];
        const ssize_t got = ::recv(m_socket, buffer, sizeof buffer, 0);
        return got > 0 ? std::string(buffer, static_cast<size_t>(got)) : std::string();
    }

private:
    int m_socket = -1;
    bool m_joined = false;
};

TEST(SimDiscovery, AnnouncementsCrossTheLinkWithTtlOne) {
    NetFixture net({ThreeCameras({"--control-port", "7075"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    GroupMember member;
    ASSERT_TRUE(member.Joined());
    UdpClient control(kHostIp);
    EXPECT_EQ(control.Exchange("10.75.1.10", 7075, "state 6").value_or(""), "OK\n");
    EXPECT_EQ(member.Receive(3000), "#0A01A406\r\n");
}

}  // namespace
}  // namespace zptest
