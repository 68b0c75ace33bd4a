// The border record byte by byte (default image, byte-order swap by field size, Dravik block), its
// IRIG date and time, white balance of raw frames, and border XML: the reader's rules for every kind
// of line and file, the writer's exact text, and records through writer and reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "border/border_tables.h"
#include "support/temp_dir.h"
#include "zpport/BorderXml.h"

namespace {

using zp::border::kDefaultBorder;

unsigned char* At(BORDER_DATA& border, std::size_t offset) {
    return reinterpret_cast<unsigned char*>(&border) + offset;
}

// The record's bytes as text, so that a failed comparison prints both records.
std::string Raw(const BORDER_DATA& border) {
    return std::string(reinterpret_cast<const char*>(&border), sizeof(border));
}

// A record of distinct bytes.
BORDER_DATA Pattern() {
    BORDER_DATA border;
    for (std::size_t i = 0; i < 1024; ++i) *At(border, i) = static_cast<std::uint8_t>(i * 7 + i / 256 + 1);
    return border;
}

// The default record typed from the record layout as (offset, little-endian value, width).
BORDER_DATA DefaultImage() {
    BORDER_DATA e{};
    std::memcpy(At(e, 0), "TW-7000", 7);
    std::memcpy(At(e, 1020), "EoBD", 4);
    // clang-format off
    std::vector<std::array<std::uint32_t, 3>> fields = {
        {8, 1, 1}, {10, 1, 1}, {13, 1, 1}, {14, 3, 1}, {15, 3, 1}, {18, 0x3F800000, 4}, {22, 0x3F800000, 4},
        {26, 0x3F800000, 4}, {30, 3, 2}, {33, 0x19, 1}, {34, 0x06, 1}, {35, 0x19, 1}, {36, 0x10, 1},
        {37, 0x08, 1}, {38, 0x06, 1}, {54, 60000, 4}, {119, 15707, 4}, {127, 100, 1}, {128, 'x', 1},
        {179, '0', 1}, {181, '0', 1}, {231, 150443, 4}, {235, 1504, 2}, {237, 1128, 2}, {239, 0x8000, 4},
        {244, 0x10000, 4}, {260, 0x10000, 4}, {276, 0x10000, 4}, {280, 3, 4}, {284, 20000, 4}, {288, 1, 1},
        {289, 1504, 2}, {291, 1128, 2}, {293, 255, 2}, {815, 50, 4}, {853, 2, 1}};
    // clang-format on
    for (std::uint32_t k = 0; k < 256; ++k) fields.push_back({303 + 2 * k, k * 257, 2});
    for (const auto& f : fields) {
        for (std::uint32_t i = 0; i < f[2]; ++i)
            *At(e, f[0] + i) = static_cast<unsigned char>(f[1] >> (8 * i));
    }
    return e;
}

TEST(BorderRecord, DefaultImageDravikBlockAndByteOrder) {
    for (int keepModel : {1, 0}) {
        BORDER_DATA border = Pattern();
        EXPECT_EQ(0, SetDefaultBorder(&border, keepModel));
        BORDER_DATA expected = DefaultImage();
        if (keepModel == 0) std::memcpy(At(expected, 0), "KAV_BD1", 8);
        EXPECT_EQ(Raw(expected), Raw(border));
    }
    // Model index to Dravik code; past the table there is no code.
    // clang-format off
    const std::pair<unsigned int, int> fills[] = {{0, -1}, {6, 37}, {11, 4}, {20, 2}, {29, 230}, {30, 198},
                                                  {31, -1}, {33, 231}, {37, 235}, {38, -1}, {~0u, -1}};
    // clang-format on
    for (const auto& [index, code] : fills) {
        BORDER_DATA border = Pattern(), expected = Pattern();
        EXPECT_EQ(code, FillDravikFields(&border, index)) << "index " << index;
        const unsigned char block[] = {'D', 'v', 0, static_cast<unsigned char>(code & 0xFF), 'v', 'D'};
        std::memcpy(At(expected, 862), block, 6);
        EXPECT_EQ(Raw(expected), Raw(border));
    }
    // A code shared by several models maps to the lowest index; unknown codes map to 0.
    for (auto [code, i] : {std::pair{37, 6}, {198, 30}, {-1, 0}}) EXPECT_EQ(i, DravikModelToKAV(code));

    // Swapped fields as (offset, width, count), typed from the record layout; 243, 297 and 298 stay.
    // clang-format off
    const std::size_t runs[][3] = {{18, 4, 3}, {30, 2, 1}, {48, 4, 1}, {52, 2, 1}, {54, 4, 1}, {58, 2, 30},
        {119, 4, 2}, {231, 4, 1}, {235, 2, 2}, {239, 4, 1}, {244, 4, 11}, {289, 2, 4}, {299, 2, 2},
        {303, 2, 256}, {815, 4, 1}, {851, 2, 1}, {854, 4, 2}};
    // clang-format on
    BORDER_DATA in = Pattern(), expected = Pattern(), border = Pattern();
    for (const auto& [offset, width, count] : runs) {
        for (std::size_t n = 0; n < width * count; ++n)
            *At(expected, offset + n) = *At(in, offset + n / width * width + width - 1 - n % width);
    }
    std::fill(At(expected, 819), At(expected, 851), 0);
    ChangeBorderEndianess(&border);
    EXPECT_EQ(Raw(expected), Raw(border));
}

// Day zero is the first of January; February follows the leap year; past the year end the month is
// 13; the printed year and the leap rule use the BCD byte plus ten times its tens digit (exact to 15).
TEST(BorderIrig, DateAndTimeAsNumbersAndText) {
    // BCD year, digits of day, hours, minutes and seconds (one per byte from offset 39), microseconds.
    // clang-format off
    const std::tuple<unsigned char, const char*, unsigned int, int, const char*, const char*> rows[] = {
        {0x06, "036123456", 7008, 2006, "(05/02/06", "12:34:56:007:008"},
        {0x06, "365235959", 999999, 2006, "(31/12/06", "23:59:59:999:999"},
        {0x06, "000000000", 0, 2006, "(01/01/06", "00:00:00:000:000"},
        {0x06, "244", 0, 2006, "(01/09/06", ""}, {0x06, "366", 0, 2006, "(01/13/06", ""},
        {0x04, "060", 0, 2004, "(29/02/04", ""}, {0x04, "366", 0, 2004, "(31/12/04", ""},
        {0x16, "060", 0, 2016, "(29/02/00", ""}, {0x99, "123", 0, 2099, "(03/05/03", ""}};
    // clang-format on
    for (const auto& [bcd, digits, micros, year, date, time] : rows) {
        BORDER_DATA border = kDefaultBorder;
        border.Year = bcd;
        border.IrigMicroseconds = micros;
        for (std::size_t i = 0; i < std::strlen(digits); ++i) *At(border, 39 + i) = digits[i] - '0';
        int y = 0, day = -1, h = -1, m = -1, s = -1, us = -1;
        EXPECT_EQ(year, ExtractIRIGDate(&border, y, day));
        EXPECT_EQ(std::make_pair(year, std::stoi(std::string(digits, 3))), std::make_pair(y, day)) << digits;
        char text[32];
        EXPECT_EQ(9, ExtractIRIGDate(&border, text, sizeof(text)));
        EXPECT_STREQ(date, text) << digits;
        if (*time == '\0') continue;
        EXPECT_EQ(static_cast<int>(micros), ExtractIRIGTime(&border, h, m, s, us));
        EXPECT_EQ(16, ExtractIRIGTime(&border, text, sizeof(text)));
        EXPECT_STREQ(time, text);
    }
}

// Each pixel class is scaled in float32 by its gain, truncated, saturating at 255. Layout 1 starts
// G R / B G and uses the gains alone; any other layout starts B G / G R and adds the correction
// terms A and B, each divided by 65535 (the word at 260 between the green terms is not used).
TEST(BorderWhiteBalance, EachPixelClassTakesItsGain) {
    // Layout, width, height, gains (red, green, blue at 18), correction terms (red A, red B, green A,
    // the word at 260, green B, blue A, blue B at 248), frame and corrected frame.
    using Frame = std::vector<unsigned char>;
    // clang-format off
    const std::tuple<int, int, int, std::array<float, 3>, std::array<float, 7>, Frame, Frame> rows[] = {
        // 100x1.5, 3x0.9 = 2.7, 300, 9 / 50x2 = 100, 30, 256, 382.5 / 1.5, 89.1, 256.5, 0
        {1, 4, 3, {0.9f, 1.5f, 2.0f}, {}, {100, 3, 200, 10, 50, 20, 128, 255, 1, 99, 171, 0},
         {150, 2, 255, 9, 100, 30, 255, 255, 1, 89, 255, 0}},
        // 0.7f x 10 is 7 once rounded to float32; 1.255f x 100 truncates to 125.
        {1, 2, 2, {1.255f, 0.7f, 1.0f}, {}, {10, 100, 7, 10}, {7, 125, 7, 7}},
        // A 1 x 2 frame touches its two pixels only.
        {1, 1, 2, {5.0f, 2.0f, 3.0f}, {}, {10, 10, 10, 10}, {20, 30, 10, 10}},
        // Gains: green 1 + 0.5 + 0.5 = 2, red -0.5 + 1 = 0.5, blue 0.25 + 1 = 1.25.
        {0, 3, 3, {1.0f, 0.5f, 0.25f}, {-32767.5f, 0.0f, 65535.0f, 65535.0f, 32767.5f, 0.0f, 65535.0f},
         {10, 20, 30, 40, 50, 60, 100, 130, 255}, {12, 40, 37, 80, 25, 120, 125, 255, 255}}};
    // clang-format on
    for (auto [layout, width, height, gains, terms, frame, expected] : rows) {
        BORDER_DATA border = kDefaultBorder;
        border.CorrectionLayout = static_cast<std::uint8_t>(layout);
        border.Width = static_cast<std::uint16_t>(width);
        border.Height = static_cast<std::uint16_t>(height);
        std::memcpy(At(border, 18), gains.data(), 12);
        std::memcpy(At(border, 248), terms.data(), 28);
        ChangeBorderEndianess(&border);  // the camera's byte order
        const BORDER_DATA camera = border;
        CorrectTP2Data(frame.data(), &border);
        EXPECT_EQ(expected, frame) << width << " x " << height;
        EXPECT_EQ(Raw(camera), Raw(border));  // back in camera order
    }
}

class BorderXml : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir_.Valid()); }
    std::string Write(const std::string& text, const char* name = "in.xml") const {
        std::ofstream(dir_.File(name), std::ios::binary) << text;
        return dir_.File(name);
    }
    std::string ReadText(const char* name) const {
        std::ostringstream text;
        text << std::ifstream(dir_.File(name), std::ios::binary).rdbuf();
        return text.str();
    }
    static BORDER_DATA Read(const std::string& path, int frame) {
        BORDER_DATA border = Pattern();
        EXPECT_EQ(0u, ReadBorderDataFromXml(path.c_str(), frame, &border, sizeof(border)));
        return border;
    }
    // Frame 0 of a file whose only frame holds the given lines.
    BORDER_DATA ReadLines(const std::string& lines) const {
        return Read(Write("<BorderData>\n<Frame>\n" + lines + "\n</Frame>\n</BorderData>\n"), 0);
    }
    zptest::TempDir dir_;
};

