// zpcam record CAMERA...: arm every camera, optionally trigger them, and optionally wait until each
// holds its recording. The cameras are armed one after another first, so that they are all ready
// before the first trigger.
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"
#include "interrupt.h"
#include "zpport/CameraSettings.h"

namespace zpcam {

namespace {

constexpr unsigned int kStateIdle = 1;
constexpr unsigned int kStateStored = 4;
constexpr unsigned int kStateLinkLost = 0x11;
constexpr auto kPollInterval = std::chrono::milliseconds(100);

struct RecordOptions {
    std::vector<std::string> cameras;
    unsigned int frames = 0, preTrigger = 0;
    bool trigger = false, wait = false;
    std::string log;
};

// Polls the camera state until the recording is stored.
void WaitForRecording(const OpenCamera& camera) {
    for (;;) {
        unsigned int status = 0;
        camera.Check(PoGetStatus(camera.Handle(), 0, &status), "reading the camera state");
        const unsigned int state = status >> 16;
        if (state == kStateStored) return;
        if (state == kStateLinkLost || state == kStateIdle)
            throw ToolError(kExitCamera, camera.Ref().label + ": waiting for the recording failed: " +
                                             (state == kStateIdle ? "the camera went idle without a recording"
                                                                  : "the camera reports its link lost"));
        if (Interrupted())
            throw ToolError(kExitInterrupted,
                            camera.Ref().label + ": interrupted while waiting for the recording");
        std::this_thread::sleep_for(kPollInterval);
    }
}

int RunRecord(const RecordOptions& o) {
    if (o.frames == 0) throw ToolError(kExitUsage, "--frames must be at least 1");
    if (o.preTrigger >= o.frames)
        throw ToolError(kExitUsage, "--pre-trigger " + std::to_string(o.preTrigger) +
                                        " leaves no frame after the trigger of " + std::to_string(o.frames));
    CatchInterrupt();
    std::vector<std::unique_ptr<OpenCamera>> cameras;
    for (const auto& text : o.cameras)
        cameras.push_back(std::make_unique<OpenCamera>(ResolveCamera(text), o.log));
    for (const auto& camera : cameras) {
        // Arm only: the record command is the trigger, sent below when asked for.
        _RECORDING_REQUEST request = {o.frames, o.preTrigger, ZP_RECORD_ARM_ONLY, 0};
        camera->Check(PoWriteData(camera->Handle(), 0, &request, 1), "arming");
        std::printf("%s: armed for %u frames (%u before the trigger)\n", camera->Ref().label.c_str(),
                    o.frames, o.preTrigger);
    }
    if (o.trigger) {
        for (const auto& camera : cameras) {
            camera->Check(PoTrigger(camera->Handle()), "triggering");
            std::printf("%s: triggered\n", camera->Ref().label.c_str());
        }
    }
    std::fflush(stdout);
    if (!o.wait) return kExitOk;
    for (const auto& camera : cameras) {
        WaitForRecording(*camera);
        unsigned int latest = 0;
        camera->Check(PoGetLatestFrameIndex(camera->Handle(), &latest), "reading the recorded frame range");
        std::printf("%s: recording complete, frames 0-%u\n", camera->Ref().label.c_str(), latest);
        std::fflush(stdout);
    }
    return kExitOk;
}

}  // namespace

void AddRecordCommand(CLI::App& app, Action& action) {
    auto o = std::make_shared<RecordOptions>();
    CLI::App* command =
        app.add_subcommand("record", "arm cameras, optionally trigger, and wait for the recording");
    command->add_option("CAMERA", o->cameras, "IPv4 address, serial number or camera name (one or more)")
        ->required();
    command->add_option("--frames", o->frames, "frames to record")->required()->type_name("N");
    command
        ->add_option("--pre-trigger", o->preTrigger,
                     "frames of those recorded before the trigger (default 0)")
        ->type_name("M");
    command->add_flag("--trigger", o->trigger, "trigger every camera once all are armed");
    command->add_flag("--wait", o->wait, "wait until every camera holds its recording");
    AddLogOption(*command, o->log);
    command->callback([o, &action] { action = [o] { return RunRecord(*o); }; });
}

}  // namespace zpcam
