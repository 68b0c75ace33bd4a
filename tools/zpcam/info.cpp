// zpcam info CAMERA: identity, versions, state, temperature, frame capacity and recorded range.
#include <cstdio>
#include <string>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"

namespace zpcam {

namespace {

void Row(const char* name, const std::string& value) {
    std::printf("%-16s %s\n", name, value.c_str());
}

std::string Format(const char* format, unsigned int a, unsigned int b = 0, unsigned int c = 0) {
    char text[128];
    std::snprintf(text, sizeof text, format, a, b, c);
    return text;
}

std::string StateText(unsigned int state) {
    if (state == 5 || state == 6) return Format("%u (replaying)", state);
    if (state == 0x11) return Format("%u (link lost)", state);
    return std::to_string(state);
}

int RunInfo(const std::string& cameraText, const std::string& log) {
    const OpenCamera camera(ResolveCamera(cameraText), log);
    const auto& item = camera.Ref().item;
    ZP_PORT_HANDLE port = camera.Handle();
    _VENDOR_INFO vendor{};
    camera.Check(PoGetVendorInfo(port, &vendor), "reading the vendor information");
    unsigned int status = 0, temperature = 0, capacity = 0, latest = 0;
    camera.Check(PoGetStatus(port, 0, &status), "reading the camera state");
    camera.Check(PoGetPortParameter(port, ZPP_BOARD_TEMP, &temperature), "reading the temperature");
    camera.Check(PoGetPortParameter(port, ZPP_FRAME_CAP, &capacity), "reading the frame capacity");
    camera.Check(PoGetLatestFrameIndex(port, &latest), "reading the recorded frame range");

    Row("camera",
        camera.Ref().discovered ? std::string(item.cameraName) + " at " + item.ipText : item.ipText);
    Row("serial", std::to_string(vendor.serialNumber));
    Row("type", Format("class %u, variant %u, type byte %u", vendor.classCode, vendor.variantCode,
                       vendor.cameraTypeByte));
    if (camera.Ref().discovered) {
        Row("firmware", Format("0x%08X, second controller 0x%08X", item.fwVersion, item.fwVersion2));
        Row("MAC", item.macText);
        Row("adapter", std::string(item.adapterIpText) + Format(" (MTU %u)", item.mtu));
    } else {
        Row("firmware", "unknown (opened by address; give the serial number or name to discover it)");
        Row("adapter", item.adapterIpText);
    }
    Row("state", StateText(status >> 16));
    Row("temperature", std::to_string(static_cast<int>(temperature)) + " C");
    Row("frame capacity", std::to_string(capacity) + " frames");
    Row("recorded frames", Format("0-%u (latest frame index %u)", latest, latest));
    return kExitOk;
}

}  // namespace

void AddInfoCommand(CLI::App& app, Action& action) {
    auto camera = std::make_shared<std::string>();
    auto log = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("info", "show a camera's identity, versions, state and recording");
    command->add_option("CAMERA", *camera, "IPv4 address, serial number or camera name")->required();
    AddLogOption(*command, *log);
    command->callback([camera, log, &action] { action = [camera, log] { return RunInfo(*camera, *log); }; });
}

}  // namespace zpcam
