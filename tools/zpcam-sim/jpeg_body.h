// The camera's JPEG encoder: baseline JPEG with the library's default tables, and the body the
// camera sends (the stream without its header, which the host rebuilds). No I/O.
//
// Parameters as the border record carries them: quality 1..100 (0 stands for 75, above 100 acts as
// 100); chroma subsampling of colour frames 0 = 4:2:0, 1 = 4:2:2, 2 = 4:4:4 (others act as 0).
// Encoder settings: jpeg_set_defaults, jpeg_set_quality(quality, TRUE), standard Huffman tables
// (no optimisation), no restart markers, JFIF APP0, JDCT_ISLOW; colour input is R, G, B interleaved.
#ifndef ZPCAM_SIM_JPEG_BODY_H
#define ZPCAM_SIM_JPEG_BODY_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zpsim {

// The complete stream for `pixels` (components 1 or 3 bytes per pixel, rows top to bottom);
// empty for bad arguments or when the encoder fails.
std::string EncodeJpeg(const std::uint8_t* pixels, std::uint16_t width, std::uint16_t height,
                       unsigned components, unsigned quality, unsigned subsampling);

// Offset of the first byte after the scan header (SOS) of a stream; nothing when the marker
// segments up to the first SOS are not well formed.
std::optional<std::size_t> ScanDataOffset(std::string_view jpeg);

// The body of the stream: the entropy-coded data and the EOI marker; empty on failure.
std::string JpegBody(const std::uint8_t* pixels, std::uint16_t width, std::uint16_t height,
                     unsigned components, unsigned quality, unsigned subsampling);

}  // namespace zpsim

#endif  // ZPCAM_SIM_JPEG_BODY_H
