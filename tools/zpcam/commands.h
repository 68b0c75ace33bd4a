// The subcommands. Each Add... function registers one with its options; when the command line
// selects it, its action is stored in `action` and main() runs it after parsing.
#ifndef ZPCAM_COMMANDS_H
#define ZPCAM_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace zpcam {

using Action = std::function<int()>;

void AddListCommand(CLI::App& app, Action& action);
void AddInfoCommand(CLI::App& app, Action& action);
void AddSettingsCommand(CLI::App& app, Action& action);
void AddSetIpCommand(CLI::App& app, Action& action);
void AddRecordCommand(CLI::App& app, Action& action);
void AddDownloadCommand(CLI::App& app, Action& action);
void AddLiveCommand(CLI::App& app, Action& action);

// --log FILE: the port trace of every camera the subcommand opens.
inline void AddLogOption(CLI::App& command, std::string& path) {
    command
        .add_option("--log", path,
                    "write the port trace of each opened camera; the library adds the port number "
                    "to the name (trace.log -> trace_0000008193.log)")
        ->type_name("FILE");
}

}  // namespace zpcam

#endif  // ZPCAM_COMMANDS_H
