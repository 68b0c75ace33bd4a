// Pure pieces of the image download.
#include "twport/download_segments.h"

#include <cstdio>
#include <cstring>

namespace zptw {

namespace {

constexpr std::uint32_t kKindShift = 30;
constexpr std::uint32_t kSequenceMask = 0x03FFFFFFu;
constexpr unsigned int kNetPerfStep = 1000;
constexpr unsigned int kNetPerfMax = 65534;

std::uint32_t LittleEndianWord(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

}  // namespace

ReadRequest ReadRequestWords(const void* buffer) {
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    return {LittleEndianWord(bytes), LittleEndianWord(bytes + 4), LittleEndianWord(bytes + 8)};
}

std::uint32_t BigEndianWord(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | static_cast<std::uint32_t>(bytes[3]);
}

ControlWord DecodeControlWord(std::uint32_t word) {
    const std::uint32_t sequence = word & kSequenceMask;
    if (word == 0) return {DatagramKind::kBorder, 0};
    switch (word >> kKindShift) {
        case 1:
            return {DatagramKind::kInformation, sequence};
        case 2:
            return {DatagramKind::kLastSegment, sequence};
        default:
            return {DatagramKind::kSegment, sequence};
    }
}

std::uint16_t DataPort(bool live, unsigned int address, unsigned int attempt, unsigned int selector) {
    const unsigned int port =
        live ? 2 * (address + attempt + 657 + 4 * selector) : 2 * (address + attempt) + 1315;
    return static_cast<std::uint16_t>(port);
}

std::string DownloadRequestLine(unsigned int address, std::uint32_t frameIndex, std::uint16_t port) {
    char line[32];
    std::snprintf(line, sizeof line, "#%02X88%08X%04X", address & 0xFFu, frameIndex, port);
    return line;
}

std::string LiveRequestLine(unsigned int address, std::uint16_t port) {
    char line[32];
    std::snprintf(line, sizeof line, "#%02X8C01%04X", address & 0xFFu, port);
    return line;
}

RateStep RaisedNetPerf(unsigned int current) {
    const unsigned int raised = current + kNetPerfStep;  // 32-bit unsigned on purpose
    if (raised <= kNetPerfMax) return {raised, true};
    if (current == kNetPerfMax) return {current, false};
    return {kNetPerfMax, true};
}

RateStep LoweredNetPerf(unsigned int current, unsigned int base) {
    if (current >= base + kNetPerfStep) return {current - kNetPerfStep, true};
    if (current == base) return {current, false};
    return {base, true};
}

FrameGeometry GeometryOf(const BORDER_DATA& border) {
    return {border.Width2, border.Height2, border.SensorType == 1 ? 3 : 1, border.Word301, border.Word299};
}

void ApplyToneTable(unsigned char* data, std::size_t length, const BORDER_DATA& border) {
    unsigned char table[BORDER_TONE_ENTRIES];
    for (int k = 0; k < BORDER_TONE_ENTRIES; ++k)
        table[k] = static_cast<unsigned char>(border.ToneTable[k] >> 2);
    for (std::size_t i = 0; i < length; ++i) data[i] = table[data[i]];
}

void DatagramView::CopyOut(std::size_t offset, std::size_t count, unsigned char* out) const {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = offset + i;
        out[i] = at < headLength ? head[at] : spill[at - headLength];
    }
}

std::uint32_t DatagramView::WordAt(std::size_t offset) const {
    unsigned char bytes[4];
    CopyOut(offset, sizeof bytes, bytes);
    return BigEndianWord(bytes);
}

TrainProgress::Step TrainProgress::Accept(const DatagramView& datagram, unsigned char* border) {
    ++m_datagrams;
    m_bytes += datagram.length;
    if (datagram.length < kControlWordSize) return Step::kBadDatagram;
    const ControlWord control = DecodeControlWord(datagram.WordAt(datagram.length - kControlWordSize));
    switch (control.kind) {
        case DatagramKind::kBorder:
            if (datagram.length < kBorderDatagramSize) return Step::kBadDatagram;
            datagram.CopyOut(kBorderOffset, BORDER_DATA_SIZE, border);
            m_hint = datagram.WordAt(0) & 0xFFFFu;
            return Step::kContinue;
        case DatagramKind::kInformation:
            if (datagram.length < kInformationMinSize) return Step::kBadDatagram;
            m_imageLength = datagram.WordAt(0);
            m_informationSeen = true;
            return m_imageLength > m_capacity ? Step::kTooLarge : Step::kContinue;
        default:
            return AcceptSegment(datagram, control);
    }
}

TrainProgress::Step TrainProgress::AcceptSegment(const DatagramView& datagram, const ControlWord& control) {
    if (datagram.length < kSegmentTailSize) return Step::kBadDatagram;
    if (control.sequence != m_lastSequence + 1) m_outOfOrder = true;
    m_lastSequence = control.sequence;
    if (control.kind == DatagramKind::kLastSegment) m_lastSeen = true;
    const std::size_t payload = datagram.length - kSegmentTailSize;
    if (payload > Remaining()) return Step::kTooLarge;
    m_position += payload;
    return Step::kContinue;
}

}  // namespace zptw
