// libVellum: headers equal the encoder's own, decoding is faithful and bounded, bad streams fail.
#include "vellum/Vellum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "support/jpeg_stream.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Smooth shading with sharp brightness edges (a checkerboard of 16-pixel squares) and smoothly
// varying colour: the kind of content a camera delivers.
Bytes Pattern(int width, int height, int components) {
    Bytes pixels(static_cast<size_t>(width) * height * components);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < components; ++c) {
                const double shade = 40.0 * std::sin(x / 20.0 + c) * std::cos(y / 15.0);
                const int value = static_cast<int>(50 + ((x / 16 + y / 16) % 2) * 60 + c * 30 + shade);
                pixels[(static_cast<size_t>(y) * width + x) * components + c] =
                    static_cast<unsigned char>(value);
            }
    return pixels;
}

// A full stream encoded the way the camera encodes (the reference CreateHeader must match).
Bytes Encode(const Bytes& pixels, int width, int height, int components, int quality, int subsampling) {
    return zptest::EncodeJpeg(pixels.data(), width, height, components, quality, subsampling);
}

size_t ScanDataStart(const Bytes& stream) {
    return zptest::ScanDataStart(stream.data(), stream.size());
}

Bytes Header(int width, int height, int components, int quality, int subsampling) {
    Bytes header(VELLUM_HEADER_MAX, 0);
    int length = -1;
    if (CreateHeader(width, height, components, quality, subsampling, header.data(), &length) != 1) return {};
    header.resize(static_cast<size_t>(length));
    return header;
}

double Psnr(const Bytes& a, const Bytes& b) {
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    const double mse = sum / static_cast<double>(a.size());
    return mse == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 / mse);
}

struct HeaderCase {
    int width, height, components, quality, subsampling;
};

class HeaderTest : public ::testing::TestWithParam<HeaderCase> {};

TEST_P(HeaderTest, EqualsTheEncodersHeaderSoHeaderPlusBodyIsTheStream) {
    const HeaderCase c = GetParam();
    const Bytes stream = Encode(Pattern(c.width, c.height, c.components), c.width, c.height, c.components,
                                c.quality, c.subsampling);
    const Bytes header = Header(c.width, c.height, c.components, c.quality, c.subsampling);
    ASSERT_FALSE(header.empty());
    ASSERT_EQ(header.size(), ScanDataStart(stream));
    EXPECT_EQ(header, Bytes(stream.begin(), stream.begin() + static_cast<long>(header.size())));
}

INSTANTIATE_TEST_SUITE_P(Geometries, HeaderTest,
                         ::testing::Values(HeaderCase{1504, 1128, 1, 75, 0}, HeaderCase{1504, 1128, 3, 75, 0},
                                           HeaderCase{640, 480, 3, 90, 1}, HeaderCase{641, 479, 3, 50, 2},
                                           HeaderCase{17, 9, 1, 100, 0}, HeaderCase{1, 1, 3, 1, 0},
                                           HeaderCase{8, 65500, 1, 30, 0}, HeaderCase{2000, 3, 3, 95, 2}));

TEST(CreateHeader, QualityZeroMeansSeventyFive) {
    EXPECT_EQ(Header(320, 240, 3, 0, 1), Header(320, 240, 3, 75, 1));
    EXPECT_NE(Header(320, 240, 3, 0, 1), Header(320, 240, 3, 74, 1));
}

TEST(CreateHeader, GreyIgnoresSubsampling) {
    EXPECT_EQ(Header(320, 240, 1, 80, 0), Header(320, 240, 1, 80, 7));
}

TEST(CreateHeader, RejectsBadArguments) {
    unsigned char header[VELLUM_HEADER_MAX];
    int length = 0;
    const struct {
        int width, height, components, quality, subsampling;
    } bad[] = {{0, 10, 1, 75, 0},  {10, 0, 1, 75, 0},    {65501, 10, 1, 75, 0}, {10, 10, 2, 75, 0},
               {10, 10, 4, 75, 0}, {10, 10, 3, 75, 3},   {10, 10, 3, 75, -1},   {10, 10, 1, -5, 0},
               {-1, 10, 3, 75, 0}, {10, 70000, 3, 75, 0}};
    for (const auto& b : bad)
        EXPECT_EQ(CreateHeader(b.width, b.height, b.components, b.quality, b.subsampling, header, &length), 0)
            << b.width << "x" << b.height << " c" << b.components << " q" << b.quality << " s"
            << b.subsampling;
    EXPECT_EQ(CreateHeader(10, 10, 1, 75, 0, nullptr, &length), 0);
    EXPECT_EQ(CreateHeader(10, 10, 1, 75, 0, header, nullptr), 0);
}

// Decoding at quality 90: at least 40 dB PSNR against the source pixels for grey and colour 4:4:4,
// 35 dB for 4:2:2 and 4:2:0 colour, whose chroma has half the resolution.
struct DecodeCase {
    int components, subsampling;
    double minPsnr;
};

