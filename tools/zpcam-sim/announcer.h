// Announcements a camera sends on its own when its state changes.
#ifndef ZPCAM_SIM_ANNOUNCER_H
#define ZPCAM_SIM_ANNOUNCER_H

#include <netinet/in.h>

#include <cstdint>
#include <string>

namespace zpsim {

struct AnnounceOptions {
    std::string unicastHost;  // send to this IPv4 address (loopback tests); empty: no unicast
    bool multicast = false;   // send to the announcement group; never leaves the machine
    std::uint16_t port = 10505;
    int multicastTtl = 0;     // 0 keeps multicast on this host; 1 crosses one link (namespaces)
};

class Announcer {
public:
    Announcer() = default;
    ~Announcer();
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;
    Announcer(Announcer&& other) noexcept;
    Announcer& operator=(Announcer&& other) noexcept;

    // Binds a socket to the camera's address (any port) so announcements carry it as sender.
    // Returns an empty string on success, else the reason. Does nothing when announcements are off.
    std::string Open(const std::string& cameraIp, const AnnounceOptions& options);
    bool Enabled() const { return m_socket >= 0; }

    // Sends the state announcement ("#AA01A4SS\r\n"). Returns false when it could not be sent.
    bool AnnounceState(std::uint8_t address, std::uint8_t state) const;

    // Sends the given datagram as it stands (malformed announcements for tests).
    bool AnnounceRaw(const std::string& datagram) const;

private:
    void Close();

    int m_socket = -1;
    sockaddr_in m_destination{};
};

}  // namespace zpsim

#endif  // ZPCAM_SIM_ANNOUNCER_H
