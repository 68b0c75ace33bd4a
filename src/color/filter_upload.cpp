// The camera's image-pipeline tables from a settings record: the 8-bit filter, or the colour
// matrix and tone lookup table, then the noise-threshold and denoise tables, each sent over the
// binary command frame.
#include <zpport/CamPort.h>
#include <zpport/ColorMatrix.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "port/frame.h"
#include "port/settings_words.h"

namespace {

using zp::frame::Command;
using zp::settings::OneOf;
using zp::settings::Word;

constexpr unsigned char kEightBitFilter = 0x19;
constexpr unsigned char kColorMatrix = 0x1B;
constexpr unsigned char kLookupBlock = 0x1C;
constexpr unsigned char kNoiseTable = 0x1D;
constexpr std::uint16_t kEightBitFilterLength = 300;
constexpr std::uint16_t kColorMatrixLength = 48;
constexpr std::uint16_t kBlockLength = 2064;
constexpr std::uint16_t kHalfBlockLength = 1040;
constexpr std::uint16_t kNoiseTableLength = 28;
constexpr std::uint32_t kBlockEntries = 1024;
constexpr std::size_t kTableEntries = 4096;
constexpr std::size_t kNoiseBytes = 15;
constexpr std::uint32_t kThresholdSelector = 0;
constexpr std::uint32_t kDenoiseSelector = 1;

// Settings positions of the picture controls.
constexpr unsigned int kPixelBits = 44;
constexpr unsigned int kBoost = 56;
constexpr unsigned int kGainCode = 392;
constexpr unsigned int kGammaPair = 448;
constexpr unsigned int kToneMode = 464;
constexpr unsigned int kBrightness = 556;
constexpr unsigned int kContrast = 560;
constexpr unsigned int kHue = 564;
constexpr unsigned int kSaturation = 568;
constexpr unsigned int kThreshold = 720;
constexpr unsigned int kFilterFlags = 724;
constexpr unsigned int kUseStoredTable = 836;
constexpr unsigned int kLookupFlags = 840;
constexpr unsigned int kMatrixExtra = 848;
constexpr unsigned int kDenoise = 888;
constexpr unsigned int kKneePair = 940;
// The 3x3 colour matrix, row by row: white balance on the diagonal.
constexpr unsigned int kMatrixPositions[9] = {436, 520, 528, 512, 440, 532, 516, 524, 444};

bool Sent(CCamPort& port, Command& command) {
    return zp::frame::Send(port, command) != 0;
}

// 15 noise-table bytes: the integer part of sqrt(-v ln((i + 1) / 16)), low byte.
void NoiseTable(double value, unsigned char* out) {
    for (std::size_t i = 0; i < kNoiseBytes; ++i) {
        const double level = std::sqrt(-value * std::log(static_cast<double>(i + 1) * 0.0625));
        out[i] = static_cast<unsigned char>(static_cast<std::uint64_t>(level) & 0xFFu);
    }
}

bool SendNoiseTable(CCamPort& port, std::uint32_t selector, double value) {
    Command command(kNoiseTable, {selector});
    unsigned char bytes[kNoiseBytes];
    NoiseTable(value, bytes);
    command.SetBytes(12, bytes, sizeof bytes);
    command.SetLength(kNoiseTableLength);
    return Sent(port, command);
}

// 16.16 to 8 fraction bits; the unsigned shift leaves a negative element its low 24 bits.
std::uint32_t ToEightFractionBits(std::uint32_t element) {
    return static_cast<std::uint32_t>(
        (static_cast<float>(element >> 16) + static_cast<float>(element & 0xFFFFu) * 1.5258789e-05) * 256.0);
}

}  // namespace

