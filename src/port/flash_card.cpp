// SD-card commands driven byte by byte through the camera's card registers, the card size from
// its CSD register, single-block writes, and the 512-byte system-data block 0 (magic, system
// word, camera name, comment) with the name and comment operations built on it.
#include <zpport/CamPort.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "port/flash_registers.h"

using namespace zp::flash;

namespace {

constexpr unsigned char kCmdGoIdle = 0;
constexpr unsigned char kCmdSendOpCond = 1;
constexpr unsigned char kCmdAllSendCid = 2;
constexpr unsigned char kCmdSendRelativeAddr = 3;
constexpr unsigned char kCmdSelectCard = 7;
constexpr unsigned char kCmdSendCsd = 9;
constexpr unsigned char kCmdWriteBlock = 24;
constexpr unsigned char kCmdAppCommand = 55;
constexpr unsigned char kAcmdBusWidth = 6;
constexpr unsigned char kAcmdSdSendOpCond = 41;
constexpr unsigned int kOpCondVoltageWindow = 0xFF8000;
constexpr unsigned int kBusWidthFourLines = 2;

constexpr int kReadyPollsNative = 10;
constexpr int kReadyPollsSpi = 16;
constexpr int kCsdTokenPolls = 8;
constexpr unsigned char kStartToken = 0xFE;
constexpr int kSpiBusyPolls = 999;
constexpr int kResponseStartPolls = 1000;
constexpr int kBusyPolls = 2000;
constexpr int kNameAttempts = 5;
constexpr unsigned int kNativeBusFirmware = 41;  // ReadName: the native bus on later firmware
constexpr unsigned int kNoSecondFlagType = 4;    // ReadName: the camera type without the second flag

constexpr char kMagic[8] = "KAVFLSH";
constexpr size_t kSystemWordAt = 8;
constexpr size_t kNameAt = 12;
constexpr size_t kNameWidth = 128;
constexpr size_t kCommentAt = 140;
constexpr size_t kCommentWidth = 372;

constexpr unsigned int kKindWord = 0;
constexpr unsigned int kKindName = 1;
constexpr unsigned int kKindComment = 2;

// Field of a CSD register (bytes in the card's order, byte 0 holding bits 127..120).
unsigned int CsdBits(const unsigned char* csd, int high, int low) {
    unsigned int value = 0;
    for (int bit = high; bit >= low; --bit) {
        const int index = (127 - bit) / 8;
        value = (value << 1) | ((csd[index] >> (bit % 8)) & 1u);
    }
    return value;
}

unsigned int MegabyteLadder(uint64_t megabytes) {
    unsigned int step = 16;
    while (step < 1024 && megabytes > step) step *= 2;
    return step;
}

// A byte from a card register; a read the port cannot make yields 0xFF, the level of an SD
// bus with no card driving it, so a port without registers never sees a ready card.
unsigned char ReadCardByte(CCamPort& port, unsigned char reg) {
    unsigned char value = 0xFF;
    if (port.ReadRegister(reg, &value) == 0) value = 0xFF;
    return value;
}

// Text field copied out with a terminating zero that always lies inside the field's width.
void CopyFieldOut(const unsigned char* field, size_t width, char* out) {
    const auto* text = reinterpret_cast<const char*>(field);
    const size_t length = strnlen(text, width - 1);
    std::memcpy(out, text, length);
    out[length] = '\0';
}

void CopyFieldIn(const char* in, unsigned char* field, size_t width) {
    std::memset(field, 0, width);
    std::memcpy(field, in, strnlen(in, width - 1));
}

}  // namespace

unsigned char CCamPort::CRC7(unsigned char seed, unsigned char* data, int length) {
    unsigned int crc = seed & 0x7Fu;
    for (int i = 0; i < length; ++i) {
        for (int bit = 7; bit >= 0; --bit) {
            const unsigned int dataBit = (data[i] >> bit) & 1u;
            const unsigned int topBit = (crc >> 6) & 1u;
            crc <<= 1;
            if (topBit != dataBit) crc ^= 0x09u;
        }
        crc &= 0x7Fu;
    }
    return static_cast<unsigned char>((crc << 1) | 1u);
}

unsigned char CCamPort::WriteFlashCommand(unsigned char cmd, unsigned int arg) {
    const bool native = m_dwPortState[kModeWord] == kNativeBus;
    unsigned char frame[9] = {0xFF,
                              static_cast<unsigned char>(0x40 | cmd),
                              static_cast<unsigned char>(arg >> 24),
                              static_cast<unsigned char>(arg >> 16),
                              static_cast<unsigned char>(arg >> 8),
                              static_cast<unsigned char>(arg),
                              0,
                              0xFF,
                              0xFF};
    if (cmd == kCmdGoIdle || native) frame[6] = CRC7(0, frame + 1, 5);
    WriteRegisterBlock(kRegSpiOut, frame, native ? 7 : 9, 0);
    if (native) WriteRegister(kRegNativeCommandEnd, 0xFF);
    return ReadCardByte(*this, kRegDataIn);
}

