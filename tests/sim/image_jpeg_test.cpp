// The camera's JPEG body: the host's rebuilt header plus the body is the encoder's full stream,
// and it decodes to the rendered frame within JPEG tolerance.
#include <gtest/gtest.h>
#include <vellum/Vellum.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame_source.h"
#include "jpeg_body.h"

using namespace zpsim;

namespace {

struct JpegCase {
    std::uint16_t width, height;
    unsigned components, quality, subsampling;
};

std::vector<std::uint8_t> Render(std::uint32_t frame, const JpegCase& c) {
    std::vector<std::uint8_t> pixels(std::size_t(c.width) * c.height * c.components);
    RenderFrame(frame, c.width, c.height, c.components, pixels.data());
    return pixels;
}

double Psnr(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double d = double(a[i]) - double(b[i]);
        sum += d * d;
    }
    return sum == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 * double(a.size()) / sum);
}

std::string Header(const JpegCase& c) {
    std::vector<unsigned char> header(VELLUM_HEADER_MAX);
    int length = 0;
    EXPECT_EQ(CreateHeader(c.width, c.height, int(c.components), int(c.quality), int(c.subsampling),
                           header.data(), &length),
              1);
    return std::string(reinterpret_cast<const char*>(header.data()), std::size_t(length));
}

}  // namespace

class ImageJpeg : public ::testing::TestWithParam<JpegCase> {};

TEST_P(ImageJpeg, HeaderPlusBodyIsTheFullStream) {
    const JpegCase& c = GetParam();
    auto pixels = Render(42, c);
    const std::string full =
        EncodeJpeg(pixels.data(), c.width, c.height, c.components, c.quality, c.subsampling);
    const std::string body =
        JpegBody(pixels.data(), c.width, c.height, c.components, c.quality, c.subsampling);
    ASSERT_FALSE(full.empty());
    ASSERT_FALSE(body.empty());
    EXPECT_EQ(body.substr(body.size() - 2), "\xFF\xD9");
    const std::string header = Header(c);
    EXPECT_EQ(header.size() + body.size(), full.size());
    EXPECT_TRUE(header + body == full);
}

// Tested bound: at least 30 dB PSNR against the rendered frame for quality 75 and above.
TEST_P(ImageJpeg, DecodesToRenderedFrameWithinJpegTolerance) {
    const JpegCase& c = GetParam();
    auto pixels = Render(7, c);
    const std::string full =
        EncodeJpeg(pixels.data(), c.width, c.height, c.components, c.quality, c.subsampling);
    std::vector<std::uint8_t> decoded(pixels.size());
    ASSERT_EQ(
        ReadJPGFileData(full.data(), int(full.size()), int(c.width * c.components), c.height, decoded.data()),
        1);
    EXPECT_GE(Psnr(pixels, decoded), 30.0);
}

INSTANTIATE_TEST_SUITE_P(Parameters, ImageJpeg,
                         ::testing::Values(JpegCase{1504, 1128, 3, 90, 0}, JpegCase{640, 480, 3, 0, 1},
                                           JpegCase{333, 77, 3, 100, 2}, JpegCase{1504, 1128, 1, 90, 0},
                                           JpegCase{17, 9, 1, 75, 2}, JpegCase{320, 240, 3, 250, 1}));

TEST(ImageJpegBody, ScanOffsetRejectsGarbledStreams) {
    EXPECT_FALSE(ScanDataOffset(""));
    EXPECT_FALSE(ScanDataOffset("\xFF\xD8"));
    EXPECT_FALSE(ScanDataOffset(std::string("\xFF\xD8\xFF\xE0\x00\x40", 6)));  // segment past the end
    EXPECT_FALSE(ScanDataOffset(std::string("\xFF\xD8\x12\xE0\x00\x02", 6)));  // no marker
    EXPECT_EQ(ScanDataOffset(std::string("\xFF\xD8\xFF\xDA\x00\x02\x55", 7)), 6u);
}

TEST(ImageJpegBody, BadArgumentsGiveEmptyStream) {
    std::vector<std::uint8_t> pixels(12);
    EXPECT_TRUE(EncodeJpeg(pixels.data(), 0, 2, 3, 90, 0).empty());
    EXPECT_TRUE(EncodeJpeg(pixels.data(), 2, 2, 2, 90, 0).empty());
    EXPECT_TRUE(EncodeJpeg(nullptr, 2, 2, 3, 90, 0).empty());
}
