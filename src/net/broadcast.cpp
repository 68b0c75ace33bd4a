// Broadcast: one extra discovery datagram ahead of an enumeration.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "net/discovery_answers.h"
#include "net/enumeration.h"

namespace {
constexpr uint16_t kDiscoveryPort = 1027;
}

void Broadcast() {
    const int sock = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (sock < 0) return;
    const int on = 1;
    ::setsockopt(sock, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_addr.s_addr = htonl(INADDR_BROADCAST);
    destination.sin_port = htons(kDiscoveryPort);
    ::sendto(sock, zpnet::kAsciiRequest, zpnet::kAsciiRequestSize, 0,
             reinterpret_cast<const sockaddr*>(&destination), sizeof destination);
    ::close(sock);
}
