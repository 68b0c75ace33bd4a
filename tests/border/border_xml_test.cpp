#include <gtest/gtest.h>

#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "border/border_tables.h"
#include "zpport/BorderXml.h"

namespace {

using zp::border::BorderFrameRateIndex;
using zp::border::kDefaultBorder;

// Packed fields are read by value: a reference to one may be misaligned.
template <typename T>
T Value(T field) {
    return field;
}

// Reports every byte where the two records differ.
void ExpectSameRecord(const BORDER_DATA& actual, const BORDER_DATA& expected) {
    const auto* a = reinterpret_cast<const unsigned char*>(&actual);
    const auto* e = reinterpret_cast<const unsigned char*>(&expected);
    std::ostringstream differences;
    for (std::size_t i = 0; i < sizeof(BORDER_DATA); ++i) {
        if (a[i] != e[i]) differences << " @" << i << ": " << int(a[i]) << " != " << int(e[i]);
    }
    EXPECT_EQ(differences.str(), "");
}

template <std::size_t N>
void PutName(char (&field)[N], const std::string& text) {
    std::memcpy(field, text.c_str(), text.size() + 1);
}

// A fresh mkdtemp directory per test, removed with everything in it.
class BorderXmlTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/border_xml_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }

    std::string PathOf(const std::string& name) const { return dir_ + "/" + name; }

    std::string WriteFile(const std::string& text, const std::string& name = "frames.xml") const {
        const std::string path = PathOf(name);
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    static std::string ReadFile(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    static BORDER_DATA Read(const std::string& path, int frame, unsigned int expectedResult = 0) {
        BORDER_DATA border;
        std::memset(&border, 0x5A, sizeof(border));
        EXPECT_EQ(ReadBorderDataFromXml(path.c_str(), frame, &border, sizeof(border)), expectedResult);
        return border;
    }

    // Frame 0 of a file whose only frame holds the given lines.
    BORDER_DATA ReadLines(const std::string& lines) const {
        return Read(WriteFile("<BorderData>\n<Frame>\n" + lines + "</Frame>\n</BorderData>\n"), 0);
    }

    std::string dir_;
};

TEST(ExtractDataFromXMLStringTest, CutsAtTheLastBracketWithinTheSize) {
    // cut: offset of the returned '<' in value, -1 for none; text null: nothing written.
    const struct {
        const char* line;
        int size;
        const char* text;
        int cut;
    } rows[] = {{"  <Width>640</Width>\r\n", 32, "640", 3}, {"<A>x<y>z</A>", 32, "x<y>z", 5},
                {"no tag here", 32, "", -1},  {"<A>open\n", 32, "open\n", -1},
                {"<A>abcdef</A>", 4, "abc", -1}, {"<A>ab</A>", 4, "ab", 2}, {"<A>ab</A>", 0, nullptr, -1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.line) + " size " + std::to_string(row.size));
        char value[40];
        std::memset(value, 'Z', sizeof(value));
        const char* cut = ExtractDataFromXMLString(row.line, value, row.size);
        EXPECT_EQ(cut, row.cut < 0 ? nullptr : value + row.cut);
        if (row.text != nullptr) {
            EXPECT_STREQ(value, row.text);
        }
        EXPECT_EQ(value[row.size], 'Z');
    }
}

TEST_F(BorderXmlTest, MissingFileFailsAndLeavesTheRecord) {
    BORDER_DATA border;
    std::memset(&border, 0x5A, sizeof(border));
    BORDER_DATA untouched = border;
    EXPECT_EQ(ReadBorderDataFromXml(PathOf("absent.xml").c_str(), 0, &border, sizeof(border)), 0xFFFFFFFFu);
    EXPECT_EQ(ReadBorderDataFromXml(nullptr, 0, &border, sizeof(border)), 0xFFFFFFFFu);
    ExpectSameRecord(border, untouched);
}

