// The run-time control channel: text lines that change faults and state of running cameras.
//   [@<camera ip>] silent on|off | result <code> <result>|off | drop <n> | delay <ms> | clear
//   [@<camera ip>] state <hex> | arm | playback | frames <n> | ping
//   [@<camera ip>] announce <text>|fill <n>   (sends that datagram as an announcement)
//   [@<camera ip>] image <command>   (image side and segment-train faults, see image_state.h):
//       drop <seq> | loss <share> | reorder <seq> | shuffle <share> | duplicate <seq> | truncate <k> |
//       oversize | overlong | info-first | fail <n> | clear | colour on|off | quality <0..100> |
//       subsampling <0..2> | tone on|off
// Lines without "@ip" apply to every camera. Answer: "OK" or "ERR <reason>".
#include <sstream>

#include "udp_server.h"

namespace zpsim {

namespace {

std::string ApplyToCamera(SimCamera& camera, const std::string& command) {
    std::istringstream in(command);
    std::string verb;
    std::string argument;
    std::string extra;
    in >> verb >> argument >> extra;
    CameraModel& model = camera.model;
    if (verb == "announce" && !argument.empty()) {
        std::string text = command.substr(command.find("announce") + 9);
        return camera.announcer.AnnounceRaw(RawDatagram(text)) ? std::string() : "announcements are off";
    }
    if (verb == "image") {
        return ApplyImageCommand(model.image, command.substr(command.find("image") + 5));
    }
    if (verb == "ping" && argument.empty()) {
        return {};
    }
    if (verb == "state" && extra.empty()) {
        auto state = ParseHex(argument);
        if (!state || argument.size() > 2) {
            return "usage: state <hex byte>";
        }
        model.ForceState(static_cast<std::uint8_t>(*state));
        return {};
    }
    if (verb == "arm" && argument.empty()) {
        return model.Arm() ? std::string() : "cannot arm in state " + Hex2(model.State());
    }
    if (verb == "playback" && argument.empty()) {
        return model.StartPlayback() ? std::string() : "no recording to play back";
    }
    if (verb == "frames" && extra.empty()) {
        auto count = ParseDecimal(argument);
        if (!count) {
            return "usage: frames <number>";
        }
        model.AddFrames(*count);
        return {};
    }
    return camera.faults.Apply(command);
}

}  // namespace

std::string ExecuteControl(std::vector<SimCamera>& cameras, const std::string& line) {
    std::string command = line;
    std::string target;
    if (!command.empty() && command.front() == '@') {
        auto space = command.find(' ');
        target = command.substr(1, space == std::string::npos ? std::string::npos : space - 1);
        command = space == std::string::npos ? std::string() : command.substr(space + 1);
    }
    bool matched = false;
    for (auto& camera : cameras) {
        if (!target.empty() && camera.model.Identity().ip != target) {
            continue;
        }
        matched = true;
        std::string error = ApplyToCamera(camera, command);
        if (!error.empty()) {
            return "ERR " + error;
        }
    }
    return matched ? "OK" : "ERR no camera " + target;
}

}  // namespace zpsim
