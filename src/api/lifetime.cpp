// Exported calls around a port's life: link set-up, discovery, open and close, the error code,
// the outer lock and the trace log.
#include <zpport/TWPort.h>

#include "api/port_handle.h"

using zp::api::HandleOf;
using zp::api::kFailure;
using zp::api::kNullHandle;
using zp::api::kSuccess;
using zp::api::PortOf;

extern "C" {

unsigned int DllMain(void*, unsigned int, void*) {
    return 1;
}

unsigned int PoLinkInit(unsigned int adapterAddress) {
    CTWPort::LinkInit(adapterAddress, 0, nullptr);
    return kSuccess;
}

unsigned int PoLinkDeinit(void) {
    CTWPort::LinkDeinit();
    return kSuccess;
}

unsigned int PoEnumerate(_ZP_ENUMITEMEX* items, unsigned int* count, unsigned int option) {
    CTWPort port;
    port.Enumerate(items, count, option);
    return kSuccess;
}

unsigned int PoOpen(_ZP_ENUMITEMEX* item, ZP_PORT_HANDLE* out) {
    auto* port = new CTWPort();
    if (port->Open(item) != 0) {
        *out = HandleOf(port);
        return kSuccess;
    }
    // Deliberately freed: the failed open has stopped its listener, so nothing refers to the port.
    const unsigned int error = port->GetErrorCode();
    delete port;
    return error != 0 ? error : kFailure;
}

unsigned int PoClose(ZP_PORT_HANDLE handle) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    auto* twPort = static_cast<CTWPort*>(port);
    twPort->Close();  // returns once calls in progress on other threads have left the port
    delete twPort;
    return kSuccess;
}

unsigned int PoResetErrorCode(ZP_PORT_HANDLE handle) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    port->ResetErrorCode();
    return kSuccess;
}

unsigned int PoGetErrorCode(ZP_PORT_HANDLE handle, unsigned int* code) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    const unsigned int value = port->GetErrorCode();
    if (code != nullptr) *code = value;
    return kSuccess;
}

unsigned int PoLock(ZP_PORT_HANDLE handle, unsigned int timeout, unsigned int* result) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    const unsigned int value = port->Lock(timeout);
    if (result != nullptr) *result = value;
    return kSuccess;
}

unsigned int PoUnlock(ZP_PORT_HANDLE handle) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    port->Unlock();
    return kSuccess;
}

unsigned int PoEnablePortLog(ZP_PORT_HANDLE handle, unsigned int id, const char* name, unsigned int mode) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    port->EnableTrace(id, name, mode);
    return kSuccess;
}

}  // extern "C"
