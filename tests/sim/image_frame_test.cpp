// The deterministic frame source and the recording bounds.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "frame_source.h"

using namespace zpsim;

namespace {

std::vector<std::uint8_t> Render(std::uint32_t frame, std::uint16_t width, std::uint16_t height,
                                 unsigned components) {
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height * components);
    RenderFrame(frame, width, height, components, pixels.data());
    return pixels;
}

constexpr std::uint16_t kWidth = 400, kHeight = 200;  // digit scale 5: digits span rows 5..29

std::size_t At(std::size_t x, std::size_t y) {
    return y * kWidth + x;
}

}  // namespace

TEST(ImageFrameSource, SameFrameGivesSameBytesAndFramesDiffer) {
    for (unsigned components : {1u, 3u}) {
        SCOPED_TRACE(components);
        EXPECT_EQ(Render(17, 320, 240, components), Render(17, 320, 240, components));
        EXPECT_NE(Render(17, 320, 240, components), Render(18, 320, 240, components));
    }
}

TEST(ImageFrameSource, GreyPatternIsTriangleWaveMovingWithFrame) {
    EXPECT_EQ(Render(0, kWidth, kHeight, 1)[At(300, 100)], 111);  // 400 -> 511 - 400
    EXPECT_EQ(Render(3, kWidth, kHeight, 1)[At(300, 100)], 99);   // 412 -> 511 - 412
    EXPECT_EQ(Render(3, kWidth, kHeight, 1)[At(50, 60)], 122);    // rising half
}

TEST(ImageFrameSource, FrameNumberDigitsInvertThePattern) {
    auto eight = Render(8, kWidth, kHeight, 1);
    EXPECT_EQ(eight[At(6, 6)], 44 ^ 0xFF);    // top bar of "8"
    EXPECT_EQ(eight[At(11, 11)], 54);         // hole of "8"
    EXPECT_EQ(eight[At(11, 21)], 64);         // lower hole
    EXPECT_EQ(eight[At(11, 16)], 59 ^ 0xFF);  // middle bar
    auto twelve = Render(12, kWidth, kHeight, 1);
    EXPECT_EQ(twelve[At(6, 6)], 60);                     // "1" leaves its top left open
    EXPECT_EQ(twelve[At(11, 6)], 65 ^ 0xFF);             // and has its stem in the middle
    EXPECT_EQ(twelve[At(26, 6)], (26 + 6 + 48) ^ 0xFF);  // "2" starts 4 cells further right
    EXPECT_EQ(twelve[At(26, 11)], 26 + 11 + 48);         // "2" is open on the left in its second row
}

TEST(ImageFrameSource, ColourFrameHasThreeMovingComponents) {
    auto rgb = Render(1, kWidth, kHeight, 3);
    const std::size_t pixel = At(300, 100) * 3;
    EXPECT_EQ(rgb[pixel + 0], 207);  // x + 4f = 304
    EXPECT_EQ(rgb[pixel + 1], 102);  // y + 2f
    EXPECT_EQ(rgb[pixel + 2], 203);  // (x + y) / 2 + 3f
}

TEST(ImageFrameSource, RawFrameIsGreyOrRggbMosaic) {
    auto grey = Render(5, kWidth, kHeight, 1);
    auto raw = RenderRawFrame(5, kWidth, kHeight, false);
    ASSERT_EQ(raw.size(), grey.size());
    EXPECT_EQ(raw, std::string(grey.begin(), grey.end()));

    auto rgb = Render(5, kWidth, kHeight, 3);
    auto mosaic = RenderRawFrame(5, kWidth, kHeight, true);
    ASSERT_EQ(mosaic.size(), std::size_t(kWidth) * kHeight);
    auto byte = [&mosaic](std::size_t x, std::size_t y) {
        return static_cast<std::uint8_t>(mosaic[At(x, y)]);
    };
    EXPECT_EQ(byte(300, 100), rgb[At(300, 100) * 3 + 0]);
    EXPECT_EQ(byte(301, 100), rgb[At(301, 100) * 3 + 1]);
    EXPECT_EQ(byte(300, 101), rgb[At(300, 101) * 3 + 1]);
    EXPECT_EQ(byte(301, 101), rgb[At(301, 101) * 3 + 2]);
}

TEST(ImageFrameSource, TinyFramesRenderWithoutOverrun) {
    for (std::uint16_t size : {1, 2, 7, 39, 41}) {
        SCOPED_TRACE(size);
        auto pixels = Render(123456789, size, size, 3);
        EXPECT_EQ(pixels.size(), std::size_t(size) * size * 3);
    }
}

TEST(ImageFrameSource, RecordingHoldsFirstToLastInclusive) {
    EXPECT_FALSE(RecordedFrame(10, 20, 9));
    EXPECT_EQ(RecordedFrame(10, 20, 10), 10u);
    EXPECT_EQ(RecordedFrame(10, 20, 20), 20u);
    EXPECT_FALSE(RecordedFrame(10, 20, 21));
    EXPECT_FALSE(RecordedFrame(10, 20, 0xFFFFFFFF));
}
