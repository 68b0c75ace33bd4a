// CAMERA arguments: an IPv4 address opens that camera directly; a serial number or a camera name is
// looked up by discovery. An open camera closes itself and turns failed calls into camera errors.
#ifndef ZPCAM_CAMERA_REF_H
#define ZPCAM_CAMERA_REF_H

#include <cstdint>
#include <string>
#include <vector>

#include "zpport/ZpPortTW.h"

namespace zpcam {

struct CameraRef {
    _ZP_ENUMITEMEX item{};
    std::string label;        // "camera <as given>", with the address when discovery found it
    bool discovered = false;  // the item is complete (firmware, MAC, adapter, MTU)
};

// Every camera that answers discovery (on one adapter when adapter is not 0), without the empty
// items the library reports when the host has no adapter to search.
std::vector<_ZP_ENUMITEMEX> DiscoverCameras(std::uint32_t adapter = 0);

// Throws a usage error for an empty text and a not-found error when discovery finds no camera, or
// more than one, with that serial number or name.
CameraRef ResolveCamera(const std::string& text);

// "a.b.c.d" of an address held with the first dotted byte most significant.
std::string AddressText(std::uint32_t address);
// false for anything but a dotted IPv4 address.
bool ParseAddress(const std::string& text, std::uint32_t& address);

class OpenCamera {
public:
    // Opens the port, and when logPath is not empty switches its trace on; throws a camera error.
    OpenCamera(CameraRef ref, const std::string& logPath);
    ~OpenCamera();
    OpenCamera(const OpenCamera&) = delete;
    OpenCamera& operator=(const OpenCamera&) = delete;

    ZP_PORT_HANDLE Handle() const { return m_handle; }
    const CameraRef& Ref() const { return m_ref; }
    // Throws "<label>: <step> failed: <port error>" unless result is 0.
    void Check(unsigned int result, const std::string& step) const;

private:
    CameraRef m_ref;
    ZP_PORT_HANDLE m_handle = nullptr;
};

// The port's error code with its description, e.g. "port error 2008 (GE - The device is disconnected.)".
std::string PortErrorText(unsigned int code);

}  // namespace zpcam

#endif  // ZPCAM_CAMERA_REF_H
