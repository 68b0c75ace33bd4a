// Discovery as the cameras answer it: the broadcast "54\r\n" of the command port and the 8-byte
// binary request of the older camera families. The responder owns the sockets that receive
// broadcasts (a socket bound to a camera's own address never sees one); the answers leave from
// each camera's command socket, so they carry the camera's address.
#ifndef ZPCAM_SIM_DISCOVERY_RESPONDER_H
#define ZPCAM_SIM_DISCOVERY_RESPONDER_H

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera_model.h"

namespace zpsim {

struct DiscoveryOptions {
    bool enabled = true;
    std::uint32_t binaryType = 0;   // camera type in binary answers; 0: binary requests are not answered
    std::uint16_t binaryModel = 0;  // model value in binary answers
    std::uint32_t spreadMs = 0;     // the i-th camera answers i x spreadMs after the request
};

enum class DiscoveryKind { kAscii, kBinary };

// The request a datagram carries, if it is one.
std::optional<DiscoveryKind> ParseDiscoveryRequest(std::string_view datagram);

// The answer of one camera: "#AA1154AA\r\n".
std::string FormatAsciiDiscoveryAnswer(std::uint8_t address);

// The 56-byte binary answer (little-endian words): type at 8, flag 12, serial 16, firmware 20 and 24,
// model 30 (16 bits), 4 at 32, MAC high 36 and low 40 (02:5A and the camera's IPv4 address), 4 at 52.
std::string FormatBinaryDiscoveryAnswer(const CameraIdentity& identity, const DiscoveryOptions& options);

// One request as received: what it asks and on which interface it arrived.
struct DiscoveryRequest {
    DiscoveryKind kind;
    std::string datagram;
    sockaddr_in sender;
    int interfaceIndex;
};

class DiscoveryResponder {
public:
    DiscoveryResponder() = default;
    ~DiscoveryResponder();
    DiscoveryResponder(const DiscoveryResponder&) = delete;
    DiscoveryResponder& operator=(const DiscoveryResponder&) = delete;

    // Binds the limited broadcast address and the subnet broadcast address of every camera's
    // interface on the port. Returns an empty string on success, else the reason.
    std::string Open(std::uint16_t port, const std::vector<std::string>& cameraIps);
    const std::vector<int>& Sockets() const { return m_sockets; }

    // Reads one datagram from the socket; nothing when it is not a discovery request.
    std::optional<DiscoveryRequest> Receive(int socket) const;

private:
    void Close();

    std::vector<int> m_sockets;
};

// Index of the interface holding the IPv4 address, 0 when none does.
int InterfaceIndexOf(const std::string& ip);

}  // namespace zpsim

#endif  // ZPCAM_SIM_DISCOVERY_RESPONDER_H