unsigned int CCamPort::WriteFlashSDCommand(unsigned char cmd, unsigned int arg, unsigned char* response,
                                           int longResponse) {
    response[0] = WriteFlashCommand(cmd, arg);
    const int more = longResponse != 0 ? 16 : 5;
    for (int i = 1; i <= more; ++i) {
        WriteRegister(kRegSpiOut, 0xFF);
        response[i] = ReadCardByte(*this, kRegDataIn);
    }
    for (int i = 0; i < 8; ++i) WriteRegister(kRegSpiOut, 0xFF);
    return 1;
}

unsigned int CCamPort::WriteFlashSDACommand(unsigned char cmd, unsigned int arg, unsigned char* response,
                                            int longResponse) {
    unsigned char appResponse[17] = {};
    if (WriteFlashSDCommand(kCmdAppCommand, m_dwPortState[kRcaWord], appResponse, 0) == 0) return 0;
    return WriteFlashSDCommand(cmd, arg, response, longResponse);
}

unsigned int CCamPort::OpenFlashMemory(unsigned int mode, unsigned int second) {
    m_dwPortState[kModeWord] = mode;
    m_dwPortState[kSecondWord] = second;
    BackupSizeY();
    unsigned char response[17] = {};
    if (mode == kNativeBus) {
        WriteRegister(kRegControl, 1);
        WriteFlashSDCommand(kCmdGoIdle, 0, response, 0);
        bool ready = false;
        for (int i = 0; i < kReadyPollsNative && !ready; ++i) {
            WriteFlashSDACommand(kAcmdSdSendOpCond, kOpCondVoltageWindow, response, 0);
            OS_ThreadSleep(1);
            ready = (response[1] & 0x80) != 0;
        }
        if (!ready) return 0;
        WriteFlashSDCommand(kCmdAllSendCid, 0, response, 1);
        WriteFlashSDCommand(kCmdSendRelativeAddr, 0, response, 0);
        m_dwPortState[kRcaWord] = (unsigned{response[1]} << 24) + (unsigned{response[2]} << 16);
        WriteFlashSDCommand(kCmdSendCsd, m_dwPortState[kRcaWord], response, 1);
        for (int i = 0; i < 16; ++i) m_abyBlock16[i] = response[16 - i];
        WriteFlashSDCommand(kCmdSelectCard, m_dwPortState[kRcaWord], response, 0);
        WriteFlashSDACommand(kAcmdBusWidth, kBusWidthFourLines, response, 0);
        return 1;
    }
    WriteRegister(kRegSpiOut, 0xFF);
    WriteRegister(kRegControl, 0);
    OS_ThreadSleep(1);
    WriteRegister(kRegControl, 1);
    OS_ThreadSleep(1);
    WriteFlashCommand(kCmdGoIdle, 0);
    OS_ThreadSleep(1);
    for (int i = 0; i < kReadyPollsSpi; ++i) {
        if (WriteFlashCommand(kCmdSendOpCond, 0) == 0) return 1;
    }
    return 0;
}

unsigned int CCamPort::CloseFlashMemory() {
    if (m_dwPortState[kModeWord] == kNativeBus) {
        WriteFlashCommand(kCmdGoIdle, 0);
    } else {
        WriteRegister(kRegSpiOut, 0xFF);
    }
    WriteRegister(kRegControl, 0);
    RestoreSizeY();
    return 1;
}

unsigned int CCamPort::ReadFlashMemorySize(unsigned int* megabytes) {
    unsigned char csd[16];
    if (m_dwPortState[kModeWord] == kNativeBus) {
        for (int i = 0; i < 16; ++i) csd[i] = m_abyBlock16[15 - i];
    } else {
        WriteFlashCommand(kCmdSendCsd, 0);
        unsigned char token = 0;
        for (int i = 0; i < kCsdTokenPolls && token != kStartToken; ++i) {
            WriteRegister(kRegSpiOut, 0xFF);
            token = ReadCardByte(*this, kRegDataIn);
            if (token != kStartToken) OS_ThreadSleep(1);
        }
        if (token != kStartToken) return 0;
        for (unsigned char& byte : csd) {
            WriteRegister(kRegSpiOut, 0xFF);
            byte = ReadCardByte(*this, kRegDataIn);
        }
    }
    if (std::all_of(std::begin(csd), std::end(csd), [](unsigned char b) { return b == 0xFF; })) return 0;
    // Block length from the low three bits of READ_BL_LEN times 512: 9 gives 512, 10 gives 1024.
    const uint64_t blockLength = (CsdBits(csd, 83, 80) & 7u) * 512u;
    const uint64_t size = blockLength << (CsdBits(csd, 49, 47) + 2);
    *megabytes = MegabyteLadder((size * (CsdBits(csd, 73, 62) + 1)) >> 20);
    return 1;
}

