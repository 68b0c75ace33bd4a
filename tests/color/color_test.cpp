// Colour matrices against double-precision references (hue rotation by Rodrigues' formula), the
// fixed-point pixel transform with its whole-buffer form, and the tables and matrices of ColorFilter
// and GBCHS against the control formulas evaluated here.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "zpport/ColorBuffer.h"
#include "zpport/ColorMatrix.h"

namespace {

const std::vector<unsigned> kIdentity3 = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x10000};

// Saturation times hue rotation about the grey axis, row-vector form (v' = v . M), element [r][k].
double RefHueSat(double degrees, double s, int r, int k) {
    const double c = std::cos(degrees * M_PI / 180), sn = std::sin(degrees * M_PI / 180) / std::sqrt(3.0);
    const double w[3] = {0.3086, 0.6094, 0.0820};
    double sum = 0;
    for (int j = 0; j < 3; ++j)
        sum += (w[r] * (1 - s) + (r == j) * s) * ((1 - c) / 3 + (j == k ? c : (k == (j + 1) % 3 ? sn : -sn)));
    return sum;
}

// GBCHS with c = {outBits, sensorBits, gainCode, boost, useTable, gamma, knee, brightness, contrast}
// over a caller table of k / 2.
struct Gbchs {
    unsigned matrix[9] = {};
    unsigned short table[4096], lut[4096] = {};
    Gbchs(const int* c, int hue = 180, int sat = 10, std::vector<unsigned> cm = kIdentity3) {
        for (int k = 0; k < 4096; ++k) table[k] = static_cast<unsigned short>(k / 2);
        GBCHS(c[0], c[1], cm.data(), c[5], c[6], c[7], c[8], hue, sat, c[2], c[3], c[4], table, matrix, lut);
    }
};

TEST(ColorMatrix, ElementaryOperations) {
    float a[4][4], b[4][4], c[4][4], t[3];
    std::iota(&a[0][0], &a[0][0] + 16, 1.0f);
    std::iota(&b[0][0], &b[0][0] + 16, -7.0f);
    matrixmult(a, b, c);
    EXPECT_EQ(c[2][1], 1 * 2 + 2 * 6 + 3 * 10 + 4 * 14);  // c = b . a
    matrixmult(a, b, a);
    EXPECT_TRUE(std::equal(&a[0][0], &a[0][0] + 16, &c[0][0]));
    cscalemat(b, 2, 3, 0.5f);                       // b . diag scales the columns
    xformpnt(b, -7, 2, 0.5f, &t[0], &t[1], &t[2]);  // x takes no part: y stands in twice
    EXPECT_EQ(t[1], 2 * -18 + 2 * -6 + 0.5f * 6 + 18);
    float f[4][4] = {{-1.5f / 65536, 2.9f / 65536, -0.25f}};  // to 16.16, truncated toward zero
    int lm[4][4];
    mat2lmat(f, lm);
    EXPECT_TRUE(lm[0][0] == -1 && lm[0][1] == 2 && lm[0][2] == -16384 && lm[1][1] == 0) << lm[0][0];
    // huerotatemat samples luminance with green in the red term, so the weights it keeps are (G, G, B).
    const float keep[3] = {0.6094f, 0.6094f, 0.0820f};
    identmat(a);
    huerotatemat(a, 120);
    for (int r = 0; r < 4; ++r)  // the translation row stays 0
        EXPECT_NEAR(a[r][0] * keep[0] + a[r][1] * keep[1] + a[r][2] * keep[2], r < 3 ? keep[r] : 0, 1e-5);
}

TEST(ColorMatrix, HueMatricesAndPixelTransformsAgreeWithReference) {
    // lxformRGB scales by 1/65536 and truncates; ApplyHueMatrix divides: the same over the int range.
    std::vector<std::int64_t> sums{INT_MIN, -65537, -65536, -65535, -1, 0, 1, 65535, 65536, INT_MAX};
    for (std::int64_t s = INT_MIN; s <= INT_MAX; s += 65521) sums.push_back(s);
    for (const auto v : sums) ASSERT_EQ(int(double(int(v)) * 1.52587890625e-5), int(v) / 65536) << v;
    std::mt19937 rng(7);
    int mats[6][4][4];
    const float hueSat[4][2] = {{0, 1}, {0, 0}, {90, 1.5f}, {-45, 0.5f}};
    std::fill_n(&mats[4][0][0], 16, INT_MAX);  // sums that wrap, and random scales
    std::generate_n(&mats[5][0][0], 16, [&] { return static_cast<int>(rng()) >> (rng() % 24); });
    for (int i = 0; i < 4 * 16; ++i) {
        if (i % 16 == 0) InitHueMatrix(mats[i / 16], hueSat[i / 16][0], hueSat[i / 16][1]);
        const int r = i % 16 / 4, k = i % 4;
        const double ref = r < 3 && k < 3 ? RefHueSat(hueSat[i / 16][0], hueSat[i / 16][1], r, k) : r == k;
        EXPECT_NEAR(mats[i / 16][r][k], ref * 65536, 3) << "matrix " << i / 16 << " element " << i % 16;
    }
    for (auto& lm : mats) {
        std::vector<unsigned char> source(3 * 3001);
        for (auto& byte : source) byte = static_cast<unsigned char>(rng());
        std::vector<unsigned char> frame = source;
        zpcolor::ApplyHueMatrix(lm, frame.data(), 3001);
        for (std::size_t p = 0; p < frame.size(); p += 3) {
            int px[3] = {source[p], source[p + 1], source[p + 2]};
            lxformRGB(lm, &px[0], &px[1], &px[2]);
            for (int c = 0; c < 3; ++c) {
                std::int64_t sum = 0;  // wrapped to 32 bits below, then scaled in real arithmetic
                for (int k = 0; k < 3; ++k) sum += std::int64_t{source[p + k]} * lm[k][c];
                const double v = std::trunc(std::int32_t(std::uint32_t(sum)) / 65536.0);
                ASSERT_EQ(px[c], std::clamp(v, 0.0, 255.0)) << "pixel " << p / 3;
                ASSERT_EQ(frame[p + c], px[c]) << "pixel " << p / 3;
            }
        }
    }
}

