// Flash block transfers over the binary command frame: operation 101 prepares the camera (the
// preliminary command that StartGrab also sends), every other operation moves one 2 KB block
// through command 199, as one frame or, in split mode, as a single first-part frame.
#include <zpport/CamPort.h>

#include <algorithm>
#include <cstring>

#include "port/frame.h"

using namespace zp::frame;

namespace {

constexpr unsigned int kOpPrepare = 101;
constexpr unsigned char kCodePrepare = 207;
constexpr unsigned char kCodeFlashBlock = 199;
constexpr std::size_t kDataAt = 12;  // after the header and the operation word
constexpr std::size_t kWholeData = 2048;
constexpr std::uint16_t kWholeLength = kDataAt + kWholeData;  // 2060, also the response size
constexpr std::uint16_t kSplitLength = 1448;                  // also the response size
constexpr std::size_t kSplitCopy = 1440;

}  // namespace

unsigned int CCamPort::FlashOperation(unsigned int operation, void* data) {
    if (operation == kOpPrepare) {
        if (Send(*this, kCodePrepare, {0}) == 0) return 0;
        m_dwPendingPrepare = 0;
        return 1;
    }
    const bool split = m_dwPortState[kSplitTransferWord] != 0;
    Command command(kCodeFlashBlock, {operation}, split ? kFirstPart : kWhole);
    command.SetLength(split ? kSplitLength : kWholeLength);
    command.SetBytes(kDataAt, data, kWholeData);
    Response response(split ? kSplitLength : kWholeLength);
    if (!Exchange(*this, command, response)) return 0;
    auto* out = static_cast<unsigned char*>(data);
    if (!split) {
        std::memcpy(out, response.Bytes(kDataAt), kWholeData);
        return 1;
    }
    // Split mode sends only the first part and copies 1440 bytes back from byte 12; the 1448-byte
    // response holds 1436 of them, so the last four come back as 0.
    const std::size_t held = static_cast<std::size_t>(response.Size()) - kDataAt;
    std::memcpy(out, response.Bytes(kDataAt), held);
    std::fill(out + held, out + kSplitCopy, 0);
    return 1;
}
