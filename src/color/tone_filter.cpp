// Picture controls (brightness, contrast, gamma with a knee, hue, saturation, gain) turned into a
// tone lookup table and a 3x3 signed 16.16 colour matrix.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "zpport/ColorMatrix.h"

namespace {

constexpr int kNeutralBrightness = 25;
constexpr int kNeutralContrast = 10;
constexpr int kNeutralHue = 180;
constexpr int kNeutralSaturation = 10;
constexpr unsigned int kFixedOne = 0x10000;
constexpr int kLutEntries = 4096;
constexpr int kMaxOutBits = 12;

// Dark-end and bright-end gamma of a gamma pair; a zero half means 1.0.
struct Gamma {
    double low;
    double high;
    bool neutral;
};

Gamma DecodeGamma(unsigned int pair) {
    const unsigned int high = pair >> 16;
    const unsigned int low = pair & 0xFFFF;
    return {high != 0 ? high * 0.1 : 1.0, low != 0 ? low * 0.1 : 1.0,
            (high == 0 || high == 10) && (low == 0 || low == 10)};
}

// Gamma at table index i: gLow below the knee, gHigh above it, linear in between.
double GammaAt(const Gamma& gamma, int i, int kneeStart, int kneeEnd) {
    if (i < kneeStart) return gamma.low;
    if (i < kneeEnd) return (gamma.high - gamma.low) * (i - kneeStart) / (kneeEnd - kneeStart) + gamma.low;
    return gamma.high;
}

// Applies the knee gamma to a positive level v on a 0..max scale.
double ApplyGamma(double v, const Gamma& gamma, int i, int kneeStart, int kneeEnd, double max) {
    if (v <= 0) return v;
    const double g = GammaAt(gamma, i, kneeStart, kneeEnd);
    return g != 1.0 ? std::pow(v / max, 1.0 / g) * max : v;
}

int ClampTruncate(double v, int max) {
    if (v < 0) return 0;
    if (v > max) return max;
    return static_cast<int>(v);
}

int GainFromCode(int code) {
    int gain = 1024;
    switch (code & 0xFF) {
        case 1:
            gain = 1448;
            break;
        case 2:
            gain = 2048;
            break;
        case 3:
            gain = 2896;
            break;
        case 4:
            gain = 4096;
            break;
        default:
            break;
    }
    if (code & 0x100) gain = gain * 1228 >> 10;
    return gain;
}

// A 16.16 word as signed integer part (high half, arithmetic) plus fraction (low half).
double FixedToDouble(std::uint32_t word) {
    const auto whole = static_cast<std::int16_t>(word >> 16);
    return whole + (word & 0xFFFF) * 1.5258789e-05;
}

std::uint32_t DoubleToFixed(double v) {
    const double scaled = v * 65536.0;
    if (!(scaled > -2147483648.0)) return 0x80000000u;
    if (scaled >= 2147483647.0) return 0x7FFFFFFFu;
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(scaled));
}

void WriteIdentity3x3(unsigned int* matrix) {
    for (int k = 0; k < 9; ++k) matrix[k] = (k % 4 == 0) ? kFixedOne : 0;
}

// A correction matrix counts as given unless it is exactly the identity or exactly all zero.
bool CorrectionGiven(const unsigned int* correction) {
    if (correction == nullptr) return false;
    bool identity = true;
    bool zero = true;
    for (int k = 0; k < 9; ++k) {
        identity = identity && correction[k] == ((k % 4 == 0) ? kFixedOne : 0);
        zero = zero && correction[k] == 0;
    }
    return !identity && !zero;
}

struct ToneControls {
    Gamma gamma;
    int kneePair;
    int brightness;
    int contrast;
    int gain;
    int boost;
};

// GBCHS's computed table of 2^outBits entries.
void ComputeToneTable(const ToneControls& c, int outBits, unsigned short* lut) {
    const int n = 1 << outBits;
    const int max = n - 1;
    const double mid = (max + 1) * 0.5;
    const double offset = (c.brightness - static_cast<double>(kNeutralBrightness)) * 0.01 * (max + 1);
    const double slope = c.contrast * 0.05 + 0.5;
    const auto knee = static_cast<unsigned int>(c.kneePair);
    const int kneeStart = static_cast<int>((knee >> 16) * static_cast<unsigned int>(n) / 1024);
    const int kneeEnd = static_cast<int>((knee & 0xFFFF) * static_cast<unsigned int>(n) / 1024);
    for (int i = 0; i <= max; ++i) {
        double v = ((i - mid) + offset) * slope + mid;
        v = ApplyGamma(v, c.gamma, i, kneeStart, kneeEnd, max);
        int entry = ClampTruncate(v, max);
        if (c.gain != 1024) entry = std::min(entry * c.gain >> 10, max);
        if (c.boost == 1) entry = std::min(entry * 2, max);
        if (c.boost == 2) entry = std::min(entry * 4, max);
        lut[i] = static_cast<unsigned short>(entry);
    }
}

