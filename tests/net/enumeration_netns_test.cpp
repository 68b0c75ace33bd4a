// GEEnumerate on a veth network: the host adapters live in the test's namespace, the answering
// cameras are sockets of this test made inside camera namespaces of the network fixture.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "net/enumeration.h"
#include "sim/sim_process.h"
#include "support/net_fixture.h"
#include "support/netns.h"

namespace zptest {
namespace {

constexpr unsigned int kPort = 1027;

// Answers each camera sends to one request.
using AnswerPolicy = std::function<std::vector<std::string>(const std::string& request, size_t camera)>;

int BoundUdp(const std::string& ip, uint16_t port) {
    const int sock = ::socket(AF_INET, SOCK_DGRAM, 0);
    const int on = 1;
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    inet_pton(AF_INET, ip.c_str(), &local.sin_addr);
    if (sock < 0 || ::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(sock, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
        if (sock >= 0) ::close(sock);
        return -1;
    }
    return sock;
}

// Cameras played by this test inside a camera namespace: one socket receives the requests sent to
// listenIp, and each camera answers from its own address.
class FakeCameras {
public:
    // With repeat, the answers to the last request are sent again every 50 ms: a network that
    // never falls quiet.
    FakeCameras(const NetNamespace& lan, const std::string& listenIp, std::vector<std::string> ips,
                AnswerPolicy policy, bool repeat = false)
        : m_policy(std::move(policy)), m_repeat(repeat) {
        InsideNamespace inside(lan);
        m_listener = BoundUdp(listenIp, kPort);
        for (const auto& ip : ips) m_cameras.push_back(BoundUdp(ip, 0));
        m_thread = std::thread([this] { Serve(); });
    }
    ~FakeCameras() {
        m_stop = true;
        m_thread.join();
        ::close(m_listener);
        for (int sock : m_cameras) ::close(sock);
    }
    bool Valid() const {
        for (int sock : m_cameras) {
            if (sock < 0) return false;
        }
        return m_listener >= 0;
    }
    std::vector<std::string> Requests() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }

private:
    void Serve() {
        std::string request;
        sockaddr_in from{};
        while (!m_stop) {
            pollfd entry{m_listener, POLLIN, 0};
            if (::poll(&entry, 1, 50) <= 0) {
                if (m_repeat && !request.empty()) Answer(request, from);
                continue;
            }
            char buffer[2048];
            socklen_t size = sizeof from;
            const ssize_t got =
                ::recvfrom(m_listener, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &size);
            if (got < 0) continue;
            request.assign(buffer, static_cast<size_t>(got));
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_requests.push_back(request);
            }
            Answer(request, from);
        }
    }

    void Answer(const std::string& request, const sockaddr_in& to) {
        for (size_t i = 0; i < m_cameras.size(); ++i) {
            for (const auto& answer : m_policy(request, i)) {
                ::sendto(m_cameras[i], answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                         sizeof to);
            }
        }
    }

    AnswerPolicy m_policy;
    bool m_repeat;
    int m_listener = -1;
    std::vector<int> m_cameras;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::vector<std::string> m_requests;
    std::thread m_thread;
};

std::string AsciiAnswer(unsigned int address) {
    char text[16];
    std::snprintf(text, sizeof text, "#%02X1154%02X\r\n", address, address);
    return text;
}

// The usual camera: answers "54\r\n" with its own address byte 0x20 + index.
std::vector<std::string> Identify(const std::string& request, size_t camera) {
    if (request != "54\r\n") return {};
    return {AsciiAnswer(0x20 + static_cast<unsigned int>(camera))};
}

HostAdapter Adapter(const std::string& name, int lan, int host, int mtu = 1500) {
    char mac[32];
    std::snprintf(mac, sizeof mac, "02:00:00:00:%02X:%02X", lan, host);
    return HostAdapter{name, mac, mtu, "10.74." + std::to_string(lan) + "." + std::to_string(host) + "/24", ""};
}

CameraLan Lan(std::vector<HostAdapter> adapters, std::vector<std::string> cameraIps) {
    CameraLan lan;
    lan.adapters = std::move(adapters);
    lan.cameraIps = std::move(cameraIps);
    lan.startSimulator = false;
    return lan;
}

std::vector<_ZP_ENUMITEMEX> Enumerate(unsigned int& count, int protocol = 2, unsigned int filter = 0,
                                      zpnet::EnumTrace trace = {}) {
    std::vector<_ZP_ENUMITEMEX> items(count);
    GEEnumerate(items.data(), &count, protocol, kPort, filter, trace);
    return items;
}

TEST(GEEnumerate, WithoutAdaptersTheCountStaysAndNothingIsSent) {
    unsigned int count = 128;
    Enumerate(count);
    EXPECT_EQ(count, 128u);
}

TEST(GEEnumerate, AsciiAnswersBecomeItemsWithTheirAdapter) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10", "10.74.1.11"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    FakeCameras cameras(net.Lan(0), "0.0.0.0", {"10.74.1.10", "10.74.1.11"}, Identify);
    ASSERT_TRUE(cameras.Valid());
    unsigned int count = 8;
    const auto items = Enumerate(count);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(cameras.Requests(), std::vector<std::string>{"54\r\n"});
    for (unsigned int i = 0; i < count; ++i) {
        const _ZP_ENUMITEMEX& item = items[i];
        const unsigned int camera = item.ipAddress == 0x0A4A010A ? 0 : 1;
        EXPECT_EQ(item.ipAddress, 0x0A4A010Au + camera);
        EXPECT_EQ(std::string(item.ipText), "10.74.1.1" + std::to_string(camera));
        EXPECT_EQ(item.cmdAddress, 0x20 + camera);
        EXPECT_STREQ(item.adapterIpText, "10.74.1.1");
        EXPECT_STREQ(item.adapterMaskText, "255.255.255.0");
        EXPECT_STREQ(item.adapterMacText, "02:00:00:00:01:01");
        EXPECT_EQ(item.infoTag, 0u);  // completed later by the port
    }
}

