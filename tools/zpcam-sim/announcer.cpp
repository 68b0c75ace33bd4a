#include "announcer.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "protocol.h"

namespace zpsim {

Announcer::~Announcer() {
    Close();
}

Announcer::Announcer(Announcer&& other) noexcept
    : m_socket(other.m_socket), m_destination(other.m_destination) {
    other.m_socket = -1;
}

Announcer& Announcer::operator=(Announcer&& other) noexcept {
    if (this != &other) {
        Close();
        m_socket = other.m_socket;
        m_destination = other.m_destination;
        other.m_socket = -1;
    }
    return *this;
}

void Announcer::Close() {
    if (m_socket >= 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}

namespace {

// Multicast from the camera's own interface, looped back, with the given TTL (0 keeps it on this host).
std::string RestrictMulticast(int socket, in_addr cameraAddress, int multicastTtl) {
    unsigned char ttl = static_cast<unsigned char>(multicastTtl);
    unsigned char loop = 1;
    if (setsockopt(socket, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl) != 0 ||
        setsockopt(socket, IPPROTO_IP, IP_MULTICAST_LOOP, &loop, sizeof loop) != 0 ||
        setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &cameraAddress, sizeof cameraAddress) != 0) {
        return std::string("multicast options: ") + std::strerror(errno);
    }
    return {};
}

}  // namespace

std::string Announcer::Open(const std::string& cameraIp, const AnnounceOptions& options) {
    Close();
    if (options.unicastHost.empty() && !options.multicast) {
        return {};
    }
    sockaddr_in local{};
    local.sin_family = AF_INET;
    if (inet_pton(AF_INET, cameraIp.c_str(), &local.sin_addr) != 1) {
        return "bad camera address " + cameraIp;
    }
    m_destination = sockaddr_in{};
    m_destination.sin_family = AF_INET;
    m_destination.sin_port = htons(options.port);
    const std::string& target = options.multicast ? std::string(kAnnounceGroup) : options.unicastHost;
    if (inet_pton(AF_INET, target.c_str(), &m_destination.sin_addr) != 1) {
        return "bad announcement address " + target;
    }
    m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (m_socket < 0) {
        return std::string("announcement socket: ") + std::strerror(errno);
    }
    std::string error;
    if (::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
        error = "bind announcement socket to " + cameraIp + ": " + std::strerror(errno);
    } else if (options.multicast) {
        error = RestrictMulticast(m_socket, local.sin_addr, options.multicastTtl);
    }
    if (!error.empty()) {
        Close();
    }
    return error;
}

bool Announcer::AnnounceState(std::uint8_t address, std::uint8_t state) const {
    if (m_socket < 0) {
        return false;
    }
    std::string text = FormatAnnouncement(address, kEventState, Hex2(state));
    ssize_t sent = ::sendto(m_socket, text.data(), text.size(), 0,
                            reinterpret_cast<const sockaddr*>(&m_destination), sizeof m_destination);
    return sent == static_cast<ssize_t>(text.size());
}

bool Announcer::AnnounceRaw(const std::string& datagram) const {
    if (m_socket < 0) {
        return false;
    }
    ssize_t sent = ::sendto(m_socket, datagram.data(), datagram.size(), 0,
                            reinterpret_cast<const sockaddr*>(&m_destination), sizeof m_destination);
    return sent == static_cast<ssize_t>(datagram.size());
}

}  // namespace zpsim
