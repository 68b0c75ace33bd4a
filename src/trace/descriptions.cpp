// Fixed English texts for command codes, result codes, parameter numbers and error codes.
#include <cstddef>
#include <cstdio>

#include "zpport/XTrace.h"
#include "zpport/ZpParam.h"

namespace {

// Callers provide at least this many characters for a description.
constexpr std::size_t kDescrSize = 128;
// Command codes at or above these limits always take the fallback text.
constexpr int kTWCommandLimit = 160;
constexpr int kKAVCommandLimit = 217;

struct CodeText {
    int code;
    const char* text;
};

constexpr CodeText kTWCommands[] = {
    {0x01, "Attach to Camera"},
    {0x04, "Trigger Position"},
    {0x05, "Get Frame Rate Info"},
    {0x06, "Frame Rate"},
    {0x07, "Exposure"},
    {0x08, "Time"},
    {0x09, "Date"},
    {0x0A, "Camera Orientation"},
    {0x0B, "Reticle"},
    {0x0C, "Session ID"},
    {0x0D, "Timestamp Reference"},
    {0x0E, "Session Length"},
    {0x0F, "Ancillary Data"},
    {0x12, "White Balance Values"},
    {0x14, "Automatic Save"},
    {0x19, "Stop"},
    {0x1A, "Live"},
    {0x1B, "Ready"},
    {0x1C, "Play"},
    {0x1D, "Play rate"},
    {0x1E, "Block Playback"},
    {0x23, "Goto frame"},
    {0x28, "Download"},
    {0x2C, "White patch box"},
    {0x30, "Baud rate"},
    {0x40, "Get Camera State"},
    {0x45, "Get Frame Number Range"},
    {0x47, "IRIG Time"},
    {0x48, "Get Camera Type"},
    {0x4B, "Set download frames"},
    {0x4D, "IP Address"},
    {0x4E, "Subnet Mask"},
    {0x50, "Get Temperature"},
    {0x51, "Get Session Length"},
    {0x52, "Camera ID"},
    {0x53, "Datagram Size"},
    {0x54, "Identify"},
    {0x55, "Auto exposure"},
    {0x56, "Directory listing"},
    {0x57, "Change directory"},
    {0x58, "Make directory"},
    {0x59, "Rename directory"},
    {0x5A, "Delete file(s)"},
    {0x5C, "Download start delay"},
    {0x5D, "Trigger Delay"},
    {0x5F, "Reset"},
    {0x65, "Split frame select"},
    {0x66, "Frame sync"},
    {0x68, "Set Video Output"},
    {0x69, "Set On-Screen Display Mode"},
    {0x6B, "Disable Rear panel buttons"},
    {0x6C, "Auto Acquire Record Mode"},
    {0x6E, "Select Video Output"},
    {0x6F, "File Format"},
    {0x70, "Edge Enhancement"},
    {0x71, "Light Source Select"},
    {0x72, "Live Quick Look"},
    {0x73, "Sharpening Gain"},
    {0x74, "Record"},
    {0x80, "Command Port Number"},
    {0x81, "Battery Level"},
    {0x82, "Configure Configurable Input"},
    {0x83, "Configre Strobe Output"},
    {0x84, "Configure External Trigger Input"},
    {0x86, "Abort Download"},
    {0x87, "Download Frame Format"},
    {0x88, "Download Frame Request"},
    {0x89, "Download Rate Limit (Network Performance)"},
    {0x8A, "Live Frame Format"},
    {0x8B, "Thumbnail Frame Format"},
    {0x8C, "Live Frame Request"},
    {0x8D, "Live Frame Size"},
    {0x8E, "Thumb Frame Size"},
    {0x8F, "Live Frame Limit"},
    {0x90, "Sensor Active Area"},
    {0x91, "Get Serial Number"},
    {0x92, "Thumbnail Frame Request"},
    {0x93, "Color Correction Matrix"},
    {0x94, "Sharpening LUT"},
    {0x95, "Get Camera Status"},
    {0x96, "Delete Recording"},
    {0x97, "Get Camera Info"},
    {0x98, "Exposure Select"},
    {0x99, "Abort Live"},
    {0x9A, "Get Frame Size"},
    {0x9B, "BROC Burst Length"},
    {0x9C, "Download Frame Size"},
    {0x9D, "Announcement Setup"},
    {0x9E, "Fast Network Port"},
    {0x9F, "Get Sensor Size"},
};

constexpr CodeText kKAVCommands[] = {
    {0x01, "Enumerate"},
    {0x02, "Get Info"},
    {0x03, "Set Info"},
    {0x04, "Attach"},
    {0x05, "Detach"},
    {0x06, "Get Parameter"},
    {0x07, "Set Parameter"},
    {0x09, "Read Live Image"},
    {0x0A, "Read Memory"},
    {0x0B, "Start Grab"},
    {0x0C, "Stop Grab"},
    {0x0D, "Get Trigger Position"},
    {0x0E, "Get Status"},
    {0x0F, "Software Trigger"},
    {0x10, "Reset"},
    {0x12, "Stop Read"},
    {0x13, "Open Flash memory"},
    {0x14, "Write Flash memory"},
    {0x15, "Read Flash memory"},
    {0x16, "Close Flash Memory"},
    {0x17, "Set IP Address"},
    {0x18, "Get Hardware Error Code"},
    {0x19, "Set Contr/Bright/Gamma/Hue/Sat Matrix"},
    {0x1A, "Get N Address List"},
    {0x1B, "Set CCMC"},
    {0x1C, "Set Lookup Table"},
    {0x1D, "Set TNK/DNR"},
    {0x1E, "Read Video"},
    {0x1F, "Set Gateway"},
    {0x20, "Send Playback Video"},
    {0x21, "Get Video Playback Status"},
    {0x22, "Get BROC configuration"},
    {0x23, "Get Real Time Clock"},
    {0x24, "Wi-Fi Scan"},
    {0x25, "Wi-Fi Join"},
    {0x26, "Wi-Fi Disconnect"},
    {0x27, "Read Temperature"},
    {0x28, "Read Wi-Fi Parameters"},
    {0xC0, "Get Info Structure"},
    {0xC1, "Set Info Structure"},
    {0xC2, "Set DAC"},
    {0xC3, "Get ADC"},
    {0xC4, "Set ADC"},
    {0xC7, "Flash Memory Operation"},
    {0xC8, "Set Segment"},
    {0xC9, "Set Segment Address"},
    {0xCA, "Debug"},
    {0xCB, "Flush Sensor Data"},
    {0xCC, "Get Register"},
    {0xCD, "Set Register"},
    {0xCF, "Save Configuration"},
    {0xD0, "Get recording Segment"},
    {0xD1, "Read Frame TNK/DNR"},
    {0xD2, "Get Firmware Info"},
    {0xD3, "Configure PIV Timing"},
    {0xD4, "Current Conditions Calibration"},
    {0xD5, "Read RAW Memory Block"},
    {0xD6, "Write RAW Memory Block"},
    {0xD7, "Set PLL Phase"},
    {0xD8, "SSD Steps Configuration"},
};

constexpr CodeText kKAVResults[] = {
    {0, "OK NO Error"},
    {1, "Command in Progress..."},
    {2, "Unsupported command"},
    {3, "Invalid command"},
    {4, "Value is out of range"},
    {5, "Invalid parameter"},
    {6, "Invalid camera state"},
    {7, "Command Time Out"},
    {8, "Invalid protocol version"},
    {9, "Ethernet speed is not 1Gbps"},
    {11, "Aborted command"},
    {255, "Generic Error"},
};

// Indexed by ZP_PARAM; each text is the parameter's own identifier.
// clang-format off
constexpr const char* kParameterNames[] = {
    /*   0 */ "ZPP_GAIN", "ZPP_EXPOSURE", "ZPP_IMG_FORMAT", "ZPP_PIX_DEPTH", "ZPP_PIX_GAIN",
    /*   5 */ "ZPP_SYNCIN_CFG", "ZPP_REC_MODE", "ZPP_EXP_MODE", "ZPP_BINNING", "ZPP_CI_MODE",
    /*  10 */ "ZPP_TRIGIN_CFG", "ZPP_MAX_WIDTH", "ZPP_MAX_HEIGHT", "ZPP_ROIX", "ZPP_ROIY", "ZPP_ROIWIDTH",
    /*  16 */ "ZPP_ROIHEIGHT", "ZPP_PERIOD", "ZPP_PERIOD_MIN", "ZPP_IRIG", "ZPP_SYNCOUT_CFG",
    /*  21 */ "ZPP_TRIGIN_DEB", "ZPP_TRIGIN_DEL", "ZPP_SYNCOUT_WID", "ZPP_SYNCOUT_DEL", "ZPP_SYNCIN_DEB",
    /*  26 */ "ZPP_SYNCIN_DEL", "ZPP_HDMI_MODE", "ZPP_PREV_MODE", "UNDEFINED", "ZPP_NOISE_RED",
    /*  31 */ "ZPP_NOISE_SENS", "ZPP_NOISE_DKCOL", "ZPP_NOISE_AUTO", "ZPP_VIDEO_MODE", "ZPP_NET_PERFORM",
    /*  36 */ "ZPP_PLUS", "ZPP_GAMMA", "ZPP_FRAMES", "ZPP_PRE_TRIG", "ZPP_BROC_LEN", "ZPP_FRAME_CAP",
    /*  42 */ "ZPP_1ST_FRM_IDX", "ZPP_STARTADDRLO", "ZPP_STARTADDRHI", "ZPP_NOISE_APSC", "ZPP_EXT_PERIOD",
    /*  47 */ "ZPP_EXT_PULSE_WID", "ZPP_CMP_RATIO", "ZPP_FRAME_SIZE", "ZPP_EXPOSURE_MAX",
    /*  51 */ "ZPP_EXPOSURE_DBL", "ZPP_XDR_RATIO", "ZPP_XDR_CONTRAST", "ZPP_DYNAMIC_NR", "ZPP_SHARPEN",
    /*  56 */ "ZPP_BRIGHTNESS", "ZPP_CONTRAST", "ZPP_HUE", "ZPP_SATURATION", "ZPP_WB_11", "ZPP_WB_12",
    /*  62 */ "ZPP_WB_13", "ZPP_WB_21", "ZPP_WB_22", "ZPP_WB_23", "ZPP_WB_31", "ZPP_WB_32", "ZPP_WB_33",
    /*  69 */ "ZPP_BOARD_TEMP", "ZPP_MT_CFG", "ZPP_MT_THRESHOLD", "ZPP_MT_ROIX", "ZPP_MT_ROIY",
    /*  74 */ "ZPP_MT_ROIWIDTH", "ZPP_MT_ROIHEIGHT", "ZPP_DGR_SIZE", "ZPP_AE_ENABLE", "ZPP_AE_ROIX",
    /*  79 */ "ZPP_AE_ROIY", "ZPP_AE_ROIWIDTH", "ZPP_AE_ROIHEIGHT", "ZPP_AE_REFERENCE", "ZPP_AE_SPEED",
    /*  84 */ "ZPP_AE_EXPOSURE", "ZPP_PROP", "ZPP_PROP_WR_BLK", "ZPP_PROP_ABORT", "ZPP_SYNCOUT_ALIGN",
    /*  89 */ "ZPP_MARKER_CFG", "ZPP_MARKER_VAL", "ZPP_CI_THR", "ZPP_CLOCK_SPEED", "ZPP_HD_ROI",
    /*  94 */ "ZPP_GAUSS_FLT", "ZPP_ROT_ANGLE", "ZPP_FLIP", "ZPP_LUT", "ZPP_LUT_CHN_MASK",
    /*  99 */ "ZPP_HDMI_OVERLAY", "ZPP_WBTBL_TEMP", "ZPP_HD_ZOOM", "ZPP_HD_ZOOM_X", "ZPP_HD_ZOOM_Y",
    /* 104 */ "ZPP_SHARPEN_THR", "ZPP_SYNCIN_INV", "ZPP_DYNAMIC_NR2", "ZPP_JPEG", "ZPP_IMG_ZOOM",
    /* 109 */ "ZPP_IMG_ZOOM_WID ", "ZPP_IMG_ZOOM_HGT", "ZPP_AE_CUR_LUMA", "ZPP_BROC_TOT_LEN",
    /* 113 */ "ZPP_BROC_CURR_SECT", "ZPP_HD_ZOOM_2R", "ZPP_FRAME_SIZE_IMG", "ZPP_SYNC_COUNT",
    /* 117 */ "ZPP_AE_MIN_EXP", "ZPP_AE_MAX_EXP", "ZPP_BATTERY_STATUS", "ZPP_JPEG_QUAL", "ZPP_SSD_STRM_PER",
    /* 122 */ "ZPP_SSD_MAX_FRMS", "ZPP_GAMMA_LEVEL", "ZPP_GAMMA1", "ZPP_GAMMA_LEVEL1", "ZPP_MISS_STEP_CNT",
    /* 127 */ "ZPP_EXEC_STEP_CNT", "ZPP_EXT_FREQ", "ZPP_SSD_WRITE_PERC", "ZPP_RAW_RD_TSTAMP", "None",
};
// clang-format on
static_assert(sizeof(kParameterNames) / sizeof(kParameterNames[0]) == ZPP_NONE + 1,
              "one name for every ZP_PARAM value");

constexpr CodeText kHardwareErrors[] = {
    {0, "Successfull Operation."},
    {1, "Generic Error."},
    {2, "The port is invalid."},
    {3, "Timeout error."},
    {4, "Unable to read data from camera EEPROM."},
    {5, "Unable to initialize the HDMI output."},
    {1001, "USB - Cannot open device driver."},
    {1002, "USB - 'DeviceIoControl' call failed."},
    {1003, "USB - 'Send Data' operation failed."},
    {1004, "USB - 'Receive Data' operation failed."},
    {1005, "USB - The device is not High-Speed USB."},
    {1006, "USB - The device is not a valid High-Speed USB camera."},
    {1007, "USB - The device is diconnected from the USB port."},
    {2001, "GE - Image segment out of order."},
    {2002, "GE - Error on read."},
    {2003, "GE - Error on select."},
    {2004, "GE - Error on opening socket."},
    {2005, "GE - Error on setting socket options."},
    {2006, "GE - Error on binding to port."},
    {2007, "GE - Error on sending command."},
    {2008, "GE - The device is disconnected."},
    {2009, "GE - Error on connecting procedure."},
    {2010, "GE - The camera is connected to a 10/100 Mbps device."},
    {3001, "CL - Unable to open CameraLink serial port."},
    {3002, "CL - Unable to write to CameraLink serial port."},
    {3003, "CL - Unable to read from CameraLink serial port."},
    {3004, "CL - Write To Disk Data Buffer Overrun."},
    {4001, "CL - Unable to open Virtual Camera."},
    {4002, "CL - Unable to read data from Virtual Camera."},
    {10000, "Z Hw Error: can not read EEPROM."},
};

constexpr CodeText kEnumerationErrors[] = {
    {-1, "'Disconnected'"},
    {-2, "'Network Adapter enumeration'"},
    {-3, "'No Network Adapter'"},
    {-4, "'Socket Generation'"},
    {-5, "'Socket Bind'"},
    {-6, "'Socket Set option'"},
    {-7, "'Socket Send to'"},
    {-8, "'Socket Select'"},
    {-9, "'Socket Receive from'"},
    {-10, "'Command Time out'"},
    {-11, "'No Sync'"},
};

template <std::size_t N>
const char* Find(const CodeText (&table)[N], int code) {
    for (const CodeText& row : table) {
        if (row.code == code) return row.text;
    }
    return nullptr;
}

void PutText(char* text, const char* value) {
    std::snprintf(text, kDescrSize, "%s", value);
}

// Table text, or "<prefix><code as %02X>" for a code the table does not list.
void PutTextOrHex(char* text, const char* found, const char* prefix, int code) {
    if (found != nullptr) {
        PutText(text, found);
    } else {
        std::snprintf(text, kDescrSize, "%s%02X", prefix, static_cast<unsigned int>(code));
    }
}

}  // namespace