TEST(GEEnumerate, OneItemPerSenderWhateverTheDatagramHolds) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10", "10.74.1.11"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    auto policy = [](const std::string&, size_t camera) -> std::vector<std::string> {
        if (camera == 0) return {AsciiAnswer(0x31) + AsciiAnswer(0x32) + AsciiAnswer(0x33), AsciiAnswer(0x34)};
        return {"", "5", "#0A1155\r\n", std::string(4000, '4'), std::string("\x00\x01\x02\xFF", 4),
                std::string(1500, '5'), "\n\n\n", "#0A11540A"};  // garbage, then an unterminated answer
    };
    FakeCameras cameras(net.Lan(0), "0.0.0.0", {"10.74.1.10", "10.74.1.11"}, policy);
    ASSERT_TRUE(cameras.Valid());
    unsigned int count = 8;
    const auto items = Enumerate(count);
    ASSERT_EQ(count, 2u);
    for (unsigned int i = 0; i < count; ++i) {
        if (items[i].ipAddress == 0x0A4A010A) {
            EXPECT_EQ(items[i].cmdAddress, 0x31);  // the first line of the first datagram wins
        } else {
            EXPECT_EQ(items[i].ipAddress, 0x0A4A010Bu);
            EXPECT_EQ(items[i].cmdAddress, 0x0A);
        }
    }
}

TEST(GEEnumerate, StopsAtTheCallersCapacity) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10", "10.74.1.11", "10.74.1.12"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    FakeCameras cameras(net.Lan(0), "0.0.0.0", {"10.74.1.10", "10.74.1.11", "10.74.1.12"}, Identify);
    ASSERT_TRUE(cameras.Valid());
    std::vector<_ZP_ENUMITEMEX> items(3);
    std::memset(&items[2], 0x5A, sizeof items[2]);
    unsigned int count = 2;
    GEEnumerate(items.data(), &count, 2, kPort, 0);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(items[2].infoTag, 0x5A5A5A5Au);
}

TEST(GEEnumerate, ACameraOnTwoAdaptersIsListedOnce) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1), Adapter("zpe1", 1, 2)}, {"10.74.1.10"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    FakeCameras cameras(net.Lan(0), "0.0.0.0", {"10.74.1.10"}, Identify);
    ASSERT_TRUE(cameras.Valid());
    unsigned int count = 8;
    const auto items = Enumerate(count);
    EXPECT_EQ(cameras.Requests().size(), 2u);  // one request from each adapter
    ASSERT_EQ(count, 1u);
    EXPECT_STREQ(items[0].ipText, "10.74.1.10");
}

