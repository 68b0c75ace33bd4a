// Exported calls that need the Ethernet port itself rather than the common interface: vendor
// and frame queries on an open port, address set-up through a temporary port, and the calls
// the Ethernet port does not support.
#include <zpport/TWPort.h>

#include "api/port_handle.h"

using zp::api::Forward;
using zp::api::Negated;

namespace {

// Handles are made by PoOpen from a CTWPort, so the downcast is exact.
CTWPort& TWPortOf(CCamPort& port) {
    return static_cast<CTWPort&>(port);
}

// One body for every unsupported call: a temporary port is made and dropped, no camera is touched.
unsigned int Unsupported() {
    CTWPort port;
    return 1;
}

}  // namespace

extern "C" {

unsigned int PoGetVendorInfo(ZP_PORT_HANDLE handle, _VENDOR_INFO* info) {
    return Forward(handle, [&](CCamPort& p) { return TWPortOf(p).GetVendorInfo(info); });
}

unsigned int PoGetLatestFrameIndex(ZP_PORT_HANDLE handle, unsigned int* index) {
    return Forward(handle, [&](CCamPort& p) { return TWPortOf(p).GetLatestFrameIndex(index); });
}

unsigned int PoSetIpAddress(_ZP_ENUMITEMEX* item, unsigned int address, unsigned int mask) {
    CTWPort port;
    return Negated(port.SetIpAddress(item, address, mask));
}

unsigned int PoGetIpAddress(_ZP_ENUMITEMEX* item, unsigned int* address, unsigned int* mask) {
    CTWPort port;
    return Negated(port.GetIpAddress(item, address, mask));
}

unsigned int PoSetCmdPort(_ZP_ENUMITEMEX*, unsigned int) {
    return Unsupported();
}
unsigned int PoSetDefaultGw(_ZP_ENUMITEMEX*, unsigned int) {
    return Unsupported();
}
unsigned int PoWiFiEnumAccessPoints(_ZP_ENUMITEMEX*, _RSP_WIFISCAN_DATA*) {
    return Unsupported();
}
unsigned int PoWiFiSendCommand(_ZP_ENUMITEMEX*, unsigned int, void*) {
    return Unsupported();
}

}  // extern "C"
