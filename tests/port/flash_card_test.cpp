// SD-card layer over the byte registers: command frames and checksums, the open sequences, the
// size ladder from the CSD register, block writes and the system-data block.
#include <gtest/gtest.h>
#include <zpport/CamPort.h>
#include <zpport/ZpPortTW.h>

#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "port/flash_registers.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct RegisterWrite {
    unsigned char reg;
    Bytes bytes;
};

// Records every register write; reads of the data-in register come from a script, then
// `idle`. Block 0 comes from `block0`; the port's mode words are visible to the tests.
class ScriptedCard : public CCamPort {
public:
    std::vector<RegisterWrite> writes;
    std::deque<unsigned char> reads;
    unsigned char idle = 0xFF;
    Bytes block0 = Bytes(512, 0);
    int sizeBackups = 0;
    int sizeRestores = 0;

    unsigned int WriteRegister(unsigned char reg, unsigned char value) override {
        writes.push_back({reg, {value}});
        return 1;
    }
    unsigned int WriteRegisterBlock(unsigned char reg, unsigned char* data, int count, int) override {
        writes.push_back({reg, Bytes(data, data + count)});
        return 1;
    }
    unsigned int ReadRegister(unsigned char, unsigned char* value) override {
        *value = reads.empty() ? idle : reads.front();
        if (!reads.empty()) reads.pop_front();
        return 1;
    }
    unsigned int ReadFlashMemoryBlocks(unsigned int, unsigned int, void* buffer) override {
        std::memcpy(buffer, block0.data(), block0.size());
        return 1;
    }
    void BackupSizeY() override { ++sizeBackups; }
    void RestoreSizeY() override { ++sizeRestores; }

    // Command frames written to the SPI register, in order.
    std::vector<Bytes> Commands() const {
        std::vector<Bytes> frames;
        for (const auto& w : writes) {
            if (w.reg == zp::flash::kRegSpiOut && (w.bytes.size() == 7 || w.bytes.size() == 9)) {
                frames.push_back(w.bytes);
            }
        }
        return frames;
    }
    int CountCommands(unsigned char cmd) const {
        int n = 0;
        for (const auto& f : Commands()) n += f[1] == (0x40 | cmd);
        return n;
    }
    void SetMode(unsigned int mode) { m_dwPortState[zp::flash::kModeWord] = mode; }
};

TEST(SdChecksum, MatchesTheCardCommandFormat) {
    unsigned char reset[] = {0x40, 0, 0, 0, 0};
    EXPECT_EQ(CCamPort::CRC7(0, reset, 5), 0x95);
    EXPECT_EQ(CCamPort::CRC7(0x12, reset, 0), 0x25);
    unsigned char sendIfCond[] = {0x48, 0, 0, 0x01, 0xAA};
    EXPECT_EQ(CCamPort::CRC7(0, sendIfCond, 5), 0x87);
}

TEST(SdCommandFrame, SpiModeChecksumsOnlyTheResetAndSendsNineBytes) {
    ScriptedCard card;
    card.reads = {0x01, 0x05};
    EXPECT_EQ(card.WriteFlashCommand(0, 0), 0x01);
    EXPECT_EQ(card.WriteFlashCommand(17, 0x12345678), 0x05);
    ASSERT_EQ(card.writes.size(), 2u);
    EXPECT_EQ(card.writes[0].bytes, (Bytes{0xFF, 0x40, 0, 0, 0, 0, 0x95, 0xFF, 0xFF}));
    EXPECT_EQ(card.writes[1].bytes, (Bytes{0xFF, 0x51, 0x12, 0x34, 0x56, 0x78, 0, 0xFF, 0xFF}));
}

TEST(SdCommandFrame, NativeModeSendsSevenBytesWithChecksumThenEndsTheCommand) {
    ScriptedCard card;
    card.SetMode(1);
    card.WriteFlashCommand(8, 0x1AA);
    ASSERT_EQ(card.writes.size(), 2u);
    EXPECT_EQ(card.writes[0].bytes, (Bytes{0xFF, 0x48, 0, 0, 0x01, 0xAA, 0x87}));
    EXPECT_EQ(card.writes[1].reg, 98);
    EXPECT_EQ(card.writes[1].bytes, Bytes{0xFF});
}

