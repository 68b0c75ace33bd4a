#include "twport/settings_lines.h"

#include <algorithm>
#include <cstdio>

namespace zptw {

namespace {

std::string Format(const char* format, unsigned int a, std::uint32_t b = 0, std::uint32_t c = 0,
                   std::uint32_t d = 0, std::uint32_t e = 0) {
    char line[64];
    std::snprintf(line, sizeof line, format, a, b, c, d, e);
    return line;
}

}  // namespace

std::uint32_t ClampNetPerform(std::uint32_t value) {
    return std::clamp<std::uint32_t>(value, 100, 65535);
}

std::uint32_t RateFromPeriod(std::uint32_t periodNs) {
    if (periodNs == 0) return 0;
    const auto rate = static_cast<std::uint32_t>(1e9 / periodNs + 0.5);
    return rate - rate % 5;
}

std::uint32_t RateCode(std::uint32_t rate) {
    static const std::uint32_t kUpper[] = {39,   79,   159,   399,   749,   1499, 2499,
                                           3999, 7499, 14999, 24999, 39999, 74999};
    std::uint32_t code = 1;
    for (std::uint32_t upper : kUpper) {
        if (rate <= upper) return code;
        ++code;
    }
    return 14;
}

std::uint32_t TriggerPosition(std::uint32_t frames, std::uint32_t preTrigger) {
    const std::int64_t position =
        static_cast<std::int64_t>(static_cast<std::int32_t>(frames - 1 - preTrigger));
    return position < 0 ? 0 : static_cast<std::uint32_t>(position);
}

std::uint32_t PostTriggerFrames(std::uint32_t frames, std::uint32_t preTrigger) {
    return frames - 1 >= preTrigger ? frames - 1 - preTrigger : 0;
}

std::uint16_t ExposureMicros(std::uint32_t periodNs, std::uint32_t exposureNs) {
    const std::uint64_t limit = static_cast<std::uint64_t>(exposureNs) + 3000;
    const std::uint32_t ns = periodNs < limit ? periodNs - 3000 : exposureNs;
    return static_cast<std::uint16_t>((ns / 1000) & 0xFFFFu);
}

std::string FrameRateLine(unsigned int address, std::uint32_t periodNs, std::uint32_t post,
                          std::uint32_t firmware) {
    const std::uint32_t rate = RateFromPeriod(periodNs);
    if (firmware > kNewFrameRateFirmware)
        return Format("#%02X0600%08X%08X%08X%08X", address, rate, rate, rate, post);
    const std::uint32_t code = RateCode(rate);
    if (firmware < kLongPostFirmware)
        return Format("#%02X06%02X%02X%02X%04X", address, code, code, code, post);
    return Format("#%02X06%02X%02X%02X%08X", address, code, code, code, post);
}

std::string SyncInLine(unsigned int address, std::uint32_t mode, std::uint32_t flags) {
    if (mode <= 1) {
        if ((flags & 0x01u) == 0) return Format("#%02X820000", address);
        return Format((flags & 0x04u) != 0 ? "#%02X820102" : "#%02X820101", address);
    }
    const std::uint32_t function = mode == 2 ? 3 : mode == 3 ? 2 : 0;
    return Format((flags & 0x04u) != 0 ? "#%02X82%02X02" : "#%02X82%02X01", address, function);
}

std::string TrigInLine(unsigned int address, std::uint32_t flags, std::uint32_t timeNs) {
    const char* format = (flags & 0x01u) == 0   ? "#%02X8400%08X"
                         : (flags & 0x04u) != 0 ? "#%02X8402%08X"
                                                : "#%02X8401%08X";
    return Format(format, address, std::min<std::uint32_t>(timeNs / 1000, 500000));
}

std::uint32_t PeriodFromRateCode(unsigned int code, std::uint32_t rateField) {
    static const std::uint32_t kPeriods[] = {0,       33333333, 16666666, 8000000, 4000000,
                                             2000000, 1000000,  500000,   333333,  200000,
                                             100000,  50000,    33333,    20000,   10000};
    if (code == 0) {
        const float rate = static_cast<float>(rateField);
        // A rate of 0 would divide by zero; the camera never reports it, keep the default.
        return rate > 0 ? static_cast<std::uint32_t>(1e9 / rate) : kPeriods[1];
    }
    return code < sizeof kPeriods / sizeof kPeriods[0] ? kPeriods[code] : kPeriods[1];
}

void SensorSizeForType(unsigned int cameraType, std::uint32_t& width, std::uint32_t& height) {
    width = cameraType == 13 || cameraType == 14 ? 752 : 1504;
    height = cameraType == 14 ? 564 : 1128;
}

std::uint32_t SyncInModeFromFunction(unsigned int function) {
    return function == 2 ? 3 : function == 3 ? 2 : function;
}

std::uint32_t SyncInFlagsFrom(unsigned int function, unsigned int option, std::uint32_t preTrigger) {
    std::uint32_t flags = 0;
    if (function == 1) flags |= 0x01u;
    if (option == 2) flags |= 0x04u;
    if (preTrigger > 1) flags |= 0x60u;
    return flags;
}

std::uint32_t TrigInFlagsFrom(unsigned int function) {
    return function == 2 ? 0x05u : function == 1 ? 0x01u : 0;
}

}  // namespace zptw