// Each text on the left reads as the plain text on the right, the form the writer produces (whose
// values the next test pins down); an empty right side is the default record.
TEST_F(BorderXml, AnyTextReadsAsTheWritersFormByTheReadersRules) {
    // clang-format off
    const std::pair<std::string, std::string> rows[] = {
        {"<CameraID>300</CameraID>", "<CameraID>44</CameraID>"}, {"<Date>7</Date>", "<Date>70/00/00</Date>"},
        {"<Format>TIF in AVI</Format>", "<Format>AVI</Format>"},
        {"<IrigPresent>tRUe</IrigPresent>", "<IrigPresent>True</IrigPresent>"},
        {"<IrigDays>12</IrigDays>\n<IrigHours>3456</IrigHours>",
         "<IrigDays>012</IrigDays>\n<IrigHours>34</IrigHours>"},
        {"<RecordMode>Circular</RecordMode>", "<RecordMode>Trigger2</RecordMode>"},
        // The first tag in the reader's order wins; the value runs from the first '>' to the last '<'.
        {"<Width>2</Width><CameraID>7</CameraID>", "<CameraID>2</CameraID>"},
        {"<Legacy><Height>5</Height></Legacy>", "<Height>0</Height>"},
        // The integer is cleared for every line; an unreadable gain repeats the last gain read.
        {"<CameraID>12</CameraID>\n<Exposure>abc</Exposure>",
         "<CameraID>12</CameraID>\n<Exposure>0</Exposure>"},
        {"<WhiteBalanceRed>2.5</WhiteBalanceRed>\n<WhiteBalanceBlue>n/a</WhiteBalanceBlue>",
         "<WhiteBalanceRed>2.5</WhiteBalanceRed>\n<WhiteBalanceBlue>2.5</WhiteBalanceBlue>"},
        // Names stop at 50 characters; lines longer than 511 are read in pieces of 511.
        {"<SessionName>" + std::string(600, 'n') + "</SessionName>",
         "<SessionName>" + std::string(50, 'n') + "</SessionName>"},
        {std::string(520, ' ') + "<CameraID>9</CameraID>", "<CameraID>9</CameraID>"},
        {std::string(505, ' ') + "<CameraID>9</CameraID>", ""}};
    // clang-format on
    for (const auto& [text, plain] : rows) EXPECT_EQ(Raw(ReadLines(plain)), Raw(ReadLines(text)));
}