TEST(ColorFilter, TableEntriesFollowControls) {
    // Gamma 2 at the dark end (knee 100..200 of 255) or at the bright end.
    const unsigned knee = 400 << 16 | 800, dark = 0x0014000A, light = 0x000A0014;
    // {brightness, contrast, gamma, knee, i, level before clamping}; gamma 2 at 64: sqrt(64 / 255) * 255 =
    // 127.75; at 150 between the knees gamma 1.5: (150 / 255)^(1 / 1.5) * 255 = 179.02.
    const double cases[][6] = {
        {25, 10, 0x000A000A, 0, 77, 77}, {35, 10, 0, 0, 0, 25.6},          {35, 10, 0, 0, 240, 265.6},
        {25, 20, 0, 0, 100, 86},         {25, 20, 0, 0, 10, -49},          {25, 10, light, 0, 64, 127.75},
        {25, 10, dark, knee, 250, 250},  {25, 10, dark, knee, 64, 127.75}, {25, 10, dark, knee, 150, 179.02}};
    unsigned matrix[9];
    unsigned char lut[256];
    for (const auto& c : cases) {
        ColorFilter(int(c[0]), int(c[1]), unsigned(c[2]), unsigned(c[3]), 180, 10, matrix, lut);
        EXPECT_EQ(lut[int(c[4])], int(std::clamp(c[5], 0.0, 255.0))) << c[0] << " " << c[1] << " " << c[4];
        EXPECT_TRUE(std::equal(matrix, matrix + 9, kIdentity3.begin()));
    }
}

TEST(Gbchs, TablesStayWithinRange) {
    // Controls as for Gbchs, then {i, entry}. Gamma 2 at the dark end, knee 100..200 of 1024: gamma 1.5 at
    // 150, (150 / 1023)^(1 / 1.5) * 1023 = 284.46; brightness 30 and contrast 14 at 500:
    // (500 - 512 + 0.05 * 1024) * 1.2 + 512 = 559.04.
    const int dark2 = 0x0014000A, knee = 100 << 16 | 200;
    const int cases[][11] = {
        {12, 12, 0, 0, 0, 0, 0, 25, 10, 4095, 4095},      {8, 8, 0, 2, 0, 0, 0, 25, 10, 50, 200},
        {10, 10, 0x102, 0, 0, 0, 0, 25, 10, 100, 239},    {10, 10, 3, 0, 0, 0, 0, 25, 10, 100, 282},
        {8, 24, 0, 1, 0, 0, 0, 25, 10, 50, 100},          {10, 24, 0, 1, 1, 0, 0, 25, 10, 100, 400},
        {10, 8, 0, 2, 1, 0, 0, 25, 10, 200, 1023},        {10, 10, 2, 0, 1, 0, 0, 25, 10, 700, 511},
        {10, 10, 0, 0, 0, dark2, knee, 25, 10, 150, 284}, {10, 10, 0, 0, 0, 0, 0, 30, 14, 500, 559}};
    for (const auto& c : cases) {
        const Gbchs r(c);
        EXPECT_EQ(r.lut[c[9]], c[10]) << c[0] << " " << c[1] << " " << c[2] << " " << c[3] << " " << c[9];
        for (int k = 0; k < 4096; ++k)  // never above 2^outBits - 1; the identity past that
            ASSERT_TRUE(k < 1 << c[0] ? r.lut[k] < 1 << c[0] : r.lut[k] == k) << k;
    }
}

TEST(Gbchs, ColourMatrixIsTransposedProductWithCorrection) {
    int h[4][4];
    InitHueMatrix(h, 20, 0.5f);
    unsigned row[9];
    unsigned char lut[256];
    ColorFilter(25, 10, 0, 0, 200, 5, row, lut);
    const double c[3][3] = {{2, 0, -0.5}, {0, 0.5, 0}, {0, 0, 1}};  // in 16.16 below; cm gets C . H
    const std::vector<unsigned> c16 = {0x20000, 0, 0xFFFF8000, 0, 0x8000, 0, 0, 0, 0x10000};
    const int colour[] = {10, 24, 0, 0, 0, 0, 0, 25, 10}, mono[] = {10, 12, 0, 0, 0, 0, 0, 25, 10};
    const Gbchs plain(colour, 200, 5), cm(colour, 200, 5, c16), shortForm(mono, 200, 5, c16);
    for (int i = 0; i < 9; ++i) {
        const int r = i / 3, k = i % 3;
        EXPECT_EQ(row[i], unsigned(h[r][k]));
        EXPECT_EQ(plain.matrix[3 * k + r], unsigned(h[r][k]));
        EXPECT_NEAR(int(cm.matrix[3 * k + r]), c[r][0] * h[0][k] + c[r][1] * h[1][k] + c[r][2] * h[2][k], 2);
        EXPECT_EQ(shortForm.matrix[i], kIdentity3[i]);
    }
}

}  // namespace
