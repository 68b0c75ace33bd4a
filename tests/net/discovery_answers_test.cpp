// Discovery datagrams without sockets: the binary request, both answer forms, the camera name of the
// Camera ID answer, and the rule for forbidden addresses.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "net/discovery_answers.h"
#include "zpport/NetworkAdapters.h"

namespace {

using namespace zpnet;

// An answer buffer as the worker reads it: cleared, then the datagram's words put in.
struct BinaryAnswer {
    unsigned char bytes[kAnswerBufferSize] = {};
    BinaryAnswer& Word(size_t at, uint32_t value) {
        for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<unsigned char>(value >> (8 * i));
        return *this;
    }
    BinaryAnswer& Model(uint16_t value) {
        bytes[30] = static_cast<unsigned char>(value);
        bytes[31] = static_cast<unsigned char>(value >> 8);
        return *this;
    }
};

TEST(BinaryRequest, IsTheEightFixedBytes) {
    unsigned char request[kBinaryRequestSize];
    BuildBinaryRequest(request);
    const unsigned char expected[] = {0x01, 0x00, 0x08, 0x01, 0x08, 0x00, 0x00, 0x00};
    EXPECT_EQ(0, std::memcmp(request, expected, sizeof expected));
}

TEST(BinaryAnswer, FieldsComeFromTheirByteOffsets) {
    BinaryAnswer answer;
    answer.Word(8, 11).Word(12, 7).Word(16, 123456).Word(20, 0x0102).Word(24, 0x0304).Word(32, 18);
    answer.Word(36, 0x00AB).Word(40, 0xCDEF0123).Word(48, 0x55AA).Word(52, 4);
    _ZP_ENUMITEMEX item;
    std::memset(&item, 0xEE, sizeof item);
    ASSERT_TRUE(ReadBinaryAnswer(answer.bytes, 0, item));
    EXPECT_EQ(item.cameraType, 11u);
    EXPECT_EQ(item.typeFlag, 7u);
    EXPECT_EQ(item.serialNumber, 123456u);
    EXPECT_EQ(item.fwVersion, 0x0102u);
    EXPECT_EQ(item.fwVersion2, 0x0304u);
    EXPECT_EQ(item.viWord18, 18u);
    EXPECT_EQ(item.macHigh, 0x00ABu);
    EXPECT_EQ(item.macLow, 0xCDEF0123u);
    EXPECT_EQ(item.extraWord, 0x55AAu);
    EXPECT_EQ(item.linkFlag, 1u);  // the word at 52 counts only for types 27 to 32
    EXPECT_EQ(item.modelNumber, 0u);
    EXPECT_EQ(item.ipText[0], '\0');  // the rest of the item is cleared
    EXPECT_EQ(item.infoTag, 0u);
}

TEST(BinaryAnswer, LinkFlagIsFiveForTypes27To32WithWord4) {
    const struct {
        uint32_t type, word52, flag;
    } cases[] = {{27, 4, 5}, {32, 4, 5}, {29, 3, 1}, {18, 4, 1}};
    for (const auto& c : cases) {
        BinaryAnswer answer;
        answer.Word(8, c.type).Word(52, c.word52);
        _ZP_ENUMITEMEX item{};
        ASSERT_TRUE(ReadBinaryAnswer(answer.bytes, 1, item)) << c.type;
        EXPECT_EQ(item.linkFlag, c.flag) << c.type << " " << c.word52;
    }
}

TEST(BinaryAnswer, RejectsStatusByteAndTypesTheProtocolDoesNotAccept) {
    const struct {
        int protocol;
        uint32_t type;
        bool accepted;
    } cases[] = {{0, 9, true},   {0, 10, true},  {0, 11, true},  {0, 21, true},  {0, 26, true},
                 {0, 12, false}, {0, 18, false}, {0, 0, false},  {1, 18, true},  {1, 20, true},
                 {1, 27, true},  {1, 32, true},  {1, 21, false}, {1, 33, false}, {1, 9, false}};
    for (const auto& c : cases) {
        BinaryAnswer answer;
        answer.Word(8, c.type);
        _ZP_ENUMITEMEX item{};
        EXPECT_EQ(ReadBinaryAnswer(answer.bytes, c.protocol, item), c.accepted)
            << "protocol " << c.protocol << " type " << c.type;
    }
    BinaryAnswer failed;
    failed.Word(8, 9);
    failed.bytes[0] = 1;
    _ZP_ENUMITEMEX item{};
    EXPECT_FALSE(ReadBinaryAnswer(failed.bytes, 0, item));
    BinaryAnswer empty;  // a short datagram reads as zeros
    EXPECT_FALSE(ReadBinaryAnswer(empty.bytes, 0, item));
}

TEST(BinaryAnswer, ModelValueRefinesTheType) {
    const struct {
        uint32_t type, model, refinedType, refinedModel;
    } cases[] = {
        {10, 12, 24, 3}, {10, 10, 24, 1}, {10, 9, 22, 3}, {10, 7, 22, 1}, {10, 6, 9, 2},  {10, 5, 9, 1},
        {10, 4, 10, 4},  {19, 4, 18, 3},  {19, 11, 18, 4}, {19, 8, 25, 1}, {19, 12, 25, 4}, {19, 10, 25, 3},
        {19, 5, 23, 1},  {19, 7, 23, 3},  {19, 3, 19, 3}, {28, 8, 33, 0}, {28, 9, 32, 6},  {28, 4, 32, 1},
        {28, 3, 28, 3},  {31, 5, 34, 0},  {31, 6, 35, 0}, {31, 7, 31, 7}, {30, 6, 36, 0},  {30, 5, 30, 5},
        {27, 9, 27, 9},
    };
    for (const auto& c : cases) {
        const CameraKind kind = RefineCameraType(c.type, c.model);
        EXPECT_EQ(kind.type, c.refinedType) << c.type << "/" << c.model;
        EXPECT_EQ(kind.model, c.refinedModel) << c.type << "/" << c.model;
    }
    BinaryAnswer answer;
    answer.Word(8, 10).Model(7);
    _ZP_ENUMITEMEX item{};
    ASSERT_TRUE(ReadBinaryAnswer(answer.bytes, 0, item));
    EXPECT_EQ(item.cameraType, 22u);
    EXPECT_EQ(item.modelNumber, 1u);
}

TEST(AsciiAnswer, NeedsIdentifyCodeAtPositionFiveAndSix) {
    const struct {
        const char* line;
        bool answer;
        unsigned char address;
    } cases[] = {{"#0A11540A\r", true, 0x0A}, {"#FF1154", true, 0xFF}, {"#0a1154", true, 0x0A},
                 {"#0A1155", false, 0},       {"#0A115", false, 0},    {"54\r", false, 0},
                 {"", false, 0},              {"#0A11450A\r", false, 0}};
    for (const auto& c : cases) {
        unsigned char address = 0;
        EXPECT_EQ(ReadAsciiAnswerLine(c.line, std::strlen(c.line), address), c.answer) << c.line;
        if (c.answer) {
            EXPECT_EQ(address, c.address) << c.line;
        }
    }
}

TEST(AddressFields, TakeSenderAndAdapterTextsWithoutBrackets) {
    _NET_AD_DESCR adapter{};
    std::strcpy(adapter.ipText, "[10.70.1.1]");
    std::strcpy(adapter.maskText, "[255.255.255.0]");
    std::strcpy(adapter.macText, "02:00:00:00:70:01");
    _ZP_ENUMITEMEX item{};
    FillAddressFields(item, 0x0A46010A, "10.70.1.10", adapter);
    EXPECT_EQ(item.ipAddress, 0x0A46010Au);
    EXPECT_STREQ(item.ipText, "10.70.1.10");
    EXPECT_STREQ(item.adapterIpText, "10.70.1.1");
    EXPECT_STREQ(item.adapterMaskText, "255.255.255.0");
    EXPECT_STREQ(item.adapterMacText, "02:00:00:00:70:01");
}

TEST(CameraName, IsTheTextBetweenTheLastTwoQuotes) {
    const struct {
        const char* answer;
        bool found;
        const char* name;
    } cases[] = {{"#0A1152\"Bay 4\"\r\n", true, "Bay 4"},
                 {"#0A1152\"a\"\"second\"\r\n", true, "second"},
                 {"#0A1152\"\"\r\n", true, ""},
                 {"#0A2152\r\n", false, "Cam_0000012345"},
                 {"#0A1152\"open\r\n", false, "Cam_0000012345"},
                 {"", false, "Cam_0000012345"}};
    for (const auto& c : cases) {
        char name[128] = "Cam_0000012345";
        EXPECT_EQ(CameraNameFromAnswer(c.answer, name, sizeof name), c.found) << c.answer;
        EXPECT_STREQ(name, c.name) << c.answer;
    }
    const std::string longName = "\"" + std::string(300, 'x') + "\"";
    char name[128] = {};
    ASSERT_TRUE(CameraNameFromAnswer(longName.c_str(), name, sizeof name));
    EXPECT_EQ(std::strlen(name), sizeof name - 1);
}

TEST(ForbiddenAddress, RulesInTheirOrder) {
    const struct {
        unsigned int ip, mask, forbidden;
    } cases[] = {
        {0x7F000001, 0xFF000000, 1}, {0x7F0A0A0A, 0xFFFFFF00, 1}, {0xE0000001, 0xFFFFFF00, 1},
        {0xEFFFFFFE, 0xFFFFFF00, 1}, {0xF0000001, 0xFFFFFF00, 0}, {0xC0A801FF, 0xFFFFFF00, 1},
        {0xC0A80105, 0xFFFFFFFF, 1}, {0xC0A80100, 0xFFFFFF00, 1}, {0, 0xFFFFFF00, 0},
        {0xC0A80105, 0xFFFFFF00, 0}, {0x0A000000, 0xFF000000, 1}, {0x0A000001, 0xFF000000, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsForbiddenAddress(c.ip, c.mask), c.forbidden) << std::hex << c.ip << "/" << c.mask;
    }
}

}  // namespace
