// Native-bus block frame: each of the four data lines carries one bit of every nibble and its
// own CRC-16, whose bits travel back interleaved into nibbles.
#include <cstring>

#include "port/flash_registers.h"

namespace zp::flash {

unsigned short LineCrc16(const unsigned char* block, int line) {
    unsigned int crc = 0;
    for (size_t i = 0; i < kBlockSize; ++i) {
        for (int nibble = 1; nibble >= 0; --nibble) {
            const unsigned int bit = (block[i] >> (nibble * 4 + line)) & 1u;
            const unsigned int top = (crc >> 15) & 1u;
            crc = (crc << 1) & 0xFFFFu;
            if (top != bit) crc ^= 0x1021u;
        }
    }
    return static_cast<unsigned short>(crc);
}

NativeBlockFrame MakeNativeBlockFrame(const unsigned char* block) {
    NativeBlockFrame frame{};
    frame[0] = 0xF0;
    std::memcpy(frame.data() + 1, block, kBlockSize);
    unsigned short crc[4];
    for (int line = 0; line < 4; ++line) crc[line] = LineCrc16(block, line);
    for (int clock = 0; clock < 16; ++clock) {
        unsigned int nibble = 0;
        for (int line = 0; line < 4; ++line) nibble |= ((crc[line] >> (15 - clock)) & 1u) << line;
        unsigned char& byte = frame[1 + kBlockSize + clock / 2];
        byte = static_cast<unsigned char>(clock % 2 == 0 ? nibble << 4 : byte | nibble);
    }
    frame[kNativeFrameSize - 1] = 0xFF;
    return frame;
}

}  // namespace zp::flash
