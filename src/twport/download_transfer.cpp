// One image transfer: the data socket, the image request, and the segment train received
// straight into the caller's buffer.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "twport/download_segments.h"
#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr int kDataReceiveBuffer = CTWPort::kDataReceiveBufferSize;
constexpr int kLiveFirstWaitUs = 500000;
constexpr int kRecordedFirstWaitUs = 8000000;
constexpr int kNextWaitUs = 1000000;
// Every attempt ends within its first wait plus this much per byte of the buffer (a floor of
// 1 MB/s), however the datagrams arrive.
constexpr std::int64_t kAttemptUsPerByte = 1;
// Waits are cut into slices of this length so that a closing port ends a download promptly.
constexpr std::int64_t kWaitSliceUs = 20000;
// An empty socket in the middle of a train: let segments gather for this long before waiting, so
// one wake-up takes several of them instead of one each.
constexpr long kGatherNs = 100000;
constexpr std::size_t kSpillSize = 65536;  // more than any UDP datagram
constexpr unsigned short kLiveSelectorMask = 1;

// ImageFunction results beside 1 (complete), -1 (socket), -2 (time-out) and -3 (out of order).
constexpr int kImageTooLarge = -4;
constexpr int kBadTrain = -5;
constexpr int kImageClosing = -6;
// MyReadData results: an image that cannot fit the caller's buffer (retrying would not help), and
// a port that is closing.
constexpr int kReadImageTooLarge = -9;
constexpr int kReadClosing = -10;

class SocketGuard {
public:
    explicit SocketGuard(int socket) : m_socket(socket) {}
    ~SocketGuard() { ::close(m_socket); }
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;

private:
    int m_socket;
};

std::int64_t NowUs() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

enum class Wait { kReadable, kTimeout, kDeadline, kClosing, kFailed };

// Waits for a datagram for timeoutUs, but not past the attempt's deadline, in slices that watch
// the port's closing flag.
Wait WaitReadable(int socket, int timeoutUs, std::int64_t deadlineUs,
                  const std::atomic<unsigned int>& closing) {
    const std::int64_t end = std::min(NowUs() + timeoutUs, deadlineUs);
    for (;;) {
        if (closing.load() != 0) return Wait::kClosing;
        const std::int64_t left = end - NowUs();
        if (left <= 0) return end == deadlineUs ? Wait::kDeadline : Wait::kTimeout;
        const std::int64_t slice = std::min(left, kWaitSliceUs);
        pollfd entry{socket, POLLIN, 0};
        const timespec limit{static_cast<time_t>(slice / 1000000),
                             static_cast<long>(slice % 1000000) * 1000L};
        const int ready = ::ppoll(&entry, 1, &limit, nullptr);
        if (ready != 0) return ready > 0 ? Wait::kReadable : Wait::kFailed;
    }
}

// The forced size lifts the system's cap where the process may; otherwise the ordinary request.
bool EnlargeReceiveBuffer(int socket) {
    const int size = kDataReceiveBuffer;
    if (::setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) == 0) return true;
    return ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, sizeof size) == 0;
}

// The size the kernel granted; it reports twice the size set (its bookkeeping included).
int ReceiveBufferSize(int socket) {
    int size = 0;
    socklen_t length = sizeof size;
    if (::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, &size, &length) != 0) return -1;
    return size / 2;
}

void CopyLine(char* line, const std::string& text) {
    std::snprintf(line, kLineBufferSize, "%s", text.c_str());
}

}  // namespace

int CTWPort::MyReadData(void* buffer, unsigned int* size, unsigned char address, char* cameraAddress,
                        unsigned int liveMode, unsigned int frameNumber, unsigned short attempt) {
    if (*size == 0) return 0;
    const bool live = liveMode != 0;
    const std::uint16_t port = DataPort(live, address, attempt, m_wLiveSelector);
    const int sock = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (sock < 0) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData Listen Socket = %d", sock);
        return -1;
    }
    SocketGuard guard(sock);
    if (!EnlargeReceiveBuffer(sock)) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData setsockopt = %d", -1);
        return -8;
    }
    // Without the privilege to force it, the system's maximum caps the buffer and a fast train
    // overflows it: said once per port, with the setting that lifts the cap.
    const int granted = ReceiveBufferSize(sock);
    if (granted < kDataReceiveBuffer && m_dwCappedBufferTraced.exchange(1) == 0)
        m_Trace.Trace(m_dwTraceChannel, 0,
                      "ERR: ReadData receive buffer %d bytes of %d asked: raise it with sysctl -w "
                      "net.core.rmem_max=%d",
                      granted, kDataReceiveBuffer, kDataReceiveBuffer);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr.s_addr = htonl(m_dwAdapterAddress);  // 0: any
    if (::bind(sock, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData bind = %d", -1);
        return -3;
    }
    char line[kLineBufferSize];
    int firstWait = kRecordedFirstWaitUs;
    if (live) {
        CopyLine(line, LiveRequestLine(address, port));
        const int sent = SendCmdAndGetRsp(line, line, sizeof line, cameraAddress, kNoReply, 1, 0);
        if (sent != 1) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData live frame request = %d", sent);
            return sent > 1 ? -6 : -2;  // a send that failed here is a failed attempt
        }
        m_wLiveSelector &= kLiveSelectorMask;
        m_dwState[kFirstFrameIndex] = kUnknownFirstFrame;
        firstWait = kLiveFirstWaitUs;
    } else {
        if (m_dwState[kFirstFrameIndex] == kUnknownFirstFrame) {
            std::snprintf(line, sizeof line, "#%02X45\r\n", address);
            if (SendCmdAndGetRsp(line, line, sizeof line, cameraAddress, kCommandTimeoutUs, 1, 0) == 1)
                m_dwState[kFirstFrameIndex] = hex2i(line + 7);
        }
        CopyLine(line, DownloadRequestLine(address, m_dwState[kFirstFrameIndex] + frameNumber, port));
        const int sent = SendCmdAndGetRsp(line, line, sizeof line, cameraAddress, kNoReply, 1, 0);
        if (sent != 1) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ReadData Download frame request = %d", sent);
            return sent > 1 ? -7 : -2;
        }
    }
    int imageLength = 0;
    const int capacity = static_cast<int>(std::min<unsigned int>(*size, INT_MAX));
    const int received = ImageFunction(sock, static_cast<char*>(buffer), capacity, imageLength, firstWait);
    if (received == kImageTooLarge) return kReadImageTooLarge;
    if (received == kImageClosing) return kReadClosing;
    if (received != 1) return -2;
    *size = static_cast<unsigned int>(imageLength);
    return 0;
}