TEST_F(BorderXmlTest, FirstLineMustHoldBorderData) {
    const std::string frame = "<Frame>\n<CameraID>9</CameraID>\n</Frame>\n</BorderData>\n";
    ExpectSameRecord(Read(WriteFile(""), 0), kDefaultBorder);
    ExpectSameRecord(Read(WriteFile("<?xml version=\"1.0\"?>\n<BorderData>\n" + frame), 0), kDefaultBorder);
    // The first 511 characters are the first line.
    ExpectSameRecord(Read(WriteFile(std::string(500, ' ') + "<BorderData>\n" + frame), 0), kDefaultBorder);
    EXPECT_EQ(Value(Read(WriteFile("<Data><BorderData>\n" + frame), 0).CameraID), 9);
}

TEST_F(BorderXmlTest, FramesAreCountedByTheirClosingLines) {
    const std::string path = WriteFile(
        "<BorderData>\n<CameraID>10</CameraID>\n</Frame>\n"
        "<Frame>\n<CameraID>11</CameraID>\n</Frame>\n"
        "<Frame>\n<CameraID>12</CameraID>\n</Frame>\n</BorderData>\n");
    for (int k = 0; k < 3; ++k) EXPECT_EQ(Value(Read(path, k).CameraID), 10 + k) << "frame " << k;
    ExpectSameRecord(Read(path, 5), kDefaultBorder);
    ExpectSameRecord(Read(path, -1), kDefaultBorder);
}

TEST_F(BorderXmlTest, EndOfContentStopsReading) {
    const std::string path = WriteFile(
        "<BorderData>\n<Frame>\n<CameraID>5</CameraID>\n</BorderData>\n<Width>7</Width>\n</Frame>\n"
        "<Frame>\n<CameraID>6</CameraID>\n</Frame>\n");
    BORDER_DATA expected = kDefaultBorder;
    expected.CameraID = 5;
    ExpectSameRecord(Read(path, 0), expected);
    ExpectSameRecord(Read(path, 1), kDefaultBorder);
}

TEST_F(BorderXmlTest, SizeBoundsTheDefaultCopy) {
    const std::string path = WriteFile("<Frame>\n");
    alignas(8) unsigned char buffer[2048];
    auto* border = reinterpret_cast<BORDER_DATA*>(buffer);
    const auto* defaults = reinterpret_cast<const unsigned char*>(&kDefaultBorder);
    for (int size : {0, -5, 10, 1024, 5000}) {
        SCOPED_TRACE(size);
        std::memset(buffer, 0xA5, sizeof(buffer));
        EXPECT_EQ(ReadBorderDataFromXml(path.c_str(), 0, border, size), 0u);
        const int copied = size < 0 ? 0 : (size > 1024 ? 1024 : size);
        EXPECT_EQ(std::memcmp(buffer, defaults, copied), 0);
        EXPECT_EQ(std::count(buffer + copied, buffer + sizeof(buffer), 0xA5), int(sizeof(buffer)) - copied);
    }
}

// The change a row makes to the default record.
#define ZP_SET(...) [](BORDER_DATA& b) { __VA_ARGS__; (void)b; }

struct TagCase {
    const char* lines;
    std::function<void(BORDER_DATA&)> change;
};