TEST_F(BorderXml, BadFilesFramesAndLineValues) {
    BORDER_DATA border = Pattern();
    EXPECT_EQ(BORDER_XML_FAILED, ReadBorderDataFromXml(dir_.File("absent.xml").c_str(), 0, &border, 1024));
    EXPECT_EQ(BORDER_XML_FAILED, ReadBorderDataFromXml(nullptr, 0, &border, 1024));
    EXPECT_EQ(Raw(Pattern()), Raw(border));

    // The first line (511 characters at most) must hold <BorderData>; frames are counted by their
    // closing lines, also one in the second piece of a long line; </BorderData> ends the content.
    const std::string frame = "<Frame>\n<CameraID>9</CameraID>\n</Frame>\n</BorderData>\n";
    EXPECT_EQ(9, Read(Write("<Data><BorderData>\n" + frame), 0).CameraID);
    const std::string path = Write("<BorderData>\n<CameraID>10</CameraID>\n" + std::string(600, ' ') +
                                   "</Frame>\n<CameraID>11</CameraID>\n</Frame>\n<CameraID>12</CameraID>\n"
                                   "</BorderData>\n<Width>7</Width>\n</Frame>\n<CameraID>13</CameraID>\n");
    for (int k = -1; k < 4; ++k) {
        BORDER_DATA expected = kDefaultBorder;
        if (k >= 0 && k < 3) expected.CameraID = static_cast<std::uint8_t>(10 + k);
        EXPECT_EQ(Raw(expected), Raw(Read(path, k)));
    }

    // A size beyond the record copies the record only.
    alignas(8) unsigned char buffer[2048];
    std::memset(buffer, 0xA5, sizeof(buffer));
    EXPECT_EQ(0u, ReadBorderDataFromXml(path.c_str(), 9, reinterpret_cast<BORDER_DATA*>(buffer), 5000));
    EXPECT_EQ(0, std::memcmp(buffer, &kDefaultBorder, 1024));
    EXPECT_EQ(1024, std::count(buffer + 1024, buffer + sizeof(buffer), 0xA5));

    // The value of a line runs from its first '>' to its last '<' (returned) within the size.
    // clang-format off
    const std::tuple<const char*, int, const char*, int> rows[] = {{"  <Width>640</Width>\r\n", 32, "640", 3},
        {"<A>x<y>z</A>", 32, "x<y>z", 5}, {"no tag", 32, "", -1}, {"<A>open\n", 32, "open\n", -1},
        {"<A>abcdef</A>", 4, "abc", -1}, {"<A>ab</A>", 4, "ab", 2}};
    // clang-format on
    for (const auto& [line, size, text, cut] : rows) {
        char value[40];
        std::memset(value, 'Z', sizeof(value));
        EXPECT_EQ(cut < 0 ? nullptr : value + cut, ExtractDataFromXMLString(line, value, size)) << line;
        EXPECT_STREQ(text, value);
        EXPECT_EQ('Z', value[size]) << line;
    }
    EXPECT_EQ(nullptr, ExtractDataFromXMLString("<A>ab</A>", nullptr, 0));
}

