// The simulator's discovery datagrams: which requests it recognises and the bytes of its answers.
#include <gtest/gtest.h>

#include <string>

#include "discovery_responder.h"
#include "protocol.h"

namespace zpsim {
namespace {

uint32_t WordAt(const std::string& data, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(data[at + i])) << (8 * i);
    return value;
}

TEST(DiscoveryRequest, OnlyTheTwoExactRequestsCount) {
    const std::string binary("\x01\x00\x08\x01\x08\x00\x00\x00", 8);
    EXPECT_EQ(ParseDiscoveryRequest("54\r\n"), DiscoveryKind::kAscii);
    EXPECT_EQ(ParseDiscoveryRequest(binary), DiscoveryKind::kBinary);
    for (const std::string& other : {std::string("54\r"), std::string("54\r\n\r\n"), std::string("#0A54\r\n"),
                                     std::string(""), binary.substr(0, 7), binary + '\0',
                                     std::string("\x01\x00\x08\x01\x08\x00\x00\x01", 8)}) {
        EXPECT_FALSE(ParseDiscoveryRequest(other).has_value()) << PrintableLine(other);
    }
}

TEST(DiscoveryAnswer, AsciiCarriesTheAddressTwice) {
    EXPECT_EQ(FormatAsciiDiscoveryAnswer(0x0A), "#0A11540A\r\n");
    EXPECT_EQ(FormatAsciiDiscoveryAnswer(0xF3), "#F31154F3\r\n");
}

TEST(DiscoveryAnswer, BinaryWordsAtTheirOffsets) {
    CameraIdentity identity;
    identity.ip = "10.75.1.10";
    identity.serial = 0x01020304;
    identity.firmware = 0x0205;
    identity.firmware2 = 0x0306;
    const std::string answer = FormatBinaryDiscoveryAnswer(identity, DiscoveryOptions{true, 19, 0x0107});
    ASSERT_EQ(answer.size(), 56u);
    EXPECT_EQ(answer[0], '\0');
    EXPECT_EQ(WordAt(answer, 8), 19u);
    EXPECT_EQ(WordAt(answer, 12), 1u);
    EXPECT_EQ(WordAt(answer, 16), 0x01020304u);
    EXPECT_EQ(WordAt(answer, 20), 0x0205u);
    EXPECT_EQ(WordAt(answer, 24), 0x0306u);
    EXPECT_EQ(WordAt(answer, 28) >> 16, 0x0107u);  // 16-bit model at 30
    EXPECT_EQ(WordAt(answer, 32), 4u);
    EXPECT_EQ(WordAt(answer, 36), 0x025Au);
    EXPECT_EQ(WordAt(answer, 40), 0x0A4B010Au);
    EXPECT_EQ(WordAt(answer, 52), 4u);
}

}  // namespace
}  // namespace zpsim