TEST_F(BorderXmlTest, EachTagFillsItsFields) {
    const std::vector<TagCase> cases = {
        {"<CameraID>300</CameraID>\n", ZP_SET(b.CameraID = 44)},
        {"<CameraName>Cam A</CameraName>\n", ZP_SET(PutName(b.CameraName, "Cam A"))},
        {"<CameraName> a<b> </CameraName>\n", ZP_SET(PutName(b.CameraName, " a<b> "))},
        {"<SessionName>S</SessionName>\n", ZP_SET(PutName(b.SessionName, "S"))},
        {"<Date>12/31/99</Date>\n", ZP_SET(b.ClockMonth = 0x12, b.ClockDay = 0x31, b.Year = 0x99)},
        {"<Date>7</Date>\n", ZP_SET(b.ClockMonth = 0x70, b.ClockDay = 0, b.Year = 0)},
        {"<Time>23:59:58</Time>\n",
         ZP_SET(b.ClockHours = 0x23, b.ClockMinutes = 0x59, b.ClockSeconds = 0x58)},
        {"<ElapsedMicroseconds>-1</ElapsedMicroseconds>\n", ZP_SET(b.ElapsedMicroseconds = 0xFFFFFFFFu)},
        {"<ElapsedMinutes>65537</ElapsedMinutes>\n", ZP_SET(b.ElapsedMinutes = 1)},
        {"<Exposure>1234</Exposure>\n", ZP_SET(b.Exposure = 1234)},
        {"<Format>AVI</Format>\n", ZP_SET(b.Format = 4)},
        {"<Format>TIF in AVI</Format>\n", ZP_SET(b.Format = 4)},
        {"<Format>TIF</Format>\n", ZP_SET(b.Format = 3)}, {"<Format>JPEG</Format>\n", ZP_SET(b.Format = 2)},
        {"<Format>jpeg</Format>\n", ZP_SET(b.Format = 0)},
        {"<FrameNumber>70000</FrameNumber>\n", ZP_SET(b.FrameNumber = 4464)},
        {"<FrameRate>1000</FrameRate>\n", ZP_SET(b.FrameRate = 1000, b.FrameRateIndex = 6)},
        {"<FrameRate>1234</FrameRate>\n", ZP_SET(b.FrameRate = 1234, b.FrameRateIndex = 14)},
        {"<FrameRate>100000</FrameRate>\n", ZP_SET(b.FrameRate = 100000, b.FrameRateIndex = 12)},
        {"<FrameRate>0</FrameRate>\n", ZP_SET(b.FrameRate = 0, b.FrameRateIndex = 0)},
        {"<Height>480</Height>\n", ZP_SET(b.Height = 480, b.Height2 = 480)},
        {"<Width>640</Width>\n", ZP_SET(b.Width = 640, b.Width2 = 640)},
        {"<HubPresent>false</HubPresent>\n", ZP_SET(b.Flags = 0)},
        {"<HubPresent>yes</HubPresent>\n", ZP_SET(b.Flags = 0)},
        {"<HubPresent>false</HubPresent>\n<HubPresent>tRUe</HubPresent>\n", ZP_SET()},
        {"<IrigPresent>TRUE</IrigPresent>\n<TriggerFrame>True</TriggerFrame>\n",
         ZP_SET(b.IrigPresent = 1, b.TriggerFrame = 1)},
        {"<IrigPresent>1</IrigPresent>\n<TriggerFrame>Truex</TriggerFrame>\n", ZP_SET()},
        {"<IrigDays>5</IrigDays>\n", ZP_SET(b.IrigDayOfYear[2] = 5)},
        {"<IrigDays>12</IrigDays>\n", ZP_SET(b.IrigDayOfYear[1] = 1, b.IrigDayOfYear[2] = 2)},
        {"<IrigDays>3456</IrigDays>\n",
         ZP_SET(b.IrigDayOfYear[0] = 3, b.IrigDayOfYear[1] = 4, b.IrigDayOfYear[2] = 5)},
        {"<IrigHours>7</IrigHours>\n<IrigMinutes>59</IrigMinutes>\n<IrigSeconds>3</IrigSeconds>\n",
         ZP_SET(b.IrigHours[1] = 7, b.IrigMinutes[0] = 5, b.IrigMinutes[1] = 9, b.IrigSeconds[1] = 3)},
        {"<IrigMicroseconds>999999</IrigMicroseconds>\n", ZP_SET(b.IrigMicroseconds = 999999)},
        {"<Legacy>12</Legacy>\n", ZP_SET()},
        {"<RecordMode>Circular</RecordMode>\n", ZP_SET(b.RecordMode = 3)},
        {"<RecordMode>Trigger</RecordMode>\n", ZP_SET(b.RecordMode = 2)},
        {"<RecordMode>Trigger2</RecordMode>\n", ZP_SET(b.RecordMode = 3)},
        {"<RecordMode>Trigger2</RecordMode>\n<RecordMode>Stop</RecordMode>\n", ZP_SET()},
        {"<SensorType>Colour</SensorType>\n", ZP_SET(b.SensorType = 2)},
        {"<SensorType>Mono</SensorType>\n<SensorType>RGB Color</SensorType>\n", ZP_SET()},
        {"<SerialNumber>-2</SerialNumber>\n", ZP_SET(b.SerialNumber = 0xFFFFFFFEu)},
        {"<SessionID>257</SessionID>\n", ZP_SET(b.SessionID = 1)},
        {"<Temperature>-12</Temperature>\n", ZP_SET(b.Temperature = -12)},
        {"<WhiteBalance>Daylight</WhiteBalance>\n", ZP_SET(b.WhiteBalance = 0)},
        {"<WhiteBalance>Tungsten</WhiteBalance>\n", ZP_SET(b.WhiteBalance = 1)},
        {"<WhiteBalance>HMI</WhiteBalance>\n", ZP_SET(b.WhiteBalance = 2)},
        {"<WhiteBalance>Unity</WhiteBalance>\n", ZP_SET(b.WhiteBalance = 4)},
        {"<WhiteBalance>Unity</WhiteBalance>\n<WhiteBalance>Custom</WhiteBalance>\n", ZP_SET()},
        {"<WhiteBalanceRed>1.5</WhiteBalanceRed>\n", ZP_SET(b.WhiteBalanceRed = 1.5f)},
        {"<WhiteBalanceGreen>0.25</WhiteBalanceGreen>\n<WhiteBalanceBlue>2</WhiteBalanceBlue>\n",
         ZP_SET(b.WhiteBalanceGreen = 0.25f, b.WhiteBalanceBlue = 2.0f)},
    };
    for (const TagCase& c : cases) {
        SCOPED_TRACE(c.lines);
        BORDER_DATA expected = kDefaultBorder;
        c.change(expected);
        ExpectSameRecord(ReadLines(c.lines), expected);
    }
}
#undef ZP_SET