// A frame with every carried field away from its default: clock bytes that are not BCD, a value with
// '<' and '>', signed and float extremes.
const std::string kFrameText =
    "<Frame>\n  <CameraID>255</CameraID>\n  <CameraName> a<b>c </CameraName>\n  <Date>:;/?0/<=</Date>\n"
    "  <Time>23:59:58</Time>\n  <ElapsedMicroseconds>-2147483648</ElapsedMicroseconds>\n"
    "  <ElapsedMinutes>65535</ElapsedMinutes>\n  <Exposure>-1294967296</Exposure>\n  <Format>AVI</Format>\n"
    "  <FrameNumber>60001</FrameNumber>\n  <FrameRate>1000</FrameRate>\n  <Height>481</Height>\n"
    "  <Width>641</Width>\n  <HubPresent>False</HubPresent>\n  <IrigPresent>True</IrigPresent>\n"
    "  <IrigDays>123</IrigDays>\n  <IrigHours>45</IrigHours>\n  <IrigMinutes>67</IrigMinutes>\n"
    "  <IrigSeconds>89</IrigSeconds>\n  <IrigMicroseconds>999999</IrigMicroseconds>\n  <Legacy></Legacy>\n"
    "  <RecordMode>Trigger2</RecordMode>\n  <SensorType>Mono</SensorType>\n"
    "  <SerialNumber>-2</SerialNumber>\n  <SessionID>254</SessionID>\n"
    "  <SessionName>ssssssssssssssssssssssssssssssssssssssssssssssssss</SessionName>\n"
    "  <Temperature>-2147483648</Temperature>\n  <TriggerFrame>True</TriggerFrame>\n"
    "  <WhiteBalance>Unity</WhiteBalance>\n  <WhiteBalanceRed>0.333333343</WhiteBalanceRed>\n"
    "  <WhiteBalanceGreen>-3.39999995e+38</WhiteBalanceGreen>\n  "
    "<WhiteBalanceBlue>9.9999461e-41</WhiteBalanceBlue>\n"
    "</Frame>\n";

