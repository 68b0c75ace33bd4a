// Address text, discovery datagrams without sockets, the forbidden-address rule and neighbour-table lines.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "net/discovery_answers.h"
#include "net/neighbour_table.h"
#include "zpport/AddressText.h"

namespace {

using namespace zpnet;

TEST(AddressText, HexFieldsMacAndIpTextBothWays) {
    auto Text = [](const char* s) { return const_cast<char*>(s); };  // the parsers take char*
    std::string digits;
    for (char c : std::string("09afAFgG@", 9) + '\0') digits += std::to_string(int(hex(c))) + " ";
    EXPECT_EQ(digits, "0 9 10 15 10 15 -1 -1 -1 -1 ");
    EXPECT_GT(hex2c(Text("0g")), 0xFFu) << "a non-digit gives no valid byte";
    EXPECT_EQ(hex2c(Text("a4")), 0xA4u);
    EXPECT_EQ(hex2s(Text("fffe")), 0xFFFE);
    EXPECT_EQ(hex2i(Text("DEADBEEF")), 0xDEADBEEFu);
    EXPECT_EQ(dec2c(Text("99")), 99);
    // MAC text from words, and the plain forms of text to words, are seen through the port's items.
    char out[7][32];
    c2hex(0x0A, out[0]);
    s2hex(0x0F, out[1]);
    s2hex(0x1FF, out[2]);
    i2hex(0x2A, out[3]);
    i2hex(0x12345678, out[4]);
    ByteAddressToString(0xC0A80001u, out[5]);
    ByteAddressToString(10, 0, 255, 7, out[6]);
    EXPECT_EQ(std::string(out[0]) + " " + out[1] + " " + out[2] + " " + out[3] + " " + out[4] + " " + out[5] +
                  " " + out[6],
              "0A 0F 1FF 002A 12345678 [192.168.0.1] [10.0.255.7]");
    const std::string longText = "0A-0B-0C-0D-0E-0F" + std::string(500, 'x');  // only 128 characters are read
    for (const auto& [text, low, high] : {std::tuple{"00-1a-2B-3c-4D-5e", 0x2B3C4D5Eu, 0x001Au},
                                          {"FF-EE-DD-CC-BB-AA", 0xDDCCBBAAu, 0xFFEEu},
                                          {longText.c_str(), 0x0C0D0E0Fu, 0x0A0Bu}}) {
        unsigned got[2] = {};
        StringToMACAddress(text, got[0], got[1]);
        EXPECT_TRUE(got[0] == low && got[1] == high) << text;
    }
    for (const auto& [text, square, value] : {std::tuple{"10.1", false, 0x0A010000u},
                                              {"", false, 0u},
                                              {"127.0.0.5]\r\n", false, 0x7F000005u},
                                              {"256.1.2.3", false, 0x00010203u},
                                              {"[255.255.255.255]", true, 0xFFFFFFFFu},
                                              {"", true, 0u}}) {
        unsigned got = 1;
        unsigned char b[4] = {1, 1, 1, 1};
        (square ? StringAddressToLongSquare : StringAddressToLong)(text, got);
        (square ? StringAddressToByteSquare : StringAddressToByte)(text, b[0], b[1], b[2], b[3]);
        EXPECT_TRUE(got == value && unsigned(b[0] << 24 | b[1] << 16 | b[2] << 8 | b[3]) == value) << text;
    }
}

// An answer buffer as the worker reads it: cleared, then the datagram's little-endian words put in.
struct Answer {
    unsigned char bytes[kAnswerBufferSize] = {};
    Answer& Word(size_t at, uint32_t value) {
        for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<unsigned char>(value >> (8 * i));
        return *this;
    }
};

TEST(DiscoveryAnswers, BinaryAnswerFieldsTypesPerProtocolLinkFlagAndModelRefinement) {
    Answer answer;
    answer.Word(8, 11).Word(12, 7).Word(16, 123456).Word(20, 0x0102).Word(24, 0x0304).Word(32, 18);
    answer.Word(36, 0x00AB).Word(40, 0xCDEF0123).Word(48, 0x55AA).Word(52, 4);
    _ZP_ENUMITEMEX item;
    std::memset(&item, 0xEE, sizeof item);
    ASSERT_TRUE(ReadBinaryAnswer(answer.bytes, 0, item));
    EXPECT_EQ(
        std::vector<unsigned>({item.cameraType, item.typeFlag, item.serialNumber, item.fwVersion,
                               item.fwVersion2, item.viWord18, item.macHigh, item.macLow, item.extraWord,
                               item.linkFlag, item.modelNumber, item.infoTag, unsigned(item.ipText[0])}),
        std::vector<unsigned>({11, 7, 123456, 0x0102, 0x0304, 18, 0x00AB, 0xCDEF0123, 0x55AA, 1, 0, 0, 0}));
    answer.bytes[0] = 1;  // the status byte of a failed answer
    EXPECT_FALSE(ReadBinaryAnswer(answer.bytes, 0, item));

    // Types accepted per protocol, the link flag and the refinement of type and model.
    const struct {
        int protocol;
        uint32_t type, model, word52;
        bool accepted;
        unsigned cameraType, modelNumber, linkFlag;
    } rows[] = {
        {0, 9, 0, 0, true, 9, 0, 1},    {0, 21, 0, 0, true, 21, 0, 1},  {0, 26, 0, 0, true, 26, 0, 1},
        {0, 12, 0, 0, false, 0, 0, 0},  {0, 18, 0, 0, false, 0, 0, 0},  {0, 0, 0, 0, false, 0, 0, 0},
        {1, 20, 0, 0, true, 20, 0, 1},  {1, 21, 0, 0, false, 0, 0, 0},  {1, 33, 0, 0, false, 0, 0, 0},
        {1, 9, 0, 0, false, 0, 0, 0},   {1, 27, 0, 4, true, 27, 0, 5},  {1, 32, 0, 4, true, 32, 0, 5},
        {1, 29, 0, 3, true, 29, 0, 1},  {1, 18, 0, 4, true, 18, 0, 1},  {0, 10, 12, 0, true, 24, 3, 1},
        {0, 10, 10, 0, true, 24, 1, 1}, {0, 10, 9, 0, true, 22, 3, 1},  {0, 10, 7, 0, true, 22, 1, 1},
        {0, 10, 6, 0, true, 9, 2, 1},   {0, 10, 5, 0, true, 9, 1, 1},   {0, 10, 4, 0, true, 10, 4, 1},
        {1, 19, 4, 0, true, 18, 3, 1},  {1, 19, 11, 0, true, 18, 4, 1}, {1, 19, 8, 0, true, 25, 1, 1},
        {1, 19, 12, 0, true, 25, 4, 1}, {1, 19, 10, 0, true, 25, 3, 1}, {1, 19, 5, 0, true, 23, 1, 1},
        {1, 19, 7, 0, true, 23, 3, 1},  {1, 19, 3, 0, true, 19, 3, 1},  {1, 28, 8, 0, true, 33, 0, 1},
        {1, 28, 9, 0, true, 32, 6, 1},  {1, 28, 4, 0, true, 32, 1, 1},  {1, 28, 3, 0, true, 28, 3, 1},
        {1, 31, 5, 0, true, 34, 0, 1},  {1, 31, 6, 0, true, 35, 0, 1},  {1, 31, 7, 0, true, 31, 7, 1},
        {1, 30, 6, 0, true, 36, 0, 1},  {1, 30, 5, 0, true, 30, 5, 1},  {1, 27, 9, 0, true, 27, 9, 1},
        {0, 19, 6, 0, false, 0, 0, 0},
    };
    for (const auto& row : rows) {
        answer = Answer();
        answer.Word(8, row.type).Word(52, row.word52).Word(28, row.model << 16);
        item = _ZP_ENUMITEMEX{};
        SCOPED_TRACE(testing::Message() << row.protocol << "/" << row.type << "/" << row.model);
        EXPECT_EQ(ReadBinaryAnswer(answer.bytes, row.protocol, item), row.accepted);
        EXPECT_EQ(std::vector<unsigned>({item.cameraType, item.modelNumber, item.linkFlag}),
                  std::vector<unsigned>({row.cameraType, row.modelNumber, row.linkFlag}));
    }
}

TEST(DiscoveryAnswers, AsciiLinesAndCameraNames) {
    const std::pair<const char*, int> lines[] = {
        {"#0A11540A\r", 0x0A}, {"#FF1154", 0xFF}, {"#0a1154", 0x0A}, {"#0A1155", -1},
        {"#0A115", -1},        {"54\r", -1},      {"", -1},          {"#0A11450A\r", -1}};
    for (const auto& [line, address] : lines) {
        unsigned char got = 0;
        EXPECT_EQ(ReadAsciiAnswerLine(line, std::strlen(line), got), address >= 0) << line;
        EXPECT_EQ(address >= 0 ? got : -1, address) << line;
    }
    const std::string longName = "\"" + std::string(300, 'x') + "\"", longKept(127, 'x');
    const std::pair<const char*, const char*> names[] = {{"#0A1152\"Bay 4\"\r\n", "Bay 4"},
                                                         {"#0A1152\"a\"\"second\"\r\n", "second"},
                                                         {"#0A1152\"\"\r\n", ""},
                                                         {"#0A2152\r\n", nullptr},
                                                         {"#0A1152\"open\r\n", nullptr},
                                                         {"", nullptr},
                                                         {longName.c_str(), longKept.c_str()}};
    for (const auto& [answer, name] : names) {
        char got[128] = "Cam_0000012345";
        EXPECT_EQ(CameraNameFromAnswer(answer, got, sizeof got), name != nullptr) << answer;
        EXPECT_STREQ(got, name == nullptr ? "Cam_0000012345" : name) << answer;
    }
}

TEST(AddressRules, ForbiddenAddressesInTheirOrder) {
    const unsigned rows[][3] = {
        {0x7F000001, 0xFF000000, 1}, {0x7F0A0A0A, 0xFFFFFF00, 1}, {0xE0000001, 0xFFFFFF00, 1},
        {0xEFFFFFFE, 0xFFFFFF00, 1}, {0xF0000001, 0xFFFFFF00, 0}, {0xC0A801FF, 0xFFFFFF00, 1},
        {0xC0A80105, 0xFFFFFFFF, 1}, {0xC0A80100, 0xFFFFFF00, 1}, {0, 0xFFFFFF00, 0},
        {0xC0A80105, 0xFFFFFF00, 0}, {0x0A000000, 0xFF000000, 1}, {0x0A000001, 0xFF000000, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(IsForbiddenAddress(row[0], row[1]), row[2]) << std::hex << row[0] << "/" << row[1];
}

TEST(NeighbourTable, CompleteEntriesOnlyAndNoDescriptorLeft) {
    const char* entry = "10.70.1.10  0x1  0x2  02:1a:2b:3c:4d:5e  *  zpe0\n";
    for (const auto& [line, ip, found] : {std::tuple{entry, 0x0A46010Au, true},
                                          {entry, 0x0A46010Bu, false},
                                          {"10.70.1.10 0x1 0x0 02:1a:2b:3c:4d:5e * zpe0", 0x0A46010Au, false},
                                          {"IP address HW type Flags HW address Mask Device", 0u, false}}) {
        unsigned low = 7, high = 7;
        EXPECT_EQ(ReadNeighbourLine(line, ip, low, high), found) << line;
        EXPECT_TRUE(found ? low == 0x2B3C4D5E && high == 0x021A : low == 7 && high == 7) << line;
    }
    auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openFiles();
    unsigned low = 0, high = 0;
    for (int i = 0; i < 3; ++i) NeighbourMacAddress(0x0A46010A, low, high);
    EXPECT_EQ(openFiles(), before);
}

}  // namespace
