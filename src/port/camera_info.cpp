// Camera information, name, session (attach, detach), status, trigger, reset and the 32-bit
// registers, each one exchange of the binary command frame; the hardware error codes.
#include <zpport/CamPort.h>

#include <cstring>

#include "port/frame.h"

using zp::frame::Command;
using zp::frame::Exchange;
using zp::frame::Response;
using zp::frame::Send;

namespace {

constexpr unsigned char kReadInfo = 2;
constexpr unsigned char kWriteInfo = 3;
constexpr unsigned char kAttach = 4;
constexpr unsigned char kDetach = 5;
constexpr unsigned char kStatus = 14;
constexpr unsigned char kTrigger = 15;
constexpr unsigned char kReset = 16;
constexpr unsigned char kReadLong = 204;
constexpr unsigned char kWriteLong = 205;

constexpr int kWriteInfoTimeoutUs = 5000000;
constexpr unsigned int kNameItem = 50;
constexpr std::size_t kNameResponse = 264;
constexpr std::size_t kNameRoom = 256;  // the caller's buffer
// Host-side register: holds the tone-filter mode word, never sent to the camera.
constexpr unsigned int kToneFilterRegister = 0x1111;

// Status bytes of a refused attach that set the port's error code, and the codes they set.
constexpr unsigned char kRefused2010 = 9;
constexpr unsigned char kRefused6 = 10;

}  // namespace

unsigned int CCamPort::ReadCameraInfo(unsigned int item, unsigned int* value1, unsigned int* value2) {
    Command command(kReadInfo, {item});
    Response response(16);
    if (!Exchange(*this, command, response)) return 0;
    if (value1 != nullptr) *value1 = response.WordAt(8);
    if (value2 != nullptr) *value2 = response.WordAt(12);
    return 1;
}

unsigned int CCamPort::WriteCameraInfo(unsigned int item, unsigned int value1, unsigned int value2) {
    return Send(*this, kWriteInfo, {item, value1, value2}, kWriteInfoTimeoutUs);
}

unsigned int CCamPort::ReadCameraName(char* name) {
    Command command(kReadInfo, {kNameItem});
    Response response(kNameResponse);
    if (!Exchange(*this, command, response)) return 0;
    const auto* text = reinterpret_cast<const char*>(response.Bytes(8));
    const std::size_t length = strnlen(text, kNameRoom - 1);
    std::memcpy(name, text, length);
    name[length] = '\0';
    return 1;
}

// A camera already attached (status 3 or 4 in the upper half) keeps the host's caches; any other
// attach starts them afresh.
unsigned int CCamPort::Attach() {
    Command command(kAttach, {});
    Response response(zp::frame::kHeaderSize);
    if (!Exchange(*this, command, response)) {
        if (response.Status() == kRefused2010) m_nErrorCode = 2010;
        if (response.Status() == kRefused6) m_nErrorCode = 6;
        return 0;
    }
    unsigned int status = 0;
    if (GetStatus2(&status) != 0 && ((status >> 16) == 3 || (status >> 16) == 4)) return 1;
    std::memset(m_abyRegisterShadow, 0xFF, sizeof(m_abyRegisterShadow));
    std::memset(m_dwColorMatrixCache, 0xFF, sizeof(m_dwColorMatrixCache));
    return 1;
}

unsigned int CCamPort::Detach() {
    return Send(*this, kDetach, {});
}

// The status is the second result word; the first is not used.
unsigned int CCamPort::GetCameraStatus(unsigned int& status) {
    Command command(kStatus, {});
    Response response(16);
    if (!Exchange(*this, command, response)) return 0;
    status = response.WordAt(12);
    return 1;
}

unsigned int CCamPort::Trigger() {
    return Send(*this, kTrigger, {});
}

unsigned int CCamPort::Reset() {
    return Send(*this, kReset, {});
}

// Writes pass through the register constraints while any are set.
unsigned int CCamPort::WriteLongRegister(unsigned int reg, unsigned int value) {
    if (reg == kToneFilterRegister) {
        m_dwDefaultOn = value;
        return 1;
    }
    if (!m_RegisterConstraints.empty()) value = ApplyRegisterConstraint(reg, value);
    return Send(*this, kWriteLong, {reg, value});
}

// A failed read yields 0 in the caller's word.
unsigned int CCamPort::ReadLongRegister(unsigned int reg, unsigned int* value) {
    Command command(kReadLong, {reg});
    Response response(12);
    const bool ok = Exchange(*this, command, response);
    if (value != nullptr) *value = ok ? response.WordAt(8) : 0;
    return ok ? 1 : 0;
}

unsigned int CCamPort::ConvertHwErrorCode(unsigned int code) {
    switch (code) {
        case 10000:
            return 4;
        case 10001:
            return 5;
        case 10002:
            return 6;
        default:
            return 0;
    }
}
