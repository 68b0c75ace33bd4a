// zpcam: find, configure, record and download from cameras from the command line.
#include <cstdio>

#include "commands.h"
#include "exit_codes.h"

int main(int argc, char** argv) {
    CLI::App app(
        "zpcam: find, inspect, configure, record and download from TW cameras over Ethernet.\n"
        "CAMERA is an IPv4 address (opened directly) or a serial number or camera name (found by "
        "discovery).",
        "zpcam");
    app.footer(zpcam::ExitCodeHelp());
    app.require_subcommand(1);
    zpcam::Action action;
    zpcam::AddListCommand(app, action);
    zpcam::AddInfoCommand(app, action);
    zpcam::AddSettingsCommand(app, action);
    zpcam::AddSetIpCommand(app, action);
    zpcam::AddRecordCommand(app, action);
    zpcam::AddDownloadCommand(app, action);
    zpcam::AddLiveCommand(app, action);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int status = app.exit(e);
        return status == 0 ? zpcam::kExitOk : zpcam::kExitUsage;
    }
    try {
        return action ? action() : zpcam::kExitUsage;
    } catch (const zpcam::ToolError& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "zpcam: %s\n", e.what());
        return e.Code();
    }
}