TEST(SdOpen, SpiModeResetsTheInterfaceAndWaitsForIdleToEnd) {
    ScriptedCard card;
    card.reads = {0x01, 0x01, 0x01, 0x00};  // CMD0, then CMD1 three times
    EXPECT_EQ(card.OpenFlashMemory(0, 7), 1u);
    EXPECT_EQ(card.sizeBackups, 1);
    EXPECT_EQ(card.writes[0].reg, 97);
    EXPECT_EQ(card.writes[1].reg, 96);
    EXPECT_EQ(card.writes[1].bytes, Bytes{0});
    EXPECT_EQ(card.writes[2].bytes, Bytes{1});
    EXPECT_EQ(card.CountCommands(0), 1);
    EXPECT_EQ(card.CountCommands(1), 3);

    ScriptedCard busy;
    busy.idle = 0x01;
    EXPECT_EQ(busy.OpenFlashMemory(0, 0), 0u);
    EXPECT_EQ(busy.CountCommands(1), 16);

    EXPECT_EQ(card.CloseFlashMemory(), 1u);
    EXPECT_EQ(card.writes.back().reg, 96);
    EXPECT_EQ(card.writes.back().bytes, Bytes{0});
    EXPECT_EQ(card.sizeRestores, 1);
}

TEST(SdOpen, NativeModeGivesUpAfterTenUnreadyAnswers) {
    ScriptedCard card;
    card.idle = 0x00;  // the ready bit never rises
    EXPECT_EQ(card.OpenFlashMemory(1, 0), 0u);
    EXPECT_EQ(card.CountCommands(41), 10);
    EXPECT_EQ(card.CountCommands(55), 10);
    EXPECT_EQ(card.CountCommands(2), 0);
}

// 16 CSD bytes (card order) for a version-1 card with the given fields.
Bytes Csd(unsigned int readBlLen, unsigned int cSize, unsigned int cSizeMult) {
    Bytes csd(16, 0);
    csd[5] = static_cast<unsigned char>(readBlLen);
    csd[6] = static_cast<unsigned char>(cSize >> 10);
    csd[7] = static_cast<unsigned char>(cSize >> 2);
    csd[8] = static_cast<unsigned char>((cSize & 3) << 6);
    csd[9] = static_cast<unsigned char>(cSizeMult >> 1);
    csd[10] = static_cast<unsigned char>((cSizeMult & 1) << 7);
    return csd;
}

TEST(SdSize, SpiModeReadsTheCsdAndRoundsUpTheLadder) {
    struct Case {
        Bytes csd;
        unsigned int result;
        unsigned int megabytes;
    };
    const Case cases[] = {
        {Csd(10, 4095, 7), 1, 1024},  // 2 GB card
        {Csd(9, 4095, 7), 1, 1024},   // 1 GB card
        {Csd(9, 1000, 5), 1, 64},     // 62.5 MB
        {Csd(9, 100, 2), 1, 16},      // 0.8 MB
        {Csd(11, 4095, 7), 1, 1024},  // READ_BL_LEN 11: low three bits, 1536-byte blocks
        {Bytes(16, 0xFF), 0, 0},
    };
    for (const Case& c : cases) {
        ScriptedCard card;
        card.reads = {0x00, 0xFF, 0xFF, 0xFE};
        card.reads.insert(card.reads.end(), c.csd.begin(), c.csd.end());
        unsigned int megabytes = 0;
        EXPECT_EQ(card.ReadFlashMemorySize(&megabytes), c.result);
        EXPECT_EQ(megabytes, c.megabytes);
        EXPECT_EQ(card.CountCommands(9), 1);
    }
    ScriptedCard silent;  // no start token within eight reads
    unsigned int megabytes = 0;
    EXPECT_EQ(silent.ReadFlashMemorySize(&megabytes), 0u);
}

TEST(SdBlockWrite, SpiModeSendsTokenDataAndWaitsForBusyToEnd) {
    ScriptedCard card;
    Bytes data(512);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i * 7);
    card.reads = {0x00, 0x05, 0x00, 0x00, 0x00, 0xFF};
    EXPECT_EQ(card.WriteFlashMemoryBlocks(3, 1, data.data()), 1u);
    EXPECT_EQ(card.Commands().front(), (Bytes{0xFF, 0x58, 0, 0, 0, 3, 0, 0xFF, 0xFF}));
    const Bytes& frame = card.writes[1].bytes;
    ASSERT_EQ(frame.size(), 517u);
    EXPECT_EQ(frame[0], 0xFF);
    EXPECT_EQ(frame[1], 0xFE);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), frame.begin() + 2));

    ScriptedCard stuck;
    stuck.idle = 0x00;
    EXPECT_EQ(stuck.WriteFlashMemoryBlocks(0, 1, data.data()), 0u);
}

