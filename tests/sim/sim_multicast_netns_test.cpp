// Multicast announcements, inside the test's private network namespace: they reach a member of the
// group on the loopback interface the camera is bound to.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "sim_process.h"
#include "support/netns.h"

namespace zptest {
namespace {

constexpr const char* kIp = "127.0.0.43";
constexpr std::uint16_t kControlPort = 7043;

// A member of the announcement group on the loopback interface.
class GroupMember {
public:
    GroupMember() {
        m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(10505);
        local.sin_addr.s_addr = htonl(INADDR_ANY);
        ip_mreq membership{};
        inet_pton(AF_INET, "225.1.1.201", &membership.imr_multiaddr);
        inet_pton(AF_INET, kIp, &membership.imr_interface);
        m_joined = m_socket >= 0 &&
                   ::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local) == 0 &&
                   ::setsockopt(m_socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership) == 0;
    }
    ~GroupMember() {
        if (m_socket >= 0) {
            ::close(m_socket);
        }
    }
    bool Joined() const { return m_joined; }

    // One datagram and its sender, or an empty text after the time-out.
    std::string Receive(int timeoutMs, std::string& sender) const {
        pollfd pfd{m_socket, POLLIN, 0};
        if (::poll(&pfd, 1, timeoutMs) <= 0) {
            return {};
        }
        char buffer[2048];
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        ssize_t size =
            ::recvfrom(m_socket, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
        sender = text;
        return size > 0 ? std::string(buffer, static_cast<std::size_t>(size)) : std::string();
    }

private:
    int m_socket = -1;
    bool m_joined = false;
};

TEST(SimMulticast, StateChangeIsAnnouncedToTheGroupFromTheCameraAddress) {
    ASSERT_TRUE(RunIp("link set lo multicast on"));
    GroupMember member;
    ASSERT_TRUE(member.Joined());
    SimProcess sim(
        {"--ip", kIp, "--address", "0x21", "--multicast", "--control-port", std::to_string(kControlPort)});
    ASSERT_TRUE(sim.Ready());
    UdpClient client(kIp);
    EXPECT_EQ(client.Exchange(kIp, kControlPort, "state 6").value_or(""), "OK\n");
    std::string sender;
    EXPECT_EQ(member.Receive(2000, sender), "#2101A406\r\n");
    EXPECT_EQ(sender, kIp);
}

TEST(SimMulticast, NothingIsSentToTheGroupUnlessEnabled) {
    ASSERT_TRUE(RunIp("link set lo multicast on"));
    GroupMember member;
    ASSERT_TRUE(member.Joined());
    SimProcess sim({"--ip", kIp, "--control-port", std::to_string(kControlPort)});
    ASSERT_TRUE(sim.Ready());
    UdpClient client(kIp);
    EXPECT_EQ(client.Exchange(kIp, kControlPort, "state 6").value_or(""), "OK\n");
    std::string sender;
    EXPECT_EQ(member.Receive(800, sender), "");
}

}  // namespace
}  // namespace zptest