unsigned int CCamPort::WriteFlashMemoryBlocks(unsigned int block, unsigned int, void* data) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    WriteFlashCommand(kCmdWriteBlock, block);
    unsigned char value = 0;
    if (m_dwPortState[kModeWord] == kNativeBus) {
        NativeBlockFrame frame = MakeNativeBlockFrame(bytes);
        WriteRegisterBlock(kRegDataIn, frame.data(), static_cast<int>(frame.size()), 0);
        int polls = 0;
        do {
            WriteRegister(kRegLineStatus, 0);
            value = ReadCardByte(*this, kRegLineStatus);
        } while ((value & kDat0) != 0 && ++polls < kResponseStartPolls);
        if ((value & kDat0) != 0) return 0;
        unsigned int status = 0;
        for (int i = 0; i < 3; ++i) {
            WriteRegister(kRegLineStatus, 0);
            value = ReadCardByte(*this, kRegLineStatus);
            status = (status << 1) | (value & kDat0);
        }
        if (status != kDataAccepted) return 0;
        for (polls = 0; polls < kBusyPolls; ++polls) {
            WriteRegister(kRegLineStatus, 0);
            value = ReadCardByte(*this, kRegLineStatus);
            if ((value & kDat0) != 0) return 1;
        }
        return 0;
    }
    unsigned char frame[517];
    frame[0] = 0xFF;
    frame[1] = kStartToken;
    std::memcpy(frame + 2, bytes, kBlockSize);
    frame[514] = 0xFF;  // CRC bytes: unchecked in SPI mode
    frame[515] = 0xFF;
    frame[516] = 0xFF;  // clocks the card's data-response byte in
    WriteRegisterBlock(kRegSpiOut, frame, 517, 0);
    ReadCardByte(*this, kRegDataIn);
    for (int i = 0; i < kSpiBusyPolls; ++i) {
        WriteRegister(kRegSpiOut, 0xFF);
        if (ReadCardByte(*this, kRegDataIn) != 0) return 1;
    }
    return 0;
}

// Block 0 is read through the port's block reader. The buffer is twice the block because a port
// may fill a larger record there (the Ethernet port answers with a 1024-byte settings record).
unsigned int CCamPort::ReadSysDataFromFlash(unsigned int kind, char* out) {
    unsigned char block[2 * kBlockSize] = {};
    ReadFlashMemoryBlocks(0, 1, block);
    if (std::memcmp(block, kMagic, sizeof(kMagic)) != 0) {
        const uint32_t zero = 0;
        std::memcpy(out, &zero, sizeof(zero));
        return 0;
    }
    if (kind == kKindWord) std::memcpy(out, block + kSystemWordAt, sizeof(uint32_t));
    if (kind == kKindName) CopyFieldOut(block + kNameAt, kNameWidth, out);
    if (kind == kKindComment) CopyFieldOut(block + kCommentAt, kCommentWidth, out);
    return 1;
}

unsigned int CCamPort::WriteSysDataToFlash(unsigned int kind, const char* in) {
    unsigned char block[2 * kBlockSize] = {};
    ReadFlashMemoryBlocks(0, 1, block);
    if (std::memcmp(block, kMagic, sizeof(kMagic)) != 0) {
        std::memset(block, 0, sizeof(block));
        std::memcpy(block, kMagic, sizeof(kMagic));
    }
    if (kind == kKindName) CopyFieldIn(in, block + kNameAt, kNameWidth);
    if (kind == kKindComment) CopyFieldIn(in, block + kCommentAt, kCommentWidth);
    if (kind == kKindWord) std::memcpy(block + kSystemWordAt, in, sizeof(uint32_t));
    return WriteFlashMemoryBlocks(0, 1, block);
}

namespace {

// Opens the card (up to five tries, 1 ms apart) with the port's stored mode, runs the system-data
// step and closes the card again; 0 when the card never opened.
template <typename Step>
unsigned int WithCard(CCamPort& port, unsigned int mode, unsigned int second, Step step) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        if (port.OpenFlashMemory(mode, second) == 1) {
            const unsigned int result = step();
            port.CloseFlashMemory();
            return result;
        }
        OS_ThreadSleep(1);
    }
    return 0;
}

}  // namespace

unsigned int CCamPort::WriteCameraName(char const* name) {
    return WithCard(*this, m_dwPortState[kModeWord], m_dwPortState[kSecondWord],
                    [&] { return WriteSysDataToFlash(kKindName, name); });
}

// The card's open flags come from the item: native bus past firmware 41, the second flag for every
// camera type but 4.
unsigned int CCamPort::ReadName(_ZP_ENUMITEM* item) {
    SetFrameSize(128, 128);
    const unsigned int mode = item->fwVersion > kNativeBusFirmware ? 1 : 0;
    const unsigned int second = item->cameraType != kNoSecondFlagType ? 1 : 0;
    return WithCard(*this, mode, second, [&] { return ReadSysDataFromFlash(kKindName, item->cameraName); });
}

unsigned int CCamPort::ReadWriteCameraComment(unsigned int write, void* comment) {
    return WithCard(*this, m_dwPortState[kModeWord], m_dwPortState[kSecondWord], [&] {
        return write != 0 ? WriteSysDataToFlash(kKindComment, static_cast<const char*>(comment))
                          : ReadSysDataFromFlash(kKindComment, static_cast<char*>(comment));
    });
}
