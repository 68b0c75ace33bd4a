// Acquisition, playback, timing, calibration, clock, temperature and debug commands over the
// binary command frame.
#include <zpport/CamPort.h>

#include <cstring>

#include "port/frame.h"

using zp::frame::Command;
using zp::frame::Exchange;
using zp::frame::Response;
using zp::frame::Send;

namespace {

constexpr unsigned char kStartGrab = 11;
constexpr unsigned char kStopGrab = 12;
constexpr unsigned char kTriggerPos = 13;
constexpr unsigned char kReadToVideo = 30;
constexpr unsigned char kPlayBack = 32;
constexpr unsigned char kPlayBackStatus = 33;
constexpr unsigned char kGetTime = 35;
constexpr unsigned char kTemperature = 39;
constexpr unsigned char kDebug = 202;
constexpr unsigned char kPrepare = 207;
constexpr unsigned char kTiming = 211;
constexpr unsigned char kCurrCalib = 212;
constexpr unsigned char kPllPhase = 215;

constexpr std::size_t kTimingBytes = 40;
constexpr std::size_t kCalibWords = 384;
constexpr std::uint16_t kCalibLength = 1560;
constexpr std::size_t kCalibLastWord = 387;  // byte 1556: b, after the table

constexpr unsigned int kDebugMaxLength = 1024;
constexpr std::uint16_t kDebugLength = 1044;
constexpr std::size_t kDebugResponse = 1040;
constexpr int kDebugTimeoutUs = 6000000;
constexpr int kDebugLongTimeoutUs = 20000000;  // codes 0x100..0x1FF
constexpr unsigned int kDebugFromWord8 = 0x600;

constexpr unsigned int kClockFirstParameter = 84;
constexpr unsigned int kClockSecondParameter = 85;
constexpr unsigned int kClockInfoItem = 5;

// ReadToVideo sends the three words of the 12-byte block instead of zeros while the video mode
// word (the first of the four anonymous words) is 3 and the signed state word (the second) is
// negative.
constexpr int kVideoModeWord = 0;
constexpr int kVideoStateWord = 1;
constexpr unsigned int kVideoMode = 3;

}  // namespace

unsigned int CCamPort::ReadToVideo(unsigned int a, unsigned int b, unsigned int c) {
    Command command(kReadToVideo, {a, b, c, 0, 0, 0});
    if (m_dwWords[kVideoModeWord] == kVideoMode && static_cast<int>(m_dwWords[kVideoStateWord]) < 0) {
        command.SetBytes(20, m_abyBlock12, sizeof(m_abyBlock12));
    }
    return Send(*this, command);
}

// Firmware 146 to 148 take the fourth word one higher.
unsigned int CCamPort::StartGrab(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                 unsigned int e) {
    if (m_dwPendingPrepare != 0) {
        Send(*this, kPrepare, {0});  // its answer does not matter
        m_dwPendingPrepare = 0;
    }
    const unsigned int firmware = m_dwPortState[zp::frame::kFirmwareVersionWord];
    if (firmware >= 146 && firmware <= 148) ++d;
    return Send(*this, kStartGrab, {a, b, c, d, e});
}

unsigned int CCamPort::StopGrab(unsigned int* value) {
    Command command(kStopGrab, {});
    Response response(12);
    if (!Exchange(*this, command, response)) return 0;
    if (value != nullptr) *value = response.WordAt(8);
    return 1;
}

unsigned int CCamPort::GetTriggerPos(unsigned int* first, unsigned int* second) {
    Command command(kTriggerPos, {});
    Response response(20);
    if (!Exchange(*this, command, response)) return 0;
    if (first != nullptr) *first = response.WordAt(8);
    if (second != nullptr) *second = response.WordAt(16);
    return 1;
}

// The clock words go out as parameters 84 and 85; the camera's information item 5 then applies
// them (its answer is not used).
unsigned int CCamPort::WriteClockSpeed(unsigned int first, unsigned int second, unsigned int* result) {
    if (SendParameter(kClockFirstParameter, first) == 0) return 0;
    if (SendParameter(kClockSecondParameter, second) == 0) return 0;
    unsigned int scratch = 0;
    ReadCameraInfo(kClockInfoItem, result, &scratch);
    return 1;
}

