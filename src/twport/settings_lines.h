// Command lines of the settings upload and the values read from the camera's answers. Pure
// functions: no socket, no port state.
#ifndef ZP_TWPORT_SETTINGS_LINES_H
#define ZP_TWPORT_SETTINGS_LINES_H

#include <cstdint>
#include <string>

namespace zptw {

constexpr std::uint32_t kWhiteBalanceMax = 262080;
constexpr std::uint32_t kNewFrameRateFirmware = 0x40300FF;  // above: rates instead of rate codes
constexpr std::uint32_t kLongPostFirmware = 0x3060502;      // from here: eight-digit post-trigger count

std::uint32_t ClampNetPerform(std::uint32_t value);
// Frames per second of a period in ns, rounded, then down to a multiple of 5; 0 for a period of 0.
std::uint32_t RateFromPeriod(std::uint32_t periodNs);
std::uint32_t RateCode(std::uint32_t rate);
// Frames after the trigger: frames - 1 - preTrigger, never below 0.
std::uint32_t TriggerPosition(std::uint32_t frames, std::uint32_t preTrigger);
// The same count as the frame-rate command computes it, in unsigned arithmetic.
std::uint32_t PostTriggerFrames(std::uint32_t frames, std::uint32_t preTrigger);
// Exposure in microseconds, cut to period - 3000 ns, low 16 bits.
std::uint16_t ExposureMicros(std::uint32_t periodNs, std::uint32_t exposureNs);

// Lines without the final "\r\n" (the command link appends it).
std::string FrameRateLine(unsigned int address, std::uint32_t periodNs, std::uint32_t post,
                          std::uint32_t firmware);
std::string SyncInLine(unsigned int address, std::uint32_t mode, std::uint32_t flags);
std::string TrigInLine(unsigned int address, std::uint32_t flags, std::uint32_t timeNs);

// Read-back.
std::uint32_t PeriodFromRateCode(unsigned int code, std::uint32_t rateField);
void SensorSizeForType(unsigned int cameraType, std::uint32_t& width, std::uint32_t& height);
std::uint32_t SyncInModeFromFunction(unsigned int function);
std::uint32_t SyncInFlagsFrom(unsigned int function, unsigned int option, std::uint32_t preTrigger);
std::uint32_t TrigInFlagsFrom(unsigned int function);

}  // namespace zptw

#endif  // ZP_TWPORT_SETTINGS_LINES_H
