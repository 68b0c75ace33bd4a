// Settings upload: the commands whose values changed since the last complete upload, or the
// short recording request.
#include <algorithm>
#include <cstring>

#include "twport/settings_lines.h"
#include "twport/tw_port_internal.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

bool SameGeometry(const _CAMERA_SETTINGS& s, const _CAMERA_SETTINGS& old) {
    return s.roiWidth == old.roiWidth && s.roiHeight == old.roiHeight && s.binning == old.binning;
}

bool SameRange(const _CAMERA_SETTINGS& s, const _CAMERA_SETTINGS& old) {
    return s.frames == old.frames && s.preTrigger == old.preTrigger;
}

}  // namespace

unsigned int CTWPort::WriteData2(void* data, unsigned int size) {
    if (size == 0) return 1;
    if (data == nullptr) return 0;
    if (size == 1) return RequestRecording(*static_cast<const _RECORDING_REQUEST*>(data));
    return UploadSettings(*static_cast<_CAMERA_SETTINGS*>(data));
}

unsigned int CTWPort::RequestRecording(const _RECORDING_REQUEST& request) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    m_dwState[kFirstFrameIndex] = kUnknownFirstFrame;
    if (request.mode == ZP_RECORD_MODE_NONE) return 1;
    const unsigned int frames = request.frames == 0 ? 1 : request.frames;
    if (Command(buffer, kCommandTimeoutUs, "#%02X0E%08X", a, frames) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X04%08X", a,
                TriggerPosition(request.frames, request.preTrigger)) != 1)
        return 0;
    m_byCameraState = 4;
    Command(buffer, kCommandTimeoutUs, "#%02X1B", a);
    if ((request.flags & ZP_RECORD_ARM_ONLY) == 0) Command(buffer, kCommandTimeoutUs, "#%02X74", a);
    return 1;
}

unsigned int CTWPort::UploadSettings(_CAMERA_SETTINGS& s) {
    _CAMERA_SETTINGS old;
    std::memcpy(&old, m_abySettings, sizeof old);
    if (!UploadLinkSettings(s, old)) return 0;
    const unsigned char state = m_byCameraState;
    if (state == 5 || state == 6) return 1;  // replay states: the record is not remembered
    if (!UploadAcquisition(s, old) || !UploadInputs(s, old)) return 0;
    std::memcpy(m_abySettings, &s, sizeof m_abySettings);
    m_dwLastLiveFrame = kUnknownWord;
    m_dwState[kDownloadWidth] = s.roiWidth * (s.binning + 1);
    m_dwState[kDownloadHeight] = s.roiHeight * (s.binning + 1);
    return 1;
}

// Network performance, network speed and white balance: also sent while the camera replays.
bool CTWPort::UploadLinkSettings(_CAMERA_SETTINGS& s, const _CAMERA_SETTINGS& old) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (s.netPerform != old.netPerform) {
        const unsigned int value = ClampNetPerform(s.netPerform);
        m_dwState[kNetPerfCurrent] = value;
        m_dwState[kNetPerfBase] = value;
        if (Command(buffer, kCommandTimeoutUs, "#%02X89%04X%04X0100", a, value, value) != 1) return false;
    }
    if (s.netSpeed != old.netSpeed) {
        if (Command(buffer, kCommandTimeoutUs, "#%02X9E%02X", a, s.netSpeed) != 1) return false;
        m_Trace.Trace(m_dwTraceChannel, 0, "Set net-speed = %d", static_cast<int>(s.netSpeed));
    }
    const bool sameWb = s.wbRed == old.wbRed && s.wbGreen == old.wbGreen && s.wbBlue == old.wbBlue;
    if (m_dwOptionFlag != 0 && !sameWb && s.wbRed != 0 && s.wbGreen != 0 && s.wbBlue != 0) {
        // The clamped values are written back so that the caller sees what the camera got.
        s.wbRed = std::min(s.wbRed, kWhiteBalanceMax);
        s.wbGreen = std::min(s.wbGreen, kWhiteBalanceMax);
        s.wbBlue = std::min(s.wbBlue, kWhiteBalanceMax);
        if (Command(buffer, kCommandTimeoutUs, "#%02X12%08X%08X%08X", a, s.wbRed, s.wbGreen, s.wbBlue) != 1)
            return false;
    }
    return true;
}

// Geometry, recording length and timing.
bool CTWPort::UploadAcquisition(const _CAMERA_SETTINGS& s, const _CAMERA_SETTINGS& old) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (!SameGeometry(s, old)) {
        const unsigned int w = (s.binning + 1) * s.roiWidth;
        const unsigned int h = (s.binning + 1) * s.roiHeight;
        if (Command(buffer, kCommandTimeoutUs, "#%02X90%04X%04X", a, w, h) != 1) return false;
        const char* suffix = m_dwCameraType == 12 ? "01" : "00";
        if (Command(buffer, kCommandTimeoutUs, "#%02X8D00000000%04X%04X%s", a, w, h, suffix) != 1)
            return false;
    }
    if (!SameRange(s, old)) {
        const unsigned int frames = s.frames == 0 ? 1 : s.frames;
        if (Command(buffer, kCommandTimeoutUs, "#%02X0E%08X", a, frames) != 1) return false;
        if (Command(buffer, kCommandTimeoutUs, "#%02X04%08X", a, TriggerPosition(s.frames, s.preTrigger)) !=
            1)
            return false;
    }
    if (s.period != old.period || s.exposure != old.exposure || !SameRange(s, old)) {
        const unsigned int post = PostTriggerFrames(s.frames, s.preTrigger);
        const std::string line = FrameRateLine(a, s.period, post, m_dwPortState[0]);
        if (Command(buffer, kCommandTimeoutUs, "%s", line.c_str()) != 1) return false;
        const unsigned int micros = ExposureMicros(s.period, s.exposure);
        if (Command(buffer, kCommandTimeoutUs, "#%02X0701%04X", a, micros) != 1) return false;
        if (Command(buffer, kCommandTimeoutUs, "#%02X0702%04X", a, micros) != 1) return false;
    }
    return true;
}

// Configurable input, burst, trigger input and trigger delay.
bool CTWPort::UploadInputs(const _CAMERA_SETTINGS& s, const _CAMERA_SETTINGS& old) {
    char buffer[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (s.syncInMode != old.syncInMode) {
        const std::string line = SyncInLine(a, s.syncInMode, s.syncInFlags);
        if (Command(buffer, kCommandTimeoutUs, "%s", line.c_str()) != 1) return false;
    }
    if (s.syncInMode == 2 && s.burstLength != old.burstLength) {
        if (Command(buffer, kCommandTimeoutUs, "#%02X9B%04X", a, s.burstLength & 0xFFFFu) != 1) return false;
    }
    if (s.trigInFlags != old.trigInFlags) {
        const std::string line = TrigInLine(a, s.trigInFlags, s.trigInTime);
        if (Command(buffer, kCommandTimeoutUs, "%s", line.c_str()) != 1) return false;
    }
    if (s.trigDelay != old.trigDelay) {
        if (Command(buffer, kCommandTimeoutUs, "#%02X5D%04X", a, s.trigDelay / 1000000) != 1) return false;
    }
    return true;
}
