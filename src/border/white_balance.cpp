// White balance of an 8-bit Bayer raw frame from the gains in its border record.
#include <cstddef>
#include <cstdint>

#include "zpport/BorderData.h"

namespace {

// One of the four Bayer pixel classes: every second row from firstRow, every second column from
// firstColumn, all scaled by the same gain.
struct PixelClass {
    unsigned int firstRow;
    unsigned int firstColumn;
    float gain;
};

// value x gain in float32; above 255 saturates, otherwise truncated toward zero and kept to 8 bits.
unsigned char Scale(unsigned char value, float gain) {
    const float product = static_cast<float>(value) * gain;
    if (product > 255.0f) return 255;
    // Products at or below -2^31 (and NaN) give the x86 "integer indefinite", whose low byte is 0.
    if (!(product > -2147483648.0f)) return 0;
    return static_cast<unsigned char>(static_cast<std::int32_t>(product));
}

void ScaleClass(unsigned char* frame, unsigned int width, unsigned int height, const PixelClass& cls) {
    for (unsigned int row = cls.firstRow; row < height; row += 2) {
        unsigned char* line = frame + static_cast<std::size_t>(row) * width;
        for (unsigned int column = cls.firstColumn; column < width; column += 2) {
            line[column] = Scale(line[column], cls.gain);
        }
    }
}

// The white-balance gain plus its two correction terms, each term scaled by 1 / 65535.
float CorrectedGain(float termA, float whiteBalance, float termB) {
    return static_cast<float>(termA / 65535.0 + whiteBalance + termB / 65535.0);
}

}  // namespace

void CorrectTP2Data(void* frame, BORDER_DATA* border) {
    ChangeBorderEndianess(border);
    const unsigned int width = border->Width;
    const unsigned int height = border->Height;
    const float red = border->WhiteBalanceRed;
    const float green = border->WhiteBalanceGreen;
    const float blue = border->WhiteBalanceBlue;

    PixelClass classes[4];
    if (border->CorrectionLayout == 1) {
        // Green-red / blue-green, origin at a green pixel.
        classes[0] = {0, 0, green};
        classes[1] = {1, 1, green};
        classes[2] = {0, 1, red};
        classes[3] = {1, 0, blue};
    } else {
        // Blue-green / green-red, origin at a blue pixel. The word between the green terms is not used.
        const float greenGain = CorrectedGain(border->GreenCorrectionA, green, border->GreenCorrectionB);
        classes[0] = {0, 1, greenGain};
        classes[1] = {1, 0, greenGain};
        classes[2] = {1, 1, CorrectedGain(border->RedCorrectionA, red, border->RedCorrectionB)};
        classes[3] = {0, 0, CorrectedGain(border->BlueCorrectionA, blue, border->BlueCorrectionB)};
    }
    for (const PixelClass& cls : classes) ScaleClass(static_cast<unsigned char*>(frame), width, height, cls);

    ChangeBorderEndianess(border);
}
