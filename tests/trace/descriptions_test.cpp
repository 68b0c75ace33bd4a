// Description tables and printable forms. The expected texts below are typed in full,
// so any difference in a single character of a table fails here.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "zpport/XTrace.h"
#include "zpport/ZpParam.h"

namespace {

struct Row {
    int code;
    const char* text;
};

struct EnumRow {
    int value;
    const char* identifier;
};

// clang-format off
const Row kTWRows[] = {
    {0x01, "Attach to Camera"}, {0x04, "Trigger Position"}, {0x05, "Get Frame Rate Info"},
    {0x06, "Frame Rate"}, {0x07, "Exposure"}, {0x08, "Time"}, {0x09, "Date"}, {0x0A, "Camera Orientation"},
    {0x0B, "Reticle"}, {0x0C, "Session ID"}, {0x0D, "Timestamp Reference"}, {0x0E, "Session Length"},
    {0x0F, "Ancillary Data"}, {0x12, "White Balance Values"}, {0x14, "Automatic Save"}, {0x19, "Stop"},
    {0x1A, "Live"}, {0x1B, "Ready"}, {0x1C, "Play"}, {0x1D, "Play rate"}, {0x1E, "Block Playback"},
    {0x23, "Goto frame"}, {0x28, "Download"}, {0x2C, "White patch box"}, {0x30, "Baud rate"},
    {0x40, "Get Camera State"}, {0x45, "Get Frame Number Range"}, {0x47, "IRIG Time"},
    {0x48, "Get Camera Type"}, {0x4B, "Set download frames"}, {0x4D, "IP Address"}, {0x4E, "Subnet Mask"},
    {0x50, "Get Temperature"}, {0x51, "Get Session Length"}, {0x52, "Camera ID"}, {0x53, "Datagram Size"},
    {0x54, "Identify"}, {0x55, "Auto exposure"}, {0x56, "Directory listing"}, {0x57, "Change directory"},
    {0x58, "Make directory"}, {0x59, "Rename directory"}, {0x5A, "Delete file(s)"},
    {0x5C, "Download start delay"}, {0x5D, "Trigger Delay"}, {0x5F, "Reset"}, {0x65, "Split frame select"},
    {0x66, "Frame sync"}, {0x68, "Set Video Output"}, {0x69, "Set On-Screen Display Mode"},
    {0x6B, "Disable Rear panel buttons"}, {0x6C, "Auto Acquire Record Mode"}, {0x6E, "Select Video Output"},
    {0x6F, "File Format"}, {0x70, "Edge Enhancement"}, {0x71, "Light Source Select"},
    {0x72, "Live Quick Look"}, {0x73, "Sharpening Gain"}, {0x74, "Record"}, {0x80, "Command Port Number"},
    {0x81, "Battery Level"}, {0x82, "Configure Configurable Input"}, {0x83, "Configre Strobe Output"},
    {0x84, "Configure External Trigger Input"}, {0x86, "Abort Download"}, {0x87, "Download Frame Format"},
    {0x88, "Download Frame Request"}, {0x89, "Download Rate Limit (Network Performance)"},
    {0x8A, "Live Frame Format"}, {0x8B, "Thumbnail Frame Format"}, {0x8C, "Live Frame Request"},
    {0x8D, "Live Frame Size"}, {0x8E, "Thumb Frame Size"}, {0x8F, "Live Frame Limit"},
    {0x90, "Sensor Active Area"}, {0x91, "Get Serial Number"}, {0x92, "Thumbnail Frame Request"},
    {0x93, "Color Correction Matrix"}, {0x94, "Sharpening LUT"}, {0x95, "Get Camera Status"},
    {0x96, "Delete Recording"}, {0x97, "Get Camera Info"}, {0x98, "Exposure Select"}, {0x99, "Abort Live"},
    {0x9A, "Get Frame Size"}, {0x9B, "BROC Burst Length"}, {0x9C, "Download Frame Size"},
    {0x9D, "Announcement Setup"}, {0x9E, "Fast Network Port"}, {0x9F, "Get Sensor Size"},
};

const Row kKAVRows[] = {
    {0x01, "Enumerate"}, {0x02, "Get Info"}, {0x03, "Set Info"}, {0x04, "Attach"}, {0x05, "Detach"},
    {0x06, "Get Parameter"}, {0x07, "Set Parameter"}, {0x09, "Read Live Image"}, {0x0A, "Read Memory"},
    {0x0B, "Start Grab"}, {0x0C, "Stop Grab"}, {0x0D, "Get Trigger Position"}, {0x0E, "Get Status"},
    {0x0F, "Software Trigger"}, {0x10, "Reset"}, {0x12, "Stop Read"}, {0x13, "Open Flash memory"},
    {0x14, "Write Flash memory"}, {0x15, "Read Flash memory"}, {0x16, "Close Flash Memory"},
    {0x17, "Set IP Address"}, {0x18, "Get Hardware Error Code"},
    {0x19, "Set Contr/Bright/Gamma/Hue/Sat Matrix"}, {0x1A, "Get N Address List"}, {0x1B, "Set CCMC"},
    {0x1C, "Set Lookup Table"}, {0x1D, "Set TNK/DNR"}, {0x1E, "Read Video"}, {0x1F, "Set Gateway"},
    {0x20, "Send Playback Video"}, {0x21, "Get Video Playback Status"}, {0x22, "Get BROC configuration"},
    {0x23, "Get Real Time Clock"}, {0x24, "Wi-Fi Scan"}, {0x25, "Wi-Fi Join"}, {0x26, "Wi-Fi Disconnect"},
    {0x27, "Read Temperature"}, {0x28, "Read Wi-Fi Parameters"}, {0xC0, "Get Info Structure"},
    {0xC1, "Set Info Structure"}, {0xC2, "Set DAC"}, {0xC3, "Get ADC"}, {0xC4, "Set ADC"},
    {0xC7, "Flash Memory Operation"}, {0xC8, "Set Segment"}, {0xC9, "Set Segment Address"}, {0xCA, "Debug"},
    {0xCB, "Flush Sensor Data"}, {0xCC, "Get Register"}, {0xCD, "Set Register"}, {0xCF, "Save Configuration"},
    {0xD0, "Get recording Segment"}, {0xD1, "Read Frame TNK/DNR"}, {0xD2, "Get Firmware Info"},
    {0xD3, "Configure PIV Timing"}, {0xD4, "Current Conditions Calibration"}, {0xD5, "Read RAW Memory Block"},
    {0xD6, "Write RAW Memory Block"}, {0xD7, "Set PLL Phase"}, {0xD8, "SSD Steps Configuration"},
};

const Row kResultRows[] = {
    {0, "OK NO Error"}, {1, "Command in Progress..."}, {2, "Unsupported command"}, {3, "Invalid command"},
    {4, "Value is out of range"}, {5, "Invalid parameter"}, {6, "Invalid camera state"},
    {7, "Command Time Out"}, {8, "Invalid protocol version"}, {9, "Ethernet speed is not 1Gbps"},
    {11, "Aborted command"}, {255, "Generic Error"},
};

const char* const kParameterTexts[] = {
    "ZPP_GAIN", "ZPP_EXPOSURE", "ZPP_IMG_FORMAT", "ZPP_PIX_DEPTH", "ZPP_PIX_GAIN", "ZPP_SYNCIN_CFG",
    "ZPP_REC_MODE", "ZPP_EXP_MODE", "ZPP_BINNING", "ZPP_CI_MODE", "ZPP_TRIGIN_CFG", "ZPP_MAX_WIDTH",
    "ZPP_MAX_HEIGHT", "ZPP_ROIX", "ZPP_ROIY", "ZPP_ROIWIDTH", "ZPP_ROIHEIGHT", "ZPP_PERIOD", "ZPP_PERIOD_MIN",
    "ZPP_IRIG", "ZPP_SYNCOUT_CFG", "ZPP_TRIGIN_DEB", "ZPP_TRIGIN_DEL", "ZPP_SYNCOUT_WID", "ZPP_SYNCOUT_DEL",
    "ZPP_SYNCIN_DEB", "ZPP_SYNCIN_DEL", "ZPP_HDMI_MODE", "ZPP_PREV_MODE", "UNDEFINED", "ZPP_NOISE_RED",
    "ZPP_NOISE_SENS", "ZPP_NOISE_DKCOL", "ZPP_NOISE_AUTO", "ZPP_VIDEO_MODE", "ZPP_NET_PERFORM", "ZPP_PLUS",
    "ZPP_GAMMA", "ZPP_FRAMES", "ZPP_PRE_TRIG", "ZPP_BROC_LEN", "ZPP_FRAME_CAP", "ZPP_1ST_FRM_IDX",
    "ZPP_STARTADDRLO", "ZPP_STARTADDRHI", "ZPP_NOISE_APSC", "ZPP_EXT_PERIOD", "ZPP_EXT_PULSE_WID",
    "ZPP_CMP_RATIO", "ZPP_FRAME_SIZE", "ZPP_EXPOSURE_MAX", "ZPP_EXPOSURE_DBL", "ZPP_XDR_RATIO",
    "ZPP_XDR_CONTRAST", "ZPP_DYNAMIC_NR", "ZPP_SHARPEN", "ZPP_BRIGHTNESS", "ZPP_CONTRAST", "ZPP_HUE",
    "ZPP_SATURATION", "ZPP_WB_11", "ZPP_WB_12", "ZPP_WB_13", "ZPP_WB_21", "ZPP_WB_22", "ZPP_WB_23",
    "ZPP_WB_31", "ZPP_WB_32", "ZPP_WB_33", "ZPP_BOARD_TEMP", "ZPP_MT_CFG", "ZPP_MT_THRESHOLD", "ZPP_MT_ROIX",
    "ZPP_MT_ROIY", "ZPP_MT_ROIWIDTH", "ZPP_MT_ROIHEIGHT", "ZPP_DGR_SIZE", "ZPP_AE_ENABLE", "ZPP_AE_ROIX",
    "ZPP_AE_ROIY", "ZPP_AE_ROIWIDTH", "ZPP_AE_ROIHEIGHT", "ZPP_AE_REFERENCE", "ZPP_AE_SPEED",
    "ZPP_AE_EXPOSURE", "ZPP_PROP", "ZPP_PROP_WR_BLK", "ZPP_PROP_ABORT", "ZPP_SYNCOUT_ALIGN", "ZPP_MARKER_CFG",
    "ZPP_MARKER_VAL", "ZPP_CI_THR", "ZPP_CLOCK_SPEED", "ZPP_HD_ROI", "ZPP_GAUSS_FLT", "ZPP_ROT_ANGLE",
    "ZPP_FLIP", "ZPP_LUT", "ZPP_LUT_CHN_MASK", "ZPP_HDMI_OVERLAY", "ZPP_WBTBL_TEMP", "ZPP_HD_ZOOM",
    "ZPP_HD_ZOOM_X", "ZPP_HD_ZOOM_Y", "ZPP_SHARPEN_THR", "ZPP_SYNCIN_INV", "ZPP_DYNAMIC_NR2", "ZPP_JPEG",
    "ZPP_IMG_ZOOM", "ZPP_IMG_ZOOM_WID ", "ZPP_IMG_ZOOM_HGT", "ZPP_AE_CUR_LUMA", "ZPP_BROC_TOT_LEN",
    "ZPP_BROC_CURR_SECT", "ZPP_HD_ZOOM_2R", "ZPP_FRAME_SIZE_IMG", "ZPP_SYNC_COUNT", "ZPP_AE_MIN_EXP",
    "ZPP_AE_MAX_EXP", "ZPP_BATTERY_STATUS", "ZPP_JPEG_QUAL", "ZPP_SSD_STRM_PER", "ZPP_SSD_MAX_FRMS",
    "ZPP_GAMMA_LEVEL", "ZPP_GAMMA1", "ZPP_GAMMA_LEVEL1", "ZPP_MISS_STEP_CNT", "ZPP_EXEC_STEP_CNT",
    "ZPP_EXT_FREQ", "ZPP_SSD_WRITE_PERC", "ZPP_RAW_RD_TSTAMP", "None",
};

const Row kHardwareRows[] = {
    {0, "Successfull Operation."}, {1, "Generic Error."}, {2, "The port is invalid."}, {3, "Timeout error."},
    {4, "Unable to read data from camera EEPROM."}, {5, "Unable to initialize the HDMI output."},
    {1001, "USB - Cannot open device driver."}, {1002, "USB - 'DeviceIoControl' call failed."},
    {1003, "USB - 'Send Data' operation failed."}, {1004, "USB - 'Receive Data' operation failed."},
    {1005, "USB - The device is not High-Speed USB."},
    {1006, "USB - The device is not a valid High-Speed USB camera."},
    {1007, "USB - The device is diconnected from the USB port."}, {2001, "GE - Image segment out of order."},
    {2002, "GE - Error on read."}, {2003, "GE - Error on select."}, {2004, "GE - Error on opening socket."},
    {2005, "GE - Error on setting socket options."}, {2006, "GE - Error on binding to port."},
    {2007, "GE - Error on sending command."}, {2008, "GE - The device is disconnected."},
    {2009, "GE - Error on connecting procedure."},
    {2010, "GE - The camera is connected to a 10/100 Mbps device."},
    {3001, "CL - Unable to open CameraLink serial port."},
    {3002, "CL - Unable to write to CameraLink serial port."},
    {3003, "CL - Unable to read from CameraLink serial port."},
    {3004, "CL - Write To Disk Data Buffer Overrun."}, {4001, "CL - Unable to open Virtual Camera."},
    {4002, "CL - Unable to read data from Virtual Camera."}, {10000, "Z Hw Error: can not read EEPROM."},
};

const Row kEnumerationRows[] = {
    {-1, "'Disconnected'"}, {-2, "'Network Adapter enumeration'"}, {-3, "'No Network Adapter'"},
    {-4, "'Socket Generation'"}, {-5, "'Socket Bind'"}, {-6, "'Socket Set option'"}, {-7, "'Socket Send to'"},
    {-8, "'Socket Select'"}, {-9, "'Socket Receive from'"}, {-10, "'Command Time out'"}, {-11, "'No Sync'"},
};

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

// Each code from first to last gives its row's text, or the fallback when no row lists it.
template <std::size_t N>
void ExpectTable(Lookup lookup, const Row (&rows)[N], int first, int last, const char* fallback) {
    std::map<int, std::string> expected;
    for (const Row& row : rows) expected[row.code] = row.text;
    for (int code = first; code <= last; ++code) {
        const auto row = expected.find(code);
        EXPECT_EQ(row != expected.end() ? row->second : Format(fallback, code), Describe(lookup, code))
            << "code " << code;
    }
}

TEST(Descriptions, EveryCodeGivesItsRowOrTheFallback) {
    EXPECT_EQ(90u, sizeof(kTWRows) / sizeof(kTWRows[0]));
    ExpectTable(&CXTrace::GetTWCommandDescr, kTWRows, -2, 300, "Command %02X");
    EXPECT_EQ(60u, sizeof(kKAVRows) / sizeof(kKAVRows[0]));
    ExpectTable(&CXTrace::GetKAVCommandDescr, kKAVRows, -2, 300, "Command %02X");
    ExpectTable(&CXTrace::GetKAVCommandErrorDescr, kResultRows, -2, 300, "Error %02X");
    ExpectTable(&CXTrace::GetHardwareErrorString, kHardwareRows, -3, 4100, "");
    ExpectTable(&CXTrace::GetHardwareErrorString, kHardwareRows, 9990, 10010, "");
    ExpectTable(&CXTrace::BuildStringFromGEError, kEnumerationRows, -20, 5, "No error");
}

TEST(Descriptions, SpotChecks) {
    const Lookup tw = &CXTrace::GetTWCommandDescr, bin = &CXTrace::GetKAVCommandDescr;
    const Lookup result = &CXTrace::GetKAVCommandErrorDescr, param = &CXTrace::GetParameterDescr;
    const Lookup hw = &CXTrace::GetHardwareErrorString, ge = &CXTrace::BuildStringFromGEError;
    const struct {
        Lookup lookup;
        int code;
        const char* text;
    } rows[] = {
        {tw, 0x40, "Get Camera State"}, {tw, 0x02, "Command 02"}, {tw, 0xA4, "Command A4"},
        {tw, 0x100, "Command 100"}, {tw, 0x83, "Configre Strobe Output"}, {bin, 0xD9, "Command D9"},
        {bin, 0x08, "Command 08"}, {result, 12, "Error 0C"}, {result, 10, "Error 0A"},
        {param, 132, "Parameter 132"}, {param, -1, "Parameter -1"}, {param, 109, "ZPP_IMG_ZOOM_WID "},
        {param, 131, "None"}, {hw, 2011, ""}, {hw, 0, "Successfull Operation."},
        {hw, 2008, "GE - The device is disconnected."}, {ge, 0, "No error"}, {ge, -12, "No error"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.text, Describe(row.lookup, row.code)) << "code " << row.code;
}

TEST(Descriptions, ParameterNamesEveryRowAndFallback) {
    ASSERT_EQ(132u, sizeof(kParameterTexts) / sizeof(kParameterTexts[0]));
    for (int parameter = -3; parameter <= 140; ++parameter) {
        const std::string want = parameter >= 0 && parameter <= 131 ? std::string(kParameterTexts[parameter])
                                                                    : Format("Parameter %d", parameter);
        EXPECT_EQ(want, Describe(&CXTrace::GetParameterDescr, parameter)) << "parameter " << parameter;
    }
}

TEST(Descriptions, ParameterEnumMatchesNames) {
    ASSERT_EQ(132u, sizeof(kEnumRows) / sizeof(kEnumRows[0]));
    for (int i = 0; i < 132; ++i) {
        EXPECT_EQ(i, kEnumRows[i].value) << kEnumRows[i].identifier;
        std::string name = kParameterTexts[i];
        if (i == ZPP_IMG_ZOOM_WID) name = "ZPP_IMG_ZOOM_WID";  // the text keeps a trailing space
        if (i == ZPP_NONE) name = "ZPP_NONE";                  // the text reads "None"
        EXPECT_EQ(name, kEnumRows[i].identifier) << "value " << i;
    }
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