TEST_F(BorderXmlTest, FirstTagOfTheTableWins) {
    // CameraID comes before Width; the value runs from the first '>' to the last '<', so the
    // width's digits land in CameraID.
    BORDER_DATA expected = kDefaultBorder;
    expected.CameraID = 2;
    ExpectSameRecord(ReadLines("<Width>2</Width><CameraID>7</CameraID>\n"), expected);
    // Width comes before Legacy, and "<Width>5</Width>" does not read as a number.
    expected = kDefaultBorder;
    expected.Width = 0;
    expected.Width2 = 0;
    ExpectSameRecord(ReadLines("<Legacy><Width>5</Width></Legacy>\n"), expected);
    // Legacy comes before RecordMode.
    ExpectSameRecord(ReadLines("<RecordMode>Trigger</RecordMode><Legacy>\n"), kDefaultBorder);
}

TEST_F(BorderXmlTest, IntegerScratchIsClearedForEveryLine) {
    BORDER_DATA border = ReadLines(
        "<CameraID>12</CameraID>\n<Exposure>abc</Exposure>\n<SerialNumber>77x</SerialNumber>\n"
        "<Temperature></Temperature>\n");
    EXPECT_EQ(Value(border.CameraID), 12);
    EXPECT_EQ(Value(border.Exposure), 0u);
    EXPECT_EQ(Value(border.SerialNumber), 77u);
    EXPECT_EQ(Value(border.Temperature), 0);
}

TEST_F(BorderXmlTest, UnreadableGainRepeatsTheLastGainRead) {
    BORDER_DATA border = ReadLines("<WhiteBalanceGreen>bad</WhiteBalanceGreen>\n");
    EXPECT_EQ(Value(border.WhiteBalanceGreen), 0.0f);

    border = ReadLines(
        "<WhiteBalanceRed>2.5</WhiteBalanceRed>\n<CameraID>3</CameraID>\n"
        "<WhiteBalanceGreen>n/a</WhiteBalanceGreen>\n<WhiteBalanceBlue>0.75x</WhiteBalanceBlue>\n");
    EXPECT_EQ(Value(border.WhiteBalanceRed), 2.5f);
    EXPECT_EQ(Value(border.WhiteBalanceGreen), 2.5f);
    EXPECT_EQ(Value(border.WhiteBalanceBlue), 0.75f);
}

