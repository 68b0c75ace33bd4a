// The settings a camera holds, in the units of its commands.
#ifndef ZPCAM_SIM_SETTINGS_STATE_H
#define ZPCAM_SIM_SETTINGS_STATE_H

#include <cstdint>
#include <optional>

namespace zpsim {

struct SettingsState {
    std::uint16_t netPerf = 0;               // 0x89, first value
    std::uint8_t netSpeed = 0;               // 0x9E
    std::uint32_t wb[3] = {0, 0, 0};         // 0x12
    std::optional<std::uint16_t> areaWidth;  // 0x90, sensor pixels; identity geometry until set
    std::optional<std::uint16_t> areaHeight;
    std::uint16_t liveWidth = 0, liveHeight = 0;  // 0x8D
    std::uint8_t liveFlag = 0;
    std::optional<std::uint32_t> sessionLength;  // 0x0E; frames recorded so far until set
    std::uint32_t triggerPosition = 0;           // 0x04, frames after the trigger
    std::uint8_t rateCode = 1;                   // 0x06; 0: the rate below, frames per second
    std::uint32_t rate = 0;
    std::uint32_t postFrames = 0;
    std::uint16_t exposureUs[2] = {0, 0};           // 0x07 01 and 02
    std::uint8_t syncFunction = 0, syncOption = 0;  // 0x82
    std::uint16_t burst = 0;                        // 0x9B
    std::uint8_t trigFunction = 0;                  // 0x84
    std::uint32_t trigTimeUs = 0;
    std::uint16_t trigDelayMs = 0;                          // 0x5D
    std::uint16_t sensorWidth = 1504, sensorHeight = 1128;  // 0x9F
};

}  // namespace zpsim

#endif  // ZPCAM_SIM_SETTINGS_STATE_H
