#include "zpport/AddressText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

char* Text(const char* s) { return const_cast<char*>(s); }

TEST(HexDigits, DigitsOfBothCasesAndAnythingElse) {
    EXPECT_EQ(0u, hex('0'));
    EXPECT_EQ(9u, hex('9'));
    EXPECT_EQ(10u, hex('a'));
    EXPECT_EQ(15u, hex('F'));
    EXPECT_EQ(0xFFFFFFFFu, hex('g'));
    EXPECT_EQ(0xFFFFFFFFu, hex(' '));
    EXPECT_EQ(0xFFFFFFFFu, hex('\0'));
}

TEST(HexFields, ReadMostSignificantFirst) {
    EXPECT_EQ(0x11u, hex2c(Text("11")));
    EXPECT_EQ(0xA4u, hex2c(Text("a4")));
    EXPECT_EQ(0x1234u, hex2s(Text("1234")));
    EXPECT_EQ(0xFFFEu, hex2s(Text("fffe")));
    EXPECT_EQ(0xDEADBEEFu, hex2i(Text("DEADBEEF")));
    EXPECT_EQ(0x0000002Au, hex2i(Text("0000002A")));
}

TEST(HexFields, NonDigitGivesNoValidByte) {
    // 16 x 0 + 0xFFFFFFFF: outside the byte range, so a caller can tell.
    EXPECT_GT(hex2c(Text("0g")), 0xFFu);
    // Four-digit fields take every digit to 8 bits before combining.
    EXPECT_EQ(static_cast<unsigned short>((0x1u << 12) + (0x2u << 8) + (0x3u << 4) + 0xFFu), hex2s(Text("123x")));
}

TEST(DecimalPair, ValueModulo256WithoutCheck) {
    EXPECT_EQ(12, dec2c(Text("12")));
    EXPECT_EQ(99, dec2c(Text("99")));
    EXPECT_EQ(0, dec2c(Text("00")));
}

TEST(HexOutput, FieldWidthsAsTheProtocolUsesThem) {
    char out[32];
    c2hex(0x0A, out);
    EXPECT_STREQ("0A", out);
    s2hex(0x0F, out);
    EXPECT_STREQ("0F", out);
    s2hex(0x1FF, out);  // wider than two digits on purpose
    EXPECT_STREQ("1FF", out);
    s2hex(0xABCD, out);
    EXPECT_STREQ("ABCD", out);
    i2hex(0x2A, out);
    EXPECT_STREQ("002A", out);
    i2hex(0x12345678, out);
    EXPECT_STREQ("12345678", out);
}

TEST(MacText, WordsToTextAndBack) {
    char out[32];
    MACAddressToString(0x2B3C4D5E, 0x001A, out);
    EXPECT_STREQ("00-1A-2B-3C-4D-5E", out);

    unsigned int low = 0, high = 0;
    StringToMACAddress(out, low, high);
    EXPECT_EQ(0x2B3C4D5Eu, low);
    EXPECT_EQ(0x001Au, high);
}

TEST(MacText, CaseAndSeparatorDoNotMatter) {
    unsigned int lowA = 0, highA = 0, lowB = 1, highB = 1;
    StringToMACAddress("00-1a-2B-3c-4D-5e", lowA, highA);
    StringToMACAddress("00:1A:2B:3C:4D:5E", lowB, highB);
    EXPECT_EQ(lowA, lowB);
    EXPECT_EQ(highA, highB);
    EXPECT_EQ(0x2B3C4D5Eu, lowA);
    EXPECT_EQ(0x001Au, highA);
}

TEST(MacText, HighBytesAndLongTextStayInBounds) {
    unsigned int low = 0, high = 0;
    StringToMACAddress("FF-EE-DD-CC-BB-AA", low, high);
    EXPECT_EQ(0xDDCCBBAAu, low);
    EXPECT_EQ(0xFFEEu, high);
    // Only the first 128 characters are copied; the rest is never read.
    const std::string longText = "0A-0B-0C-0D-0E-0F" + std::string(500, 'x');
    StringToMACAddress(longText.c_str(), low, high);
    EXPECT_EQ(0x0C0D0E0Fu, low);
    EXPECT_EQ(0x0A0Bu, high);
}

TEST(IpText, NumberToBracketedText) {
    char out[32];
    ByteAddressToString(0xC0A80001u, out);
    EXPECT_STREQ("[192.168.0.1]", out);
    ByteAddressToString(10, 0, 255, 7, out);
    EXPECT_STREQ("[10.0.255.7]", out);
}

TEST(IpText, TextToBytesAndNumbers) {
    unsigned char a = 9, b = 9, c = 9, d = 9;
    StringAddressToByte("192.168.0.1", a, b, c, d);
    EXPECT_EQ(192, a);
    EXPECT_EQ(168, b);
    EXPECT_EQ(0, c);
    EXPECT_EQ(1, d);

    unsigned int v = 0;
    StringAddressToLong("10.1", v);
    EXPECT_EQ(0x0A010000u, v);
    StringAddressToLong("", v);
    EXPECT_EQ(0u, v);
    // Line ends and a closing bracket also split the text.
    StringAddressToLong("127.0.0.5]\r\n", v);
    EXPECT_EQ(0x7F000005u, v);
    // Each part is taken to 8 bits.
    StringAddressToLong("256.1.2.3", v);
    EXPECT_EQ(0x00010203u, v);
}

TEST(IpText, SquareFormsSkipTheOpeningCharacter) {
    unsigned int v = 0;
    StringAddressToLongSquare("[192.168.0.1]", v);
    EXPECT_EQ(0xC0A80001u, v);

    unsigned char a = 0, b = 0, c = 0, d = 0;
    StringAddressToByteSquare("[10.20.30.40]", a, b, c, d);
    EXPECT_EQ(10, a);
    EXPECT_EQ(40, d);

    StringAddressToLongSquare("", v);
    EXPECT_EQ(0u, v);
}

TEST(IpText, RoundTripThroughText) {
    char out[32];
    for (unsigned int address : {0x00000000u, 0x7F000001u, 0xE10101C9u, 0xFFFFFFFFu}) {
        ByteAddressToString(address, out);
        unsigned int back = 1;
        StringAddressToLongSquare(out, back);
        EXPECT_EQ(address, back) << out;
    }
}

}  // namespace
