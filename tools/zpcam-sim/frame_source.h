// The camera's pictures: a deterministic frame generator and the recording it plays back. No I/O.
#ifndef ZPCAM_SIM_FRAME_SOURCE_H
#define ZPCAM_SIM_FRAME_SOURCE_H

#include <cstdint>
#include <optional>
#include <string>

namespace zpsim {

// Frame `frameIndex` as `components` (1: grey, 3: R, G, B interleaved) bytes per pixel, rows top to
// bottom: a smooth diagonal pattern that moves with the frame index, with the index drawn in large
// digits near the top left corner, so a wrong frame or a shifted segment shows. Same input, same bytes.
void RenderFrame(std::uint32_t frameIndex, std::uint16_t width, std::uint16_t height, unsigned components,
                 std::uint8_t* out);

// What an uncompressed download carries: one byte per pixel; for a colour sensor the R, G, B frame
// sampled through an RGGB Bayer mosaic (even rows R G R G..., odd rows G B G B...).
std::string RenderRawFrame(std::uint32_t frameIndex, std::uint16_t width, std::uint16_t height, bool colour);

// The recording: frames first..last (both included) as the frame-range query reports them.
// Returns the index if `frameIndex` is in it.
std::optional<std::uint32_t> RecordedFrame(std::uint32_t firstFrame, std::uint32_t lastFrame,
                                           std::uint32_t frameIndex);

}  // namespace zpsim

#endif  // ZPCAM_SIM_FRAME_SOURCE_H