TEST_F(BorderXmlTest, NamesAreCutAtFiftyCharacters) {
    const std::string fifty(50, 'n');
    BORDER_DATA border = ReadLines("<CameraName>" + fifty + "xyz</CameraName>\n<SessionName>" + fifty +
                                   "</SessionName>\n");
    EXPECT_EQ(std::string(border.CameraName), fifty);
    EXPECT_EQ(std::string(border.SessionName), fifty);
}

TEST_F(BorderXmlTest, LongLinesAreReadInPieces) {
    // The second piece holds the whole tag.
    EXPECT_EQ(Value(ReadLines(std::string(520, ' ') + "<CameraID>9</CameraID>\n").CameraID), 9);
    // A tag split between two pieces is found in neither.
    EXPECT_EQ(Value(ReadLines(std::string(505, ' ') + "<CameraID>9</CameraID>\n").CameraID), 1);
    // The first piece has no '<' after its '>': the name is its first 50 characters.
    BORDER_DATA border = ReadLines("<CameraName>" + std::string(600, 'n') + "</CameraName>\n");
    EXPECT_EQ(std::string(border.CameraName), std::string(50, 'n'));
    // A closing frame line in a second piece counts.
    const std::string path = WriteFile("<BorderData>\n<CameraID>5</CameraID>\n" + std::string(600, ' ') +
                                       "</Frame>\n<CameraID>6</CameraID>\n</Frame>\n");
    EXPECT_EQ(Value(Read(path, 1).CameraID), 6);
}

const char kDefaultFrameText[] =
    "<Frame>\n  <CameraID>1</CameraID>\n  <CameraName>x</CameraName>\n  <Date>08/10/06</Date>\n"
    "  <Time>19:06:19</Time>\n  <ElapsedMicroseconds>60000</ElapsedMicroseconds>\n"
    "  <ElapsedMinutes>0</ElapsedMinutes>\n  <Exposure>15707</Exposure>\n  <Format>Type2</Format>\n"
    "  <FrameNumber>3</FrameNumber>\n  <FrameRate>50</FrameRate>\n  <Height>1128</Height>\n"
    "  <Width>1504</Width>\n  <HubPresent>True</HubPresent>\n  <IrigPresent>False</IrigPresent>\n"
    "  <IrigDays>000</IrigDays>\n  <IrigHours>00</IrigHours>\n  <IrigMinutes>00</IrigMinutes>\n"
    "  <IrigSeconds>00</IrigSeconds>\n  <IrigMicroseconds>0</IrigMicroseconds>\n  <Legacy></Legacy>\n"
    "  <RecordMode>Stop</RecordMode>\n  <SensorType>Color</SensorType>\n"
    "  <SerialNumber>150443</SerialNumber>\n  <SessionID>0</SessionID>\n"
    "  <SessionName>0</SessionName>\n  <Temperature>0</Temperature>\n"
    "  <TriggerFrame>False</TriggerFrame>\n  <WhiteBalance>Other</WhiteBalance>\n"
    "  <WhiteBalanceRed>1</WhiteBalanceRed>\n  <WhiteBalanceGreen>1</WhiteBalanceGreen>\n"
    "  <WhiteBalanceBlue>1</WhiteBalanceBlue>\n"
    "</Frame>\n";

TEST_F(BorderXmlTest, WriterTextOfTheDefaultRecord) {
    const std::string path = PathOf("out.xml");
    ASSERT_EQ(WriteBorderDataToXml(path.c_str(), &kDefaultBorder, 1), 0u);
    EXPECT_EQ(ReadFile(path), std::string("<BorderData>\n") + kDefaultFrameText + "</BorderData>\n");
    ASSERT_EQ(WriteBorderDataToXml(path.c_str(), nullptr, 0), 0u);
    EXPECT_EQ(ReadFile(path), "<BorderData>\n</BorderData>\n");
}

