#include "protocol.h"

#include <gtest/gtest.h>

namespace zpsim {
namespace {

TEST(SimProtocolParse, AddressedLineGivesAddressCodeAndArguments) {
    auto command = ParseCommand("#0A538000SLOW\r\n");
    ASSERT_TRUE(command);
    EXPECT_TRUE(command->hasAddress);
    EXPECT_EQ(command->address, 0x0A);
    EXPECT_EQ(command->code, 0x53);
    EXPECT_EQ(command->args, "8000SLOW");
}

TEST(SimProtocolParse, QuotedArgumentsAreKeptVerbatim) {
    auto command = ParseCommand(
        "#0152"
        "01\"my cam\"\r\n");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->code, 0x52);
    EXPECT_EQ(command->args, "01\"my cam\"");
}

TEST(SimProtocolParse, ShortLineIsAddressLessQuery) {
    auto command = ParseCommand("54\r\n");
    ASSERT_TRUE(command);
    EXPECT_FALSE(command->hasAddress);
    EXPECT_EQ(command->code, 0x54);
    EXPECT_TRUE(command->args.empty());
}

TEST(SimProtocolParse, LineWithoutArgumentsHasEmptyArguments) {
    auto command = ParseCommand("#FF40\r\n");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->address, 0xFF);
    EXPECT_EQ(command->code, 0x40);
    EXPECT_EQ(command->args, "");
}

TEST(SimProtocolParse, RejectsMalformedLines) {
    EXPECT_FALSE(ParseCommand("#0140"));       // no CR LF
    EXPECT_FALSE(ParseCommand("#0140\n"));     // LF only
    EXPECT_FALSE(ParseCommand("#0140\r\nX"));  // trailing bytes
    EXPECT_FALSE(ParseCommand("x0140\r\n"));   // no "#"
    EXPECT_FALSE(ParseCommand("#0G40\r\n"));   // bad address digit
    EXPECT_FALSE(ParseCommand("#01Z0\r\n"));   // bad code digit
    EXPECT_FALSE(ParseCommand("5X\r\n"));      // bad short code
    EXPECT_FALSE(ParseCommand("\r\n"));
    EXPECT_FALSE(ParseCommand(""));
}

TEST(SimProtocolFormat, ReplyHasResultAtThreeAndDataAtSeven) {
    std::string reply = FormatReply(0x0A, kResultOk, 0x97,
                                    "07"
                                    "00000102");
    EXPECT_EQ(reply,
              "#0A1197070000010"
              "2\r\n");
    EXPECT_EQ(reply.substr(3, 2), "11");
    EXPECT_EQ(reply.substr(7, 2), "07");
    EXPECT_EQ(reply.substr(9, 8), "00000102");
}

TEST(SimProtocolFormat, AnnouncementCarriesEventAtFiveAndStateAtSeven) {
    std::string text = FormatAnnouncement(0x03, kEventState, Hex2(5));
    EXPECT_EQ(text, "#0301A405\r\n");
}

TEST(SimProtocolFormat, HexFieldsAreUpperCaseFixedWidth) {
    EXPECT_EQ(Hex2(0x0A), "0A");
    EXPECT_EQ(Hex2(0xF6), "F6");
    EXPECT_EQ(Hex4(0x00AB), "00AB");
    EXPECT_EQ(Hex8(0xDEADBEEF), "DEADBEEF");
    EXPECT_EQ(Hex8(1), "00000001");
}

TEST(SimProtocolNumbers, StrictReaders) {
    EXPECT_EQ(ParseHex("fF"), 0xFFu);
    EXPECT_EQ(ParseHex("000F4240"), 1000000u);
    EXPECT_FALSE(ParseHex(""));
    EXPECT_FALSE(ParseHex("1G"));
    EXPECT_FALSE(ParseHex("123456789"));
    EXPECT_EQ(ParseDecimal("07"), 7u);
    EXPECT_FALSE(ParseDecimal("7a"));
    EXPECT_FALSE(ParseDecimal(" 7"));
}

TEST(SimProtocolLog, PrintableLineEscapesControlBytes) {
    EXPECT_EQ(PrintableLine("#0140\r\n"), "#0140\\r\\n");
    EXPECT_EQ(PrintableLine(std::string("a\0b\\", 4)), "a\\x00b\\\\");
    EXPECT_EQ(PrintableLine("\xFF"), "\\xFF");
}

}  // namespace
}  // namespace zpsim