void CXTrace::GetTWCommandDescr(int code, char* text) {
    if (text == nullptr) return;
    PutTextOrHex(text, code < kTWCommandLimit ? Find(kTWCommands, code) : nullptr, "Command ", code);
}

void CXTrace::GetKAVCommandDescr(int code, char* text) {
    if (text == nullptr) return;
    PutTextOrHex(text, code < kKAVCommandLimit ? Find(kKAVCommands, code) : nullptr, "Command ", code);
}

void CXTrace::GetKAVCommandErrorDescr(int code, char* text) {
    if (text == nullptr) return;
    PutTextOrHex(text, Find(kKAVResults, code), "Error ", code);
}

void CXTrace::GetParameterDescr(int parameter, char* text) {
    if (text == nullptr) return;
    if (parameter >= ZPP_GAIN && parameter <= ZPP_NONE) {
        PutText(text, kParameterNames[parameter]);
    } else {
        std::snprintf(text, kDescrSize, "Parameter %d", parameter);
    }
}

void CXTrace::GetHardwareErrorString(int code, char* text) {
    if (text == nullptr) return;
    const char* found = Find(kHardwareErrors, code);
    PutText(text, found != nullptr ? found : "");
}

void CXTrace::BuildStringFromGEError(int code, char* text) {
    if (text == nullptr) return;
    const char* found = Find(kEnumerationErrors, code);
    PutText(text, found != nullptr ? found : "No error");
}
