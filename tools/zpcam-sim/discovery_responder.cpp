#include "discovery_responder.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "protocol.h"

namespace zpsim {

namespace {

constexpr std::uint8_t kIdentifyCode = 0x54;
constexpr std::size_t kBinaryRequestSize = 8;
constexpr unsigned char kBinaryRequest[kBinaryRequestSize] = {0x01, 0x00, 0x08, 0x01, 0x08, 0x00, 0x00, 0x00};
constexpr std::size_t kBinaryAnswerSize = 56;
constexpr std::uint16_t kMacHigh = 0x025A;
constexpr std::size_t kDatagramSize = 2048;

void PutWord(std::string& out, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) out[at + i] = static_cast<char>((value >> (8 * i)) & 0xFFu);
}

// The subnet broadcast address of ip on the interface that holds it, if that interface broadcasts.
std::optional<in_addr> SubnetBroadcastOf(const std::string& ip) {
    in_addr wanted{};
    if (inet_pton(AF_INET, ip.c_str(), &wanted) != 1) return std::nullopt;
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return std::nullopt;
    std::optional<in_addr> found;
    for (ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
        if (reinterpret_cast<sockaddr_in*>(entry->ifa_addr)->sin_addr.s_addr != wanted.s_addr) continue;
        const in_addr_t mask =
            entry->ifa_netmask != nullptr ? reinterpret_cast<sockaddr_in*>(entry->ifa_netmask)->sin_addr.s_addr : 0;
        if ((entry->ifa_flags & IFF_BROADCAST) != 0 && mask != INADDR_BROADCAST) {
            found = in_addr{(wanted.s_addr & mask) | ~mask};
        }
        break;
    }
    ::freeifaddrs(list);
    return found;
}

// A socket that shares the port with other receivers of the same broadcasts and reports the
// interface each datagram arrived on.
int OpenBroadcastSocket(in_addr address, std::uint16_t port, std::string& error) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        error = std::string("discovery socket: ") + std::strerror(errno);
        return -1;
    }
    const int on = 1;
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr = address;
    if (::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::setsockopt(fd, IPPROTO_IP, IP_PKTINFO, &on, sizeof on) != 0 ||
        ::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &address, text, sizeof text);
        error = std::string("discovery socket on ") + text + ": " + std::strerror(errno);
        ::close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

std::optional<DiscoveryKind> ParseDiscoveryRequest(std::string_view datagram) {
    if (datagram == "54\r\n") return DiscoveryKind::kAscii;
    if (datagram.size() == kBinaryRequestSize &&
        std::memcmp(datagram.data(), kBinaryRequest, kBinaryRequestSize) == 0) {
        return DiscoveryKind::kBinary;
    }
    return std::nullopt;
}

std::string FormatAsciiDiscoveryAnswer(std::uint8_t address) {
    return FormatReply(address, kResultOk, kIdentifyCode, Hex2(address));
}

std::string FormatBinaryDiscoveryAnswer(const CameraIdentity& identity, const DiscoveryOptions& options) {
    std::string answer(kBinaryAnswerSize, '\0');
    in_addr ip{};
    inet_pton(AF_INET, identity.ip.c_str(), &ip);
    PutWord(answer, 8, options.binaryType);
    PutWord(answer, 12, 1);
    PutWord(answer, 16, identity.serial);
    PutWord(answer, 20, identity.firmware);
    PutWord(answer, 24, identity.firmware2);
    answer[30] = static_cast<char>(options.binaryModel & 0xFFu);
    answer[31] = static_cast<char>(options.binaryModel >> 8);
    PutWord(answer, 32, 4);
    PutWord(answer, 36, kMacHigh);
    PutWord(answer, 40, ntohl(ip.s_addr));
    PutWord(answer, 52, 4);
    return answer;
}

DiscoveryResponder::~DiscoveryResponder() {
    Close();
}

void DiscoveryResponder::Close() {
    for (int fd : m_sockets) ::close(fd);
    m_sockets.clear();
}

std::string DiscoveryResponder::Open(std::uint16_t port, const std::vector<std::string>& cameraIps) {
    Close();
    std::vector<in_addr_t> addresses{htonl(INADDR_BROADCAST)};
    for (const auto& ip : cameraIps) {
        auto broadcast = SubnetBroadcastOf(ip);
        if (broadcast && std::find(addresses.begin(), addresses.end(), broadcast->s_addr) == addresses.end()) {
            addresses.push_back(broadcast->s_addr);
        }
    }
    std::string error;
    for (in_addr_t address : addresses) {
        const int fd = OpenBroadcastSocket(in_addr{address}, port, error);
        if (fd < 0) {
            Close();
            return error;
        }
        m_sockets.push_back(fd);
    }
    return {};
}

std::optional<DiscoveryRequest> DiscoveryResponder::Receive(int socket) const {
    char buffer[kDatagramSize];
    char control[CMSG_SPACE(sizeof(in_pktinfo))];
    DiscoveryRequest request{DiscoveryKind::kAscii, {}, sockaddr_in{}, 0};
    iovec data{buffer, sizeof buffer};
    msghdr message{};
    message.msg_name = &request.sender;
    message.msg_namelen = sizeof request.sender;
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = ::recvmsg(socket, &message, 0);
    if (size <= 0) return std::nullopt;
    request.datagram.assign(buffer, static_cast<std::size_t>(size));
    auto kind = ParseDiscoveryRequest(request.datagram);
    if (!kind) return std::nullopt;
    request.kind = *kind;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level == IPPROTO_IP && header->cmsg_type == IP_PKTINFO) {
            in_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(header), sizeof info);
            request.interfaceIndex = info.ipi_ifindex;
        }
    }
    return request;
}

int InterfaceIndexOf(const std::string& ip) {
    in_addr wanted{};
    if (inet_pton(AF_INET, ip.c_str(), &wanted) != 1) return 0;
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return 0;
    int index = 0;
    for (ifaddrs* entry = list; entry != nullptr && index == 0; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET &&
            reinterpret_cast<sockaddr_in*>(entry->ifa_addr)->sin_addr.s_addr == wanted.s_addr) {
            index = static_cast<int>(::if_nametoindex(entry->ifa_name));
        }
    }
    ::freeifaddrs(list);
    return index;
}

}  // namespace zpsim
