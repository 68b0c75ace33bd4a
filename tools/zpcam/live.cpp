// zpcam live CAMERA: one or N live frames to files, as PNG (the port decodes the camera's JPEG
// stream to grey or RGB pixels) or as the JPEG stream itself.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "camera_ref.h"
#include "commands.h"
#include "exit_codes.h"
#include "file_io.h"
#include "frame_read.h"
#include "hue_option.h"
#include "interrupt.h"
#include "png_file.h"
#include "sequence_files.h"
#include "zpport/BorderData.h"

namespace zpcam {

namespace {

constexpr unsigned int kLiveFrame = 1;
constexpr unsigned int kColourSensor = 1;
// Live frames may be sized apart from the recording: room for at least 2048 x 2048 RGB.
constexpr std::size_t kMinLivePixels = 2048u * 2048u;
constexpr std::size_t kHeaderRoom = 65536;

struct LiveOptions {
    std::string camera, dir = ".", format = "png", log;
    unsigned int count = 1;
    HueOption hue;
};

int RunLive(LiveOptions& o) {
    if (o.count == 0) throw ToolError(kExitUsage, "-n must be at least 1");
    o.hue.RequirePng(o.format);
    o.hue.Prepare();
    RequireWritableFolder(o.dir);
    CatchInterrupt();
    HintCappedReceiveBuffer();
    const OpenCamera camera(ResolveCamera(o.camera), o.log);
    ZP_PORT_HANDLE port = camera.Handle();
    const std::size_t pixels = ReadFramePixels(camera);
    const bool jpeg = o.format == "jpeg";
    std::vector<unsigned char> buffer(std::max(pixels, kMinLivePixels) * 3 + kHeaderRoom);
    const std::string base = o.dir + "/" + FilePrefix(camera.Ref()) + "_live_";
    for (unsigned int n = 0; n < o.count; ++n) {
        if (Interrupted()) throw ToolError(kExitInterrupted, camera.Ref().label + ": interrupted");
        const unsigned int request[3] = {kLiveFrame, 0, jpeg ? kReadJpegStream : 0};
        std::memcpy(buffer.data(), request, sizeof request);
        camera.Check(PoReadData(port, buffer.data(), static_cast<unsigned int>(buffer.size())),
                     "reading live frame " + std::to_string(n));
        const BORDER_DATA border = ReadBorder(camera);
        const std::string path = base + Padded(n, 4) + (jpeg ? ".jpg" : ".png");
        if (jpeg) {
            const std::uint32_t length = StreamLength(buffer.data());
            if (length > buffer.size() - sizeof length)
                throw ToolError(kExitCamera,
                                camera.Ref().label + ": the JPEG stream is longer than the buffer");
            WriteBinaryFile(path, buffer.data() + sizeof length, length);
        } else {
            const unsigned int components = border.SensorType == kColourSensor ? 3 : 1;
            if (std::size_t{border.Width2} * border.Height2 * components > buffer.size())
                throw ToolError(kExitCamera,
                                camera.Ref().label + ": the live frame is larger than the buffer");
            o.hue.RequireRgb(camera.Ref().label, components);
            if (o.hue.Given()) o.hue.Apply(buffer.data(), std::size_t{border.Width2} * border.Height2);
            WritePngFile(path, buffer.data(), border.Width2, border.Height2, components);
        }
        std::printf("%s\n", path.c_str());
    }
    return kExitOk;
}

}  // namespace

void AddLiveCommand(CLI::App& app, Action& action) {
    auto o = std::make_shared<LiveOptions>();
    CLI::App* command = app.add_subcommand("live", "save one or more live frames to files");
    command->add_option("CAMERA", o->camera, "IPv4 address, serial number or camera name")->required();
    command->add_option("-n,--count", o->count, "number of frames (default 1)");
    command
        ->add_option("--format", o->format,
                     "png: the decoded pixels, 8-bit grey or RGB; jpeg: the camera's JPEG stream")
        ->check(CLI::IsMember({"png", "jpeg"}))
        ->default_str("png");
    command->add_option("-o,--output", o->dir, "folder for the files (default: the current folder)")
        ->type_name("DIR");
    o->hue.Add(*command);
    AddLogOption(*command, o->log);
    command->footer(
        "Files: NAME_live_NNNN.png or .jpg, printed as they are written.\n"
        "--hue and --saturation apply to a colour camera's RGB frames (png only); grey\n"
        "frames are refused.\n\n" +
        std::string(ExitCodeHelp()));
    command->callback([o, &action] { action = [o] { return RunLive(*o); }; });
}

}  // namespace zpcam
