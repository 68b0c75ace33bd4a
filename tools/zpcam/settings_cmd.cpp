// zpcam settings get|set: the camera's settings record to and from the text file.
#include <cstdio>
#include <string>
#include <vector>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"
#include "file_io.h"
#include "settings_file.h"

namespace zpcam {

namespace {

_CAMERA_SETTINGS ReadBack(const OpenCamera& camera) {
    _CAMERA_SETTINGS settings{};
    camera.Check(PoReadFlashMemoryBlocks(camera.Handle(), 0, 0, &settings), "reading the settings");
    return settings;
}

int RunGet(const std::string& cameraText, const std::string& output, const std::string& log) {
    const OpenCamera camera(ResolveCamera(cameraText), log);
    const _CAMERA_SETTINGS settings = ReadBack(camera);
    const auto& item = camera.Ref().item;
    const std::string text = SettingsToText(
        settings,
        {"zpcam settings of " + std::string(camera.Ref().discovered ? item.cameraName : item.ipText) +
         (camera.Ref().discovered ? " (serial " + std::to_string(item.serialNumber) + ")" : "")});
    if (output.empty() || output == "-") {
        std::fputs(text.c_str(), stdout);
    } else {
        WriteTextFile(output, text);
    }
    return kExitOk;
}

// The file is checked completely before any camera is touched. Only the fields that differ from the
// camera's current values are uploaded; when none differ nothing is sent.
int RunSet(const std::string& cameraText, const std::string& path, const std::string& log) {
    std::vector<SettingsAssignment> assignments;
    std::string error;
    if (!ParseSettingsText(ReadTextFile(path), path, assignments, error)) throw ToolError(kExitFile, error);
    const OpenCamera camera(ResolveCamera(cameraText), log);
    const _CAMERA_SETTINGS current = ReadBack(camera);
    _CAMERA_SETTINGS wanted = current;
    ApplySettings(assignments, wanted);
    const auto changes = DiffSettings(current, wanted);
    if (changes.empty()) {
        std::printf("%s: settings unchanged\n", camera.Ref().label.c_str());
        return kExitOk;
    }
    for (const auto& change : changes) {
        std::printf("%s: %s %s -> %s\n", camera.Ref().label.c_str(), change.field->name,
                    FormatValue(*change.field, change.from).c_str(),
                    FormatValue(*change.field, change.to).c_str());
    }
    camera.Check(PoWriteData(camera.Handle(), 0, &wanted, sizeof wanted), "uploading the settings");
    // The camera may round a value (exposure in microseconds, period to a rate): say so.
    const _CAMERA_SETTINGS after = ReadBack(camera);
    for (const auto& change : DiffSettings(wanted, after)) {
        if (change.field->member == &_CAMERA_SETTINGS::netPerform) continue;  // not reported back
        std::fprintf(stderr, "zpcam: %s: note: the camera reports %s = %s (file: %s)\n",
                     camera.Ref().label.c_str(), change.field->name,
                     FormatValue(*change.field, change.to).c_str(),
                     FormatValue(*change.field, change.from).c_str());
    }
    return kExitOk;
}

}  // namespace

void AddSettingsCommand(CLI::App& app, Action& action) {
    struct Options {
        std::string camera, file, output, log;
    };
    auto options = std::make_shared<Options>();
    CLI::App* settings = app.add_subcommand("settings", "read or write a camera's settings as a text file");
    settings->require_subcommand(1);
    settings->footer(
        "The file has one 'name = value' line per field of the settings record, in its units (ns, pixels, "
        "frames); '#' starts a comment. 'get' writes every field; 'set' accepts any subset.");

    CLI::App* get =
        settings->add_subcommand("get", "write the camera's current settings to a file or stdout");
    get->add_option("CAMERA", options->camera, "IPv4 address, serial number or camera name")->required();
    get->add_option("-o,--output", options->output, "file to write (default: standard output)")
        ->type_name("FILE");
    AddLogOption(*get, options->log);
    get->callback([options, &action] {
        action = [options] { return RunGet(options->camera, options->output, options->log); };
    });

    CLI::App* set = settings->add_subcommand("set", "upload the fields of a settings file that differ");
    set->add_option("CAMERA", options->camera, "IPv4 address, serial number or camera name")->required();
    set->add_option("FILE", options->file, "settings file")->required()->type_name("FILE");
    AddLogOption(*set, options->log);
    set->callback([options, &action] {
        action = [options] { return RunSet(options->camera, options->file, options->log); };
    });
}

}  // namespace zpcam
