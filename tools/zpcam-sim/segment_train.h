// The segment train of one image as the camera sends it on the data port, with optional faults.
// Pure functions, no I/O.
//
// Wire format (every control word big-endian, in the last 4 bytes of a datagram):
//   border:      [hint word: low 16 bits = largest datagram that follows][4 zero bytes][1024-byte border]
//                [control word 0x00000000]                                              1036 bytes
//   data:        [payload][4 zero bytes][control word = sequence number 1, 2, 3, ...]; the last data
//                segment has 0x80000000 | sequence
//   information: [image length in bytes][4 zero bytes][control word 0x40000000]          12 bytes
// Normal order: border, data 1..n, information.
#ifndef ZPCAM_SIM_SEGMENT_TRAIN_H
#define ZPCAM_SIM_SEGMENT_TRAIN_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zpsim {

constexpr std::size_t kBorderSize = 1024;
constexpr std::size_t kSegmentTail = 8;  // 4 zero bytes + control word after every payload
constexpr std::uint32_t kControlInfo = 0x40000000;
constexpr std::uint32_t kControlLast = 0x80000000;
constexpr std::uint32_t kSequenceMask = 0x03FFFFFF;
constexpr std::size_t kOversizePayload = 40000;  // beyond any receive size a host derives from the hint
constexpr std::size_t kOverlongSegments = 4;     // extra full segments of an over-long train

// Faults applied to one train. Segments are named by their sequence number (1 = first data segment).
struct TrainFaults {
    std::optional<std::uint32_t> dropSegment;       // this segment is not sent
    double dropShare = 0.0;                         // each data segment is lost with this probability
    std::optional<std::uint32_t> reorderSegment;    // this segment swaps places with the next one
    double reorderShare = 0.0;                      // each segment swaps with the next with this probability
    std::optional<std::uint32_t> duplicateSegment;  // this segment is sent twice in a row
    std::optional<std::uint32_t> truncateAfter;     // only segments 1..k, none marked last, no information
    bool oversize = false;   // segment 1 carries kOversizePayload bytes (more than the hint announces)
    bool overlong = false;   // kOverlongSegments more full segments than the information datagram counts
    bool infoFirst = false;  // the information datagram comes before the last data segment

    bool Any() const;
};

// Payload bytes per data segment for the camera's datagram-size setting (0x9E): 0 -> 1400,
// 1 -> 4000, 2 -> 8000, anything else -> 1400.
std::size_t SegmentSizeFor(std::uint8_t netSpeed);

// The three kinds of datagram.
std::string BorderDatagram(std::string_view border, std::uint32_t receiveHint);
std::string DataDatagram(std::string_view payload, std::uint32_t sequence, bool last);
std::string InfoDatagram(std::uint32_t imageLength);

// The whole train for `payload` cut into `segmentSize` pieces (the last one shorter), `border` being
// the 1024-byte block in the camera's byte order (shorter input is padded with zeros). `seed` drives
// the random shares, so the same arguments give the same datagrams.
std::vector<std::string> BuildSegmentTrain(std::string_view payload, std::string_view border,
                                           std::size_t segmentSize, const TrainFaults& faults,
                                           std::uint32_t seed);

// Reads the control word (last 4 bytes, big-endian) of a datagram; 0 for datagrams shorter than 4.
std::uint32_t ControlWord(std::string_view datagram);

}  // namespace zpsim

#endif  // ZPCAM_SIM_SEGMENT_TRAIN_H
