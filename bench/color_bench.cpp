// Colour preview over one 1504 x 1128 frame: the per-pixel lxformRGB loop against the
// whole-buffer ApplyHueMatrix (same results), and tone-table passes: GBCHS's 12-bit table over
// 16-bit samples and ColorFilter's 8-bit table over 8-bit samples. Megapixels per second.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "zpport/ColorBuffer.h"
#include "zpport/ColorMatrix.h"

namespace {

constexpr std::size_t kWidth = 1504;
constexpr std::size_t kHeight = 1128;
constexpr std::size_t kPixels = kWidth * kHeight;

// A deterministic frame with every byte value present.
std::vector<unsigned char> RgbFrame() {
    std::vector<unsigned char> rgb(3 * kPixels);
    std::uint32_t x = 12345;
    for (auto& byte : rgb) {
        x = x * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(x >> 24);
    }
    return rgb;
}

void SetMegapixels(benchmark::State& state) {
    state.counters["Mpixel/s"] = benchmark::Counter(static_cast<double>(state.iterations() * kPixels) / 1e6,
                                                    benchmark::Counter::kIsRate);
}

// The matrix a host would preview: hue +30 degrees, saturation 1.4.
void HueMatrix(int lm[4][4]) {
    InitHueMatrix(lm, 30.0f, 1.4f);
}

void BM_LxformRgbPerPixel(benchmark::State& state) {
    int lm[4][4];
    HueMatrix(lm);
    const std::vector<unsigned char> source = RgbFrame();
    std::vector<unsigned char> rgb = source;
    for (auto _ : state) {
        for (std::size_t i = 0; i < 3 * kPixels; i += 3) {
            int r = rgb[i], g = rgb[i + 1], b = rgb[i + 2];
            lxformRGB(lm, &r, &g, &b);
            rgb[i] = static_cast<unsigned char>(r);
            rgb[i + 1] = static_cast<unsigned char>(g);
            rgb[i + 2] = static_cast<unsigned char>(b);
        }
        benchmark::DoNotOptimize(rgb.data());
        benchmark::ClobberMemory();
    }
    SetMegapixels(state);
}
BENCHMARK(BM_LxformRgbPerPixel)->Unit(benchmark::kMillisecond);

void BM_ApplyHueMatrix(benchmark::State& state) {
    int lm[4][4];
    HueMatrix(lm);
    std::vector<unsigned char> rgb = RgbFrame();
    for (auto _ : state) {
        zpcolor::ApplyHueMatrix(lm, rgb.data(), kPixels);
        benchmark::DoNotOptimize(rgb.data());
        benchmark::ClobberMemory();
    }
    SetMegapixels(state);
}
BENCHMARK(BM_ApplyHueMatrix)->Unit(benchmark::kMillisecond);

// GBCHS's 12-bit table (brightness 30, contrast 12, gamma 1.0 dark / 1.6 bright, gain 2) applied
// to a frame of 12-bit samples held in 16 bits.
void BM_Gbchs12BitTablePass(benchmark::State& state) {
    std::vector<unsigned short> lut(4096), table(4096);
    unsigned int matrix[9];
    GBCHS(12, 12, nullptr, 0x000A0010, 0, 30, 12, 180, 10, 2, 0, 0, table.data(), matrix, lut.data());
    const std::vector<unsigned char> bytes = RgbFrame();
    std::vector<unsigned short> samples(kPixels), out(kPixels);
    for (std::size_t i = 0; i < kPixels; ++i)
        samples[i] = static_cast<unsigned short>((bytes[2 * i] << 4) | (bytes[2 * i + 1] & 0xF));
    for (auto _ : state) {
        for (std::size_t i = 0; i < kPixels; ++i) out[i] = lut[samples[i] & 0xFFF];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    SetMegapixels(state);
}
BENCHMARK(BM_Gbchs12BitTablePass)->Unit(benchmark::kMillisecond);

// ColorFilter's 8-bit table (brightness 30, contrast 12, gamma 1.6 at the bright end) over an
// 8-bit frame.
void BM_ColorFilter8BitTablePass(benchmark::State& state) {
    unsigned char lut[256];
    unsigned int matrix[9];
    ColorFilter(30, 12, 0x000A0010, 0, 180, 10, matrix, lut);
    const std::vector<unsigned char> bytes = RgbFrame();
    const std::vector<unsigned char> samples(bytes.begin(), bytes.begin() + kPixels);
    std::vector<unsigned char> out(kPixels);
    for (auto _ : state) {
        for (std::size_t i = 0; i < kPixels; ++i) out[i] = lut[samples[i]];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    SetMegapixels(state);
}
BENCHMARK(BM_ColorFilter8BitTablePass)->Unit(benchmark::kMillisecond);

}  // namespace
