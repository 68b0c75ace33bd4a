#include "camera_ref.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "exit_codes.h"
#include "zpport/XTrace.h"

namespace zpcam {

namespace {

constexpr unsigned int kFirstPortId = 0x2001;
constexpr std::uint16_t kCommandPort = 1027;
constexpr unsigned int kEnumerationRoom = 128;  // PoEnumerate appends up to 128 items

// The local address the host would send from to reach the camera. Connecting a UDP socket only picks
// the route; nothing is sent.
std::uint32_t LocalAddressFor(std::uint32_t camera) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return 0;
    sockaddr_in remote{};
    remote.sin_family = AF_INET;
    remote.sin_port = htons(kCommandPort);
    remote.sin_addr.s_addr = htonl(camera);
    sockaddr_in local{};
    socklen_t length = sizeof local;
    std::uint32_t address = 0;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&remote), sizeof remote) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &length) == 0)
        address = ntohl(local.sin_addr.s_addr);
    ::close(fd);
    return address;
}

bool IsSerial(const std::string& text) {
    return !text.empty() && text.size() <= 10 && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

std::string AddressText(std::uint32_t address) {
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", address >> 24, (address >> 16) & 0xFF,
                  (address >> 8) & 0xFF, address & 0xFF);
    return text;
}

bool ParseAddress(const std::string& text, std::uint32_t& address) {
    in_addr parsed{};
    if (::inet_pton(AF_INET, text.c_str(), &parsed) != 1) return false;
    address = ntohl(parsed.s_addr);
    return true;
}

std::vector<_ZP_ENUMITEMEX> DiscoverCameras(std::uint32_t adapter) {
    PoLinkInit(adapter);
    std::vector<_ZP_ENUMITEMEX> items(kEnumerationRoom);
    unsigned int count = 0;
    PoEnumerate(items.data(), &count, 0);
    PoLinkDeinit();
    items.resize(count < kEnumerationRoom ? count : kEnumerationRoom);
    std::vector<_ZP_ENUMITEMEX> cameras;
    for (const auto& item : items) {
        if (item.ipAddress != 0) cameras.push_back(item);
    }
    return cameras;
}

CameraRef ResolveCamera(const std::string& text) {
    if (text.empty())
        throw ToolError(kExitUsage, "CAMERA is empty: give an IP address, serial number or name");
    CameraRef ref;
    std::uint32_t address = 0;
    if (ParseAddress(text, address)) {
        ref.item.portId = kFirstPortId;
        std::snprintf(ref.item.ipText, sizeof ref.item.ipText, "%s", text.c_str());
        ref.item.ipAddress = address;
        ref.item.adapterIp = LocalAddressFor(address);
        std::snprintf(ref.item.adapterIpText, sizeof ref.item.adapterIpText, "%s",
                      AddressText(ref.item.adapterIp).c_str());
        ref.label = "camera " + text;
        return ref;
    }
    std::vector<_ZP_ENUMITEMEX> matches;
    for (const auto& item : DiscoverCameras()) {
        const bool serial =
            IsSerial(text) && std::to_string(item.serialNumber) == std::to_string(std::stoull(text));
        if (serial || text == item.cameraName) matches.push_back(item);
    }
    if (matches.empty())
        throw ToolError(kExitNotFound,
                        "camera " + text + ": no camera with this serial number or name answered");
    if (matches.size() > 1) {
        std::string where;
        for (const auto& item : matches) where += std::string(where.empty() ? "" : ", ") + item.ipText;
        throw ToolError(kExitNotFound, "camera " + text + ": " + std::to_string(matches.size()) +
                                           " cameras answer to it (" + where + "); give an IP address");
    }
    ref.item = matches.front();
    ref.item.portId = kFirstPortId;
    ref.discovered = true;
    ref.label = "camera " + text + " (" + ref.item.ipText + ")";
    return ref;
}

std::string PortErrorText(unsigned int code) {
    if (code == 0) return "no answer or refused (no port error code)";
    char text[128] = {};
    CXTrace().GetHardwareErrorString(static_cast<int>(code), text);
    return "port error " + std::to_string(code) + " (" + text + ")";
}

OpenCamera::OpenCamera(CameraRef ref, const std::string& logPath) : m_ref(std::move(ref)) {
    ZP_PORT_HANDLE handle = nullptr;
    const unsigned int result = PoOpen(&m_ref.item, &handle);
    if (result != 0) {
        throw ToolError(kExitCamera,
                        m_ref.label + ": open failed: " + PortErrorText(result == 1 ? 0 : result));
    }
    m_handle = handle;
    if (!logPath.empty()) PoEnablePortLog(m_handle, m_ref.item.portId, logPath.c_str(), 1);
}

OpenCamera::~OpenCamera() {
    PoClose(m_handle);
}

void OpenCamera::Check(unsigned int result, const std::string& step) const {
    if (result == 0) return;
    unsigned int code = 0;
    PoGetErrorCode(m_handle, &code);
    throw ToolError(kExitCamera, m_ref.label + ": " + step + " failed: " + PortErrorText(code));
}

}  // namespace zpcam