// A record whose every byte differs from the defaults, with carried fields in the ranges the format
// carries; k selects one of five distinct records.
BORDER_DATA SourceRecord(int k) {
    static const uint32_t kRates[] = {0, 30, 1000, 1234, 100000};
    static const float kGains[] = {1.0f / 3.0f, 1e-7f, 123456.789f, -0.5f, 3.4e38f, 1e-40f};
    BORDER_DATA b;
    std::memset(&b, 0x5C + k, sizeof(b));
    b.CameraID = static_cast<uint8_t>(10 + 50 * k);
    PutName(b.CameraName, k == 1 ? " a<b>c " : "Camera " + std::to_string(k));
    if (k == 2) std::memset(b.CameraName, 'c', sizeof(b.CameraName));  // no terminator at all
    PutName(b.SessionName, k == 3 ? std::string(50, 's') : "Session-" + std::to_string(k));
    const uint8_t clock[2][6] = {{0x12, 0x31, 0x99, 0x23, 0x59, 0x58}, {0xAB, 0xFF, 0xC0, 0x0F, 0xF0, 0x9A}};
    const uint8_t* c = clock[k == 1 ? 1 : 0];
    b.ClockMonth = c[0], b.ClockDay = c[1], b.Year = uint8_t(c[2] - k);
    b.ClockHours = c[3], b.ClockMinutes = c[4], b.ClockSeconds = uint8_t(c[5] - k);
    b.ElapsedMicroseconds = 0x7FFFFFF0u + 0x20000000u * static_cast<uint32_t>(k);
    b.ElapsedMinutes = static_cast<uint16_t>(65535 - k), b.Exposure = 3000000000u - static_cast<uint32_t>(k);
    b.Format = static_cast<uint8_t>(k), b.FrameNumber = static_cast<uint16_t>(60000 + k);
    b.FrameRate = kRates[k], b.Height = static_cast<uint16_t>(480 + k);
    b.Width = static_cast<uint16_t>(640 + k);
    b.Flags = k % 2 == 0 ? 0x12345678u : 0x0000A001u;
    b.IrigPresent = static_cast<uint8_t>((k + 1) % 2), b.TriggerFrame = static_cast<uint8_t>(k % 2);
    for (int i = 0; i < 3; ++i) b.IrigDayOfYear[i] = static_cast<uint8_t>((k + i) % 10);
    for (int i = 0; i < 2; ++i) {
        b.IrigHours[i] = static_cast<uint8_t>((k + 3 + i) % 10);
        b.IrigMinutes[i] = static_cast<uint8_t>((k + 5 + i) % 10);
        b.IrigSeconds[i] = static_cast<uint8_t>((k + 7 + i) % 10);
    }
    b.IrigMicroseconds = 999999u - static_cast<uint32_t>(k);
    b.RecordMode = static_cast<uint8_t>(1 + k % 3), b.SensorType = static_cast<uint8_t>(1 + k % 2);
    b.SerialNumber = 0xFFFFFFFFu - static_cast<uint32_t>(k), b.SessionID = static_cast<uint8_t>(255 - k);
    b.Temperature = k == 0 ? INT32_MIN : -40 + 30 * k, b.WhiteBalance = static_cast<uint8_t>(k);
    b.WhiteBalanceRed = kGains[k], b.WhiteBalanceGreen = kGains[k + 1];
    b.WhiteBalanceBlue = -kGains[(k + 2) % 6];
    return b;
}