TEST_F(BorderXml, TextThroughReaderAndWriterComesBackExactly) {
    BORDER_DATA records[2] = {Read(Write("<BorderData>\n" + kFrameText + "</BorderData>\n"), 0)};
    const auto& r = records[0];  // the fields derived from the rate, the width and the height
    EXPECT_EQ(std::make_tuple(6, 481, 641), std::make_tuple(+r.FrameRateIndex, +r.Height2, +r.Width2));
    records[1] = records[0];
    ASSERT_EQ(0u, WriteBorderDataToXml(dir_.File("out.xml").c_str(), records, 2));
    EXPECT_EQ("<BorderData>\n" + kFrameText + kFrameText + "</BorderData>\n", ReadText("out.xml"));
    std::FILE* file = std::fopen(dir_.File("stream.xml").c_str(), "w");  // frame by frame
    ASSERT_NE(nullptr, file);
    EXPECT_EQ(0u, WriteBorderXmlBegin(file));
    EXPECT_EQ(0u, WriteBorderFrameToXml(file, &records[0]));
    EXPECT_EQ(0u, WriteBorderXmlEnd(file));
    EXPECT_EQ(BORDER_XML_FAILED, WriteBorderFrameToXml(file, nullptr));
    ASSERT_EQ(0, std::fclose(file));
    EXPECT_EQ("<BorderData>\n" + kFrameText + "</BorderData>\n", ReadText("stream.xml"));

    EXPECT_EQ(BORDER_XML_FAILED, WriteBorderXmlBegin(nullptr));
    EXPECT_EQ(BORDER_XML_FAILED, WriteBorderXmlEnd(nullptr));
    EXPECT_EQ(BORDER_XML_FAILED, WriteBorderDataToXml(dir_.File("no/out.xml").c_str(), &kDefaultBorder, 1));
    EXPECT_EQ(BORDER_XML_FAILED, WriteBorderDataToXml(nullptr, &kDefaultBorder, 1));
    EXPECT_EQ(BORDER_XML_FAILED, WriteBorderDataToXml(dir_.File("null.xml").c_str(), nullptr, 1));
    if (std::FILE* probe = std::fopen("/dev/full", "w")) {  // a full device accepts the open, fails writes
        std::fclose(probe);
        EXPECT_EQ(BORDER_XML_FAILED, WriteBorderDataToXml("/dev/full", &kDefaultBorder, 1));
    }
}

}  // namespace
