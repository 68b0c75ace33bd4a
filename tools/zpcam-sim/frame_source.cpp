#include "frame_source.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace zpsim {

namespace {

// 3 x 5 digit glyphs, one row per entry, bit 2 = left column.
constexpr std::array<std::array<std::uint8_t, 5>, 10> kGlyphs = {{
    {7, 5, 5, 5, 7},
    {2, 6, 2, 2, 7},
    {7, 1, 7, 4, 7},
    {7, 1, 7, 1, 7},
    {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7},
    {7, 4, 7, 5, 7},
    {7, 1, 1, 1, 1},
    {7, 5, 7, 5, 7},
    {7, 5, 7, 1, 7},
}};

// A triangle wave with period 512: smooth everywhere, so JPEG frames stay close to their source.
std::uint8_t Triangle(std::uint32_t position) {
    std::uint32_t t = position % 512;
    return static_cast<std::uint8_t>(t < 256 ? t : 511 - t);
}

void FillPattern(std::uint32_t frame, std::uint16_t width, std::uint16_t height, unsigned components,
                 std::uint8_t* out) {
    if (components == 1) {
        // Every grey row is the same wave shifted by one per row: copied from one period and a row.
        std::vector<std::uint8_t> wave(512 + std::size_t{width});
        for (std::uint32_t i = 0; i < wave.size(); ++i) wave[i] = Triangle(i);
        for (std::uint32_t y = 0; y < height; ++y)
            std::copy_n(wave.begin() + (y + 4 * frame) % 512, width,
                        out + static_cast<std::size_t>(y) * width);
        return;
    }
    for (std::uint32_t y = 0; y < height; ++y) {
        std::uint8_t* row = out + static_cast<std::size_t>(y) * width * components;
        for (std::uint32_t x = 0; x < width; ++x) {
            std::uint8_t* pixel = row + static_cast<std::size_t>(x) * 3;
            pixel[0] = Triangle(x + 4 * frame);
            pixel[1] = Triangle(y + 2 * frame);
            pixel[2] = Triangle((x + y) / 2 + 3 * frame);
        }
    }
}

// Inverts the pixels under the digits of `frame`, drawn from the top left corner at a scale that
// grows with the frame size.
void DrawNumber(std::uint32_t frame, std::uint16_t width, std::uint16_t height, unsigned components,
                std::uint8_t* out) {
    const std::uint32_t scale = std::max<std::uint32_t>(1, std::min(width, height) / 40);
    const std::string digits = std::to_string(frame);
    for (std::size_t d = 0; d < digits.size(); ++d) {
        const auto& glyph = kGlyphs[static_cast<std::size_t>(digits[d] - '0')];
        const std::uint32_t left = scale + static_cast<std::uint32_t>(d) * 4 * scale;
        for (std::uint32_t y = scale; y < std::min<std::uint32_t>(height, 6 * scale); ++y) {
            const std::uint8_t bits = glyph[(y - scale) / scale];
            for (std::uint32_t x = left; x < std::min<std::uint32_t>(width, left + 3 * scale); ++x) {
                if ((bits >> (2 - (x - left) / scale) & 1) == 0) {
                    continue;
                }
                std::uint8_t* pixel = out + (static_cast<std::size_t>(y) * width + x) * components;
                for (unsigned c = 0; c < components; ++c) {
                    pixel[c] = static_cast<std::uint8_t>(pixel[c] ^ 0xFF);
                }
            }
        }
    }
}

}  // namespace

void RenderFrame(std::uint32_t frameIndex, std::uint16_t width, std::uint16_t height, unsigned components,
                 std::uint8_t* out) {
    components = components == 3 ? 3 : 1;
    FillPattern(frameIndex, width, height, components, out);
    DrawNumber(frameIndex, width, height, components, out);
}

std::string RenderRawFrame(std::uint32_t frameIndex, std::uint16_t width, std::uint16_t height, bool colour) {
    const std::size_t pixels = static_cast<std::size_t>(width) * height;
    std::string raw(pixels, '\0');
    if (!colour) {
        RenderFrame(frameIndex, width, height, 1, reinterpret_cast<std::uint8_t*>(raw.data()));
        return raw;
    }
    std::vector<std::uint8_t> rgb(pixels * 3);
    RenderFrame(frameIndex, width, height, 3, rgb.data());
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            // RGGB: red on even row and column, blue on odd row and column, green elsewhere.
            const std::size_t component = (y % 2) + (x % 2);
            raw[y * width + x] = static_cast<char>(rgb[(y * width + x) * 3 + component]);
        }
    }
    return raw;
}

std::optional<std::uint32_t> RecordedFrame(std::uint32_t firstFrame, std::uint32_t lastFrame,
                                           std::uint32_t frameIndex) {
    if (frameIndex < firstFrame || frameIndex > lastFrame) {
        return std::nullopt;
    }
    return frameIndex;
}

}  // namespace zpsim