// Codes 0x100..0x1FF may run long on the camera; code 0x600 answers from byte 8, the others
// from byte 16.
unsigned int CCamPort::Debug(unsigned int code, unsigned int length, void* buffer) {
    if (length > kDebugMaxLength) return 0;
    Command command(kDebug, {code, 0, 0});
    command.SetBytes(20, buffer, length);
    command.SetLength(kDebugLength);
    Response response(kDebugResponse);
    const int timeout = code >= 0x100 && code <= 0x1FF ? kDebugLongTimeoutUs : kDebugTimeoutUs;
    if (!Exchange(*this, command, response, timeout)) return 0;
    std::memcpy(buffer, response.Bytes(code == kDebugFromWord8 ? 8 : 16), length);
    return 1;
}

// The frame carries a, c, d, the 384-word table and then b: the camera expects b last.
unsigned int CCamPort::WriteCurrCalib(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                      void* table) {
    Command command(kCurrCalib, {a, c, d});
    command.SetBytes(20, table, 4 * kCalibWords);
    command.SetWord(kCalibLastWord, b);
    command.SetLength(kCalibLength);
    return Send(*this, command);
}

// The seventh word repeats e, except that e and f both 0 send 1.
unsigned int CCamPort::PlayBackVideo(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                     unsigned int e, unsigned int f) {
    const unsigned int seventh = e == 0 && f == 0 ? 1 : e;
    return Send(*this, kPlayBack, {a, b, c, d, e, f, seventh});
}

unsigned int CCamPort::PlayBackVideoStatus(unsigned int* state, unsigned char* flag1, unsigned char* flag2) {
    Command command(kPlayBackStatus, {});
    Response response(40);
    if (!Exchange(*this, command, response)) return 0;
    if (state != nullptr) *state = response.WordAt(32);
    if (flag1 != nullptr) *flag1 = *response.Bytes(36);
    if (flag2 != nullptr) *flag2 = *response.Bytes(37);
    return 1;
}

unsigned int CCamPort::SetPllPhase(unsigned int a, unsigned int b) {
    return Send(*this, kPllPhase, {a, b});
}

// The first 40 bytes of the timing block as they are; the transport's own result is returned.
unsigned int CCamPort::SendTiming(void* timing) {
    Command command(kTiming, {});
    command.SetBytes(8, timing, kTimingBytes);
    command.SetLength(8 + kTimingBytes);
    Response response(zp::frame::kHeaderSize);
    return SendCmdAndGetRsp(command.Header(), response.Header(), response.Size(), zp::frame::kTimeoutUs, 0,
                            0);
}

// Clock and temperature count only with the camera's status byte 0.
unsigned int CCamPort::GetTime(unsigned int* a, int* b, unsigned int* c, int* d, unsigned int* e) {
    Command command(kGetTime, {});
    Response response(28);
    if (!Exchange(*this, command, response) || response.Status() != 0) return 0;
    if (a != nullptr) *a = response.WordAt(8);
    if (b != nullptr) *b = static_cast<int>(response.WordAt(12));
    if (c != nullptr) *c = response.WordAt(16);
    if (d != nullptr) *d = static_cast<int>(response.WordAt(20));
    if (e != nullptr) *e = response.WordAt(24);
    return 1;
}

// Each reading is two bytes, hundreds and units: 23, 45 is 2345.
unsigned int CCamPort::ReadTemperature(unsigned int* first, unsigned int* second) {
    Command command(kTemperature, {});
    Response response(12);
    if (!Exchange(*this, command, response) || response.Status() != 0) return 0;
    const unsigned char* bytes = response.Bytes(8);
    if (first != nullptr) *first = bytes[0] * 100u + bytes[1];
    if (second != nullptr) *second = bytes[2] * 100u + bytes[3];
    return 1;
}
