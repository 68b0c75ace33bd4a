// Settings read-back: the camera's current settings queried into a settings record.
#include <cstring>

#include "twport/settings_lines.h"
#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

// Fixed words the binary upload expects in a record read from the camera.
struct FixedWord {
    std::size_t offset;
    std::uint32_t value;
};
constexpr FixedWord kFixedWords[] = {{384, 1}, {448, 10}, {556, 25}, {560, 10}, {564, 180}, {568, 10},
                                     {716, 1}, {720, 0},  {800, 64}, {812, 0},  {816, 25},  {888, 0}};

void SetWord(_CAMERA_SETTINGS& s, std::size_t offset, std::uint32_t value) {
    std::memcpy(reinterpret_cast<unsigned char*>(&s) + offset, &value, sizeof value);
}

}  // namespace

unsigned int CTWPort::ReadFlashMemoryBlocks(unsigned int, unsigned int, void* buffer) {
    if (buffer == nullptr) return 0;
    auto& s = *static_cast<_CAMERA_SETTINGS*>(buffer);
    std::memset(&s, 0, sizeof s);
    s.recordLength = sizeof s;
    char r[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    // Each answer must be accepted and long enough for the fields read from it.
    auto ask = [&](const char* code, std::size_t length) {
        if (Command(r, kCommandTimeoutUs, "#%02X%s", a, code) != 1) return false;
        if (std::strlen(r) >= length) return true;
        m_Trace.Trace(m_dwTraceChannel, 0, "Short answer to command %s", code);
        return false;
    };
    if (!ask("90", 15)) return 0;
    s.roiWidth = hex2s(r + 7);
    s.roiHeight = hex2s(r + 11);
    s.pixelCount = s.roiWidth * s.roiHeight;
    if (Command(r, kCommandTimeoutUs, "#%02X9F", a) != 1) return 0;
    if (std::strlen(r) >= 17) {  // longer than 14 and holding both fields
        s.sensorWidth = hex2s(r + 9);
        s.sensorHeight = hex2s(r + 13);
    } else {
        SensorSizeForType(m_dwCameraType, s.sensorWidth, s.sensorHeight);
    }
    if (!ask("48", 9)) return 0;
    const bool colour = hex2c(r + 7) == 1;
    s.colorFormat = colour ? 2 : 0;
    s.bitsPerPixel = colour ? 24 : 8;
    if (!ask("0702", 13)) return 0;
    s.exposure = hex2s(r + 9) * 1000u;
    s.exposureCopy = s.exposure;
    if (!ask("06", 9)) return 0;
    const unsigned int code = hex2c(r + 7);
    if (code == 0 && std::strlen(r) < 17) return 0;
    s.period = PeriodFromRateCode(code, code == 0 ? hex2i(r + 9) : 0);
    s.periodCopy = s.period;
    if (!ask("40", 9)) return 0;
    s.cameraState = hex2c(r + 7);
    if (!ask("0E", 15)) return 0;
    s.frames = hex2i(r + 7);
    if (!ask("04", 15)) return 0;
    s.preTrigger = s.frames - 1 - hex2i(r + 7);
    if (!ask("9B", 11)) return 0;
    s.burstLength = hex2s(r + 7) == 0 ? 1 : hex2s(r + 7);
    if (!ask("82", 11)) return 0;
    const unsigned int function = hex2c(r + 7);
    s.syncInMode = SyncInModeFromFunction(function);
    s.syncInFlags = SyncInFlagsFrom(function, hex2c(r + 9), s.preTrigger);
    if (!ask("84", 17)) return 0;
    s.trigInFlags = TrigInFlagsFrom(hex2c(r + 7));
    s.trigInTime = hex2i(r + 9) * 1000u;
    if (!ask("5D", 11)) return 0;
    s.trigDelay = hex2s(r + 7) * 1000000u;
    if (m_dwOptionFlag != 0) {
        if (!ask("12", 31)) return 0;
        s.wbRed = hex2i(r + 7);
        s.wbGreen = hex2i(r + 15);
        s.wbBlue = hex2i(r + 23);
    }
    // A camera without the fast network port does not answer; that is not an error.
    s.netSpeed = ask("9E", 9) ? hex2c(r + 7) : 0;
    m_Trace.Trace(m_dwTraceChannel, 0, "Get net-speed = %d", static_cast<int>(s.netSpeed));
    for (const auto& word : kFixedWords) SetWord(s, word.offset, word.value);
    return 1;
}
