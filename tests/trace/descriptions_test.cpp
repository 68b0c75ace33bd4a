// Description tables (row counts, first and last rows, texts kept with their typos, fallbacks)
// and the printable forms of command lines and frames.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "zpport/XTrace.h"
#include "zpport/ZpParam.h"

namespace {

struct EnumRow {
    int value;
    const char* identifier;
};

// clang-format off
#define ZP_ROW(name) {name, #name}
const EnumRow kEnumRows[] = {
    ZP_ROW(ZPP_GAIN), ZP_ROW(ZPP_EXPOSURE), ZP_ROW(ZPP_IMG_FORMAT), ZP_ROW(ZPP_PIX_DEPTH),
    ZP_ROW(ZPP_PIX_GAIN), ZP_ROW(ZPP_SYNCIN_CFG), ZP_ROW(ZPP_REC_MODE), ZP_ROW(ZPP_EXP_MODE),
    ZP_ROW(ZPP_BINNING), ZP_ROW(ZPP_CI_MODE), ZP_ROW(ZPP_TRIGIN_CFG), ZP_ROW(ZPP_MAX_WIDTH),
    ZP_ROW(ZPP_MAX_HEIGHT), ZP_ROW(ZPP_ROIX), ZP_ROW(ZPP_ROIY), ZP_ROW(ZPP_ROIWIDTH), ZP_ROW(ZPP_ROIHEIGHT),
    ZP_ROW(ZPP_PERIOD), ZP_ROW(ZPP_PERIOD_MIN), ZP_ROW(ZPP_IRIG), ZP_ROW(ZPP_SYNCOUT_CFG),
    ZP_ROW(ZPP_TRIGIN_DEB), ZP_ROW(ZPP_TRIGIN_DEL), ZP_ROW(ZPP_SYNCOUT_WID), ZP_ROW(ZPP_SYNCOUT_DEL),
    ZP_ROW(ZPP_SYNCIN_DEB), ZP_ROW(ZPP_SYNCIN_DEL), ZP_ROW(ZPP_HDMI_MODE), ZP_ROW(ZPP_PREV_MODE),
    ZP_ROW(UNDEFINED), ZP_ROW(ZPP_NOISE_RED), ZP_ROW(ZPP_NOISE_SENS), ZP_ROW(ZPP_NOISE_DKCOL),
    ZP_ROW(ZPP_NOISE_AUTO), ZP_ROW(ZPP_VIDEO_MODE), ZP_ROW(ZPP_NET_PERFORM), ZP_ROW(ZPP_PLUS),
    ZP_ROW(ZPP_GAMMA), ZP_ROW(ZPP_FRAMES), ZP_ROW(ZPP_PRE_TRIG), ZP_ROW(ZPP_BROC_LEN), ZP_ROW(ZPP_FRAME_CAP),
    ZP_ROW(ZPP_1ST_FRM_IDX), ZP_ROW(ZPP_STARTADDRLO), ZP_ROW(ZPP_STARTADDRHI), ZP_ROW(ZPP_NOISE_APSC),
    ZP_ROW(ZPP_EXT_PERIOD), ZP_ROW(ZPP_EXT_PULSE_WID), ZP_ROW(ZPP_CMP_RATIO), ZP_ROW(ZPP_FRAME_SIZE),
    ZP_ROW(ZPP_EXPOSURE_MAX), ZP_ROW(ZPP_EXPOSURE_DBL), ZP_ROW(ZPP_XDR_RATIO), ZP_ROW(ZPP_XDR_CONTRAST),
    ZP_ROW(ZPP_DYNAMIC_NR), ZP_ROW(ZPP_SHARPEN), ZP_ROW(ZPP_BRIGHTNESS), ZP_ROW(ZPP_CONTRAST),
    ZP_ROW(ZPP_HUE), ZP_ROW(ZPP_SATURATION), ZP_ROW(ZPP_WB_11), ZP_ROW(ZPP_WB_12), ZP_ROW(ZPP_WB_13),
    ZP_ROW(ZPP_WB_21), ZP_ROW(ZPP_WB_22), ZP_ROW(ZPP_WB_23), ZP_ROW(ZPP_WB_31), ZP_ROW(ZPP_WB_32),
    ZP_ROW(ZPP_WB_33), ZP_ROW(ZPP_BOARD_TEMP), ZP_ROW(ZPP_MT_CFG), ZP_ROW(ZPP_MT_THRESHOLD),
    ZP_ROW(ZPP_MT_ROIX), ZP_ROW(ZPP_MT_ROIY), ZP_ROW(ZPP_MT_ROIWIDTH), ZP_ROW(ZPP_MT_ROIHEIGHT),
    ZP_ROW(ZPP_DGR_SIZE), ZP_ROW(ZPP_AE_ENABLE), ZP_ROW(ZPP_AE_ROIX), ZP_ROW(ZPP_AE_ROIY),
    ZP_ROW(ZPP_AE_ROIWIDTH), ZP_ROW(ZPP_AE_ROIHEIGHT), ZP_ROW(ZPP_AE_REFERENCE), ZP_ROW(ZPP_AE_SPEED),
    ZP_ROW(ZPP_AE_EXPOSURE), ZP_ROW(ZPP_PROP), ZP_ROW(ZPP_PROP_WR_BLK), ZP_ROW(ZPP_PROP_ABORT),
    ZP_ROW(ZPP_SYNCOUT_ALIGN), ZP_ROW(ZPP_MARKER_CFG), ZP_ROW(ZPP_MARKER_VAL), ZP_ROW(ZPP_CI_THR),
    ZP_ROW(ZPP_CLOCK_SPEED), ZP_ROW(ZPP_HD_ROI), ZP_ROW(ZPP_GAUSS_FLT), ZP_ROW(ZPP_ROT_ANGLE),
    ZP_ROW(ZPP_FLIP), ZP_ROW(ZPP_LUT), ZP_ROW(ZPP_LUT_CHN_MASK), ZP_ROW(ZPP_HDMI_OVERLAY),
    ZP_ROW(ZPP_WBTBL_TEMP), ZP_ROW(ZPP_HD_ZOOM), ZP_ROW(ZPP_HD_ZOOM_X), ZP_ROW(ZPP_HD_ZOOM_Y),
    ZP_ROW(ZPP_SHARPEN_THR), ZP_ROW(ZPP_SYNCIN_INV), ZP_ROW(ZPP_DYNAMIC_NR2), ZP_ROW(ZPP_JPEG),
    ZP_ROW(ZPP_IMG_ZOOM), ZP_ROW(ZPP_IMG_ZOOM_WID), ZP_ROW(ZPP_IMG_ZOOM_HGT), ZP_ROW(ZPP_AE_CUR_LUMA),
    ZP_ROW(ZPP_BROC_TOT_LEN), ZP_ROW(ZPP_BROC_CURR_SECT), ZP_ROW(ZPP_HD_ZOOM_2R), ZP_ROW(ZPP_FRAME_SIZE_IMG),
    ZP_ROW(ZPP_SYNC_COUNT), ZP_ROW(ZPP_AE_MIN_EXP), ZP_ROW(ZPP_AE_MAX_EXP), ZP_ROW(ZPP_BATTERY_STATUS),
    ZP_ROW(ZPP_JPEG_QUAL), ZP_ROW(ZPP_SSD_STRM_PER), ZP_ROW(ZPP_SSD_MAX_FRMS), ZP_ROW(ZPP_GAMMA_LEVEL),
    ZP_ROW(ZPP_GAMMA1), ZP_ROW(ZPP_GAMMA_LEVEL1), ZP_ROW(ZPP_MISS_STEP_CNT), ZP_ROW(ZPP_EXEC_STEP_CNT),
    ZP_ROW(ZPP_EXT_FREQ), ZP_ROW(ZPP_SSD_WRITE_PERC), ZP_ROW(ZPP_RAW_RD_TSTAMP), ZP_ROW(ZPP_NONE),
};
#undef ZP_ROW
// clang-format on

std::string Format(const char* format, int code) {
    char text[64];
    std::snprintf(text, sizeof(text), format, code);
    return text;
}

using Lookup = void (CXTrace::*)(int, char*);

// The text written over a filled buffer; it must be terminated within the buffer.
std::string Describe(Lookup lookup, int code) {
    CXTrace trace;
    char text[128];
    std::memset(text, '#', sizeof(text));
    (trace.*lookup)(code, text);
    return std::string(text, strnlen(text, sizeof(text)));
}

// Codes in [first, last] that have a row of their own, i.e. do not give the fallback text.
int CountRows(Lookup lookup, int first, int last, const char* fallback) {
    int rows = 0;
    for (int code = first; code <= last; ++code) rows += Describe(lookup, code) != Format(fallback, code);
    return rows;
}

TEST(Descriptions, TablesHaveTheirRowCountsAndFallbacks) {
    EXPECT_EQ(90, CountRows(&CXTrace::GetTWCommandDescr, -2, 300, "Command %02X"));
    EXPECT_EQ(60, CountRows(&CXTrace::GetKAVCommandDescr, -2, 300, "Command %02X"));
    EXPECT_EQ(12, CountRows(&CXTrace::GetKAVCommandErrorDescr, -2, 300, "Error %02X"));
    EXPECT_EQ(29, CountRows(&CXTrace::GetHardwareErrorString, -3, 4100, ""));
    EXPECT_EQ(1, CountRows(&CXTrace::GetHardwareErrorString, 9990, 10010, ""));
    EXPECT_EQ(11, CountRows(&CXTrace::BuildStringFromGEError, -20, 5, "No error"));
}

// First and last rows of each table, the texts kept with their typos, and the fallbacks.
TEST(Descriptions, SpotChecks) {
    const Lookup tw = &CXTrace::GetTWCommandDescr, bin = &CXTrace::GetKAVCommandDescr;
    const Lookup result = &CXTrace::GetKAVCommandErrorDescr, param = &CXTrace::GetParameterDescr;
    const Lookup hw = &CXTrace::GetHardwareErrorString, ge = &CXTrace::BuildStringFromGEError;
    const struct {
        Lookup lookup;
        int code;
        const char* text;
    } rows[] = {
        {tw, 0x01, "Attach to Camera"}, {tw, 0x9F, "Get Sensor Size"}, {tw, 0x40, "Get Camera State"},
        {tw, 0x89, "Download Rate Limit (Network Performance)"}, {tw, 0x5A, "Delete file(s)"},
        {tw, 0x02, "Command 02"}, {tw, 0xA4, "Command A4"}, {tw, 0x100, "Command 100"},
        {tw, 0x83, "Configre Strobe Output"}, {bin, 0x01, "Enumerate"}, {bin, 0xD8, "SSD Steps Configuration"},
        {bin, 0x19, "Set Contr/Bright/Gamma/Hue/Sat Matrix"}, {bin, 0xD9, "Command D9"},
        {bin, 0x08, "Command 08"}, {result, 0, "OK NO Error"}, {result, 9, "Ethernet speed is not 1Gbps"},
        {result, 255, "Generic Error"}, {result, 12, "Error 0C"}, {result, 10, "Error 0A"},
        {param, 132, "Parameter 132"}, {param, -1, "Parameter -1"}, {hw, 2011, ""},
        {hw, 0, "Successfull Operation."}, {hw, 1007, "USB - The device is diconnected from the USB port."},
        {hw, 2008, "GE - The device is disconnected."}, {hw, 10000, "Z Hw Error: can not read EEPROM."},
        {ge, -1, "'Disconnected'"}, {ge, -11, "'No Sync'"}, {ge, 0, "No error"}, {ge, -12, "No error"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.text, Describe(row.lookup, row.code)) << "code " << row.code;
}

// Each parameter value names its own enumerator; two texts differ from the identifier on purpose.
TEST(Descriptions, ParameterTextsFollowTheEnumerators) {
    ASSERT_EQ(132u, sizeof(kEnumRows) / sizeof(kEnumRows[0]));
    for (int i = 0; i < 132; ++i) {
        EXPECT_EQ(i, kEnumRows[i].value) << kEnumRows[i].identifier;
        std::string name = kEnumRows[i].identifier;
        if (i == ZPP_IMG_ZOOM_WID) name = "ZPP_IMG_ZOOM_WID ";  // the text keeps a trailing space
        if (i == ZPP_NONE) name = "None";
        EXPECT_EQ(name, Describe(&CXTrace::GetParameterDescr, i)) << "value " << i;
    }
    EXPECT_EQ("Parameter 140", Describe(&CXTrace::GetParameterDescr, 140));
}

std::string CommandString(const std::string& line) {
    CXTrace trace;
    std::vector<char> input(line.begin(), line.end());
    input.push_back('\0');
    char text[2048];
    std::memset(text, '#', sizeof(text));
    trace.GetTWCommandString(input.data(), text);
    return text;
}

TEST(PrintableCommandLine, LineEndsBecomeSpacesAndTheLineIsCutAtEighty) {
    const std::string eighty(80, 'a');
    const std::pair<std::string, std::string> rows[] = {
        {"#0140\r\n", "#0140  "}, {"#01\r11\nx", "#01 11 x"}, {"", ""}, {eighty, eighty},
        {eighty + "bcd\r\n", eighty}, {std::string(79, 'a') + "\r\n", std::string(79, 'a') + " "}};
    for (const auto& row : rows) EXPECT_EQ(row.second, CommandString(row.first)) << row.first;
}

std::string FrameString(const std::vector<std::uint8_t>& frame) {
    CXTrace trace;
    std::vector<std::uint8_t> copy(frame);
    char text[2048];
    std::memset(text, '#', sizeof(text));
    trace.GetKAVCommandString(copy.empty() ? nullptr : copy.data(), static_cast<int>(copy.size()), text);
    return text;
}

// Header bytes 01 02 03 <command>, then the words 0x1234 and 0xABCD in host order, then
// payload bytes counting up from 0x10.
std::vector<std::uint8_t> Frame(std::uint8_t command, int length) {
    std::vector<std::uint8_t> frame(static_cast<std::size_t>(length));
    const std::uint8_t head[4] = {0x01, 0x02, 0x03, command};
    const std::uint16_t words[2] = {0x1234, 0xABCD};
    std::memcpy(frame.data(), head, sizeof(head));
    std::memcpy(frame.data() + 4, words, sizeof(words));
    for (int i = 8; i < length; ++i) {
        frame[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(0x10 + i - 8);
    }
    return frame;
}

std::string PayloadHex(int count) {
    std::string hex;
    char pair[8];
    for (int i = 0; i < count; ++i) {
        std::snprintf(pair, sizeof(pair), "%02X", static_cast<unsigned char>(0x10 + i));
        hex += pair;
    }
    return hex;
}

TEST(PrintableFrame, HeaderThenAtMostFortyPayloadBytes) {
    const std::string head = "01 02 03 07 1234 ABCD";
    const std::pair<std::vector<std::uint8_t>, std::string> rows[] = {
        {Frame(0x07, 60), head + " 101112131415161718191A1B1C1D1E1F202122232425262728292A2B2C2D2E2F"
                                 "3031323334353637"},
        {Frame(0x07, 48), head + " " + PayloadHex(40)}, {Frame(0x07, 20), head + " " + PayloadHex(12)},
        {Frame(0x07, 9), head + " 10"}, {Frame(0x07, 8), head}, {Frame(0x15, 60), "01 02 03 15 1234 ABCD"},
        // Frames shorter than a header print every byte.
        {{0x0A, 0x0B, 0x0C, 0x0D, 0x0E}, "0A0B0C0D0E"}, {{0xFF}, "FF"}, {{}, ""}};
    for (const auto& row : rows) EXPECT_EQ(row.second, FrameString(row.first)) << row.first.size() << " B";
    EXPECT_EQ(21u + 1u + 80u, rows[0].second.size());
}

TEST(PrintableFrame, BulkDataCommandsPrintOnlyTheHeader) {
    const int headerOnly[] = {3, 19, 20, 21, 22, 25, 26, 30, 32, 36, 40, 192, 200, 255};
    const int withPayload[] = {0, 1, 2, 4, 18, 23, 24, 31, 41, 100, 191};
    for (int command : headerOnly) {
        const std::string text = FrameString(Frame(static_cast<std::uint8_t>(command), 12));
        EXPECT_EQ(21u, text.size()) << "command " << command << ": " << text;
    }
    for (int command : withPayload) {
        const std::string text = FrameString(Frame(static_cast<std::uint8_t>(command), 12));
        EXPECT_EQ(21u + 1u + 8u, text.size()) << "command " << command << ": " << text;
        EXPECT_EQ(" 10111213", text.substr(21)) << "command " << command;
    }
}

}  // namespace
