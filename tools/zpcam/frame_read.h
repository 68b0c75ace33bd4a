// Frames through PoReadData, shared by download and live: the read flags of the request words, the
// frame size the settings give, the border record of the last frame, and the length word in front
// of a JPEG stream.
#ifndef ZPCAM_FRAME_READ_H
#define ZPCAM_FRAME_READ_H

#include <cstddef>
#include <cstdint>

#include "camera_ref.h"
#include "zpport/BorderData.h"

namespace zpcam {

// readFlags, the third request word of PoReadData.
constexpr unsigned int kReadUncompressed = 0x01, kReadBorderOnly = 0x02, kReadJpegStream = 0x04;

// Pixels of one frame as the camera's settings describe it (binning included); throws a camera error.
std::size_t ReadFramePixels(const OpenCamera& camera);
// The border record of the frame read last; throws a camera error.
BORDER_DATA ReadBorder(const OpenCamera& camera);
// The length word that a JPEG-stream read puts in front of the stream.
std::uint32_t StreamLength(const unsigned char* buffer);
// One line on standard error when the system caps the image data socket's receive buffer below
// what the port asks (the port's trace says the same once per port).
void HintCappedReceiveBuffer();

}  // namespace zpcam

#endif  // ZPCAM_FRAME_READ_H
