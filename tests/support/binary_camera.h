// A camera port with a binary transport, for the tests of the base operations: every command
// frame is recorded with its response size and time-out, and answered by `answer` (by default a
// response of the size asked for, zero but for the status byte). The Nth exchange can be made to
// fail, and the status byte chosen.
#ifndef ZPTEST_BINARY_CAMERA_H
#define ZPTEST_BINARY_CAMERA_H

#include <zpport/CamPort.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

namespace zptest {

using Bytes = std::vector<unsigned char>;

struct SentFrame {
    Bytes frame;  // as many bytes as the length field says
    int responseSize;
    int timeout;
    unsigned char Part() const { return frame[2]; }
    unsigned char Code() const { return frame[3]; }
    unsigned int Word(std::size_t index) const {  // argument word from byte 8
        unsigned int value = 0;
        std::memcpy(&value, frame.data() + 8 + 4 * index, sizeof value);
        return value;
    }
};

class BinaryCamera : public CCamPort {
public:
    std::vector<SentFrame> sent;
    // Fills the response (responseSize bytes, zeroed, status already set); false: no response.
    std::function<bool(const SentFrame&, unsigned char* response)> answer;
    int failAt = 0;            // this exchange (1 = the first) gets no response; 0: none fails
    unsigned char status = 0;  // byte 0 of every response

    unsigned int SendCmdAndGetRsp(_CMD_HDR* command, _RSP_HDR* response, int responseSize, int timeout, int,
                                  int) override {
        const auto* bytes = reinterpret_cast<const unsigned char*>(command);
        const std::size_t length = std::min<std::size_t>(command->length, 2072);
        sent.push_back({Bytes(bytes, bytes + std::max<std::size_t>(length, 8)), responseSize, timeout});
        auto* out = reinterpret_cast<unsigned char*>(response);
        std::memset(out, 0, static_cast<std::size_t>(responseSize));
        out[0] = status;
        if (failAt == static_cast<int>(sent.size())) return 0;
        return !answer || answer(sent.back(), out) ? 1 : 0;
    }
    unsigned int ReadFlashMemoryBlocks(unsigned int, unsigned int, void*) override { return 0; }

    // The base's state, for the checks.
    unsigned int* PortState() { return m_dwPortState; }
    unsigned int* TransferLimits() { return m_dwTransferLimit; }
    unsigned char* RegisterShadow() { return m_abyRegisterShadow; }
    unsigned char* FwInfo() { return m_abyFwInfo; }
    unsigned int& ErrorCode() { return m_nErrorCode; }
    unsigned int& CameraType() { return m_dwCameraType; }
    unsigned int& PendingPrepare() { return m_dwPendingPrepare; }
    using Facts = ModelFacts;
    ModelFacts& Model() { return m_Model; }
    unsigned char* LastSettings() { return m_abyLastSettings; }
};

}  // namespace zptest

#endif  // ZPTEST_BINARY_CAMERA_H