// What reading a written record gives: the carried fields over the defaults.
BORDER_DATA CarriedOverDefaults(const BORDER_DATA& s) {
    BORDER_DATA e = kDefaultBorder;
    e.CameraID = s.CameraID;
    const std::size_t nameLength = strnlen(s.CameraName, 50);
    std::memcpy(e.CameraName, s.CameraName, nameLength);
    e.CameraName[nameLength] = '\0';
    PutName(e.SessionName, s.SessionName);
    e.ClockMonth = s.ClockMonth, e.ClockDay = s.ClockDay, e.Year = s.Year;
    e.ClockHours = s.ClockHours, e.ClockMinutes = s.ClockMinutes, e.ClockSeconds = s.ClockSeconds;
    e.ElapsedMicroseconds = s.ElapsedMicroseconds, e.ElapsedMinutes = s.ElapsedMinutes;
    e.Exposure = s.Exposure, e.Format = s.Format, e.FrameNumber = s.FrameNumber;
    e.FrameRate = s.FrameRate, e.FrameRateIndex = BorderFrameRateIndex(s.FrameRate);
    e.Height = s.Height, e.Height2 = s.Height, e.Width = s.Width, e.Width2 = s.Width;
    e.Flags = (e.Flags & ~BORDER_FLAG_HUB_PRESENT) | (s.Flags & BORDER_FLAG_HUB_PRESENT);
    e.IrigPresent = s.IrigPresent, e.TriggerFrame = s.TriggerFrame;
    std::memcpy(e.IrigDayOfYear, s.IrigDayOfYear, 3);
    std::memcpy(e.IrigHours, s.IrigHours, 2);
    std::memcpy(e.IrigMinutes, s.IrigMinutes, 2);
    std::memcpy(e.IrigSeconds, s.IrigSeconds, 2);
    e.IrigMicroseconds = s.IrigMicroseconds;
    e.RecordMode = s.RecordMode, e.SensorType = s.SensorType, e.WhiteBalance = s.WhiteBalance;
    e.SerialNumber = s.SerialNumber, e.SessionID = s.SessionID, e.Temperature = s.Temperature;
    e.WhiteBalanceRed = s.WhiteBalanceRed, e.WhiteBalanceGreen = s.WhiteBalanceGreen;
    e.WhiteBalanceBlue = s.WhiteBalanceBlue;
    return e;
}

TEST_F(BorderXmlTest, RecordsSurviveWriterAndReader) {
    std::vector<BORDER_DATA> records;
    for (int k = 0; k < 5; ++k) records.push_back(SourceRecord(k));
    const std::string path = PathOf("round.xml");
    ASSERT_EQ(WriteBorderDataToXml(path.c_str(), records.data(), static_cast<int>(records.size())), 0u);
    for (int k = 0; k < 5; ++k) {
        SCOPED_TRACE(k);
        ExpectSameRecord(Read(path, k), CarriedOverDefaults(records[k]));
    }
    ExpectSameRecord(Read(path, 5), kDefaultBorder);
}

TEST_F(BorderXmlTest, StreamedFramesReadBack) {
    const std::string path = PathOf("stream.xml");
    std::FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    BORDER_DATA second = kDefaultBorder;
    PutName(second.CameraName, "line1\nline2\r");
    second.FrameNumber = 4;
    EXPECT_EQ(WriteBorderXmlBegin(file), 0u);
    EXPECT_EQ(WriteBorderFrameToXml(file, &kDefaultBorder), 0u);
    EXPECT_EQ(WriteBorderFrameToXml(file, &second), 0u);
    EXPECT_EQ(WriteBorderXmlEnd(file), 0u);
    EXPECT_EQ(WriteBorderFrameToXml(file, nullptr), 0xFFFFFFFFu);
    ASSERT_EQ(std::fclose(file), 0);
    EXPECT_EQ(WriteBorderXmlBegin(nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(WriteBorderXmlEnd(nullptr), 0xFFFFFFFFu);

    ExpectSameRecord(Read(path, 0), CarriedOverDefaults(kDefaultBorder));
    BORDER_DATA expected = CarriedOverDefaults(second);
    PutName(expected.CameraName, "line1 line2 ");
    ExpectSameRecord(Read(path, 1), expected);
}

TEST_F(BorderXmlTest, WriterReportsFilesItCannotWrite) {
    EXPECT_EQ(WriteBorderDataToXml(PathOf("missing/out.xml").c_str(), &kDefaultBorder, 1), 0xFFFFFFFFu);
    EXPECT_EQ(WriteBorderDataToXml(nullptr, &kDefaultBorder, 1), 0xFFFFFFFFu);
    EXPECT_EQ(WriteBorderDataToXml(PathOf("out.xml").c_str(), nullptr, 1), 0xFFFFFFFFu);
    EXPECT_FALSE(std::filesystem::exists(PathOf("out.xml")));
    // A full device accepts the open and fails the writes.
    std::FILE* probe = std::fopen("/dev/full", "w");
    if (probe == nullptr) GTEST_SKIP() << "/dev/full not writable";
    std::fclose(probe);
    EXPECT_EQ(WriteBorderDataToXml("/dev/full", &kDefaultBorder, 1), 0xFFFFFFFFu);
}

}  // namespace