int CTWPort::ImageFunction(int socket, char* buffer, int size, int& imageLength, int timeout) {
    unsigned char spill[kSpillSize];
    auto* image = reinterpret_cast<unsigned char*>(buffer);
    const std::size_t capacity = size > 0 ? static_cast<std::size_t>(size) : 0;
    TrainProgress train(capacity);
    std::size_t limit = std::max<std::size_t>(capacity, kMinReceiveSize);
    // Only the camera's datagrams count: others on the data port are dropped unread.
    const in_addr_t camera = ::inet_addr(m_szCameraAddress);
    // The attempt's overall bound: a stream that never completes the image cannot hold it.
    const std::int64_t boundUs = timeout + kAttemptUsPerByte * static_cast<std::int64_t>(capacity);
    const std::int64_t deadline = NowUs() + boundUs;
    int wait = timeout;
    int waits = 0;
    while (!train.Complete()) {
        if (m_dwClosing.load() != 0) return kImageClosing;
        if (NowUs() >= deadline) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction no image within %d ms after %d segments",
                          static_cast<int>(boundUs / 1000), train.Datagrams());
            return -2;
        }
        iovec parts[2];
        parts[0].iov_base = image + train.Position();
        parts[0].iov_len = std::min(train.Remaining(), limit);
        parts[1].iov_base = spill;
        parts[1].iov_len = std::min(kSpillSize, limit - parts[0].iov_len);
        sockaddr_in sender{};
        msghdr message{};
        message.msg_name = &sender;
        message.msg_namelen = sizeof sender;
        message.msg_iov = parts;
        message.msg_iovlen = 2;
        // Wait only when nothing is queued: one system call per datagram while the train flows.
        ssize_t received = ::recvmsg(socket, &message, MSG_DONTWAIT);
        if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) && train.Datagrams() > 0) {
            const timespec gather{0, kGatherNs};
            ::nanosleep(&gather, nullptr);
            received = ::recvmsg(socket, &message, MSG_DONTWAIT);
        }
        if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            ++waits;
            switch (WaitReadable(socket, wait, deadline, m_dwClosing)) {
                case Wait::kFailed:
                    m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction socket = %d", -1);
                    return -1;
                case Wait::kTimeout:
                    m_Trace.Trace(m_dwTraceChannel, 0,
                                  "ERR: ImageFunction Select Timeout (%d) = %d after %d segments", wait, 0,
                                  train.Datagrams());
                    return -2;
                case Wait::kClosing:
                    return kImageClosing;
                case Wait::kDeadline:
                    continue;  // traced at the top of the loop
                case Wait::kReadable:
                    break;
            }
            message.msg_namelen = sizeof sender;
            received = ::recvmsg(socket, &message, 0);
        }
        if (received >= 0 && sender.sin_addr.s_addr != camera) continue;
        wait = kNextWaitUs;
        if (received <= 0) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction recvfrom = %d",
                          static_cast<int>(received));
            return -1;
        }
        if ((message.msg_flags & MSG_TRUNC) != 0) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction datagram longer than %d",
                          static_cast<int>(limit));
            return kBadTrain;
        }
        const DatagramView view{image + train.Position(), parts[0].iov_len, spill,
                                static_cast<std::size_t>(received)};
        const TrainProgress::Step step = train.Accept(view, m_abyBorder);
        limit = std::max<std::size_t>(train.Hint(), kMinReceiveSize);
        if (step == TrainProgress::Step::kBadDatagram) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction bad datagram of %d bytes",
                          static_cast<int>(received));
            return kBadTrain;
        }
        if (step == TrainProgress::Step::kTooLarge) {
            if (train.OutOfOrder()) break;  // a disturbed train, not a large image: retry
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction image larger than buffer %d", size);
            return kImageTooLarge;
        }
    }
    if (train.OutOfOrder()) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction Out Of Order %d %d %d", train.Datagrams(),
                      waits, static_cast<int>(train.Bytes()));
        return -3;
    }
    if (train.ImageLength() != train.Position()) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: ImageFunction length %u announced, %u received",
                      train.ImageLength(), static_cast<unsigned int>(train.Position()));
        return kBadTrain;
    }
    imageLength = static_cast<int>(train.ImageLength());
    return 1;
}
