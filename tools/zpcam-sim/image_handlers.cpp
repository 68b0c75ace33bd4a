// Image requests: answered from the camera's recording and live source with segment trains.
// The two image requests (0x88, 0x8C) get a normal reply on the command link, which hosts ignore,
// and their train on the data port they name. Live frames are always JPEG frames.
// Trains go out in one burst, unpaced: a receiver with the port library's socket buffer takes a whole
// 1504 x 1128 raw train on loopback without loss (measured: 50 of 50 frames at 220 MB/s; with a
// 208 KB buffer only 14 of 50), so the rate limit (0x89) is stored but not applied.
#include <vector>

#include "camera_border.h"
#include "frame_source.h"
#include "handlers.h"
#include "jpeg_body.h"

namespace zpsim {

namespace {

HandlerResult DownloadFormat(CameraModel& model, const Command& command) {
    if (command.args != "00" && command.args != "04") {
        return Bad();
    }
    model.image.jpeg = command.args == "04";
    return Ok();
}

// "00000000WWWWHHHHxx": the size of downloaded frames; xx 00 or 01.
HandlerResult DownloadSize(CameraModel& model, const Command& command) {
    auto v = HexFields(command.args, {8, 4, 4, 2});
    if (!v || (*v)[0] != 0 || (*v)[1] == 0 || (*v)[2] == 0 || (*v)[3] > 1) {
        return Bad();
    }
    model.image.width = static_cast<std::uint16_t>((*v)[1]);
    model.image.height = static_cast<std::uint16_t>((*v)[2]);
    return Ok();
}

FrameDescription Describe(const CameraModel& model, std::uint32_t frameIndex, bool jpeg, bool live) {
    const ImageSideState& image = model.image;
    const SettingsState& settings = model.settings;
    FrameDescription frame;
    frame.frameIndex = frameIndex;
    frame.width = image.width != 0 ? image.width : settings.areaWidth.value_or(model.Identity().width);
    frame.height = image.height != 0 ? image.height : settings.areaHeight.value_or(model.Identity().height);
    if (live && settings.liveWidth != 0 && settings.liveHeight != 0) {
        frame.width = settings.liveWidth;
        frame.height = settings.liveHeight;
    }
    frame.colour = image.colour;
    frame.jpeg = jpeg;
    frame.jpegQuality = image.jpegQuality;
    frame.chromaSubsampling = image.chromaSubsampling;
    frame.toneApplied = image.toneApplied;
    return frame;
}

// The bytes the camera sends for a frame: raw pixels or the JPEG body. The last one is kept, so
// repeated requests for one frame cost no rendering.
const std::string& Payload(ImageSideState& image, const FrameDescription& frame) {
    const std::string key = std::to_string(frame.frameIndex) + "/" + std::to_string(frame.width) + "x" +
                            std::to_string(frame.height) + "/" + std::to_string(frame.colour) +
                            std::to_string(frame.jpeg) + "/" + std::to_string(frame.jpegQuality) + "/" +
                            std::to_string(frame.chromaSubsampling);
    if (key == image.cachedKey) {
        return image.cachedPayload;
    }
    if (frame.jpeg) {
        const unsigned components = frame.colour ? 3 : 1;
        std::vector<std::uint8_t> pixels(std::size_t(frame.width) * frame.height * components);
        RenderFrame(frame.frameIndex, frame.width, frame.height, components, pixels.data());
        image.cachedPayload = JpegBody(pixels.data(), frame.width, frame.height, components,
                                       frame.jpegQuality, frame.chromaSubsampling);
    } else {
        image.cachedPayload = RenderRawFrame(frame.frameIndex, frame.width, frame.height, frame.colour);
    }
    image.cachedKey = key;
    return image.cachedPayload;
}

HandlerResult SendFrame(CameraModel& model, const FrameDescription& frame, std::uint16_t port) {
    const std::string& payload = Payload(model.image, frame);
    const TrainFaults faults = model.image.NextTrainFaults();
    HandlerResult result = Ok();
    result.train = DataTrain{
        port, BuildSegmentTrain(payload, CameraBorder(model, frame), SegmentSizeFor(model.settings.netSpeed),
                                faults, model.image.trainsSent)};
    return result;
}

// "FFFFFFFFPPPP": frame index of the recording and data port.
HandlerResult DownloadRequest(CameraModel& model, const Command& command) {
    auto v = HexFields(command.args, {8, 4});
    if (!v || (*v)[1] == 0) {
        return Bad();
    }
    const CameraIdentity& identity = model.Identity();
    if (!RecordedFrame(identity.firstFrame, identity.lastFrame, (*v)[0])) {
        return Bad();
    }
    return SendFrame(model, Describe(model, (*v)[0], model.image.jpeg, false),
                     static_cast<std::uint16_t>((*v)[1]));
}

// "01PPPP": one live frame to the data port.
HandlerResult LiveRequest(CameraModel& model, const Command& command) {
    auto v = HexFields(command.args, {2, 4});
    if (!v || (*v)[0] != 1 || (*v)[1] == 0) {
        return Bad();
    }
    return SendFrame(model, Describe(model, model.image.liveFrames++, true, true),
                     static_cast<std::uint16_t>((*v)[1]));
}

}  // namespace

void RegisterImageHandlers(HandlerTable& table) {
    table.Register(0x87, DownloadFormat);
    table.Register(0x9C, DownloadSize);
    table.Register(0x88, DownloadRequest);
    table.Register(0x8C, LiveRequest);
}

}  // namespace zpsim
