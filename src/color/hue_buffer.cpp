// lxformRGB's arithmetic over a whole buffer of packed RGB pixels, written for the compiler's
// vectoriser: 32-bit lanes, no branches, clamping with min/max, fixed-size blocks so that the
// loop vectorises at -O2 as well. The interleaved 8-bit loads vectorise with AVX2's shuffles, so
// an AVX2 variant is built beside the baseline one and chosen at the first call.
#include <algorithm>
#include <cstdint>

#include "zpport/ColorBuffer.h"

namespace zpcolor {

namespace {

constexpr std::size_t kBlock = 64;  // pixels per vectorised block

// Rows 0-2 of a fixed-point matrix as unsigned words; like lxformRGB, the translation row takes no part.
struct Coefficients {
    std::uint32_t k[3][3];
};

// `count` pixels, or kBlock when Count is kBlock. The sums wrap in 32 bits like lxformRGB's (in
// unsigned arithmetic, so the wrap is defined); the signed sum divided by 65536 truncates toward
// zero exactly as lxformRGB's scaling by 1/65536 does, since that product is exact in double.
template <std::size_t Count>
__attribute__((always_inline)) inline void Transform(const Coefficients& c, unsigned char* __restrict rgb,
                                                     std::size_t count) {
    const std::uint32_t rr = c.k[0][0], rg = c.k[0][1], rb = c.k[0][2];
    const std::uint32_t gr = c.k[1][0], gg = c.k[1][1], gb = c.k[1][2];
    const std::uint32_t br = c.k[2][0], bg = c.k[2][1], bb = c.k[2][2];
    for (std::size_t i = 0; i < (Count != 0 ? Count : count); ++i) {
        const std::uint32_t r = rgb[3 * i], g = rgb[3 * i + 1], b = rgb[3 * i + 2];
        const auto sr = static_cast<std::int32_t>(r * rr + g * gr + b * br);
        const auto sg = static_cast<std::int32_t>(r * rg + g * gg + b * bg);
        const auto sb = static_cast<std::int32_t>(r * rb + g * gb + b * bb);
        rgb[3 * i] = static_cast<unsigned char>(std::min(std::max(sr / 65536, 0), 255));
        rgb[3 * i + 1] = static_cast<unsigned char>(std::min(std::max(sg / 65536, 0), 255));
        rgb[3 * i + 2] = static_cast<unsigned char>(std::min(std::max(sb / 65536, 0), 255));
    }
}

// Inlined into each variant, so that each vectorises for its own instruction set.
__attribute__((always_inline)) inline void TransformBlocks(const Coefficients& c, unsigned char* rgb,
                                                           std::size_t pixels) {
    std::size_t done = 0;
    for (; pixels - done >= kBlock; done += kBlock) Transform<kBlock>(c, rgb + 3 * done, kBlock);
    Transform<0>(c, rgb + 3 * done, pixels - done);
}

#if defined(__x86_64__)
// The same loop compiled for AVX2. Chosen at the first call rather than by an ifunc, whose resolver
// would run during relocation, before sanitizer runtimes are ready.
__attribute__((target("avx2"))) void TransformBlocksAvx2(const Coefficients& c, unsigned char* rgb,
                                                         std::size_t pixels) {
    TransformBlocks(c, rgb, pixels);
}
#endif

void TransformBuffer(const Coefficients& c, unsigned char* rgb, std::size_t pixels) {
#if defined(__x86_64__)
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2) return TransformBlocksAvx2(c, rgb, pixels);
#endif
    TransformBlocks(c, rgb, pixels);
}

}  // namespace

void ApplyHueMatrix(const int lm[4][4], unsigned char* rgb, std::size_t pixels) {
    Coefficients c;
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col) c.k[row][col] = static_cast<std::uint32_t>(lm[row][col]);
    TransformBuffer(c, rgb, pixels);
}

}  // namespace zpcolor
