// An SD card behind camera registers 96-100 of the binary test camera, on the native bus or on SPI.
// It decodes the command frames written to register 97 (nine bytes on SPI, seven on the native bus),
// ignores those before the reset command or with a wrong checksum where the card checks one, answers
// as a card does (R1; R3 with the ready bit; R6 with its address; R2; the CSD, on SPI behind its
// start token) one byte per clock, takes data blocks (SPI data token; native-bus frame whose per-line
// CRC-16 must match, answered on register 100 with the CRC status and busy) and serves the stored
// blocks to ReadFlashMemoryBlocks.
#ifndef ZPTEST_SD_CARD_H
#define ZPTEST_SD_CARD_H

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "port/flash_registers.h"
#include "support/binary_camera.h"

namespace zptest {

class SdCard : public BinaryCamera {
public:
    using Block = std::array<unsigned char, zp::flash::kBlockSize>;
    Bytes csd = Bytes(16, 0);  // in the card's order
    std::map<unsigned int, Block> blocks;
    unsigned busyOpConds = 2;  // CMD1 / ACMD41 answered busy this often before the card is ready
    int tokenDelay = 2;        // SPI: 0xFF bytes before the CSD's start token
    int busyPolls = 3;         // polls for which a block write keeps the card busy (5000: for good)
    bool rejectData = false;   // native bus: CRC status 101 for every data block
    std::vector<std::pair<int, Bytes>> writes;  // every register write, in order
    std::vector<Bytes> frames;                  // the command frames the card took

    // A card on the native bus (mode 1) or on SPI; the port's stored mode starts as the same.
    explicit SdCard(unsigned mode = 0) : m_native(mode == 1) { PortState()[zp::flash::kModeWord] = mode; }

    // 0xFF on register 97 and 0 on register 100 clock the next byte or data-line sample in.
    unsigned int WriteRegister(unsigned char reg, unsigned char value) override {
        writes.push_back({reg, {value}});
        if (reg == zp::flash::kRegControl) m_card = Card{};  // the interface restarts the card
        std::deque<unsigned char>& queue = reg == zp::flash::kRegLineStatus ? m_line : m_out;
        if ((reg == 97 || reg == 100) && !queue.empty()) queue.pop_front();
        return 1;
    }

    unsigned int WriteRegisterBlock(unsigned char reg, unsigned char* data, int count, int step) override {
        writes.push_back({reg, Bytes(data, data + count)});
        if (reg == zp::flash::kRegSpiOut && count == (m_native ? 7 : 9) && step == 0) Command(data);
        if (m_card.receiving && count > 9 && reg == (m_native ? 99 : 97) && step == 0) Receive(data, count);
        return 1;
    }

    unsigned int ReadRegister(unsigned char reg, unsigned char* value) override {
        const std::deque<unsigned char>& queue = reg == zp::flash::kRegLineStatus ? m_line : m_out;
        *value = queue.empty() ? 0xFF : queue.front();  // an idle bus reads high
        return 1;
    }

    unsigned int ReadFlashMemoryBlocks(unsigned int first, unsigned int, void* buffer) override {
        std::copy(blocks[first].begin(), blocks[first].end(), static_cast<unsigned char*>(buffer));
        return 1;
    }

private:
    struct Card {
        bool idle = false, receiving = false;  // CMD0 came since the restart; CMD24 came, data is next
        unsigned int opConds = 0, address = 0, block = 0;
    };
    const bool m_native;
    Card m_card;
    std::deque<unsigned char> m_out;   // register 99 reads the front; a clock drops it
    std::deque<unsigned char> m_line;  // the same for register 100's line samples, DAT0 in bit 0

    // R1 (48 bits on the native bus), R3 with the ready bit, R6 with the address, R2 with the CID (the
    // CSD's bytes will do) or the CSD (all ones when addressed to another card), on SPI the CSD behind
    // its start token.
    void Command(unsigned char* frame) {
        const int cmd = frame[1] & 0x3F;
        const unsigned int arg = unsigned{frame[2]} << 24 | frame[3] << 16 | frame[4] << 8 | frame[5];
        // Nothing before the reset command; nothing with a wrong checksum where the card checks it.
        if ((cmd && !m_card.idle) || ((m_native || !cmd) && frame[6] != CRC7(0, frame + 1, 5))) return;
        frames.emplace_back(frame, frame + (m_native ? 7 : 9));
        if (cmd == 0) m_card = Card{true};
        m_card.opConds += cmd == 1 || cmd == 41;
        const bool ready = m_card.opConds > busyOpConds;
        if (cmd == 3 && ready) m_card.address = 0x1234;
        m_card.receiving = cmd == 24 && ready;
        m_card.block = arg;
        Bytes answer = m_native ? Bytes{Byte(cmd), 0, 0, 0x09, 0, 0x01} : Bytes{!ready && cmd <= 1};
        if (cmd == 41) answer = {0x3F, Byte(ready ? 0x80 : 0), 0xFF, 0x80, 0, 0xFF};
        if (cmd == 3) answer = {0x03, 0x12, 0x34, 0x05, 0, 0x01};
        if (cmd == 2 || cmd == 9) answer = {Byte(m_native ? 0x3F : 0x00)};
        if (cmd == 9 && !m_native) answer.resize(1 + tokenDelay, 0xFF);
        if (cmd == 9 && !m_native) answer.push_back(0xFE);  // the start token
        if (cmd == 2 || (cmd == 9 && arg == (m_native ? m_card.address << 16 : 0)))
            answer.insert(answer.end(), csd.begin(), csd.end());
        m_out.assign(answer.begin(), answer.end());
    }

    // Native bus: start bit, CRC status 010 when each line's CRC-16 matches (101 otherwise), busy.
    // SPI: data response, busy.
    void Receive(const unsigned char* data, int count) {
        m_card.receiving = false;
        const unsigned char* block = data + (m_native ? 1 : 2);
        const auto frame = zp::flash::MakeNativeBlockFrame(block);
        // SPI: 0xFF, the data token, the block, 0xFF as both CRC bytes.
        const bool token = count == 517 && data[1] == 0xFE && (data[0] & data[514] & data[515]) == 0xFF;
        const bool intact =
            m_native ? std::equal(frame.begin(), frame.end(), data, data + count) && !rejectData : token;
        if (intact) std::copy(block, block + zp::flash::kBlockSize, blocks[m_card.block].begin());
        if (m_native) m_line = {1, 1, 0, !intact, intact, !intact};  // idle, start bit, CRC status
        if (!m_native) m_out = {Byte(intact ? 0x05 : 0x0B)};         // data response
        std::deque<unsigned char>& reply = m_native ? m_line : m_out;
        reply.insert(reply.end(), busyPolls, 0);  // busy
    }
    static unsigned char Byte(unsigned int value) { return static_cast<unsigned char>(value); }
};

}  // namespace zptest

#endif  // ZPTEST_SD_CARD_H
