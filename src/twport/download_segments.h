// Pure pieces of the image download: request words, the data train's control words, request
// lines, data port numbers, the download-rate steps, frame geometry and the tone-table conversion.
#ifndef ZP_TWPORT_DOWNLOAD_SEGMENTS_H
#define ZP_TWPORT_DOWNLOAD_SEGMENTS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "zpport/BorderData.h"

namespace zptw {

// Request words at the start of the caller's buffer (little-endian).
struct ReadRequest {
    std::uint32_t liveMode;     // 0: frame of the recording; else live
    std::uint32_t frameNumber;  // counted from the first frame of the recording
    std::uint32_t readFlags;    // kReadBorderOnly, kReadUncompressed, kReadReturnJpeg
};
constexpr unsigned int kRequestWordsSize = 12;
constexpr std::uint32_t kReadUncompressed = 0x01;
constexpr std::uint32_t kReadBorderOnly = 0x02;
constexpr std::uint32_t kReadReturnJpeg = 0x04;

ReadRequest ReadRequestWords(const void* buffer);

// Data train layout.
constexpr std::size_t kControlWordSize = 4;
constexpr std::size_t kSegmentTailSize = 8;  // 4 zero bytes and the control word after every payload
constexpr std::size_t kBorderOffset = 8;     // border block inside the border datagram
constexpr std::size_t kBorderDatagramSize = kBorderOffset + BORDER_DATA_SIZE + kControlWordSize;
constexpr std::size_t kInformationMinSize = 4 + kControlWordSize;
constexpr int kMinReceiveSize = 32768;

enum class DatagramKind { kBorder, kInformation, kSegment, kLastSegment };

struct ControlWord {
    DatagramKind kind;
    std::uint32_t sequence;  // bits 25..0
};

// The big-endian control word in the last 4 bytes of every datagram.
ControlWord DecodeControlWord(std::uint32_t word);
std::uint32_t BigEndianWord(const unsigned char* bytes);

// UDP port the camera sends the train to, per attempt.
std::uint16_t DataPort(bool live, unsigned int address, unsigned int attempt, unsigned int selector);

// The two image requests; they go out without a line end.
std::string DownloadRequestLine(unsigned int address, std::uint32_t frameIndex, std::uint16_t port);
std::string LiveRequestLine(unsigned int address, std::uint16_t port);

// A new download-rate value and whether it goes to the camera.
struct RateStep {
    unsigned int value;
    bool send;
};
// After a failed attempt: 1000 more, at most 65534 (nothing to send when already there).
RateStep RaisedNetPerf(unsigned int current);
// After a finished call: 1000 less while at least 1000 above the base, else back to the base.
RateStep LoweredNetPerf(unsigned int current, unsigned int base);

// What the JPEG header of a frame needs, from its border block in host order.
struct FrameGeometry {
    int width;
    int height;
    int components;   // 3 for a colour sensor, else 1
    int quality;      // border word 301
    int subsampling;  // border word 299
};
FrameGeometry GeometryOf(const BORDER_DATA& border);

// Raw frames of some cameras go through the border's tone table: each byte becomes its 16-bit
// entry shifted right by 2 (low 8 bits kept).
void ApplyToneTable(unsigned char* data, std::size_t length, const BORDER_DATA& border);

// One received datagram: its first headLength bytes at head (the caller's buffer), the rest at
// the start of spill.
struct DatagramView {
    const unsigned char* head;
    std::size_t headLength;
    const unsigned char* spill;
    std::size_t length;

    void CopyOut(std::size_t offset, std::size_t count, unsigned char* out) const;
    std::uint32_t WordAt(std::size_t offset) const;  // big-endian
};

// Progress through one image train, fed one datagram at a time. Data payloads are laid one after
// another from the start of the caller's buffer; each datagram arrives at the current position.
class TrainProgress {
public:
    enum class Step { kContinue, kBadDatagram, kTooLarge };

    explicit TrainProgress(std::size_t capacity) : m_capacity(capacity) {}

    // Border blocks are copied to border (BORDER_DATA_SIZE bytes, camera byte order).
    Step Accept(const DatagramView& datagram, unsigned char* border);

    bool Complete() const { return m_informationSeen && m_lastSeen; }
    bool OutOfOrder() const { return m_outOfOrder; }
    std::size_t Position() const { return m_position; }  // bytes of image data so far
    std::size_t Remaining() const { return m_capacity - m_position; }
    std::uint32_t Hint() const { return m_hint; }
    std::uint32_t ImageLength() const { return m_imageLength; }
    int Datagrams() const { return m_datagrams; }
    std::size_t Bytes() const { return m_bytes; }

private:
    Step AcceptSegment(const DatagramView& datagram, const ControlWord& control);

    std::size_t m_capacity;
    std::size_t m_position = 0;
    std::uint32_t m_hint = kMinReceiveSize;
    std::uint32_t m_imageLength = 0;
    std::uint32_t m_lastSequence = 0;
    bool m_informationSeen = false;
    bool m_lastSeen = false;
    bool m_outOfOrder = false;
    int m_datagrams = 0;
    std::size_t m_bytes = 0;
};

}  // namespace zptw

#endif  // ZP_TWPORT_DOWNLOAD_SEGMENTS_H
