// Image download: one frame, live or recorded, raw or JPEG, with its border block.
#include <cstdlib>
#include <cstring>

#include "twport/download_segments.h"
#include "twport/tw_port_internal.h"
#include "vellum/Vellum.h"
#include "zpport/AddressText.h"
#include "zpport/BorderData.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr unsigned short kMaxAttempts = 6;
constexpr unsigned int kCameraTypeTwelve = 12;     // asks for the "01" frame-size suffix
constexpr unsigned int kCameraTypeToneTable = 14;  // raw frames go through the tone table

bool InReplay(unsigned char state) {
    return state == 5 || state == 6;
}

// Header and body as one stream at buffer + 4, its length in word 0; false when it does not fit.
bool ReturnStream(unsigned char* buffer, unsigned int size, const unsigned char* header, int headerLength,
                  unsigned int bodyLength) {
    const unsigned long long total = static_cast<unsigned long long>(headerLength) + bodyLength;
    if (total + 4 > size) return false;
    std::memmove(buffer + 4 + headerLength, buffer, bodyLength);
    std::memcpy(buffer + 4, header, static_cast<std::size_t>(headerLength));
    const auto length = static_cast<std::uint32_t>(total);
    const unsigned char word[4] = {
        static_cast<unsigned char>(length), static_cast<unsigned char>(length >> 8),
        static_cast<unsigned char>(length >> 16), static_cast<unsigned char>(length >> 24)};
    std::memcpy(buffer, word, sizeof word);
    return true;
}

// Header and body joined in a block of their own (the decoder writes over the body), decoded into
// the buffer; false when the image does not fit or does not decode.
bool DecodeStream(unsigned char* buffer, unsigned int size, const unsigned char* header, int headerLength,
                  unsigned int bodyLength, const FrameGeometry& geometry) {
    const int rowBytes = geometry.width * geometry.components;
    if (static_cast<unsigned long long>(rowBytes) * static_cast<unsigned int>(geometry.height) > size)
        return false;
    const std::size_t total = static_cast<std::size_t>(headerLength) + bodyLength;
    if (total > INT32_MAX) return false;
    auto* joined = static_cast<unsigned char*>(std::malloc(total));
    if (joined == nullptr) return false;
    std::memcpy(joined, header, static_cast<std::size_t>(headerLength));
    std::memcpy(joined + headerLength, buffer, bodyLength);
    const int decoded = ReadJPGFileData(joined, static_cast<int>(total), rowBytes, geometry.height, buffer);
    std::free(joined);
    return decoded == 1;
}

}  // namespace

unsigned int CTWPort::ReadData(void* buffer, unsigned int size) {
    if (size == 0) return 1;
    if (buffer == nullptr || size < kRequestWordsSize) return 0;
    const ReadRequest request = ReadRequestWords(buffer);
    if ((request.readFlags & kReadBorderOnly) != 0) {
        std::memcpy(buffer, m_abyBorder, size < sizeof m_abyBorder ? size : sizeof m_abyBorder);
        return 1;
    }
    const bool live = request.liveMode != 0;
    if (live && InReplay(m_byCameraState)) {
        std::memset(buffer, 0, size);
        return 1;
    }
    if (!live && !PrepareDownload(request.readFlags)) return 0;
    m_dwTransferActive = 1;
    for (unsigned short attempt = 0;;) {
        unsigned int length = size;
        const int result = MyReadData(buffer, &length, m_byCameraAddress, m_szCameraAddress, request.liveMode,
                                      request.frameNumber, attempt);
        if (result == 0) {
            ChangeBorderEndianess(reinterpret_cast<BORDER_DATA*>(m_abyBorder));
            if (!DeliverImage(buffer, size, length, live, request.readFlags)) {
                m_dwTransferActive = 0;
                return 0;
            }
            return FinishDownload();
        }
        if (result != -2) {
            m_dwTransferActive = 0;
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData = %d", result);
            return 0;
        }
        if (++attempt >= kMaxAttempts) {
            m_dwTransferActive = 0;
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReaData Cannot receive image...");
            return 0;
        }
        if (!RetryDownload(attempt, live, request.readFlags, buffer, size)) return FinishDownload();
    }
}

