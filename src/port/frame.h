// The binary command frame: building a command (header, argument words, data bytes), reading
// result words of a response, and the common exchange over the port's SendCmdAndGetRsp.
// Pure functions apart from Exchange; the operations of CCamPort are built on these.
#ifndef ZPPORT_PORT_FRAME_H
#define ZPPORT_PORT_FRAME_H

#include <zpport/CamPort.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace zp::frame {

constexpr int kTimeoutUs = 3000000;        // every command unless stated otherwise
constexpr unsigned char kWhole = 0;        // part selector: one frame carries the exchange
constexpr unsigned char kFirstPart = 16;   // split mode: first of two frames
constexpr unsigned char kSecondPart = 32;  // split mode: second frame
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kMaxFrame = 2072;  // the largest command frame (write memory)

// Port state words (CCamPort::m_dwPortState) that the frame operations consult: the camera's
// firmware version (set at open) and the split-transfer word, non-zero while every block
// exchange travels as two frames for a transport whose packets cannot hold a 2 KB frame.
constexpr std::size_t kFirmwareVersionWord = 0;
constexpr std::size_t kSplitTransferWord = 4;

// A command frame on the caller's stack, every byte zero until written.
class Command {
public:
    // Header with the code and a length field of 8 + 4 x words.
    Command(unsigned char code, std::initializer_list<std::uint32_t> words, unsigned char part = kWhole);
    _CMD_HDR* Header() { return reinterpret_cast<_CMD_HDR*>(m_bytes.data()); }
    // Argument word `index` (from byte 8), little-endian.
    void SetWord(std::size_t index, std::uint32_t value);
    // Bytes from frame offset `at`; the length field is left as it is.
    void SetBytes(std::size_t at, const void* data, std::size_t size);
    void SetLength(std::uint16_t length);
    void SetPart(unsigned char part);
    unsigned char* Bytes() { return m_bytes.data(); }

private:
    alignas(4) std::array<unsigned char, kMaxFrame> m_bytes{};
};

// A response buffer of a given size (header included), zeroed.
class Response {
public:
    explicit Response(std::size_t size) : m_bytes(size < kHeaderSize ? kHeaderSize : size, 0) {}
    _RSP_HDR* Header() { return reinterpret_cast<_RSP_HDR*>(m_bytes.data()); }
    int Size() const { return static_cast<int>(m_bytes.size()); }
    unsigned char Status() const { return m_bytes[0]; }
    // The little-endian word at byte offset `at` (0 beyond the end).
    std::uint32_t WordAt(std::size_t at) const;
    const unsigned char* Bytes(std::size_t at = 0) const { return m_bytes.data() + at; }
    void Clear() { std::fill(m_bytes.begin(), m_bytes.end(), 0); }

private:
    std::vector<unsigned char> m_bytes;
};

// One exchange: the response is zeroed first; true when the transport reports a response. The
// transport is asked for the whole response, or for `asked` bytes of it (the rest reads as zero).
bool Exchange(CCamPort& port, Command& command, Response& response, int timeoutUs = kTimeoutUs,
              int asked = -1);

// A command of argument words whose answer carries no result (an 8-byte response): 1 when the
// transport answered, else 0.
unsigned int Send(CCamPort& port, unsigned char code, std::initializer_list<std::uint32_t> words,
                  int timeoutUs = kTimeoutUs);
unsigned int Send(CCamPort& port, Command& command, int timeoutUs = kTimeoutUs);

}  // namespace zp::frame

#endif  // ZPPORT_PORT_FRAME_H
