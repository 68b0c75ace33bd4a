// Exported calls with rules of their own: argument selection, the flash result mapping and the
// image reads that hand back the operation's own result.
#include "api/port_handle.h"

using zp::api::CallInProgress;
using zp::api::Forward;
using zp::api::kFailure;
using zp::api::kNullHandle;
using zp::api::kSuccess;
using zp::api::PortOf;

namespace {

constexpr unsigned int kFlashStatus129 = 129;
constexpr unsigned int kFlashStatus130 = 130;

}  // namespace

extern "C" {

unsigned int PoWriteData(ZP_PORT_HANDLE handle, int which, void* data, unsigned int size) {
    return Forward(handle, [&](CCamPort& p) {
        return which != 0 ? p.WriteData1(data, size) : p.WriteData2(data, size);
    });
}

unsigned int PoPrepareForRead(ZP_PORT_HANDLE handle, int which, int value) {
    return Forward(handle,
                   [&](CCamPort& p) { return which != 0 ? p.PrepareForRead(value) : p.PrepareForRead(); });
}

// The 8-bit status is stored zero-extended whether or not the operation succeeded.
unsigned int PoGetStatus(ZP_PORT_HANDLE handle, int which, unsigned int* status) {
    return Forward(handle, [&](CCamPort& p) {
        if (which == 0) return p.GetStatus2(status);
        unsigned char shortStatus = 0;
        const unsigned int result = p.GetStatus1(&shortStatus);
        if (status != nullptr) *status = shortStatus;
        return result;
    });
}

unsigned int PoWriteQR52Register(ZP_PORT_HANDLE handle, int value) {
    const auto shortValue = static_cast<unsigned short>(value);
    return Forward(handle, [&](CCamPort& p) { return p.WriteQR52Register(shortValue); });
}

unsigned int PoReadFlashMemoryBlocks(ZP_PORT_HANDLE handle, unsigned int first, unsigned int count,
                                     void* buffer) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    const CallInProgress call(port);
    if (!call.Admitted()) return kFailure;
    switch (port->ReadFlashMemoryBlocks(first, count, buffer)) {
        case 1:
            return kSuccess;
        case kFlashStatus129:
            return ZP_PO_FLASH_129;
        case kFlashStatus130:
            return ZP_PO_FLASH_130;
        default:
            return kFailure;
    }
}

// Writing flash blocks is not offered to hosts: nothing is sent.
unsigned int PoWriteFlashMemoryBlocks(ZP_PORT_HANDLE handle, unsigned int, unsigned int, void*) {
    return handle == nullptr ? kNullHandle : kSuccess;
}

unsigned int PoOpenFlashMemory(ZP_PORT_HANDLE handle, unsigned int mode, unsigned int second) {
    return Forward(handle, [&](CCamPort& p) { return p.OpenFlashMemory(mode, second); });
}

unsigned int PoCloseFlashMemory(ZP_PORT_HANDLE handle) {
    return Forward(handle, [](CCamPort& p) { return p.CloseFlashMemory(); });
}

unsigned int PoReadFlashMemorySize(ZP_PORT_HANDLE handle, unsigned int* megabytes) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadFlashMemorySize(megabytes); });
}

// Kept for applications written against it: the operation's own result, 1 success, 0 failure.
unsigned int PoPreReadImage(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    const CallInProgress call(port);
    if (!call.Admitted()) return 0;  // the operation's own failure value
    return port->PreReadImage(a, b, c);
}

// Kept for applications written against it: the operation's own result, 1 success, 0 failure.
unsigned int PoReadImage(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                         unsigned char* buffer, unsigned int size, int d, unsigned int e, unsigned int* f) {
    CCamPort* port = PortOf(handle);
    if (port == nullptr) return kNullHandle;
    const CallInProgress call(port);
    if (!call.Admitted()) return 0;  // the operation's own failure value
    return port->ReadImage(a, b, c, buffer, size, d, e, f);
}

}  // extern "C"
