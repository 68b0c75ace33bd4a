// Byte order, defaults and the Dravik block of the frame border record.
#include <cstddef>
#include <cstring>

#include "border/border_tables.h"
#include "zpport/BorderData.h"

namespace {

using zp::border::kDefaultBorder;
using zp::border::kDravikModelCodes;
using zp::border::kDravikModelCount;

// `count` consecutive fields of `size` bytes each, starting at `offset`.
struct SwapRun {
    std::size_t offset;
    int size;
    unsigned int count;
};

#define ZP_AT(field) offsetof(BORDER_DATA, field)

// Every converted field in record order. Byte243 and Bytes297 are deliberately absent.
constexpr SwapRun kSwapRuns[] = {
    {ZP_AT(WhiteBalanceRed), 4, 1},
    {ZP_AT(WhiteBalanceGreen), 4, 1},
    {ZP_AT(WhiteBalanceBlue), 4, 1},
    {ZP_AT(FrameNumber), 2, 1},
    {ZP_AT(IrigMicroseconds), 4, 1},
    {ZP_AT(ElapsedMinutes), 2, 1},
    {ZP_AT(ElapsedMicroseconds), 4, 1},
    {ZP_AT(Words58), 2, 30},
    {ZP_AT(Exposure), 4, 1},
    {ZP_AT(Temperature), 4, 1},
    {ZP_AT(SerialNumber), 4, 1},
    {ZP_AT(Width), 2, 1},
    {ZP_AT(Height), 2, 1},
    {ZP_AT(Flags), 4, 1},
    {ZP_AT(Dword244), 4, 1},
    {ZP_AT(RedCorrectionA), 4, 10},
    {ZP_AT(Width2), 2, 1},
    {ZP_AT(Height2), 2, 1},
    {ZP_AT(Word293), 2, 1},
    {ZP_AT(Word295), 2, 1},
    {ZP_AT(Word299), 2, 1},
    {ZP_AT(Word301), 2, 1},
    {ZP_AT(ToneTable), 2, BORDER_TONE_ENTRIES},
    {ZP_AT(FrameRate), 4, 1},
};

constexpr SwapRun kSwapRunsAfterScratch[] = {
    {ZP_AT(Word851), 2, 1},
    {ZP_AT(Dword854), 4, 1},
    {ZP_AT(Dword858), 4, 1},
};

#undef ZP_AT

// The ten words from RedCorrectionA run through BlueCorrectionB and the three words after it.
static_assert(offsetof(BORDER_DATA, Dword284) == offsetof(BORDER_DATA, RedCorrectionA) + 9 * 4,
              "correction words must be contiguous");

void ApplyRuns(unsigned char* bytes, const SwapRun* runs, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const SwapRun& run = runs[i];
        Change_Endianess(run.size, bytes + run.offset, run.count * static_cast<unsigned int>(run.size));
    }
}

void ReverseGroups(unsigned char* bytes, unsigned int length, unsigned int group) {
    for (unsigned int start = 0; start < length; start += group) {
        for (unsigned int i = 0, j = group - 1; i < j; ++i, --j) {
            const unsigned char keep = bytes[start + i];
            bytes[start + i] = bytes[start + j];
            bytes[start + j] = keep;
        }
    }
}

}  // namespace

void Change_Endianess(int size, void* data, unsigned int length) {
    if (length == 0) return;
    if ((size == 4 && length % 4 == 0) || (size == 2 && length % 2 == 0)) {
        ReverseGroups(static_cast<unsigned char*>(data), length, static_cast<unsigned int>(size));
    }
}

void ChangeBorderEndianess(BORDER_DATA* border) {
    auto* bytes = reinterpret_cast<unsigned char*>(border);
    ApplyRuns(bytes, kSwapRuns, sizeof(kSwapRuns) / sizeof(kSwapRuns[0]));
    std::memset(bytes + offsetof(BORDER_DATA, Scratch), 0, sizeof(border->Scratch));
    ApplyRuns(bytes, kSwapRunsAfterScratch, sizeof(kSwapRunsAfterScratch) / sizeof(kSwapRunsAfterScratch[0]));
}

int SetDefaultBorder(BORDER_DATA* border, int keepModel) {
    std::memcpy(border, &kDefaultBorder, sizeof(BORDER_DATA));
    if (keepModel == 0) std::memcpy(border->ModelText, "KAV_BD1", 7);
    // Clears the Dravik block and the zero area; Byte1019 and the end marker stay.
    auto* bytes = reinterpret_cast<unsigned char*>(border);
    const std::size_t from = offsetof(BORDER_DATA, DravikBlock);
    std::memset(bytes + from, 0, offsetof(BORDER_DATA, Byte1019) - from);
    return 0;
}

int FillDravikFields(BORDER_DATA* border, unsigned int modelIndex) {
    // Callers pass 0..37; an index past the table reads as "no Dravik code" instead of past its end.
    const int code = modelIndex < static_cast<unsigned int>(kDravikModelCount) ? kDravikModelCodes[modelIndex] : -1;
    const unsigned char block[6] = {'D', 'v', 0, static_cast<unsigned char>(code & 0xFF), 'v', 'D'};
    std::memcpy(border->DravikBlock, block, sizeof(block));
    return code;
}

int DravikModelToKAV(int dravikCode) {
    for (int index = 0; index < kDravikModelCount; ++index) {
        if (kDravikModelCodes[index] == dravikCode) return index;
    }
    return 0;
}
