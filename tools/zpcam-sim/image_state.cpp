#include "image_state.h"

#include <cstdlib>
#include <sstream>

#include "protocol.h"

namespace zpsim {

namespace {

bool ParseShare(const std::string& text, double& share) {
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    share = std::strtod(text.c_str(), &end);
    return *end == '\0' && share >= 0.0 && share <= 1.0;
}

bool ParseOnOff(const std::string& text, bool& value) {
    if (text != "on" && text != "off") {
        return false;
    }
    value = text == "on";
    return true;
}

std::string ApplyNumber(ImageSideState& state, const std::string& verb, std::uint32_t n) {
    TrainFaults& faults = state.faults;
    if (verb == "drop" && n > 0) {
        faults.dropSegment = n;
    } else if (verb == "reorder" && n > 0) {
        faults.reorderSegment = n;
    } else if (verb == "duplicate" && n > 0) {
        faults.duplicateSegment = n;
    } else if (verb == "truncate") {
        faults.truncateAfter = n;
    } else if (verb == "fail" && n > 0) {
        state.faultTrains = n;
    } else if (verb == "quality" && n <= 100) {
        state.jpegQuality = static_cast<std::uint16_t>(n);
    } else if (verb == "subsampling" && n <= 2) {
        state.chromaSubsampling = static_cast<std::uint16_t>(n);
    } else {
        return "bad value for image " + verb;
    }
    return {};
}

std::string ApplyFlag(ImageSideState& state, const std::string& verb) {
    if (verb == "oversize") {
        state.faults.oversize = true;
    } else if (verb == "overlong") {
        state.faults.overlong = true;
    } else if (verb == "info-first") {
        state.faults.infoFirst = true;
    } else if (verb == "clear") {
        state.faults = TrainFaults{};
        state.faultTrains = 0;
    } else {
        return "unknown image command " + verb;
    }
    return {};
}

}  // namespace

TrainFaults ImageSideState::NextTrainFaults() {
    ++trainsSent;
    if (faultTrains == 0) {
        return faults;
    }
    TrainFaults now = faults;
    if (--faultTrains == 0) {
        faults = TrainFaults{};
    }
    return now;
}

std::string ApplyImageCommand(ImageSideState& state, const std::string& command) {
    std::istringstream in(command);
    std::string verb, argument, extra;
    in >> verb >> argument >> extra;
    if (!extra.empty()) {
        return "too many arguments for image " + verb;
    }
    if (argument.empty()) {
        return ApplyFlag(state, verb);
    }
    double share = 0.0;
    if (verb == "loss" || verb == "shuffle") {
        if (!ParseShare(argument, share)) {
            return "usage: image " + verb + " <share 0..1>";
        }
        (verb == "loss" ? state.faults.dropShare : state.faults.reorderShare) = share;
        return {};
    }
    if (verb == "colour" || verb == "tone") {
        return ParseOnOff(argument, verb == "colour" ? state.colour : state.toneApplied)
                   ? std::string()
                   : "usage: image " + verb + " on|off";
    }
    auto n = ParseDecimal(argument);
    return n ? ApplyNumber(state, verb, *n) : "bad number for image " + verb + ": " + argument;
}

}  // namespace zpsim
