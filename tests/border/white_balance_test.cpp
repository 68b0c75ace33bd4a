#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "zpport/BorderData.h"

namespace {

struct Gains {
    float red;
    float green;
    float blue;
};

// A record in camera byte order describing a width x height frame.
BORDER_DATA CameraRecord(int layout, int width, int height, Gains gains) {
    BORDER_DATA border;
    SetDefaultBorder(&border, 1);
    border.CorrectionLayout = static_cast<uint8_t>(layout);
    border.Width = static_cast<uint16_t>(width);
    border.Height = static_cast<uint16_t>(height);
    border.WhiteBalanceRed = gains.red;
    border.WhiteBalanceGreen = gains.green;
    border.WhiteBalanceBlue = gains.blue;
    ChangeBorderEndianess(&border);
    return border;
}

std::vector<unsigned char> Corrected(std::vector<unsigned char> frame, BORDER_DATA border) {
    CorrectTP2Data(frame.data(), &border);
    return frame;
}

TEST(WhiteBalanceGreenOrigin, EachPixelClassTakesItsGain) {
    // G R G R / B G B G / G R G R with green 1.5, red 0.9, blue 2.0.
    const BORDER_DATA border = CameraRecord(1, 4, 3, {0.9f, 1.5f, 2.0f});
    const std::vector<unsigned char> frame = {100, 3,  200, 10,      // G R G R
                                              50,  20, 128, 255,     // B G B G
                                              1,   99, 171, 0};      // G R G R
    const std::vector<unsigned char> expected = {150, 2,  255, 9,    // 150, 2.7, 300, 9
                                                 100, 30, 255, 255,  // 100, 30, 256, 382.5
                                                 1,   89, 255, 0};   // 1.5, 89.1, 256.5, 0
    EXPECT_EQ(expected, Corrected(frame, border));
}

TEST(WhiteBalanceGreenOrigin, ProductIsFloat32AndTruncated) {
    // 0.7f x 10 is 6.99999988 exactly but 7.0 once rounded to float32; 1.255f x 100 truncates to 125.
    const BORDER_DATA border = CameraRecord(1, 2, 2, {1.255f, 0.7f, 1.0f});
    const std::vector<unsigned char> frame = {10, 100, 7, 10};
    const std::vector<unsigned char> expected = {7, 125, 7, 7};
    EXPECT_EQ(expected, Corrected(frame, border));
}

TEST(WhiteBalanceGreenOrigin, UnitGainsLeaveTheFrameUnchanged) {
    const BORDER_DATA border = CameraRecord(1, 16, 16, {1.0f, 1.0f, 1.0f});
    std::vector<unsigned char> frame(256);
    for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(frame, Corrected(frame, border));
}

TEST(WhiteBalanceGreenOrigin, NoLinesOrOneColumnTouchOnlyTheFrame) {
    std::vector<unsigned char> frame(8, 100);
    EXPECT_EQ(frame, Corrected(frame, CameraRecord(1, 8, 0, {2.0f, 2.0f, 2.0f})));
    // 1 x 2 frame: a green pixel over a blue one; the bytes after it stay.
    const std::vector<unsigned char> column = {10, 10, 10, 10};
    const std::vector<unsigned char> expected = {20, 30, 10, 10};
    EXPECT_EQ(expected, Corrected(column, CameraRecord(1, 1, 2, {5.0f, 2.0f, 3.0f})));
}

TEST(WhiteBalanceBlueOrigin, GainsAddTheirCorrectionTerms) {
    BORDER_DATA border;
    SetDefaultBorder(&border, 1);
    border.CorrectionLayout = 0;
    border.Width = 3;
    border.Height = 3;
    border.WhiteBalanceGreen = 0.5f;  // 65535 / 65535 + 0.5 + 32767.5 / 65535 = 2.0
    border.GreenCorrectionA = 65535.0f;
    border.GreenCorrectionB = 32767.5f;
    border.Dword260 = 0x477FFF00;   // 65535.0f: would add 1.0 if it were used
    border.WhiteBalanceRed = 1.0f;  // -32767.5 / 65535 + 1.0 + 0 = 0.5
    border.RedCorrectionA = -32767.5f;
    border.RedCorrectionB = 0.0f;
    border.WhiteBalanceBlue = 0.25f;  // 0 + 0.25 + 65535 / 65535 = 1.25
    border.BlueCorrectionA = 0.0f;
    border.BlueCorrectionB = 65535.0f;
    ChangeBorderEndianess(&border);
    const std::vector<unsigned char> frame = {10,  20,  30,       // B G B
                                              40,  50,  60,       // G R G
                                              100, 130, 255};     // B G B
    const std::vector<unsigned char> expected = {12,  40,  37,    // 12.5, 40, 37.5
                                                 80,  25,  120,   // 80, 25, 120
                                                 125, 255, 255};  // 125, 260, 318.75
    EXPECT_EQ(expected, Corrected(frame, border));
}

TEST(WhiteBalanceBlueOrigin, ProductIsFloat32) {
    // Zero correction terms: the gains are the white-balance gains; 0.7f x 10 gives 7 as float32.
    const BORDER_DATA border = CameraRecord(0, 2, 2, {0.7f, 0.7f, 0.7f});
    const std::vector<unsigned char> frame = {10, 10, 10, 3};
    const std::vector<unsigned char> expected = {7, 7, 7, 2};
    EXPECT_EQ(expected, Corrected(frame, border));
}

TEST(WhiteBalanceRecord, ComesBackInCameraOrderWithScratchCleared) {
    BORDER_DATA border = CameraRecord(0, 2, 2, {1.0f, 1.0f, 1.0f});
    std::memset(border.Scratch, 0xEE, sizeof(border.Scratch));
    BORDER_DATA expected = border;
    std::memset(expected.Scratch, 0, sizeof(expected.Scratch));
    unsigned char frame[4] = {1, 2, 3, 4};
    CorrectTP2Data(frame, &border);
    EXPECT_EQ(0, std::memcmp(&expected, &border, sizeof(border)));
}

}  // namespace
