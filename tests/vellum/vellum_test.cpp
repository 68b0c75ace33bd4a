// libVellum: headers equal the encoder's own, decoding is faithful and keeps to its rows, bad
// streams fail.
#include "vellum/Vellum.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "support/jpeg_stream.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Smooth shading, sharp edges (a checkerboard of 16-pixel squares) and a phase of its own per colour.
Bytes Pattern(int width, int height, int components) {
    Bytes pixels(static_cast<size_t>(width) * height * components);
    for (size_t i = 0; i < pixels.size(); ++i) {
        const int c = static_cast<int>(i % components), x = static_cast<int>(i / components % width);
        const int y = static_cast<int>(i / components / width);
        const double shade = 40.0 * std::sin(x / 20.0 + c) * std::cos(y / 15.0);
        pixels[i] = static_cast<unsigned char>(50 + ((x / 16 + y / 16) % 2) * 60 + c * 30 + shade);
    }
    return pixels;
}

Bytes Header(int width, int height, int components, int quality, int subsampling) {
    Bytes header(VELLUM_HEADER_MAX, 0);
    int length = -1;
    if (CreateHeader(width, height, components, quality, subsampling, header.data(), &length) != 1) return {};
    header.resize(static_cast<size_t>(length));
    return header;
}

int Decode(const Bytes& stream, size_t length, int rowBytes, int height, Bytes& out) {
    return ReadJPGFileData(stream.data(), static_cast<int>(length), rowBytes, height, out.data());
}

// The header equals the encoder's own, so that header plus the body a camera sends is the stream;
// bad arguments give no header.
TEST(CreateHeader, EqualsTheEncodersHeaderAndRefusesBadArguments) {
    const int cases[][5] = {{1504, 1128, 1, 75, 0}, {1504, 1128, 3, 75, 0}, {640, 480, 3, 90, 1},
                            {641, 479, 3, 50, 2},   {17, 9, 1, 100, 0},     {1, 1, 3, 1, 0},
                            {8, 65500, 1, 30, 0},   {2000, 3, 3, 95, 2}};  // width, height, components, q, s
    for (const auto& c : cases) {
        const Bytes pixels = Pattern(c[0], c[1], c[2]);
        const Bytes stream = zptest::EncodeJpeg(pixels.data(), c[0], c[1], c[2], c[3], c[4]);
        const Bytes header = Header(c[0], c[1], c[2], c[3], c[4]);
        EXPECT_EQ(header.size(), zptest::ScanDataStart(stream.data(), stream.size())) << c[0] << "x" << c[1];
        EXPECT_EQ(header, Bytes(stream.begin(), stream.begin() + std::min(header.size(), stream.size())));
    }
    EXPECT_EQ(Header(320, 240, 3, 0, 1), Header(320, 240, 3, 75, 1));   // quality 0 means 75
    EXPECT_EQ(Header(320, 240, 1, 80, 0), Header(320, 240, 1, 80, 7));  // grey ignores the sampling
    const int bad[][5] = {{0, 10, 1, 75, 0},  {10, 0, 1, 75, 0},    {65501, 10, 1, 75, 0}, {10, 10, 2, 75, 0},
                          {10, 10, 4, 75, 0}, {10, 10, 3, 75, 3},   {10, 10, 3, 75, -1},   {10, 10, 1, -5, 0},
                          {-1, 10, 3, 75, 0}, {10, 70000, 3, 75, 0}};
    for (const auto& b : bad) EXPECT_TRUE(Header(b[0], b[1], b[2], b[3], b[4]).empty()) << "row " << &b - bad;
    unsigned char header[VELLUM_HEADER_MAX];
    int length = 0;
    EXPECT_EQ(CreateHeader(10, 10, 1, 75, 0, nullptr, &length), 0);
    EXPECT_EQ(CreateHeader(10, 10, 1, 75, 0, header, nullptr), 0);
}

// Quality 90: at least 40 dB PSNR for grey and colour 4:4:4, 35 dB for 4:2:2 and 4:2:0 colour, whose
// chroma has half the resolution. Pixels come out as R, G, B; the bytes after each row stay untouched.
TEST(ReadJPGFileData, ReproducesThePixelsRowByRowWithinTheBound) {
    const std::tuple<int, int, double> cases[] = {{1, 0, 40.0}, {3, 2, 40.0}, {3, 1, 35.0}, {3, 0, 35.0}};
    const int width = 203, height = 101;
    for (const auto& [components, subsampling, minPsnr] : cases) {
        const int rowLength = width * components, rowBytes = rowLength + 13;
        const Bytes pixels = Pattern(width, height, components);
        const Bytes stream = zptest::EncodeJpeg(pixels.data(), width, height, components, 90, subsampling);
        Bytes out(static_cast<size_t>(rowBytes) * height + 16, 0xA5);
        ASSERT_EQ(Decode(stream, stream.size(), rowBytes, height, out), 1);
        double squares = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < rowLength; ++x) {
                squares += std::pow(pixels[y * rowLength + x] - out[y * rowBytes + x], 2);
            }
            for (int x = rowLength; x < rowBytes; ++x) ASSERT_EQ(out[y * rowBytes + x], 0xA5) << y;
        }
        EXPECT_TRUE(std::all_of(out.end() - 16, out.end(), [](unsigned char b) { return b == 0xA5; }));
        const double psnr = 10 * std::log10(255.0 * 255.0 * pixels.size() / squares);
        EXPECT_GE(psnr, minPsnr) << components << " components, sampling " << subsampling;
    }
}

TEST(ReadJPGFileData, BadOrMisfittingStreamsFailCleanly) {
    const int width = 96, height = 64, rowBytes = width * 3;
    const Bytes pixels = Pattern(width, height, 3);
    const Bytes stream = zptest::EncodeJpeg(pixels.data(), width, height, 3, 85, 0);
    const size_t bodyStart = zptest::ScanDataStart(stream.data(), stream.size());
    Bytes out(static_cast<size_t>(rowBytes) * height, 0x5A);
    // Rows too short for colour, grey-sized rows, more rows than the buffer holds: nothing written.
    EXPECT_EQ(Decode(stream, stream.size(), rowBytes - 1, height, out), 0);
    EXPECT_EQ(Decode(stream, stream.size(), width, height, out), 0);
    EXPECT_EQ(Decode(stream, stream.size(), rowBytes, height - 1, out), 0);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](unsigned char b) { return b == 0x5A; }));
    // Cut in the body, in the header, just after the header, before the end marker; nothing at all.
    for (size_t cut : {stream.size() / 2, size_t{40}, bodyStart, stream.size() - 2, size_t{0}}) {
        EXPECT_EQ(Decode(stream, cut, rowBytes, height, out), 0) << cut;
    }
    // The body without its header, garbled markers, noise.
    Bytes body(stream.begin() + static_cast<long>(bodyStart), stream.end()), garbled = stream, noise(4000);
    for (size_t i = bodyStart; i < garbled.size() - 2; i += 7) garbled[i] = 0xFF;
    for (size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<unsigned char>(i * 131 + 7);
    for (const Bytes* bad : {&body, &garbled, &noise}) {
        EXPECT_EQ(Decode(*bad, bad->size(), rowBytes, height, out), 0);
    }
    EXPECT_EQ(ReadJPGFileData(nullptr, 100, rowBytes, height, out.data()), 0);
    EXPECT_EQ(ReadJPGFileData(stream.data(), static_cast<int>(stream.size()), rowBytes, height, nullptr), 0);
}

}  // namespace