// GBCHS's rescale of the caller's table: gain picks the source index, the shift scales the value.
void RescaleTable(const unsigned short* table, int outBits, long long shift, int gain, unsigned short* lut) {
    // 16 bits either way already move any 16-bit value past max or to zero; beyond that the shift
    // would be undefined.
    shift = std::clamp(shift, -16LL, 16LL);
    const int max = (1 << outBits) - 1;
    for (int i = 0; i <= max; ++i) {
        const int index = gain == 1024 ? i : std::min((i * gain) >> 10, max);
        // A negative shift (a sensor wider than the output) scales down instead of up.
        const std::uint64_t value = shift >= 0 ? static_cast<std::uint64_t>(table[index]) << shift
                                               : static_cast<std::uint64_t>(table[index]) >> -shift;
        lut[i] = static_cast<unsigned short>(std::min<std::uint64_t>(value, max));
    }
}

// matrix = transpose of C . H when a correction C is given, else the transpose of H.
void WriteColourMatrix(const unsigned int* correction, bool corrected, int h[4][4], unsigned int* matrix) {
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            if (!corrected) {
                matrix[3 * c + r] = static_cast<std::uint32_t>(h[r][c]);
                continue;
            }
            double p = 0.0;
            for (int k = 0; k < 3; ++k) {
                const double hue = FixedToDouble(static_cast<std::uint32_t>(h[k][c]));
                p += FixedToDouble(correction[3 * r + k]) * hue;
            }
            matrix[3 * c + r] = DoubleToFixed(p);
        }
    }
}

}  // namespace

void ColorFilter(int brightness, int contrast, unsigned int gammaPair, unsigned int kneePair,
                 unsigned int hue, unsigned int saturation, unsigned int* matrix, unsigned char* lut) {
    const Gamma gamma = DecodeGamma(gammaPair);
    // Knee points come on a 10-bit scale; the table is 8-bit.
    const int kneeStart = static_cast<int>(kneePair >> 18);
    const int kneeEnd = static_cast<int>((kneePair & 0xFFFF) >> 2);
    if (brightness == kNeutralBrightness && contrast == kNeutralContrast && gamma.neutral) {
        for (int i = 0; i < 256; ++i) lut[i] = static_cast<unsigned char>(i);
    } else {
        const double offset = (brightness - static_cast<double>(kNeutralBrightness)) * 0.01 * 256.0;
        const double slope = contrast * 0.05 + 0.5;
        for (int i = 0; i < 256; ++i) {
            const double v = (i - 128 + offset) * slope + 128;
            lut[i] = static_cast<unsigned char>(
                ClampTruncate(ApplyGamma(v, gamma, i, kneeStart, kneeEnd, 255.0), 255));
        }
    }
    if (hue == kNeutralHue && saturation == kNeutralSaturation) {
        WriteIdentity3x3(matrix);
        return;
    }
    int lm[4][4];
    InitHueMatrix(lm, static_cast<float>(static_cast<float>(hue) - 180.0),
                  static_cast<float>(static_cast<float>(saturation) / 10.0));
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) matrix[3 * r + c] = static_cast<std::uint32_t>(lm[r][c]);
}

void GBCHS(int outBits, int sensorBits, unsigned int* correction, int gammaPair, int kneePair, int brightness,
           int contrast, int hue, int saturation, int gainCode, int boost, int useTable,
           unsigned short* table, unsigned int* matrix, unsigned short* lut) {
    const Gamma gamma = DecodeGamma(static_cast<unsigned int>(gammaPair));
    const bool toneNeutral =
        gamma.neutral && brightness == kNeutralBrightness && contrast == kNeutralContrast && gainCode == 0;
    const bool colourForm = sensorBits >= 17;
    const bool corrected = colourForm && CorrectionGiven(correction);
    const bool buildHue = colourForm && (hue != kNeutralHue || saturation != kNeutralSaturation || corrected);
    // Sensor bits of the colour form count all three channels.
    const long long shift =
        colourForm ? outBits - sensorBits / 3LL : outBits - static_cast<long long>(sensorBits);
    const bool allNeutral = toneNeutral && !buildHue;

    WriteIdentity3x3(matrix);
    for (int k = 0; k < kLutEntries; ++k) lut[k] = static_cast<unsigned short>(k);
    if (allNeutral && boost == 0 && useTable == 0) return;
    // The table holds 4096 entries: wider outputs are refused and leave the identity.
    if (outBits < 0 || outBits > kMaxOutBits) return;

    const int gain = GainFromCode(gainCode);
    if (useTable == 0) {
        ComputeToneTable({gamma, kneePair, brightness, contrast, gain, boost}, outBits, lut);
    } else if (table != nullptr) {
        RescaleTable(table, outBits, shift + ((boost == 1 || boost == 2) ? boost : 0), gain, lut);
    }
    if (!buildHue) return;
    int h[4][4];
    InitHueMatrix(h, static_cast<float>(static_cast<float>(hue) - 180.0),
                  static_cast<float>(static_cast<float>(saturation) / 10.0));
    WriteColourMatrix(correction, corrected, h, matrix);
}
