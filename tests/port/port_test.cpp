// The SD-card layer over the camera's byte registers (96 card control, 97 SPI out, 98 native command
// end, 99 data in and native block out, 100 native data-line status): the open sequences with their
// command frames and checksums, the size from the CSD register, block writes on both buses, and the
// system-data block that holds the camera's name.
#include <gtest/gtest.h>
#include <zpport/CamPort.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <tuple>
#include <utility>
#include <vector>

#include "port/flash_registers.h"

namespace {

using Bytes = std::vector<unsigned char>;
using U = unsigned int;

// Card registers: writes are recorded, command frames (to register 97) apart as well; reads come from
// `reads`, then `idle`; block 0 from `block0`.
class ScriptedCard : public CCamPort {
public:
    std::vector<std::pair<int, Bytes>> writes;  // register, bytes
    std::vector<Bytes> frames;
    std::deque<unsigned char> reads;
    unsigned char idle = 0xFF;
    Bytes block0 = Bytes(512, 0);

    explicit ScriptedCard(U mode = 0) { m_dwPortState[zp::flash::kModeWord] = mode; }
    U WriteRegister(unsigned char reg, unsigned char value) override {
        writes.push_back({reg, {value}});
        return 1;
    }
    U WriteRegisterBlock(unsigned char reg, unsigned char* data, int count, int) override {
        writes.push_back({reg, Bytes(data, data + count)});
        if (reg == 97 && (count == 7 || count == 9)) frames.push_back(writes.back().second);
        return 1;
    }
    U ReadRegister(unsigned char, unsigned char* value) override {
        *value = reads.empty() ? idle : reads.front();
        if (!reads.empty()) reads.pop_front();
        return 1;
    }
    U ReadFlashMemoryBlocks(U, U, void* buffer) override {
        std::memcpy(buffer, block0.data(), block0.size());
        return 1;
    }

    // The command numbers of the frames, in order.
    std::vector<int> Commands() const {
        std::vector<int> commands;
        for (const Bytes& frame : frames) commands.push_back(frame[1] & 0x3F);
        return commands;
    }
};

// 16 CSD bytes (card order) of a version-1 card with the given fields.
Bytes Csd(U readBlLen, U cSize, U cSizeMult) {
    Bytes csd(16, 0);
    csd[5] = static_cast<unsigned char>(readBlLen);
    csd[6] = static_cast<unsigned char>(cSize >> 10);
    csd[7] = static_cast<unsigned char>(cSize >> 2);
    csd[8] = static_cast<unsigned char>((cSize & 3) << 6);
    csd[9] = static_cast<unsigned char>(cSizeMult >> 1);
    csd[10] = static_cast<unsigned char>((cSizeMult & 1) << 7);
    return csd;
}

TEST(SdCard, SpiSizeComesFromTheCsdRoundedUpTheLadder) {
    // CSD, 0xFF bytes before the start token, result, megabytes.
    const std::tuple<Bytes, int, U, U> cases[] = {
        {Csd(10, 4095, 7), 2, 1, 1024},  // 2 GB card
        {Csd(9, 100, 2), 0, 1, 16},      // 0.8 MB
        {Csd(10, 33, 7), 2, 1, 32},      // 17 MB: C_SIZE + 1 blocks
        {Csd(11, 1000, 2), 2, 1, 32},    // READ_BL_LEN 11: its low three bits, 1536-byte blocks
        {Csd(9, 1000, 5), 7, 1, 64},     // the token at the eighth read
        {Csd(9, 1000, 5), 8, 0, 0},      // no token within eight reads
        {Bytes(16, 0xFF), 2, 0, 0},
    };
    for (const auto& [csd, tokenAfter, result, size] : cases) {
        ScriptedCard card;
        card.reads.assign(1 + tokenAfter, 0xFF);
        card.reads.front() = 0x00;
        card.reads.push_back(0xFE);
        card.reads.insert(card.reads.end(), csd.begin(), csd.end());
        U megabytes = 0;
        EXPECT_EQ(card.ReadFlashMemorySize(&megabytes), result) << tokenAfter;
        EXPECT_EQ(megabytes, size);
        EXPECT_EQ(card.Commands(), std::vector<int>{9});
    }
}

TEST(SdCard, SpiBlockWriteSendsTokenDataAndPaddingThenWaitsForBusyToEnd) {
    Bytes data(512);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i * 7);
    Bytes frame = {0xFF, 0xFE};
    frame.insert(frame.end(), data.begin(), data.end());
    frame.insert(frame.end(), {0xFF, 0xFF, 0xFF});
    ScriptedCard card;
    card.reads = {0x00, 0x05, 0x00, 0x00, 0x00, 0xFF};  // R1, data response, busy three times, free
    EXPECT_EQ(card.WriteFlashMemoryBlocks(3, 1, data.data()), 1u);
    EXPECT_EQ(card.frames, (std::vector<Bytes>{{0xFF, 0x58, 0, 0, 0, 3, 0, 0xFF, 0xFF}}));  // no checksum
    EXPECT_EQ(std::count(card.writes.begin(), card.writes.end(), std::make_pair(97, frame)), 1);
    ScriptedCard stuck;
    stuck.reads = {0x00, 0x05};  // the data response, then busy for good
    stuck.idle = 0x00;
    EXPECT_EQ(stuck.WriteFlashMemoryBlocks(0, 1, data.data()), 0u);
    EXPECT_EQ(stuck.writes.size(), 2u + 999u);
}

