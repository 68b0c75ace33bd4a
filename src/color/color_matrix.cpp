// 4x4 colour matrices for hue rotation and saturation: float builders, 16.16 fixed-point
// conversion and the per-pixel integer transform.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "zpport/ColorMatrix.h"

namespace {

// Luminance weights and rotation constants, all float32.
constexpr float kRedWeight = 0.3086f;
constexpr float kGreenWeight = 0.6094f;
constexpr float kBlueWeight = 0.0820f;
constexpr float kInvSqrt2 = 0.70710677f;
constexpr float kInvSqrt3 = 0.57735026f;
constexpr float kSqrtTwoThirds = 0.8164966f;

// Truncates toward zero; values outside the int range saturate (and NaN gives 0) instead of
// being undefined.
int TruncateToInt(double v) {
    if (!(v == v)) return 0;
    if (v >= 2147483647.0) return INT32_MAX;
    if (v <= -2147483648.0) return INT32_MIN;
    return static_cast<int>(v);
}

// m <- m . e
void MultiplyInto(float m[4][4], float e[4][4]) {
    matrixmult(e, m, m);
}

void SetRows(float e[4][4], const float (&rows)[4][4]) {
    std::memcpy(e, rows, sizeof rows);
}

// Rotation taking the grey axis onto the blue axis (xrotate, then yrotate), and its inverse.
void GreyAxisToBlue(float m[4][4]) {
    xrotatemat(m, kInvSqrt2, kInvSqrt2);
    yrotatemat(m, -kInvSqrt3, kSqrtTwoThirds);
}

void BlueAxisToGrey(float m[4][4]) {
    yrotatemat(m, kInvSqrt3, kSqrtTwoThirds);
    xrotatemat(m, -kInvSqrt2, kInvSqrt2);
}

void RotateAboutBlue(float m[4][4], float degrees) {
    const double radians = static_cast<double>(degrees) * 3.141592653589793 / 180.0;
    zrotatemat(m, static_cast<float>(std::sin(radians)), static_cast<float>(std::cos(radians)));
}

}  // namespace

void identmat(float m[4][4]) {
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) m[y][x] = (x == y) ? 1.0f : 0.0f;
}

void matrixmult(float a[4][4], float b[4][4], float c[4][4]) {
    float t[4][4];
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            float sum = 0.0f;
            for (int k = 0; k < 4; ++k) sum += b[y][k] * a[k][x];
            t[y][x] = sum;
        }
    }
    std::memcpy(c, t, sizeof t);
}

void cscalemat(float m[4][4], float rs, float gs, float bs) {
    float e[4][4];
    SetRows(e, {{rs, 0, 0, 0}, {0, gs, 0, 0}, {0, 0, bs, 0}, {0, 0, 0, 1}});
    MultiplyInto(m, e);
}

void saturatemat(float m[4][4], float s) {
    const double t = 1.0 - static_cast<double>(s);
    const float r = static_cast<float>(static_cast<double>(kRedWeight) * t);
    const float g = static_cast<float>(static_cast<double>(kGreenWeight) * t);
    const float b = static_cast<float>(static_cast<double>(kBlueWeight) * t);
    float e[4][4];
    SetRows(e, {{r + s, r, r, 0}, {g, g + s, g, 0}, {b, b, b + s, 0}, {0, 0, 0, 1}});
    MultiplyInto(m, e);
}

void xrotatemat(float m[4][4], float rs, float rc) {
    float e[4][4];
    SetRows(e, {{1, 0, 0, 0}, {0, rc, rs, 0}, {0, -rs, rc, 0}, {0, 0, 0, 1}});
    MultiplyInto(m, e);
}

void yrotatemat(float m[4][4], float rs, float rc) {
    float e[4][4];
    SetRows(e, {{rc, 0, -rs, 0}, {0, 1, 0, 0}, {rs, 0, rc, 0}, {0, 0, 0, 1}});
    MultiplyInto(m, e);
}

void zrotatemat(float m[4][4], float rs, float rc) {
    float e[4][4];
    SetRows(e, {{rc, rs, 0, 0}, {-rs, rc, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}});
    MultiplyInto(m, e);
}

void zshearmat(float m[4][4], float dx, float dy) {
    float e[4][4];
    SetRows(e, {{1, 0, dx, 0}, {0, 1, dy, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}});
    MultiplyInto(m, e);
}

void xformpnt(float m[4][4], float x, float y, float z, float* tx, float* ty, float* tz) {
    (void)x;
    // y stands in the red term too, on purpose: huerotatemat's shear depends on it.
    *tx = y;
    *tx = y * m[0][0] + y * m[1][0] + z * m[2][0] + m[3][0];
    *ty = y * m[0][1] + y * m[1][1] + z * m[2][1] + m[3][1];
    *tz = y * m[0][2] + y * m[1][2] + z * m[2][2] + m[3][2];
}

void simplehuerotatemat(float m[4][4], float degrees) {
    GreyAxisToBlue(m);
    RotateAboutBlue(m, degrees);
    BlueAxisToGrey(m);
}

void huerotatemat(float m[4][4], float degrees) {
    GreyAxisToBlue(m);
    // Shear so that the luminance point stays on the blue axis while rotating.
    float lx = 0.0f;
    float ly = 0.0f;
    float lz = 0.0f;
    xformpnt(m, kRedWeight, kGreenWeight, kBlueWeight, &lx, &ly, &lz);
    const float zsx = lx / lz;
    const float zsy = ly / lz;
    zshearmat(m, zsx, zsy);
    RotateAboutBlue(m, degrees);
    zshearmat(m, -zsx, -zsy);
    BlueAxisToGrey(m);
}

void mat2lmat(float m[4][4], int lm[4][4]) {
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) lm[y][x] = TruncateToInt(static_cast<double>(m[y][x]) * 65536.0);
}

void lxformRGB(int lm[4][4], int* r, int* g, int* b) {
    // Sums wrap in 32 bits; unsigned arithmetic makes the wrap defined.
    const std::uint32_t ir = static_cast<std::uint32_t>(*r);
    const std::uint32_t ig = static_cast<std::uint32_t>(*g);
    const std::uint32_t ib = static_cast<std::uint32_t>(*b);
    int* out[3] = {r, g, b};
    int result[3];
    for (int c = 0; c < 3; ++c) {
        const std::uint32_t sum = ir * static_cast<std::uint32_t>(lm[0][c]) +
                                  ig * static_cast<std::uint32_t>(lm[1][c]) +
                                  ib * static_cast<std::uint32_t>(lm[2][c]);
        // Scaled, not shifted: a negative sum rounds toward zero.
        const int v =
            static_cast<int>(static_cast<double>(static_cast<std::int32_t>(sum)) * 1.52587890625e-5);
        result[c] = v < 0 ? 0 : (v > 255 ? 255 : v);
    }
    for (int c = 0; c < 3; ++c) *out[c] = result[c];
}

void InitHueMatrix(int lm[4][4], float hue, float saturation) {
    float m[4][4];
    identmat(m);
    cscalemat(m, 1.0f, 1.0f, 1.0f);
    saturatemat(m, saturation);
    simplehuerotatemat(m, hue);
    mat2lmat(m, lm);
}