class DecodeTest : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(DecodeTest, ReproducesThePixelsWithinTheBound) {
    const DecodeCase c = GetParam();
    const int width = 203, height = 101;
    const Bytes pixels = Pattern(width, height, c.components);
    const Bytes stream = Encode(pixels, width, height, c.components, 90, c.subsampling);
    Bytes out(pixels.size(), 0);
    ASSERT_EQ(ReadJPGFileData(stream.data(), static_cast<int>(stream.size()), width * c.components, height,
                              out.data()),
              1);
    EXPECT_GE(Psnr(pixels, out), c.minPsnr);
}

INSTANTIATE_TEST_SUITE_P(Formats, DecodeTest,
                         ::testing::Values(DecodeCase{1, 0, 40.0}, DecodeCase{3, 2, 40.0},
                                           DecodeCase{3, 1, 35.0}, DecodeCase{3, 0, 35.0}));

TEST(ReadJPGFileData, ColourComesOutAsRedGreenBlue) {
    const int width = 32, height = 16;
    Bytes pixels(width * height * 3);
    for (size_t i = 0; i < pixels.size(); i += 3) {
        pixels[i] = 220;
        pixels[i + 1] = 120;
        pixels[i + 2] = 20;
    }
    const Bytes stream = Encode(pixels, width, height, 3, 95, 2);
    Bytes out(pixels.size());
    ASSERT_EQ(ReadJPGFileData(stream.data(), static_cast<int>(stream.size()), width * 3, height, out.data()),
              1);
    EXPECT_NEAR(out[0], 220, 3);
    EXPECT_NEAR(out[1], 120, 3);
    EXPECT_NEAR(out[2], 20, 3);
}

TEST(ReadJPGFileData, RowsLandAtRowBytesAndPaddingIsUntouched) {
    const int width = 40, height = 24, rowBytes = 64;
    const Bytes stream = Encode(Pattern(width, height, 1), width, height, 1, 90, 0);
    Bytes out(static_cast<size_t>(rowBytes) * height + 16, 0xA5);
    ASSERT_EQ(ReadJPGFileData(stream.data(), static_cast<int>(stream.size()), rowBytes, height, out.data()),
              1);
    for (int y = 0; y < height; ++y)
        for (int x = width; x < rowBytes; ++x) ASSERT_EQ(out[y * rowBytes + x], 0xA5) << y << "," << x;
    for (size_t i = static_cast<size_t>(rowBytes) * height; i < out.size(); ++i) ASSERT_EQ(out[i], 0xA5);
}

TEST(ReadJPGFileData, RejectsAStreamThatDoesNotFitAndWritesNothing) {
    const int width = 64, height = 32;
    const Bytes stream = Encode(Pattern(width, height, 3), width, height, 3, 80, 0);
    const int length = static_cast<int>(stream.size());
    Bytes out(static_cast<size_t>(width) * height * 3, 0x5A);
    EXPECT_EQ(ReadJPGFileData(stream.data(), length, width * 3 - 1, height, out.data()), 0);  // row too long
    EXPECT_EQ(ReadJPGFileData(stream.data(), length, width, height, out.data()), 0);  // grey-sized rows
    EXPECT_EQ(ReadJPGFileData(stream.data(), length, width * 3, height - 1, out.data()), 0);  // too many rows
    for (unsigned char byte : out) ASSERT_EQ(byte, 0x5A);
}

TEST(ReadJPGFileData, CorruptOrTruncatedStreamsFailCleanly) {
    const int width = 96, height = 64;
    const Bytes stream = Encode(Pattern(width, height, 3), width, height, 3, 85, 0);
    Bytes out(static_cast<size_t>(width) * height * 3);
    const int rowBytes = width * 3;
    const size_t bodyStart = ScanDataStart(stream);
    // Cut in the body, cut in the header, header only, body without header.
    for (size_t cut : {stream.size() / 2, size_t{40}, bodyStart, stream.size() - 2})
        EXPECT_EQ(ReadJPGFileData(stream.data(), static_cast<int>(cut), rowBytes, height, out.data()), 0)
            << cut;
    const Bytes body(stream.begin() + static_cast<long>(bodyStart), stream.end());
    EXPECT_EQ(ReadJPGFileData(body.data(), static_cast<int>(body.size()), rowBytes, height, out.data()), 0);
    Bytes garbled = stream;
    for (size_t i = bodyStart; i < garbled.size() - 2; i += 7) garbled[i] = 0xFF;
    EXPECT_EQ(ReadJPGFileData(garbled.data(), static_cast<int>(garbled.size()), rowBytes, height, out.data()),
              0);
    Bytes noise(4000);
    for (size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<unsigned char>(i * 131 + 7);
    EXPECT_EQ(ReadJPGFileData(noise.data(), static_cast<int>(noise.size()), rowBytes, height, out.data()), 0);
    EXPECT_EQ(ReadJPGFileData(stream.data(), 0, rowBytes, height, out.data()), 0);
    EXPECT_EQ(ReadJPGFileData(nullptr, 100, rowBytes, height, out.data()), 0);
    EXPECT_EQ(ReadJPGFileData(stream.data(), static_cast<int>(stream.size()), rowBytes, height, nullptr), 0);
}

}  // namespace