TEST(SdBlockWrite, NativeModeCarriesEachLinesCrcAndNeedsDataAccepted) {
    Bytes ones(512, 0xFF);
    // Every line carries 1024 one-bits; the frame's CRC nibbles hold that CRC bit-sliced.
    const unsigned short crc = zp::flash::LineCrc16(ones.data(), 0);
    EXPECT_EQ(crc, 0xEDA9);  // CRC-16-CCITT (initial 0) of 128 bytes 0xFF
    for (int line = 1; line < 4; ++line) EXPECT_EQ(zp::flash::LineCrc16(ones.data(), line), crc);
    const auto frame = zp::flash::MakeNativeBlockFrame(ones.data());
    EXPECT_EQ(frame[0], 0xF0);
    for (int clock = 0; clock < 16; ++clock) {
        const unsigned char byte = frame[513 + clock / 2];
        const unsigned int nibble = clock % 2 == 0 ? byte >> 4 : byte & 0xF;
        EXPECT_EQ(nibble, ((crc >> (15 - clock)) & 1u) ? 0xFu : 0x0u) << clock;
    }
    EXPECT_EQ(frame.back(), 0xFF);
    // One line set apart: DAT2 carries the block's bit 2 and bit 6, i.e. 0x44 in every byte.
    Bytes lineTwo(512, 0x44);
    EXPECT_EQ(zp::flash::LineCrc16(lineTwo.data(), 2), crc);
    EXPECT_EQ(zp::flash::LineCrc16(lineTwo.data(), 1), 0);

    ScriptedCard accepted;
    accepted.SetMode(1);
    accepted.reads = {0x00, 0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x01};  // R1, idle, start, 010, busy, free
    EXPECT_EQ(accepted.WriteFlashMemoryBlocks(0, 1, ones.data()), 1u);
    ScriptedCard rejected;
    rejected.SetMode(1);
    rejected.reads = {0x00, 0x00, 0x01, 0x01, 0x00};  // status 1 1 0: CRC error
    EXPECT_EQ(rejected.WriteFlashMemoryBlocks(0, 1, ones.data()), 0u);
}

TEST(SdSystemData, MissingMagicReadsZeroAndWritesAFreshBlock) {
    ScriptedCard card;
    card.block0.assign(512, 0xAB);
    char out[128];
    std::memset(out, 0x55, sizeof(out));
    EXPECT_EQ(card.ReadSysDataFromFlash(1, out), 0u);
    EXPECT_EQ(std::string(out, 4), std::string(4, '\0'));

    card.reads = {0x00, 0x05, 0xFF};
    EXPECT_EQ(card.WriteSysDataToFlash(1, "rig camera 3"), 1u);
    const Bytes& frame = card.writes[1].bytes;
    Bytes expected(512, 0);
    std::memcpy(expected.data(), "KAVFLSH", 8);
    std::memcpy(expected.data() + 12, "rig camera 3", 12);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), frame.begin() + 2));
}

TEST(SdSystemData, FieldsComeBackFromAValidBlock) {
    ScriptedCard card;
    std::memcpy(card.block0.data(), "KAVFLSH", 8);
    const unsigned int word = 0x01020304;
    std::memcpy(card.block0.data() + 8, &word, 4);
    std::memcpy(card.block0.data() + 12, "cam", 4);
    std::memset(card.block0.data() + 140, 'c', 372);  // a comment filling its field
    char out[400];
    unsigned int readWord = 0;
    EXPECT_EQ(card.ReadSysDataFromFlash(0, reinterpret_cast<char*>(&readWord)), 1u);
    EXPECT_EQ(readWord, word);
    EXPECT_EQ(card.ReadSysDataFromFlash(1, out), 1u);
    EXPECT_STREQ(out, "cam");
    EXPECT_EQ(card.ReadSysDataFromFlash(2, out), 1u);
    EXPECT_EQ(std::strlen(out), 371u);
}

TEST(SdNameOperations, RetryTheOpenFiveTimes) {
    ScriptedCard card;
    card.idle = 0x01;  // never leaves the idle state
    EXPECT_EQ(card.WriteCameraName("x"), 0u);
    EXPECT_EQ(card.CountCommands(0), 5);
    EXPECT_EQ(card.sizeBackups, 5);
    char comment[400] = {};
    EXPECT_EQ(card.ReadWriteCameraComment(0, comment), 0u);
}

TEST(SdExportedCalls, NegateTheOperationsAndRefuseNullHandles) {
    ScriptedCard card;
    card.reads = {0x01, 0x00};
    EXPECT_EQ(PoOpenFlashMemory(&card, 0, 0), 0u);
    unsigned int megabytes = 0;
    EXPECT_EQ(PoReadFlashMemorySize(&card, &megabytes), 1u);  // no start token
    EXPECT_EQ(PoCloseFlashMemory(&card), 0u);
    EXPECT_EQ(PoOpenFlashMemory(nullptr, 0, 0), 2u);
    EXPECT_EQ(PoCloseFlashMemory(nullptr), 2u);
    EXPECT_EQ(PoReadFlashMemorySize(nullptr, &megabytes), 2u);
}

}  // namespace