TEST(GEEnumerate, TheFilterAddressLimitsDiscoveryToOneAdapter) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10"}), Lan({Adapter("zpe1", 2, 1)}, {"10.74.2.10"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    FakeCameras first(net.Lan(0), "0.0.0.0", {"10.74.1.10"}, Identify);
    FakeCameras second(net.Lan(1), "0.0.0.0", {"10.74.2.10"}, Identify);
    ASSERT_TRUE(first.Valid() && second.Valid());
    unsigned int count = 8;
    auto items = Enumerate(count, 2, 0x0A4A0201);
    ASSERT_EQ(count, 1u);
    EXPECT_STREQ(items[0].ipText, "10.74.2.10");
    EXPECT_STREQ(items[0].adapterIpText, "10.74.2.1");
    EXPECT_TRUE(first.Requests().empty());
    count = 8;
    items = Enumerate(count, 2, 0xFFFFFFFF);  // all adapters, as 0 does
    EXPECT_EQ(count, 2u);
    count = 8;
    Enumerate(count, 2, 0x0A4A0301);  // no adapter has this address
    EXPECT_EQ(count, 0u);
}

TEST(GEEnumerate, BinaryRequestGoesToTheSubnetBroadcastAndItsAnswerIsRefined) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    auto policy = [](const std::string&, size_t) -> std::vector<std::string> {
        std::string answer(56, '\0');
        answer[8] = 19;     // type 19, model 6: type 23, model 2
        answer[16] = 0x39;  // serial 12345
        answer[17] = 0x30;
        answer[30] = 6;
        answer[36] = 0x02;  // MAC high word 0x0002
        answer[40] = 0x0A;  // MAC low word 0x0000000A
        std::string failed = answer;
        failed[0] = 1;
        return {failed, answer};
    };
    // Bound to the subnet broadcast address: only a request sent there reaches it.
    FakeCameras cameras(net.Lan(0), "10.74.1.255", {"10.74.1.10"}, policy);
    ASSERT_TRUE(cameras.Valid());
    unsigned int count = 8;
    const auto items = Enumerate(count, 1);
    ASSERT_EQ(cameras.Requests().size(), 1u);
    EXPECT_EQ(cameras.Requests()[0], std::string("\x01\x00\x08\x01\x08\x00\x00\x00", 8));
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(items[0].cameraType, 23u);
    EXPECT_EQ(items[0].modelNumber, 2u);
    EXPECT_EQ(items[0].serialNumber, 12345u);
    EXPECT_EQ(items[0].macHigh, 2u);
    EXPECT_EQ(items[0].macLow, 10u);
    EXPECT_STREQ(items[0].ipText, "10.74.1.10");
    EXPECT_STREQ(items[0].adapterIpText, "10.74.1.1");
    count = 8;
    Enumerate(count, 0);  // protocol 0 does not accept type 19
    EXPECT_EQ(count, 0u);
}

TEST(GEEnumerate, BinarySocketIsReboundAwayFromPorts1028And1029) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    FakeCameras cameras(net.Lan(0), "10.74.1.255", {"10.74.1.10"}, [](const std::string&, size_t) {
        return std::vector<std::string>{};
    });
    ASSERT_TRUE(cameras.Valid());
    // Only the two refused ports are left to the system: every bind gets one of them.
    ASSERT_EQ(std::system("sysctl -q -w net.ipv4.ip_local_port_range='1028 1029'"), 0);
    const std::string log = "/tmp/zp_enum_" + std::to_string(::getpid()) + ".log";
    CXTrace trace;
    trace.EnableTrace(log.c_str(), 1);
    unsigned int count = 8;
    Enumerate(count, 0, 0, zpnet::EnumTrace{&trace, 0});
    std::system("sysctl -q -w net.ipv4.ip_local_port_range='32768 60999'");
    const std::string text = ReadFile(log);
    ::unlink(log.c_str());
    size_t assigned = 0, invalid = 0;
    for (size_t at = text.find("ENU: Assigned "); at != std::string::npos; at = text.find("ENU: Assigned ", at + 1)) {
        ++assigned;
        if (text.compare(at, 26, "ENU: Assigned invalid loca") == 0) ++invalid;
    }
    EXPECT_EQ(invalid, 8u);
    EXPECT_EQ(assigned, 16u);  // each bound socket: its port, then the refusal
    EXPECT_EQ(cameras.Requests().size(), 1u);  // the last socket still sends, unbound
    EXPECT_EQ(count, 0u);
}

TEST(GEEnumerate, ABusyNetworkEndsAtTheCallersBound) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    FakeCameras cameras(net.Lan(0), "0.0.0.0", {"10.74.1.10"}, Identify, true);
    ASSERT_TRUE(cameras.Valid());
    const auto start = std::chrono::steady_clock::now();
    unsigned int count = 8;
    Enumerate(count);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(count, 1u);
    // Never quiet for half a second, so only the caller's wait ends it.
    EXPECT_GT(elapsed, std::chrono::seconds(1));
    EXPECT_LT(elapsed, std::chrono::seconds(5));
}

}  // namespace
}  // namespace zptest