// Geometry and download format of a recorded frame, sent only when they changed.
bool CTWPort::PrepareDownload(unsigned int readFlags) {
    char line[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if (m_dwState[kDownloadWidth] == kUnknownWord || m_dwState[kDownloadHeight] == kUnknownWord) {
        if (Command(line, kCommandTimeoutUs, "#%02X90", a) != 1) return false;
        m_dwState[kDownloadWidth] = hex2s(line + 7);
        m_dwState[kDownloadHeight] = hex2s(line + 11);
    }
    if (readFlags == m_dwState[kLastDownloadFormat]) return true;
    const bool uncompressed = (readFlags & kReadUncompressed) != 0;
    if (Command(line, kCommandTimeoutUs, uncompressed ? "#%02X8700" : "#%02X8704", a) != 1) return false;
    const bool suffixOne =
        m_dwCameraType == kCameraTypeTwelve && !uncompressed && (readFlags & kReadReturnJpeg) == 0;
    if (Command(line, kCommandTimeoutUs, "#%02X9C00000000%04X%04X%s", a, m_dwState[kDownloadWidth],
                m_dwState[kDownloadHeight], suffixOne ? "01" : "00") != 1)
        return false;
    m_dwState[kLastDownloadFormat] = readFlags;
    return true;
}

// After a failed attempt: a slower rate (not for stream requests), then the abort. False when a
// live request ends because the camera started replaying (the buffer is then cleared).
bool CTWPort::RetryDownload(unsigned short attempt, bool live, unsigned int readFlags, void* buffer,
                            unsigned int size) {
    char line[kLineBufferSize];
    const unsigned int a = m_byCameraAddress;
    if ((readFlags & kReadReturnJpeg) == 0) {
        const RateStep step = RaisedNetPerf(m_dwState[kNetPerfCurrent]);
        if (step.send) {
            m_dwState[kNetPerfCurrent] = step.value;
            Command(line, kCommandTimeoutUs, "#%02X89%04X%04X0100", a, step.value, step.value);
        }
    }
    m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData retrying %d... (NetPerf increased to %d)", attempt,
                  static_cast<int>(m_dwState[kNetPerfCurrent]));
    if (!live) {
        const int aborted = Command(line, kCommandTimeoutUs, "#%02X86", a);
        if (aborted != 1) m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Abort download = %d", aborted);
        return true;
    }
    const int aborted = Command(line, kCommandTimeoutUs, "#%02X99", a);
    if (aborted != 1) m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Abort live = %d", aborted);
    const unsigned char state = m_byCameraState;
    if (!InReplay(state)) return true;
    std::memset(buffer, 0, size);
    m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Status changed to %d", state);
    return false;
}

// The received bytes become the caller's image: raw as they are (or through the tone table), else
// completed with the JPEG header and returned as a stream or decoded.
bool CTWPort::DeliverImage(void* buffer, unsigned int size, unsigned int imageLength, bool live,
                           unsigned int readFlags) {
    auto* bytes = static_cast<unsigned char*>(buffer);
    const auto& border = *reinterpret_cast<const BORDER_DATA*>(m_abyBorder);
    if (!live && readFlags == kReadUncompressed) {
        const bool convert = m_dwCameraType == kCameraTypeToneTable || m_byLookupConversion != 0;
        if (border.Bytes297[0] == 0 && convert) ApplyToneTable(bytes, imageLength, border);
        return true;
    }
    if (m_pDownloadBuffer == nullptr)
        m_pDownloadBuffer = static_cast<unsigned char*>(std::malloc(VELLUM_HEADER_MAX));
    const FrameGeometry geometry = GeometryOf(border);
    int headerLength = 0;
    if (m_pDownloadBuffer == nullptr ||
        CreateHeader(geometry.width, geometry.height, geometry.components, geometry.quality,
                     geometry.subsampling, m_pDownloadBuffer, &headerLength) != 1) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData JPEG header %dx%d components %d", geometry.width,
                      geometry.height, geometry.components);
        return false;
    }
    const bool done = (readFlags & kReadReturnJpeg) != 0
                          ? ReturnStream(bytes, size, m_pDownloadBuffer, headerLength, imageLength)
                          : DecodeStream(bytes, size, m_pDownloadBuffer, headerLength, imageLength, geometry);
    if (!done)
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData JPEG frame does not fit or decode (%u bytes)",
                      imageLength);
    return done;
}

// The rate goes back towards the base after every finished call.
unsigned int CTWPort::FinishDownload() {
    const RateStep step = LoweredNetPerf(m_dwState[kNetPerfCurrent], m_dwState[kNetPerfBase]);
    if (step.send) {
        char line[kLineBufferSize];
        m_dwState[kNetPerfCurrent] = step.value;
        Command(line, kCommandTimeoutUs, "#%02X89%04X%04X0100", m_byCameraAddress.load(), step.value,
                step.value);
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData Reducing NetPerf to %d",
                      static_cast<int>(step.value));
    }
    m_dwTransferActive = 0;
    return 1;
}
