// Program steps sent in chunks over the binary command frame: up to 60 steps of 80 bytes, 20 to a
// frame on newer firmware, each chunk as two frames of 10 steps when transfers are split.
#include <zpport/CamPort.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "port/frame.h"

using zp::frame::Command;
using zp::frame::Response;

namespace {

constexpr unsigned char kCodeSteps = 216;
constexpr int kTimeoutUs = 8000000;
constexpr unsigned int kLastOldFirmware = 161;

constexpr unsigned int kReadFlag = 0x10000;
constexpr unsigned int kWriteFlag = 0x20000;
constexpr unsigned int kDoneFlag = 0x40000;          // cleared from the first of several chunks
constexpr unsigned int kCompletionFlags = 0x240000;  // bits 18 and 21
constexpr unsigned int kCountAndFlags = 0x3FF00;     // step count, read and write flags
constexpr unsigned int kStepsPerChunk = 20;

constexpr std::uint16_t kWholeLength = 1616;  // header, two words, 20 steps
constexpr std::uint16_t kHalfLength = 816;    // header, two words, 10 steps
constexpr int kOldSplitResponse = 1448;
constexpr std::size_t kStepsAt = 16;    // steps in command and response frames
constexpr std::size_t kRecordHead = 8;  // header and control word of the record
constexpr std::size_t kChunkBytes = 1600;
constexpr std::size_t kHalfBytes = 800;

// One exchange asking the transport for `asked` bytes into a full-size response, so that bytes
// the transport does not fill read as zero.
bool StepExchange(CCamPort& port, Command& command, Response& response, int asked) {
    return zp::frame::Exchange(port, command, response, kTimeoutUs, asked);
}

struct Steps {
    CCamPort& port;
    Command& command;
    unsigned char* record;
    bool split;
    bool read;
    bool write;
    Response response{kWholeLength};

    // Chunk k: steps 20k..20k+19 out of the record (write flag) and back into it (read flag).
    bool Chunk(unsigned int k) {
        unsigned char* steps = record + kRecordHead + kChunkBytes * k;
        if (write) command.SetBytes(kStepsAt, steps, kChunkBytes);
        if (!split) {
            command.SetPart(zp::frame::kWhole);
            if (!StepExchange(port, command, response, kWholeLength)) return false;
            if (read) std::memcpy(steps, response.Bytes(kStepsAt), kChunkBytes);
            return true;
        }
        command.SetLength(kHalfLength);
        command.SetPart(zp::frame::kFirstPart);
        if (!StepExchange(port, command, response, kHalfLength)) return false;
        if (read) std::memcpy(steps, response.Bytes(kStepsAt), kHalfBytes);
        if (write) command.SetBytes(kStepsAt, steps + kHalfBytes, kHalfBytes);
        command.SetPart(zp::frame::kSecondPart);
        if (!StepExchange(port, command, response, kHalfLength)) return false;
        if (read) std::memcpy(steps + kHalfBytes, response.Bytes(kStepsAt), kHalfBytes);
        return true;
    }
};

}  // namespace

unsigned int CCamPort::ConfigureSteps(_PROGSTEPS_DATA* program) {
    if (program == nullptr) return 0;
    const bool split = m_dwPortState[zp::frame::kSplitTransferWord] != 0;
    auto* record = reinterpret_cast<unsigned char*>(program);
    Command command(kCodeSteps, {});
    command.SetLength(kWholeLength);
    command.SetBytes(zp::frame::kHeaderSize, record, kRecordHead + kChunkBytes);
    // The record is read and written bytewise: hosts may hand it over unaligned.
    unsigned int control = 0;
    std::memcpy(&control, record + offsetof(_PROGSTEPS_DATA, control), sizeof control);
    const bool read = (control & kReadFlag) != 0;
    const bool write = (control & kWriteFlag) != 0;

    // Older firmware, or neither flag: one frame of the first 20 steps, the first part only when split.
    if (m_dwPortState[zp::frame::kFirmwareVersionWord] <= kLastOldFirmware || (!read && !write)) {
        command.SetPart(split ? zp::frame::kFirstPart : zp::frame::kWhole);
        Response response(kWholeLength);
        if (!StepExchange(*this, command, response, split ? kOldSplitResponse : kWholeLength)) return 0;
        // Intended: older firmware copies 1608 bytes back also when only 1448 were asked for.
        if (read) std::memcpy(record, response.Bytes(zp::frame::kHeaderSize), kRecordHead + kChunkBytes);
        return 1;
    }

    const unsigned int flags = write ? control & kCompletionFlags : 0;
    unsigned int count = write ? (control >> 8) & 0xFF : 0;
    if (count > kStepsPerChunk) control &= ~kDoneFlag;  // bit 21 stays on the first chunk
    command.SetWord(1, control);
    Steps steps{*this, command, record, split, read, write};
    if (!steps.Chunk(0)) return 0;
    if (read) {
        const unsigned int header = steps.response.WordAt(zp::frame::kHeaderSize);
        const unsigned int reported = steps.response.WordAt(zp::frame::kHeaderSize + 4);
        std::memcpy(record + offsetof(_PROGSTEPS_DATA, header), &header, sizeof header);
        std::memcpy(record + offsetof(_PROGSTEPS_DATA, control), &reported, sizeof reported);
        count = (reported >> 8) & 0xFF;
    }
    for (unsigned int k = 1; k < 3 && count > kStepsPerChunk * k; ++k) {
        control = (control & kCountAndFlags) | kStepsPerChunk * k;
        if (count <= kStepsPerChunk * (k + 1) || k == 2) control |= flags;  // the last chunk
        command.SetWord(1, control);
        if (!steps.Chunk(k)) return 0;
    }
    return 1;
}
