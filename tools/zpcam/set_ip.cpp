// zpcam set-ip CAMERA NEW-ADDRESS[/PREFIX]: the camera's own address words.
#include <cstdio>
#include <string>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"

namespace zpcam {

namespace {

// "a.b.c.d" or "a.b.c.d/n"; without a prefix the mask stays as it is.
void ParseNewAddress(const std::string& text, std::uint32_t& address, bool& hasMask, std::uint32_t& mask) {
    const auto slash = text.find('/');
    hasMask = slash != std::string::npos;
    const std::string prefixText = hasMask ? text.substr(slash + 1) : "";
    const bool prefixOk = !hasMask || (!prefixText.empty() && prefixText.size() <= 2 &&
                                       prefixText.find_first_not_of("0123456789") == std::string::npos &&
                                       std::stoi(prefixText) <= 32);
    if (!ParseAddress(text.substr(0, slash), address) || address == 0 || !prefixOk)
        throw ToolError(kExitUsage,
                        "NEW-ADDRESS " + text + ": expected an IPv4 address, optionally with /PREFIX");
    const int prefix = hasMask ? std::stoi(prefixText) : 0;
    mask = prefix == 0 ? 0 : ~std::uint32_t{0} << (32 - prefix);
}

int RunSetIp(const std::string& cameraText, const std::string& newAddress) {
    std::uint32_t address = 0, mask = 0;
    bool hasMask = false;
    ParseNewAddress(newAddress, address, hasMask, mask);
    CameraRef ref = ResolveCamera(cameraText);
    std::uint32_t oldAddress = 0, oldMask = 0;
    if (PoGetIpAddress(&ref.item, &oldAddress, &oldMask) != 0)
        throw ToolError(kExitCamera, ref.label + ": reading the address words failed: " + PortErrorText(0));
    if (!hasMask) mask = oldMask;
    if (PoSetIpAddress(&ref.item, address, mask) != 0)
        throw ToolError(kExitCamera, ref.label + ": setting the address failed: " + PortErrorText(0));
    std::uint32_t nowAddress = 0, nowMask = 0;
    if (PoGetIpAddress(&ref.item, &nowAddress, &nowMask) != 0 || nowAddress != address || nowMask != mask)
        throw ToolError(kExitCamera, ref.label + ": the camera reports " + AddressText(nowAddress) +
                                         " mask " + AddressText(nowMask) + " after setting " +
                                         AddressText(address));
    std::printf("%s: address %s mask %s (was %s mask %s)\n", ref.label.c_str(), AddressText(address).c_str(),
                AddressText(mask).c_str(), AddressText(oldAddress).c_str(), AddressText(oldMask).c_str());
    return kExitOk;
}

}  // namespace

void AddSetIpCommand(CLI::App& app, Action& action) {
    struct Options {
        std::string camera, address, log;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("set-ip", "store a new IPv4 address (and mask) in a camera");
    command->add_option("CAMERA", options->camera, "IPv4 address, serial number or camera name")->required();
    command->add_option("NEW-ADDRESS", options->address, "new address, optionally with /PREFIX for the mask")
        ->required();
    AddLogOption(*command, options->log);
    command->footer("The address is set through a temporary port, so --log writes no trace here.\n");
    command->callback(
        [options, &action] { action = [options] { return RunSetIp(options->camera, options->address); }; });
}

}  // namespace zpcam
