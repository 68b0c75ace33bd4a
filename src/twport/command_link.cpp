// The command link: one ASCII line per UDP exchange, serialised per port by the command lock.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr int kDescriptionSize = 128;

// Waits for the socket to become readable: > 0 readable, 0 time-out, -1 failure.
int WaitReadable(int socket, long timeoutUs) {
    pollfd entry{socket, POLLIN, 0};
    timespec limit{timeoutUs / 1000000, (timeoutUs % 1000000) * 1000};
    return ::ppoll(&entry, 1, &limit, nullptr);
}

// Command code of a line: its first two characters when it is shorter than 5 (no address).
unsigned int CommandCodeOf(char* line, size_t length) {
    if (length < 2) return 0;
    return hex2c(length < 5 ? line : line + 3) & 0xFFu;
}

}  // namespace

unsigned int CTWPort::KALock(unsigned int timeout) {
    const OS_SEMAPHORE lock = m_hKALock.load(std::memory_order_acquire);
    if (lock == nullptr) return 0;
    const uint64_t limit = timeout == 0xFFFFFFFFu ? OS_INFINITE : timeout;
    return static_cast<unsigned int>(OS_SemWait(lock, limit));
}

void CTWPort::KAUnLock() {
    const OS_SEMAPHORE lock = m_hKALock.load(std::memory_order_acquire);
    if (lock != nullptr) OS_SemRelease(lock);
}

int CTWPort::SendCmdAndGetRsp(char* command, char* reply, int replySize, char* cameraAddress, int timeout,
                              int attempts, int force) {
    if (m_dwLinkLost.load() != 0 && force == 0) {
        m_nErrorCode = kLinkLostError;
        return -1;
    }
    // The lock is made at the end of the open, possibly while the listener is already in here:
    // release exactly the lock that was taken, never one that appeared meanwhile.
    const OS_SEMAPHORE held = m_hKALock.load(std::memory_order_acquire);
    OS_SemWait(held, OS_INFINITE);
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_addr.s_addr = inet_addr(cameraAddress);
    destination.sin_port = htons(kCommandPort);
    const int sock = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (sock < 0) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: Socket = %d", 0);
        OS_SemRelease(held);
        return -1;
    }
    const size_t length = std::strlen(command);
    const bool logging = m_Trace.IsLogEnabled() != 0;
    char description[kDescriptionSize];
    char printable[kLineBufferSize];
    if (logging) {
        m_Trace.GetTWCommandDescr(static_cast<int>(CommandCodeOf(command, length)), description);
        m_Trace.GetTWCommandString(command, printable);
    }
    const auto* to = reinterpret_cast<const sockaddr*>(&destination);
    int result = 0;
    if (timeout == kNoReply) {
        if (logging)
            m_Trace.Trace(m_dwTraceChannel, 0, "CMD: %s(%s) - No required rsp", printable, description);
        const ssize_t sent = ::sendto(sock, command, length, 0, to, sizeof destination);
        if (sent < static_cast<ssize_t>(length)) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: sendto = %d", 0);
            result = -4;
        } else {
            result = 1;
        }
        ::close(sock);
        OS_SemRelease(held);
        return result;
    }
    const long slice = timeout / 5;  // one attempt waits a fifth of the time-out, by design
    int counter = attempts;
    int ready = 0;
    while (ready == 0) {
        if (counter <= 0) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: time-out = %d", 0);
            result = -2;
            break;
        }
        if (logging) m_Trace.Trace(m_dwTraceChannel, 0, "CMD: %s(%s)", printable, description);
        const ssize_t sent = ::sendto(sock, command, length, 0, to, sizeof destination);
        if (sent < static_cast<ssize_t>(length)) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: sento = %d", 0);
            result = -4;
            break;
        }
        ready = WaitReadable(sock, slice);
        if (ready < 0) {
            m_Trace.Trace(m_dwTraceChannel, 0, "ERR: select = %d", 0);
            result = -1;
            break;
        }
        --counter;
    }
    if (ready > 0) {
        result = ReadReply(sock, reply, replySize);
    }
    ::close(sock);
    OS_SemRelease(held);
    return result;
}

// Reads the one datagram that answers the command; 1 when accepted, else the result code or -1.
int CTWPort::ReadReply(int sock, char* reply, int replySize) {
    std::memset(reply, 0, static_cast<size_t>(replySize));
    // One byte stays zero so that the reply is always a terminated text; a longer datagram is cut.
    const size_t capacity =
        replySize > 1 ? static_cast<size_t>(replySize) - 1 : static_cast<size_t>(replySize);
    const ssize_t received = ::recvfrom(sock, reply, capacity, 0, nullptr, nullptr);
    if (received == 0 || received == -1) {
        m_Trace.Trace(m_dwTraceChannel, 0, "ERR: recvfrom = %d", 0);
        return -1;
    }
    if (m_Trace.IsLogEnabled() != 0) {
        char printable[kLineBufferSize];
        m_Trace.GetTWCommandString(reply, printable);
        m_Trace.Trace(m_dwTraceChannel, 0, "RSP: %s", printable);
    }
    if (replySize < 5) return 0;
    const unsigned int code = hex2c(reply + 3) & 0xFFu;
    return code == kResultAccepted ? 1 : static_cast<int>(code);
}

int CTWPort::Command(char* buffer, int timeout, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int written = std::vsnprintf(buffer, kLineBufferSize - 2, format, args);
    va_end(args);
    size_t length = written < 0 ? 0 : static_cast<size_t>(written);
    if (length > static_cast<size_t>(kLineBufferSize) - 3) length = kLineBufferSize - 3;
    std::memcpy(buffer + length, "\r\n", 3);
    return SendLine(buffer, timeout);
}

int CTWPort::SendLine(char* buffer, int timeout) {
    return SendCmdAndGetRsp(buffer, buffer, kLineBufferSize, m_szCameraAddress, timeout, 1, 0);
}
