#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "border/border_tables.h"
#include "zpport/BorderData.h"

namespace {

using Bytes = std::array<unsigned char, 1024>;

Bytes BytesOf(const BORDER_DATA& border) {
    Bytes bytes;
    std::memcpy(bytes.data(), &border, bytes.size());
    return bytes;
}

// Packed fields are read by value: a reference to one may be misaligned.
template <typename T>
T Value(T field) {
    return field;
}

BORDER_DATA RecordOf(const Bytes& bytes) {
    BORDER_DATA border;
    std::memcpy(&border, bytes.data(), bytes.size());
    return border;
}

// The default record typed byte by byte from the record layout, little-endian.
class ExpectedImage {
public:
    ExpectedImage() { bytes_.fill(0); }
    void Put(std::size_t offset, std::uint32_t value, int width) {
        for (int i = 0; i < width; ++i) bytes_[offset + i] = static_cast<unsigned char>(value >> (8 * i));
    }
    void Text(std::size_t offset, const char* text) { std::memcpy(&bytes_[offset], text, std::strlen(text)); }
    const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

Bytes DefaultImage() {
    ExpectedImage e;
    e.Text(0, "TW-7000"); e.Put(8, 1, 1); e.Put(10, 1, 1); e.Put(13, 1, 1); e.Put(14, 3, 1); e.Put(15, 3, 1);
    for (std::size_t offset : {18, 22, 26}) e.Put(offset, 0x3F800000, 4);  // 1.0f
    e.Put(30, 3, 2);
    const unsigned char clock[] = {0x19, 0x06, 0x19, 0x10, 0x08, 0x06};
    for (std::size_t i = 0; i < sizeof(clock); ++i) e.Put(33 + i, clock[i], 1);
    e.Put(54, 60000, 4); e.Put(119, 15707, 4); e.Put(127, 100, 1); e.Text(128, "x"); e.Text(179, "0");
    e.Text(181, "0"); e.Put(231, 150443, 4); e.Put(235, 1504, 2); e.Put(237, 1128, 2); e.Put(239, 0x8000, 4);
    e.Put(244, 0x10000, 4); e.Put(260, 0x10000, 4); e.Put(276, 0x10000, 4); e.Put(280, 3, 4);
    e.Put(284, 20000, 4); e.Put(288, 1, 1); e.Put(289, 1504, 2); e.Put(291, 1128, 2); e.Put(293, 255, 2);
    for (std::uint32_t k = 0; k < 256; ++k) e.Put(303 + 2 * k, k * 257, 2);
    e.Put(815, 50, 4); e.Put(853, 2, 1); e.Text(1020, "EoBD");
    return e.bytes();
}

TEST(DefaultBorder, ConstantImageMatchesTheLayout) {
    EXPECT_EQ(DefaultImage(), BytesOf(zp::border::kDefaultBorder));
}

TEST(DefaultBorder, KeepModelGivesTheImageOverAnyContent) {
    BORDER_DATA border;
    std::memset(&border, 0xA5, sizeof(border));
    EXPECT_EQ(0, SetDefaultBorder(&border, 1));
    EXPECT_EQ(DefaultImage(), BytesOf(border));
    EXPECT_STREQ("TW-7000", border.ModelText);
}

TEST(DefaultBorder, ZeroFlagWritesKavModelAndClearsTheDravikArea) {
    BORDER_DATA border;
    std::memset(&border, 0xA5, sizeof(border));
    EXPECT_EQ(0, SetDefaultBorder(&border, 0));
    Bytes expected = DefaultImage();
    std::memcpy(expected.data(), "KAV_BD1", 8);  // with byte 7 NUL
    EXPECT_EQ(expected, BytesOf(border));
    const Bytes got = BytesOf(border);
    for (std::size_t i = 862; i <= 1018; ++i) ASSERT_EQ(0, got[i]) << "offset " << i;
    EXPECT_EQ(0, std::memcmp(&got[1020], "EoBD", 4));
}

TEST(FrameRateIndex, PositionOfAStandardRateFromOne) {
    using zp::border::BorderFrameRateIndex;
    EXPECT_EQ(0, BorderFrameRateIndex(0));
    EXPECT_EQ(1, BorderFrameRateIndex(30));
    EXPECT_EQ(6, BorderFrameRateIndex(1000));
    EXPECT_EQ(12, BorderFrameRateIndex(100000));
    EXPECT_EQ(14, BorderFrameRateIndex(50));
    EXPECT_EQ(14, BorderFrameRateIndex(29));
}

TEST(ChangeEndianess, SwapsGroupsOfFourAndPairs) {
    unsigned char four[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Change_Endianess(4, four, 8);
    const unsigned char fourExpected[8] = {4, 3, 2, 1, 8, 7, 6, 5};
    EXPECT_EQ(0, std::memcmp(four, fourExpected, 8));
    unsigned char two[6] = {1, 2, 3, 4, 5, 6};
    Change_Endianess(2, two, 6);
    const unsigned char twoExpected[6] = {2, 1, 4, 3, 6, 5};
    EXPECT_EQ(0, std::memcmp(two, twoExpected, 6));
}

TEST(ChangeEndianess, IgnoresBadSizesAndLengths) {
    const unsigned char original[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    unsigned char data[8];
    const struct {
        int size;
        unsigned int length;
    } cases[] = {{4, 6}, {2, 3}, {3, 6}, {4, 0}, {2, 0}, {1, 8}, {8, 8}, {0, 8}, {-4, 8}};
    for (const auto& c : cases) {
        std::memcpy(data, original, 8);
        Change_Endianess(c.size, data, c.length);
        EXPECT_EQ(0, std::memcmp(data, original, 8)) << "size " << c.size << " length " << c.length;
    }
}

// Swapped fields as (offset, width, count), typed from the record layout.
struct Run {
    std::size_t offset;
    std::size_t width;
    std::size_t count;
};
const Run kSwapped[] = {{18, 4, 3},  {30, 2, 1},    {48, 4, 1},  {52, 2, 1},  {54, 4, 1},   {58, 2, 30},
                        {119, 4, 2}, {231, 4, 1},   {235, 2, 2}, {239, 4, 1}, {244, 4, 11}, {289, 2, 4},
                        {299, 2, 2}, {303, 2, 256}, {815, 4, 1}, {851, 2, 1}, {854, 4, 2}};

Bytes Pattern() {
    Bytes bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 256 + 1);
    return bytes;
}

Bytes SwappedPattern() {
    const Bytes in = Pattern();
    Bytes out = in;
    for (const Run& run : kSwapped) {
        for (std::size_t n = 0; n < run.count; ++n) {
            const std::size_t start = run.offset + n * run.width;
            for (std::size_t i = 0; i < run.width; ++i) out[start + i] = in[start + run.width - 1 - i];
        }
    }
    for (std::size_t i = 819; i <= 850; ++i) out[i] = 0;
    return out;
}

TEST(ChangeBorderEndianess, SwapsExactlyTheMultiByteFieldsAndClearsScratch) {
    BORDER_DATA border = RecordOf(Pattern());
    ChangeBorderEndianess(&border);
    const Bytes got = BytesOf(border);
    const Bytes expected = SwappedPattern();
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_EQ(expected[i], got[i]) << "offset " << i;
    const Bytes in = Pattern();
    EXPECT_EQ(in[243], got[243]);
    EXPECT_EQ(in[297], got[297]);
    EXPECT_EQ(in[298], got[298]);
}

TEST(ChangeBorderEndianess, TwiceRestoresAllButScratch) {
    BORDER_DATA border = RecordOf(Pattern());
    ChangeBorderEndianess(&border);
    ChangeBorderEndianess(&border);
    Bytes expected = Pattern();
    for (std::size_t i = 819; i <= 850; ++i) expected[i] = 0;
    EXPECT_EQ(expected, BytesOf(border));
}

TEST(ChangeBorderEndianess, ReadsBigEndianCameraValues) {
    Bytes wire{};
    const unsigned char width[] = {0x05, 0xE0};               // 1504
    const unsigned char serial[] = {0x00, 0x02, 0x4B, 0xAB};  // 150443
    const unsigned char gain[] = {0x3F, 0xC0, 0x00, 0x00};    // 1.5f
    std::memcpy(&wire[235], width, 2);
    std::memcpy(&wire[231], serial, 4);
    std::memcpy(&wire[22], gain, 4);
    BORDER_DATA border = RecordOf(wire);
    ChangeBorderEndianess(&border);
    EXPECT_EQ(1504, Value(border.Width));
    EXPECT_EQ(150443u, Value(border.SerialNumber));
    EXPECT_EQ(1.5f, Value(border.WhiteBalanceGreen));
}

TEST(Dravik, FillWritesTheBlockAndReturnsTheCode) {
    const struct {
        unsigned int index;
        int code;
    } rows[] = {{0, -1}, {5, -1}, {6, 37}, {11, 4}, {20, 2}, {27, 229}, {30, 198}, {31, -1}, {37, 235},
                 // Past the table: defined as "no Dravik code", never a read beyond it.
                 {38, -1}, {0xFFFFFFFFu, -1}};
    for (const auto& row : rows) {
        BORDER_DATA border = RecordOf(Pattern());
        EXPECT_EQ(row.code, FillDravikFields(&border, row.index)) << "index " << row.index;
        Bytes expected = Pattern();
        const unsigned char block[] = {'D', 'v', 0, static_cast<unsigned char>(row.code & 0xFF), 'v', 'D'};
        std::memcpy(&expected[862], block, 6);
        EXPECT_EQ(expected, BytesOf(border)) << "index " << row.index;
    }
}

TEST(Dravik, ModelMappingTakesTheLowestIndex) {
    const struct {
        int code;
        int index;
    } rows[] = {{37, 6},   {38, 7},   {56, 9},   {4, 11},   {22, 12},  {29, 13},  {60, 17},
                {61, 18},  {62, 19},  {2, 20},   {3, 22},   {88, 23},  {90, 24},  {92, 25},
                {86, 26},  {229, 27}, {207, 28}, {230, 29}, {198, 30}, {231, 33}, {232, 34},
                {233, 35}, {234, 36}, {235, 37}, {-1, 0},   {999, 0},  {0, 0},    {1, 0}};
    for (const auto& row : rows) EXPECT_EQ(row.index, DravikModelToKAV(row.code)) << "code " << row.code;
}

}  // namespace
