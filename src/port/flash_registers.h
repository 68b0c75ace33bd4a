// Camera registers behind which the SD card sits, the port state words the card layer keeps,
// and the data frame of a native-bus block write.
#ifndef ZPPORT_PORT_FLASH_REGISTERS_H
#define ZPPORT_PORT_FLASH_REGISTERS_H

#include <array>
#include <cstddef>

namespace zp::flash {

constexpr unsigned char kRegControl = 96;           // 0 then 1 resets the card interface
constexpr unsigned char kRegSpiOut = 97;            // command and data bytes out; 0xFF clocks one in
constexpr unsigned char kRegNativeCommandEnd = 98;  // native bus: 0xFF after a command
constexpr unsigned char kRegDataIn = 99;            // byte clocked in; native bus: data block out
constexpr unsigned char kRegLineStatus = 100;       // native bus: data lines, DAT0 in bit 0

constexpr unsigned char kDat0 = 0x01;
constexpr unsigned int kDataAccepted = 0x2;  // CRC status 010
constexpr unsigned int kNativeBus = 1;
constexpr size_t kBlockSize = 512;

// Port state words used by the card layer (word 0 holds the camera's firmware version).
constexpr int kModeWord = 1;
constexpr int kSecondWord = 2;
constexpr int kRcaWord = 3;

// A block on the four data lines, one nibble per clock, DAT3 in the nibble's top bit:
// idle nibble and start nibble (0xF0), the 512 data bytes, each line's CRC-16-CCITT as 16
// nibbles (8 bytes), then end nibble and idle nibble (0xFF).
constexpr size_t kNativeFrameSize = 1 + kBlockSize + 8 + 1;
using NativeBlockFrame = std::array<unsigned char, kNativeFrameSize>;
NativeBlockFrame MakeNativeBlockFrame(const unsigned char* block);

// CRC-16-CCITT (polynomial 0x1021, initial 0) over the bits one data line carries for a block.
unsigned short LineCrc16(const unsigned char* block, int line);

}  // namespace zp::flash

#endif  // ZPPORT_PORT_FLASH_REGISTERS_H