unsigned int CCamPort::SetFilter(_CAMERA_SETTINGS* settings) {
    const unsigned char* record = reinterpret_cast<const unsigned char*>(settings);
    if (record == nullptr) return 0;
    const auto at = [record](unsigned int position) { return Word(record, position); };

    if (m_dwDefaultOn == 0) {
        // 8-bit cameras take one filter command; its answer does not matter.
        unsigned int matrix[9];
        unsigned char table[256];
        ColorFilter(static_cast<int>(at(kBrightness)), static_cast<int>(at(kContrast)), at(kGammaPair),
                    at(kKneePair), at(kHue), at(kSaturation), matrix, table);
        Command command(kEightBitFilter, {});
        command.SetBytes(8, matrix, sizeof matrix);
        command.SetBytes(44, table, sizeof table);
        command.SetLength(kEightBitFilterLength);
        Sent(*this, command);
        return 1;
    }

    if ((at(kFilterFlags) & 0x80000000u) != 0) {
        unsigned int input[9];
        for (std::size_t i = 0; i < 9; ++i) input[i] = at(kMatrixPositions[i]);
        const unsigned int model = m_Model.modelCode;
        const std::uint32_t pixelBits = at(kPixelBits);
        const std::uint32_t toneMode = at(kToneMode);
        std::uint32_t gain = 0;
        if (((model == 11 && m_Model.modelOption) || OneOf(model, {9, 10, 21, 22, 24, 26})) &&
            m_Model.clock > 230000000u)
            gain = at(kGainCode) | 0x100u;  // bit 8: the extra 1.2 gain step of the fast clock
        else if (OneOf(model, {30, 31, 34, 35, 36}) && m_Model.revision > 170 && !m_Model.gainKeep)
            gain = 0;
        else if (model != 11 || m_Model.modelOption)
            gain = at(kGainCode);
        const std::uint32_t boost = (pixelBits & ~0x10u) == 8 ? at(kBoost) : 0;
        const std::uint32_t useTable = toneMode < 2 ? at(kUseStoredTable) : 0;
        int outBits = 10;
        if (model == 21 || m_Model.twelveBit || (m_Model.tenOrTwelveBit && toneMode == 3)) outBits = 12;

        unsigned int matrix[9];
        unsigned short table[kTableEntries];
        GBCHS(outBits, static_cast<int>(pixelBits), input, static_cast<int>(at(kGammaPair)),
              static_cast<int>(at(kKneePair)), static_cast<int>(at(kBrightness)),
              static_cast<int>(at(kContrast)), static_cast<int>(at(kHue)), static_cast<int>(at(kSaturation)),
              static_cast<int>(gain), static_cast<int>(boost), static_cast<int>(useTable), m_wToneTable,
              matrix, table);

        unsigned int payload[9];
        for (std::size_t i = 0; i < 9; ++i) payload[i] = ToEightFractionBits(matrix[i]);
        const bool unchanged = std::memcmp(payload, m_dwColorMatrixCache, sizeof payload) == 0;
        std::memcpy(m_dwColorMatrixCache, payload, sizeof payload);
        if (!unchanged) {
            Command command(kColorMatrix, {});
            command.SetBytes(8, payload, sizeof payload);
            command.SetWord(9, at(kMatrixExtra));
            command.SetLength(kColorMatrixLength);
            if (!Sent(*this, command)) {
                // The matrix failure names the table and the table failure the matrix; the texts stay so.
                m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Send LUT cmd");
                return 0;
            }
        }
        if (!SendLookupTable(model, pixelBits, table, at(kLookupFlags))) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Send CCMC cmd");
            return 0;
        }
    }

    if (at(kThreshold) != Word(m_abyLastSettings, kThreshold) &&
        !SendNoiseTable(*this, kThresholdSelector, static_cast<float>(at(kThreshold))))
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Send TNK cmd");

    if (m_Model.denoiseSupported && at(kDenoise) != Word(m_abyLastSettings, kDenoise)) {
        double value = static_cast<float>(at(kDenoise));
        if (!m_Model.denoiseScale) value *= 10.0;
        if (SendNoiseTable(*this, kDenoiseSelector, value)) return 1;
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Send DNR cmd");
        return 0;
    }
    return 1;
}

unsigned int CCamPort::SendLookupTable(unsigned int, unsigned int, unsigned short* table,
                                       unsigned int flags) {
    if (table == nullptr) return 0;
    // Equal to the last table sent: nothing to do, even when that upload failed.
    if (std::memcmp(table, m_wLastLookupTable, sizeof m_wLastLookupTable) == 0) return 1;

    std::uint32_t base = ((flags & 1u) ? 0u : 0x8000u) + ((flags & 2u) ? 0u : 0x4000u);
    if ((flags & 4u) == 0) base += 0x2000u;

    bool sent = true;
    for (std::uint32_t block = 0; block < 4 && sent; ++block) {
        const std::uint32_t address = base + block * kBlockEntries;
        unsigned short entries[kBlockEntries];
        for (std::uint32_t k = 0; k < kBlockEntries; ++k) entries[k] = table[(address + k) & 0xFFFu];
        if (!m_Model.halfBlocks) {
            Command command(kLookupBlock, {address, kBlockEntries});
            command.SetBytes(16, entries, sizeof entries);
            command.SetLength(kBlockLength);
            sent = Sent(*this, command);
            continue;
        }
        for (unsigned int half = 0; half < 2 && sent; ++half) {
            Command command(kLookupBlock, {address, kBlockEntries},
                            half == 0 ? zp::frame::kFirstPart : zp::frame::kSecondPart);
            command.SetBytes(16, entries + half * kBlockEntries / 2, sizeof entries / 2);
            command.SetLength(kHalfBlockLength);
            sent = Sent(*this, command);
        }
    }
    std::memcpy(m_wLastLookupTable, table, sizeof m_wLastLookupTable);
    return sent ? 1 : 0;
}