TEST(SdCard, NativeOpenKeepsTheAddressAndCsdAndBlockWritesCarryEachLinesCrc) {
    ScriptedCard card;
    const Bytes csd = Csd(9, 1000, 5);
    // CMD0; CMD55 and ACMD41, ready (bit 7 of byte 1); CMD2; CMD3 with the address 0x1234; CMD9, the CSD.
    card.reads = {0x01, 0, 0, 0, 0, 0, 0x01, 0, 0, 0, 0, 0, 0x00, 0x80, 0, 0, 0, 0};
    card.reads.insert(card.reads.end(), 17, 0x00);
    card.reads.insert(card.reads.end(), {0x00, 0x12, 0x34, 0, 0, 0, 0x00});
    card.reads.insert(card.reads.end(), csd.begin(), csd.end());
    EXPECT_EQ(card.OpenFlashMemory(1, 0), 1u);
    ASSERT_EQ(card.Commands(), (std::vector<int>{0, 55, 41, 2, 3, 9, 7, 55, 6}));
    // Native commands: seven bytes with their checksum, then 0xFF to register 98; CMD7 selects the RCA.
    EXPECT_EQ(card.frames[6], (Bytes{0xFF, 0x47, 0x12, 0x34, 0, 0, 0x59}));
    EXPECT_EQ(card.frames[8], (Bytes{0xFF, 0x46, 0, 0, 0, 2, 0xCB}));  // four data lines
    EXPECT_EQ(card.writes[2], std::make_pair(98, Bytes{0xFF}));
    U megabytes = 0;
    EXPECT_EQ(card.ReadFlashMemorySize(&megabytes), 1u);  // from the kept CSD, no command
    EXPECT_EQ(megabytes, 64u);

    // DAT2 carries bits 6 and 2 of each byte: with 0x44 bytes it alone sends 1024 one-bits, whose
    // CRC-16-CCITT (initial 0) is 0xEDA9 = 11 10 11 01 10 10 10 01, two bits to a byte on DAT2 (0x40 and
    // 0x04); the other lines send zeros and CRC 0.
    Bytes data(512, 0x44);
    Bytes frame = {0xF0};
    frame.insert(frame.end(), data.begin(), data.end());
    frame.insert(frame.end(), {0x44, 0x40, 0x44, 0x04, 0x40, 0x40, 0x40, 0x04, 0xFF});
    card.reads = {0x00, 0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x01};  // R1, idle, start, 010, busy, free
    EXPECT_EQ(card.WriteFlashMemoryBlocks(5, 1, data.data()), 1u);
    EXPECT_EQ(std::count(card.writes.begin(), card.writes.end(), std::make_pair(99, frame)), 1);
    ScriptedCard rejected(1);
    rejected.reads = {0x00, 0x00, 0x01, 0x01, 0x00};  // status 110: CRC error
    EXPECT_EQ(rejected.WriteFlashMemoryBlocks(0, 1, data.data()), 0u);
    ScriptedCard unready;
    unready.idle = 0x00;  // the ready bit never rises: CMD0, then ten tries of CMD55 and ACMD41
    EXPECT_EQ(unready.OpenFlashMemory(1, 0), 0u);
    EXPECT_EQ(unready.Commands().size(), 21u);
}

using Writes = std::vector<std::pair<int, Bytes>>;

TEST(SdCard, NameGoesIntoBlockZeroBetweenSpiOpenAndClose) {
    ScriptedCard card;
    card.block0.assign(512, 0xAB);  // no magic: a read gives 0, a write starts a fresh block
    char out[400] = "UUUU";
    EXPECT_EQ(card.ReadSysDataFromFlash(1, out), 0u);
    EXPECT_EQ(Bytes(out, out + 4), Bytes(4, 0));
    card.reads = {0x01, 0x01, 0x00, 0x00, 0x05, 0xFF};  // CMD0, CMD1 twice; CMD24, data response, free
    EXPECT_EQ(card.WriteCameraName("rig camera 3"), 1u);
    ASSERT_EQ(card.writes.size(), 11u);  // open 6, command and block, one poll, close 2
    EXPECT_EQ(Writes(card.writes.begin(), card.writes.begin() + 4),
              (Writes{{97, {0xFF}}, {96, {0}}, {96, {1}}, {97, {0xFF, 0x40, 0, 0, 0, 0, 0x95, 0xFF, 0xFF}}}));
    ASSERT_EQ(card.writes[7].second.size(), 517u);
    Bytes expected(512, 0);
    std::memcpy(expected.data(), "KAVFLSH\0\0\0\0\0rig camera 3", 24);
    EXPECT_EQ(Bytes(card.writes[7].second.begin() + 2, card.writes[7].second.end() - 3), expected);
    EXPECT_EQ(Writes(card.writes.end() - 2, card.writes.end()), (Writes{{97, {0xFF}}, {96, {0}}}));  // closed

    std::memcpy(card.block0.data(),
                "KAVFLSH\0\x04\x03\x02\x01"
                "cam",
                16);
    std::memset(card.block0.data() + 140, 'c', 372);  // a comment filling its field
    U word = 0;
    EXPECT_EQ(card.ReadSysDataFromFlash(0, reinterpret_cast<char*>(&word)), 1u);
    EXPECT_EQ(word, 0x01020304u);
    EXPECT_EQ(card.ReadSysDataFromFlash(1, out), 1u);
    EXPECT_STREQ(out, "cam");
    EXPECT_EQ(card.ReadSysDataFromFlash(2, out), 1u);
    EXPECT_EQ(std::strlen(out), 371u);

    ScriptedCard absent;  // never leaves the idle state: five opens of CMD0 and sixteen CMD1, then 0
    absent.idle = 0x01;
    EXPECT_EQ(absent.ReadWriteCameraComment(0, out), 0u);
    EXPECT_EQ(absent.Commands().size(), 5u * 17u);
}

}  // namespace
