// The trace log (file names, daily files, line format, registers) and the texts beside it: the
// description tables, checked by row counts and at adjacent codes, and the printable forms.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_dir.h"
#include "zpport/OSLayer.h"
#include "zpport/XTrace.h"
#include "zpport/ZpParam.h"

namespace {

using Lookup = void (CXTrace::*)(int, char*);

// The text written over a filled buffer.
std::string Describe(Lookup lookup, int code) {
    CXTrace trace;
    char text[128];
    std::memset(text, '#', sizeof(text));
    (trace.*lookup)(code, text);
    return std::string(text, strnlen(text, sizeof(text)));
}

TEST(TraceTexts, DescriptionTablesAndPrintableForms) {
    const Lookup tw = &CXTrace::GetTWCommandDescr, bin = &CXTrace::GetKAVCommandDescr;
    const Lookup result = &CXTrace::GetKAVCommandErrorDescr, param = &CXTrace::GetParameterDescr;
    // Codes in [first, last] with a row of their own, i.e. without the fallback text.
    // clang-format off
    const std::tuple<Lookup, int, int, const char*, int> counts[] = {{tw, -2, 300, "Command %02X", 90},
        {bin, -2, 300, "Command %02X", 60}, {result, -2, 300, "Error %02X", 12}};
    // clang-format on
    for (const auto& [lookup, first, last, fallback, rows] : counts) {
        int found = 0;
        for (int code = first; code <= last; ++code) {
            char text[64];
            std::snprintf(text, sizeof(text), fallback, code);
            found += Describe(lookup, code) != text;
        }
        EXPECT_EQ(rows, found) << fallback;
    }
    // Neighbouring codes and the fallbacks.
    // clang-format off
    const std::tuple<Lookup, int, const char*> rows[] = {
        {tw, 0x09, "Date"}, {tw, 0x0A, "Camera Orientation"}, {tw, 0x30, "Baud rate"},
        {tw, 0x31, "Command 31"}, {tw, 0x6F, "File Format"}, {tw, 0x70, "Edge Enhancement"},
        {tw, 0x100, "Command 100"}, {bin, 0x06, "Get Parameter"}, {bin, 0x07, "Set Parameter"},
        {bin, 0x08, "Command 08"}, {result, 10, "Error 0A"}, {param, -1, "Parameter -1"}};
    // clang-format on
    for (const auto& [lookup, code, text] : rows) EXPECT_EQ(text, Describe(lookup, code)) << "code " << code;

    // Printable forms of a command line and of a binary frame.
    CXTrace trace;
    char text[2048];
    std::string line = "#01\r" + std::string(80, 'a');  // line ends become spaces; 80 characters at most
    trace.GetTWCommandString(&line[0], text);
    EXPECT_EQ("#01 " + std::string(76, 'a'), text);
    // Header 01 02 03 <command>, the words 0x1234 and 0xABCD in host order, payload bytes from 0x10.
    std::vector<std::uint8_t> frame = {0x01, 0x02, 0x03, 0x07, 0x34, 0x12, 0xCD, 0xAB};
    for (int i = 0; i < 60; ++i) frame.push_back(static_cast<std::uint8_t>(0x10 + i));
    const std::string head = "01 02 03 07 1234 ABCD";
    const std::string payload =
        "101112131415161718191A1B1C1D1E1F202122232425262728292A2B2C2D2E2F3031323334353637";
    // clang-format off
    const std::pair<int, std::string> lengths[] = {{68, head + " " + payload},
        {20, head + " " + payload.substr(0, 24)}, {9, head + " 10"}, {8, head}, {5, "0102030734"}, {1, "01"},
        {0, ""}};
    // clang-format on
    for (const auto& [length, expected] : lengths) {
        trace.GetKAVCommandString(frame.data(), length, text);
        EXPECT_EQ(expected, text) << length;
    }
    // Bulk-data commands print the header only.
    const auto printed = [&](int command) {
        frame[3] = static_cast<std::uint8_t>(command);
        trace.GetKAVCommandString(frame.data(), 12, text);
        return std::strlen(text);
    };
    for (int command : {3, 19, 22, 25, 30, 32, 40, 192, 255}) EXPECT_EQ(21u, printed(command)) << command;
    for (int command : {0, 2, 18, 23, 24, 31, 41, 191}) EXPECT_EQ(30u, printed(command)) << command;
}

// Per-id and daily log names, and the log lines: header, label, cut, registers; a file is created
// only by a line that is written.
TEST(TraceLog, NamesLinesAndDailyFiles) {
    zptest::TempDir dir;
    ASSERT_TRUE(dir.Valid());
    CXTrace trace;
    trace.EnableTrace(7u, "a.b/log", 2);  // the base ends at the last dot, even in a folder name
    EXPECT_STREQ("a_0000000007.b/log", trace.LogPath());

    std::ofstream(dir.File("cam_0000000007.log"), std::ios::binary) << "old line\r\n";
    trace.EnableTrace(7u, dir.File("cam.log").c_str(), 1);
    trace.Trace(0x2001, 1, "CMD: %s %d", "#0140", 5);
    trace.Trace(0, 0, "%s", std::string(3000, 'x').c_str());  // level 0 writes too; cut to 2045
    trace.Trace(0xFFFFFFFFu, 3, "100%%");
    trace.Trace(0x12345, 1, "x");
    trace.Trace(0xE101, 1, "x");
    unsigned short registers[30];
    for (int i = 0; i < 30; ++i) registers[i] = static_cast<unsigned short>(0xA000 + i);
    trace.TraceRegs(0x2001, 1, registers, 30);
    const auto read = [&dir](const std::string& name) {  // the file with each line's time removed
        std::ostringstream text;
        text << std::ifstream(dir.File(name), std::ios::binary).rdbuf();
        return std::regex_replace(
            text.str(), std::regex("(^|\n)([01][0-9]|2[0-3]):[0-5][0-9]:[0-6][0-9]:[0-9]{3} "), "$1");
    };
    EXPECT_EQ(
        "old line\r\n2001 ETH TW CMD: #0140 5\r\n0000 DRV FN " + std::string(2045, 'x') +
            "\r\nFFFF DRV FN 100%\r\n2345 ETH TW x\r\nE101 UNDEFD x\r\n2001 ETH TW Reg: A0,00 A0,01 A0,02 "
            "A0,03 A0,04 A0,05 A0,06 A0,07 A0,08 A0,09 A0,0A A0,0B A0,0C A0,0D A0,0E A0,0F A0,10 A0,11 "
            "A0,12 A0,13 A0,14 A0,15 A0,16 A0,17\r\n2001 ETH TW      A0,18 A0,19 A0,1A A0,1B A0,1C A0,1D\r\n",
        read("cam_0000000007.log"));

    // Mode 0, a missing folder and a folder as the log write nothing; mode 2 writes to the day's file.
    trace.EnableTrace(7u, dir.File("off.log").c_str(), 0);
    trace.Trace(0x2001, 1, "level without mode");
    trace.TraceRegs(0x2001, 1, registers, 3);
    trace.EnableTrace(dir.File("missing/cam.log").c_str(), 1);
    trace.Trace(0x2001, 1, "lost");
    trace.EnableTrace(dir.Path().c_str(), 1);
    trace.Trace(0x2001, 1, "lost too");
    _OS_SYSTEMTIME before{}, after{};
    OS_GetLocalTime(&before);
    trace.EnableTrace(7u, dir.File("cam.log").c_str(), 2);
    trace.Trace(0x2001, 1, "daily");
    OS_GetLocalTime(&after);
    std::set<std::string> files, days;
    for (const auto& e : std::filesystem::directory_iterator(dir.Path())) files.insert(e.path().filename());
    for (const _OS_SYSTEMTIME& t : {before, after}) {
        char name[64];
        std::snprintf(name, sizeof(name), "cam_%04d-%02d-%02d.log", t.wYear + 1900, t.wMonth + 1, t.wDay);
        if (files.count(name) != 0) days.insert(name);
    }
    ASSERT_EQ(1u, days.size());
    EXPECT_EQ((std::set<std::string>{"cam_0000000007.log", *days.begin()}), files);
    EXPECT_EQ("2001 ETH TW daily\r\n", read(*days.begin()));
}

}  // namespace
