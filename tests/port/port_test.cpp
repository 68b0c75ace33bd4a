// The SD-card layer over the camera's byte registers, against the card model: the open sequences on
// both buses with their command frames and checksums, the size from the CSD register, block writes
// on both buses, the system-data block with the name and the comment.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "support/sd_card.h"

namespace {

using namespace zptest;
using Write = std::pair<int, Bytes>;

// 16 CSD bytes (card order, bit 127 first) of a version-1 card with the given fields.
Bytes Csd(unsigned __int128 readBlLen, unsigned __int128 cSize, unsigned __int128 cSizeMult) {
    const unsigned __int128 bits = readBlLen << 80 | cSize << 62 | cSizeMult << 47;
    Bytes csd(16);
    for (int i = 0; i < 16; ++i) csd[15 - i] = static_cast<unsigned char>(bits >> (8 * i));
    return csd;
}

TEST(SdCard, SizeComesFromTheCsdRoundedUpTheLadder) {
    // Bus, CSD, 0xFF bytes before the SPI start token, result, megabytes.
    const std::tuple<unsigned, Bytes, int, unsigned, unsigned> cases[] = {
        {0, Csd(10, 4095, 7), 2, 1, 1024},  // 2 GB card
        {0, Csd(9, 100, 2), 0, 1, 16},      // 0.8 MB
        {0, Csd(10, 33, 7), 2, 1, 32},      // 17 MB: C_SIZE + 1 blocks (16 MB without the + 1)
        {1, Csd(11, 1000, 2), 2, 1, 32},    // native bus, from the CSD kept at open; READ_BL_LEN 11: its
                                            // low three bits, 1536-byte blocks
        {0, Csd(9, 1000, 5), 7, 1, 64},     // the token at the eighth read
        {0, Csd(9, 1000, 5), 8, 0, 0},      // no token within eight reads
        {1, Bytes(16, 0xFF), 2, 0, 0},
    };
    for (const auto& [mode, csd, tokenAfter, result, size] : cases) {
        SdCard card(mode);
        card.csd = csd;
        card.tokenDelay = tokenAfter;
        ASSERT_EQ(card.OpenFlashMemory(mode, 0), 1u);
        unsigned megabytes = 0;
        EXPECT_EQ(card.ReadFlashMemorySize(&megabytes), result) << mode << " " << tokenAfter;
        EXPECT_EQ(megabytes, size);
    }
}

TEST(SdCard, CommandFramesAndBlockFramesOnBothBuses) {
    SdCard spi;  // the card takes blocks behind their data token
    ASSERT_EQ(spi.OpenFlashMemory(0, 0), 1u);
    EXPECT_EQ(spi.writes[3], (Write{97, {0xFF, 0x40, 0, 0, 0, 0, 0x95, 0xFF, 0xFF}}));  // after 0xFF, 0 and 1
    Bytes data(512, 0x35);
    EXPECT_EQ(spi.WriteFlashMemoryBlocks(3, 1, data.data()), 1u);
    EXPECT_EQ(spi.frames.back(), (Bytes{0xFF, 0x58, 0, 0, 0, 3, 0, 0xFF, 0xFF}));  // no checksum on SPI
    SdCard native(1);  // the card takes a block only when every line's CRC-16 matches
    ASSERT_EQ(native.OpenFlashMemory(1, 0), 1u);
    EXPECT_EQ(native.writes[2], (Write{98, {0xFF}}));                           // after each command
    EXPECT_EQ(native.frames[10], (Bytes{0xFF, 0x47, 0x12, 0x34, 0, 0, 0x59}));  // CMD7 with the address
    EXPECT_EQ(native.WriteFlashMemoryBlocks(3, 1, data.data()), 1u);
    for (SdCard* card : {&spi, &native}) {  // then a card that stays busy
        EXPECT_EQ(Bytes(card->blocks[3].begin(), card->blocks[3].end()), data);
        card->busyPolls = 5000;
        card->writes.clear();
        EXPECT_EQ(card->WriteFlashMemoryBlocks(4, 1, data.data()), 0u);
        const Write poll = card == &spi ? Write{97, {0xFF}} : Write{100, {0}};  // native: 2 + 3 + 2000
        EXPECT_EQ(std::count(card->writes.begin(), card->writes.end(), poll), card == &spi ? 999 : 2005);
    }
    native.rejectData = true;  // CRC status 101
    EXPECT_EQ(native.WriteFlashMemoryBlocks(5, 1, data.data()), 0u);
    SdCard closed(1);  // takes no data: no response start bit within 1000 polls
    EXPECT_EQ(closed.WriteFlashMemoryBlocks(0, 1, data.data()), 0u);
    EXPECT_EQ(std::count(closed.writes.begin(), closed.writes.end(), Write{100, {0}}), 1000);
    // Each line carries one bit of every nibble: with 0x35 bytes DAT0 sends 1024 ones (CRC-16-CCITT 0xEDA9),
    // DAT1 1, 0, 1, 0... (0xB6CE), DAT2 0, 1, 0, 1... (0x5B67) and DAT3 zeros (0); the CRC bits travel
    // back interleaved into nibbles, DAT3 in the top bit, between the start and the end nibble.
    const zp::flash::NativeBlockFrame frame = zp::flash::MakeNativeBlockFrame(data.data());
    EXPECT_EQ(frame[0], 0xF0);
    EXPECT_EQ(Bytes(frame.end() - 9, frame.end()),
              (Bytes{0x35, 0x36, 0x53, 0x65, 0x36, 0x50, 0x36, 0x65, 0xFF}));
}

TEST(SdCard, NameAndCommentRoundTripThroughTheSystemBlockOnBothBuses) {
    for (const unsigned mode : {0u, 1u}) {
        SdCard card(mode);
        card.blocks[0].fill(0xAB);  // no magic: a read yields 0, a write starts a fresh block
        char out[400] = "UUUU";
        EXPECT_EQ(card.ReadSysDataFromFlash(1, out), 0u);
        EXPECT_EQ(Bytes(out, out + 4), Bytes(4, 0));
        EXPECT_EQ(card.WriteCameraName("rig camera 3"), 1u);
        const std::string fresh("KAVFLSH\0\0\0\0\0rig camera 3", 24);  // only the magic and the name
        EXPECT_EQ(std::string(card.blocks[0].begin(), card.blocks[0].end()), fresh + std::string(488, '\0'));
        EXPECT_EQ(card.writes.back(), (Write{96, {0}}));  // closed
        std::string comment(400, 'c');                    // longer than its field
        EXPECT_EQ(card.ReadWriteCameraComment(1, comment.data()), 1u);
        _ZP_ENUMITEM item{};
        item.fwVersion = mode == 1 ? 42 : 41;  // the native bus from firmware 42 on
        item.cameraType = mode == 1 ? 4 : 3;   // type 4 opens without the second flag
        EXPECT_EQ(card.ReadName(&item), 1u);
        EXPECT_STREQ(item.cameraName, "rig camera 3");
        EXPECT_EQ(card.PortState()[zp::flash::kSecondWord], mode == 1 ? 0u : 1u);
        EXPECT_EQ(card.ReadWriteCameraComment(0, out), 1u);
        EXPECT_EQ(std::string(out), std::string(371, 'c'));
        ASSERT_EQ(card.OpenFlashMemory(mode, 0), 1u);
        EXPECT_EQ(card.WriteSysDataToFlash(0, "\0\0\0\x7F"), 1u);  // the system word, beside the name
        EXPECT_EQ(card.ReadSysDataFromFlash(0, out), 1u);
        EXPECT_EQ(Bytes(out, out + 4), (Bytes{0, 0, 0, 0x7F}));
        EXPECT_EQ(Bytes(card.blocks[0].begin() + 8, card.blocks[0].begin() + 13), (Bytes{0, 0, 0, 0x7F, 'r'}));
        SdCard absent(mode);  // never ready: five opens, then 0
        absent.busyOpConds = 1000;
        EXPECT_EQ(absent.ReadWriteCameraComment(0, out), 0u);
        EXPECT_EQ(absent.ReadName(&item), 0u);
        EXPECT_EQ(absent.frames.size(), 10u * (mode == 1 ? 21u : 17u));
    }
}

}  // namespace
