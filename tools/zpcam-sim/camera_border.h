// The 1024-byte border block the camera sends with every frame, in the camera's byte order
// (multi-byte fields big-endian). Pure function, no I/O.
#ifndef ZPCAM_SIM_CAMERA_BORDER_H
#define ZPCAM_SIM_CAMERA_BORDER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "camera_model.h"

namespace zpsim {

// Offsets inside the block.
constexpr std::size_t kBorderModelText = 0;
constexpr std::size_t kBorderSensorType = 8;    // 1 = colour, 2 = other
constexpr std::size_t kBorderFrameNumber = 30;  // 16 bits
constexpr std::size_t kBorderClock = 33;        // seconds, minutes, hours, day, month, year (BCD)
constexpr std::size_t kBorderTemperature = 123;
constexpr std::size_t kBorderCameraName = 128;  // 51 bytes, NUL-terminated
constexpr std::size_t kBorderSerial = 231;
constexpr std::size_t kBorderWidth = 235;
constexpr std::size_t kBorderHeight = 237;
constexpr std::size_t kBorderFormat = 288;  // 0 = uncompressed, 2 = JPEG
constexpr std::size_t kBorderWidth2 = 289;
constexpr std::size_t kBorderHeight2 = 291;
constexpr std::size_t kBorderToneApplied = 297;  // non-zero: no tone-table conversion on the host
constexpr std::size_t kBorderSubsampling = 299;  // 0 = 4:2:0, 1 = 4:2:2, 2 = 4:4:4
constexpr std::size_t kBorderJpegQuality = 301;  // 1..100, 0 = 75
constexpr std::size_t kBorderToneTable = 303;    // 256 x 16 bits
constexpr std::size_t kBorderFrameRate = 815;
constexpr std::size_t kBorderEndMarker = 1020;  // "EoBD"

struct FrameDescription {
    std::uint32_t frameIndex = 0;
    std::uint16_t width = 0, height = 0;
    bool colour = false;
    bool jpeg = false;
    std::uint16_t jpegQuality = 0;
    std::uint16_t chromaSubsampling = 0;
    bool toneApplied = true;
};

// Tone table entry k is (255 - k) << 2: a host that converts through it (entry >> 2) inverts the frame.
std::uint16_t ToneTableEntry(unsigned value);

// The block for one frame of `model`: identity fields (name, serial, temperature, frame rate, clock)
// and the frame's own fields.
std::string CameraBorder(const CameraModel& model, const FrameDescription& frame);

}  // namespace zpsim

#endif  // ZPCAM_SIM_CAMERA_BORDER_H
