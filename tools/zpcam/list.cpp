// zpcam list: the cameras that answer discovery, as a table or as JSON.
#include <cstdio>
#include <string>
#include <vector>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"

namespace zpcam {

namespace {

std::string Hex(unsigned int value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

std::string JsonString(const char* text) {
    std::string out = "\"";
    for (const char* p = text; *p != '\0'; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

void PrintTable(const std::vector<_ZP_ENUMITEMEX>& cameras) {
    std::printf("%-20s %10s  %-15s  %-17s  %4s  %-10s  %-15s  %5s\n", "NAME", "SERIAL", "IP", "MAC", "TYPE",
                "FIRMWARE", "ADAPTER", "MTU");
    for (const auto& c : cameras) {
        std::printf("%-20s %10u  %-15s  %-17s  %4u  %-10s  %-15s  %5u\n", c.cameraName, c.serialNumber,
                    c.ipText, c.macText, c.cameraType, Hex(c.fwVersion).c_str(), c.adapterIpText, c.mtu);
    }
    std::printf("%zu camera(s)\n", cameras.size());
}

void PrintJson(const std::vector<_ZP_ENUMITEMEX>& cameras) {
    std::printf("[");
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const auto& c = cameras[i];
        std::printf(
            "%s\n  {\"name\": %s, \"serial\": %u, \"ip\": %s, \"mac\": %s, \"cameraType\": %u, "
            "\"model\": %u, \"firmware\": \"%s\", \"firmware2\": \"%s\", \"adapter\": %s, "
            "\"adapterMac\": %s, \"mtu\": %u}",
            i == 0 ? "" : ",", JsonString(c.cameraName).c_str(), c.serialNumber, JsonString(c.ipText).c_str(),
            JsonString(c.macText).c_str(), c.cameraType, c.modelNumber, Hex(c.fwVersion).c_str(),
            Hex(c.fwVersion2).c_str(), JsonString(c.adapterIpText).c_str(),
            JsonString(c.adapterMacText).c_str(), c.mtu);
    }
    std::printf("%s]\n", cameras.empty() ? "" : "\n");
}

}  // namespace

void AddListCommand(CLI::App& app, Action& action) {
    struct Options {
        std::string adapter;
        bool json = false;
        std::string log;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("list", "discover the cameras on the network and list them");
    command->add_option("--adapter", options->adapter,
                        "search only through the adapter with this IPv4 address");
    command->add_flag("--json", options->json, "print the list as JSON");
    AddLogOption(*command, options->log);
    command->footer("The discovery runs on a temporary port, so --log writes no trace here.\n");
    command->callback([options, &action] {
        action = [options] {
            std::uint32_t adapter = 0;
            if (!options->adapter.empty() && !ParseAddress(options->adapter, adapter))
                throw ToolError(kExitUsage, "--adapter " + options->adapter + ": not an IPv4 address");
            const auto cameras = DiscoverCameras(adapter);
            options->json ? PrintJson(cameras) : PrintTable(cameras);
            return kExitOk;
        };
    });
}

}  // namespace zpcam
