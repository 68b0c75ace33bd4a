// zpcam-sim: plays one or more cameras on UDP port 1027 of the given IPv4 addresses.
#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "config.h"
#include "udp_server.h"

namespace {

volatile std::sig_atomic_t g_stop = 0;

void OnSignal(int) {
    g_stop = 1;
}

void InstallSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

const char* const kIdentityKeys[] = {"address",        "model", "option",  "serial",    "firmware",
                                     "firmware2",      "name",  "ip-word", "mask-word", "temperature",
                                     "frame-capacity", "width", "height",  "period",    "first-frame",
                                     "last-frame",     "state"};

struct Options {
    std::vector<std::string> ips;
    std::string configPath;
    std::map<std::string, std::string> identity;
    std::vector<std::string> results;  // "code=result", hexadecimal
    zpsim::ServerOptions server;
    zpsim::FaultConfig faults;
    std::vector<std::string> image;  // "image" control commands applied to every camera at start
};

// Cameras from the config file, then one per --ip; with neither, one camera on 127.0.0.1.
std::string BuildCameras(const Options& options, std::vector<zpsim::SimCamera>& cameras) {
    zpsim::CameraIdentity defaults;
    std::vector<zpsim::CameraIdentity> identities;
    if (!options.configPath.empty()) {
        std::string error = zpsim::LoadConfigFile(options.configPath, defaults, identities);
        if (!error.empty()) {
            return error;
        }
    }
    for (const auto& [key, value] : options.identity) {
        std::string error = zpsim::ApplyIdentityKey(defaults, key, value);
        if (!error.empty()) {
            return "--" + key + ": " + error;
        }
    }
    std::vector<std::string> ips = options.ips;
    if (ips.empty() && identities.empty()) {
        ips.push_back(defaults.ip);
    }
    for (std::size_t i = 0; i < ips.size(); ++i) {
        zpsim::CameraIdentity identity = defaults;
        std::string error = zpsim::ApplyIdentityKey(identity, "ip", ips[i]);
        if (!error.empty()) {
            return error;
        }
        identity.address = static_cast<std::uint8_t>(defaults.address + i);
        identity.serial = defaults.serial + static_cast<std::uint32_t>(i);
        identities.push_back(identity);
    }
    for (const auto& identity : identities) {
        cameras.emplace_back(identity, options.faults);
    }
    return {};
}

std::string ApplyImageOptions(const std::vector<std::string>& commands,
                              std::vector<zpsim::SimCamera>& cameras) {
    for (const auto& command : commands) {
        for (auto& camera : cameras) {
            std::string error = zpsim::ApplyImageCommand(camera.model.image, command);
            if (!error.empty()) {
                return "--image " + command + ": " + error;
            }
        }
    }
    return {};
}

std::string ParseResultOverrides(const std::vector<std::string>& overrides, zpsim::FaultConfig& faults) {
    zpsim::FaultInjector injector(faults);
    for (const auto& text : overrides) {
        auto equals = text.find('=');
        std::string error =
            equals == std::string::npos
                ? "expected code=result"
                : injector.Apply("result " + text.substr(0, equals) + " " + text.substr(equals + 1));
        if (!error.empty()) {
            return "--result " + text + ": " + error;
        }
    }
    faults = injector.Config();
    return {};
}

void AddOptions(CLI::App& app, Options& options) {
    app.add_option("--ip", options.ips,
                   "IPv4 address of a camera (repeat for several; address byte and serial number count up)");
    app.add_option("--config", options.configPath, "key=value file with [camera] sections");
    for (const char* key : kIdentityKeys) {
        app.add_option(std::string("--") + key, options.identity[key], std::string("camera ") + key);
    }
    app.add_option("--log", options.server.logPath, "log every received line to this file ('-': stdout)");
    app.add_option("--announce-to", options.server.announce.unicastHost, "send announcements to this host");
    app.add_flag("--multicast", options.server.announce.multicast, "send announcements to the group (TTL 0)");
    app.add_option("--announce-port", options.server.announce.port, "announcement port");
    app.add_option("--multicast-ttl", options.server.announce.multicastTtl,
                   "TTL of multicast announcements (default 0: this host only)")
        ->check(CLI::Range(0, 1));
    app.add_flag(
        "--no-discovery", [&options](std::int64_t) { options.server.discovery.enabled = false; },
        "do not answer discovery broadcasts");
    app.add_option("--binary-type", options.server.discovery.binaryType,
                   "answer the binary discovery request with this camera type (default 0: no answer)");
    app.add_option("--binary-model", options.server.discovery.binaryModel, "model value of binary answers");
    app.add_option("--discovery-spread", options.server.discovery.spreadMs,
                   "the i-th camera (from 0) answers discovery i x this many ms after the request");
    app.add_option("--command-port", options.server.commandPort, "command port");
    app.add_option_function<unsigned int>(
        "--record-time",
        [&options](unsigned int ms) { options.server.recordTime = std::chrono::milliseconds(ms); },
        "a triggered recording completes after this many ms, holding the frames set by 0x0E (default 0: "
        "only when stopped)");
    app.add_option("--control-port", options.server.controlPort, "control channel port on the first camera");
    app.add_flag("--silent", options.faults.silent, "never answer");
    app.add_option("--result", options.results, "answer a command with a result code: CC=RR (hex)");
    app.add_option("--drop", options.faults.dropEvery, "drop every Nth reply");
    app.add_option("--delay", options.faults.delayMs, "delay every reply by this many ms");
    app.add_option("--image", options.image,
                   "image side, as the control verb 'image ...' (repeat): drop <seq>, loss <share>, "
                   "reorder <seq>, shuffle <share>, duplicate <seq>, truncate <k>, oversize, overlong, "
                   "info-first, fail <n>, clear, colour on|off, quality <q>, subsampling <0..2>, "
                   "tone on|off");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Camera simulator: answers the port library's commands"};
    app.footer(
        "Identity options apply to the cameras made by --ip; each [camera] section of the config file\n"
        "starts from the keys above its first section. Control channel lines: see control.cpp.");
    Options options;
    AddOptions(app, options);
    CLI11_PARSE(app, argc, argv);
    for (auto it = options.identity.begin(); it != options.identity.end();) {
        it = app.count("--" + it->first) == 0 ? options.identity.erase(it) : std::next(it);
    }
    std::vector<zpsim::SimCamera> cameras;
    std::string error = ParseResultOverrides(options.results, options.faults);
    if (error.empty()) {
        error = BuildCameras(options, cameras);
    }
    if (error.empty()) {
        error = ApplyImageOptions(options.image, cameras);
    }
    if (!error.empty()) {
        std::fprintf(stderr, "zpcam-sim: %s\n", error.c_str());
        return 2;
    }
    InstallSignalHandlers();
    zpsim::UdpServer server(std::move(cameras), options.server);
    error = server.Open();
    if (!error.empty()) {
        std::fprintf(stderr, "zpcam-sim: %s\n", error.c_str());
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    server.Run(g_stop);
    return 0;
}
