#include "frame_read.h"

#include <cstring>

#include "zpport/CameraSettings.h"

namespace zpcam {

std::size_t ReadFramePixels(const OpenCamera& camera) {
    _CAMERA_SETTINGS settings{};
    camera.Check(PoReadFlashMemoryBlocks(camera.Handle(), 0, 0, &settings), "reading the settings");
    const std::size_t factor = settings.binning + 1;
    return std::size_t{settings.roiWidth} * factor * settings.roiHeight * factor;
}

BORDER_DATA ReadBorder(const OpenCamera& camera) {
    BORDER_DATA border{};
    const unsigned int request[3] = {0, 0, kReadBorderOnly};
    std::memcpy(&border, request, sizeof request);
    camera.Check(PoReadData(camera.Handle(), &border, sizeof border), "reading the border record");
    return border;
}

std::uint32_t StreamLength(const unsigned char* buffer) {
    std::uint32_t length = 0;
    std::memcpy(&length, buffer, sizeof length);
    return length;
}

}  // namespace zpcam
