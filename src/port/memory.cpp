// Camera memory transfers in chunks (whole or split frames), recorded segments and the
// firmware-information block.
#include <zpport/CamPort.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "port/frame.h"

using zp::frame::Command;
using zp::frame::Exchange;
using zp::frame::Response;

namespace {

constexpr unsigned char kCodeReadSegment = 208;
constexpr unsigned char kCodeReadFwInfo = 210;
constexpr unsigned char kCodeReadMemory = 213;
constexpr unsigned char kCodeWriteMemory = 214;

constexpr unsigned int kChunkMax = 2048;
constexpr std::size_t kDataAt = 24;        // memory data after the header and four words
constexpr int kWholeReadResponse = 2056;   // header and 2048 data bytes
constexpr int kSplitFirstResponse = 1448;  // header and 1440 data bytes
constexpr int kSplitSecondResponse = 616;  // header and the remaining 608 bytes
constexpr unsigned int kSplitFirstData = 1440;
constexpr std::uint16_t kWholeWriteLength = 2072;
constexpr std::uint16_t kSplitWriteLength = 1048;  // header, four words and 1024 data bytes
constexpr unsigned int kSplitWriteData = 1024;
constexpr int kWriteResponse = 8;

constexpr unsigned int kMaxSegments = 64;
constexpr unsigned int kMaxCountedSegments = 63;
constexpr std::size_t kSegmentSize = 1024;
constexpr int kSegmentResponse = 12 + kSegmentSize;
constexpr std::size_t kSegmentAt = 12;       // the record in the response
constexpr std::size_t kSegmentIndexAt = 16;  // the record's second word: its index

// The largest chunk: 2048, or 2048 rounded down to a multiple of a non-zero granule. A granule
// above 2048 would give empty chunks and never finish, so it leaves 2048.
unsigned int ChunkLimit(unsigned int granule) {
    if (granule == 0 || granule > kChunkMax) return kChunkMax;
    return kChunkMax - kChunkMax % granule;
}

Command MemoryCommand(unsigned char code, ZP_MEM_TYPE type, std::uint64_t address, unsigned int chunk) {
    return Command(code, {static_cast<std::uint32_t>(type), static_cast<std::uint32_t>(address),
                          static_cast<std::uint32_t>(address >> 32), chunk});
}

// Queries segments 1..last; copies each matching record to buffer (packed) unless it is null.
// A failed exchange ends the queries; an index the camera does not confirm is skipped.
unsigned int QuerySegments(CCamPort& port, unsigned int last, unsigned char* buffer) {
    unsigned int found = 0;
    Response response(kSegmentResponse);
    for (unsigned int index = 1; index <= last; ++index) {
        Command command(kCodeReadSegment, {index, 0});
        if (!Exchange(port, command, response)) break;
        if (response.Status() != 0 || response.WordAt(kSegmentIndexAt) != index) continue;
        if (buffer != nullptr)
            std::memcpy(buffer + kSegmentSize * found, response.Bytes(kSegmentAt), kSegmentSize);
        ++found;
    }
    return found;
}

}  // namespace

// The read granule is the port's first transfer limit, the write granule its second.
unsigned int CCamPort::ReadMemory(ZP_MEM_TYPE type, unsigned int addressLow, unsigned int addressHigh,
                                  void* buffer, unsigned int length) {
    const bool split = m_dwPortState[zp::frame::kSplitTransferWord] != 0;
    const unsigned int limit = ChunkLimit(m_dwTransferLimit[0]);
    std::uint64_t address = (std::uint64_t{addressHigh} << 32) | addressLow;
    auto* out = static_cast<unsigned char*>(buffer);
    for (unsigned int remaining = length; remaining > 0;) {
        const unsigned int chunk = std::min(remaining, limit);
        Command command = MemoryCommand(kCodeReadMemory, type, address, chunk);
        if (!split) {
            Response response(kWholeReadResponse);
            if (!Exchange(*this, command, response)) return 0;
            std::memcpy(out, response.Bytes(8), chunk);
        } else {
            command.SetPart(zp::frame::kFirstPart);
            Response first(kSplitFirstResponse);
            if (!Exchange(*this, command, first)) return 0;
            // Intended: the whole first part lands in the buffer even when the chunk is smaller.
            std::memcpy(out, first.Bytes(8), kSplitFirstData);
            command.SetPart(zp::frame::kSecondPart);
            Response second(kSplitSecondResponse);
            if (!Exchange(*this, command, second)) return 0;
            if (chunk > kSplitFirstData)
                std::memcpy(out + kSplitFirstData, second.Bytes(8), chunk - kSplitFirstData);
        }
        address += chunk;
        out += chunk;
        remaining -= chunk;
    }
    return 1;
}

unsigned int CCamPort::WriteMemory(ZP_MEM_TYPE type, unsigned int addressLow, unsigned int addressHigh,
                                   void* buffer, unsigned int length) {
    const bool split = m_dwPortState[zp::frame::kSplitTransferWord] != 0;
    const unsigned int limit = ChunkLimit(m_dwTransferLimit[1]);
    std::uint64_t address = (std::uint64_t{addressHigh} << 32) | addressLow;
    const auto* in = static_cast<const unsigned char*>(buffer);
    Response response(kWriteResponse);
    for (unsigned int remaining = length; remaining > 0;) {
        const unsigned int chunk = std::min(remaining, limit);
        Command command = MemoryCommand(kCodeWriteMemory, type, address, chunk);
        command.SetBytes(kDataAt, in, chunk);
        if (!split) {
            command.SetLength(kWholeWriteLength);  // whatever the chunk
            if (!Exchange(*this, command, response)) return 0;
        } else {
            command.SetPart(zp::frame::kFirstPart);
            command.SetLength(kSplitWriteLength);
            if (!Exchange(*this, command, response)) return 0;
            unsigned char* data = command.Bytes() + kDataAt;
            if (chunk > kSplitWriteData) std::memmove(data, data + kSplitWriteData, chunk - kSplitWriteData);
            // Intended: the second part goes out for every chunk, a short one sending its data again.
            command.SetPart(zp::frame::kSecondPart);
            if (!Exchange(*this, command, response)) return 0;
        }
        address += chunk;
        in += chunk;
        remaining -= chunk;
    }
    return 1;
}

unsigned int CCamPort::ReadRecordedSegments(unsigned char* buffer, unsigned int* count) {
    if (count == nullptr) return 0;
    const unsigned int found = QuerySegments(*this, std::min(*count, kMaxSegments), buffer);
    *count = found;
    return found > 0 ? 1 : 0;
}

// Intended: 63 indices here against 64 in ReadRecordedSegments.
unsigned int CCamPort::ReadRecordedSegmentCount(unsigned int* count) {
    if (count == nullptr) return 0;
    const unsigned int found = QuerySegments(*this, kMaxCountedSegments, nullptr);
    *count = found;
    return found > 0 ? 1 : 0;
}

unsigned int CCamPort::ReadFwInfoStruct() {
    const bool split = m_dwPortState[zp::frame::kSplitTransferWord] != 0;
    Command command(kCodeReadFwInfo, {}, split ? zp::frame::kFirstPart : zp::frame::kWhole);
    Response response(split ? kSplitFirstResponse : kWholeReadResponse);
    if (!Exchange(*this, command, response)) {
        std::memset(m_abyFwInfo, 0, sizeof(m_abyFwInfo));
        return 0;
    }
    std::memcpy(m_abyFwInfo, response.Bytes(8), sizeof(m_abyFwInfo));
    return 1;
}
