// The announcement listener: one thread per open port that reads the camera's announcements,
// probes a silent camera with a keep-alive and reports loss and return of the link.
#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>

#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr uint32_t kSilenceMs = 9999;           // a keep-alive goes out after more than this
constexpr unsigned int kFailuresTolerated = 2;  // the failure after the third in a row reports
constexpr unsigned int kEventState = 0xA4;
constexpr size_t kCallbackTextPos = 9;
constexpr ssize_t kMinAnnouncement = 9;  // "#", address, field, event code and two digits of data

int WaitReadable(int socket, long timeoutUs) {
    pollfd entry{socket, POLLIN, 0};
    timespec limit{timeoutUs / 1000000, (timeoutUs % 1000000) * 1000};
    return ::ppoll(&entry, 1, &limit, nullptr);
}

// Closes the socket if nobody has done so yet: whoever takes the number closes it, once.
void CloseOnce(std::atomic<int>& socket) {
    const int number = socket.exchange(0);
    if (number != 0) ::close(number);
}

}  // namespace

bool CTWPort::StartListener() {
    // Close-on-exec, as every descriptor of the library: a program the host starts must not keep
    // the port's fixed ports bound.
    const int sock = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) return false;
    const int one = 1;
    if (::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one) != 0) {
        ::close(sock);
        return false;
    }
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    local.sin_port = htons(kAnnouncementPort);
    if (::bind(sock, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
        ::close(sock);
        return false;
    }
    ip_mreq membership{};
    membership.imr_multiaddr.s_addr = inet_addr(kAnnouncementGroup);
    membership.imr_interface.s_addr = htonl(m_dwAdapterAddress);
    ::setsockopt(sock, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership);  // result ignored
    // A second open of the same object replaces a listener that is still running.
    StopListener();
    m_nAnnSocket.store(sock);
    m_dwStopListener.store(0);
    m_dwLinkLost.store(0);
    m_hListener = OS_ThreadCreate(&CTWPort::AnnouncementsThread, this, 0);
    if (m_hListener == nullptr) {
        CloseOnce(m_nAnnSocket);
        return false;
    }
    return true;
}

void CTWPort::StopListener() {
    m_dwStopListener.store(1);
    if (m_hListener != nullptr) {
        // The thread notices the flag within one wait slice (or after a keep-alive in flight).
        OS_ThreadWait(m_hListener, OS_INFINITE);
        OS_ThreadDestroy(m_hListener);
        m_hListener = nullptr;
    }
    CloseOnce(m_nAnnSocket);
}

void* CTWPort::AnnouncementsThread(void* port) {
    auto* self = static_cast<CTWPort*>(port);
    self->ListenLoop(self->m_nAnnSocket.load());
    return nullptr;
}

void CTWPort::ListenLoop(int sock) {
    char buffer[kLineBufferSize];
    in_addr camera{};
    ::inet_aton(m_szCameraAddress, &camera);  // unreadable: 0.0.0.0, which sends nothing
    uint32_t lastActivity = OS_GetTickCount();
    unsigned int failures = 0;
    for (;;) {
        std::memset(buffer, 0, sizeof buffer);
        const int ready = WaitReadable(sock, kListenerSliceUs);
        if (ready < 0 || m_dwStopListener.load() != 0) break;
        const int taken = ready > 0 ? TakeAnnouncement(sock, buffer, camera.s_addr) : 0;
        if (taken < 0) break;
        if (taken > 0) {
            lastActivity = OS_GetTickCount();
            failures = 0;
        } else if (static_cast<uint32_t>(OS_GetTickCount() - lastActivity) > kSilenceMs) {
            lastActivity = OS_GetTickCount();
            KeepAlive(buffer, failures);
        }
    }
    // The thread owns the socket once it runs; CloseOnce makes sure the number is closed once only.
    CloseOnce(m_nAnnSocket);
}

// Reads one datagram: 1 when it was an announcement of this port's camera (its state and the callback
// taken), 0 when it was ignored, -1 when the socket failed.
int CTWPort::TakeAnnouncement(int sock, char* buffer, unsigned int cameraAddress) {
    sockaddr_in sender{};
    socklen_t senderSize = sizeof sender;
    // One byte stays zero: the text is terminated whatever the datagram's length.
    const ssize_t received =
        ::recvfrom(sock, buffer, kLineBufferSize - 1, 0, reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (received < 0) return errno == EINTR || errno == EAGAIN ? 0 : -1;
    char senderText[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, &sender.sin_addr, senderText, sizeof senderText);
    // Deliberately ignored: empty and short datagrams, and other cameras' announcements on the shared
    // group, neither end the listener nor touch this port's state, silence timer or callback.
    if (received < kMinAnnouncement || sender.sin_addr.s_addr != cameraAddress) {
        if (m_Trace.IsLogEnabled() != 0) {
            m_Trace.Trace(m_dwTraceChannel, 1, "ANN: Ignored %d bytes from %s", static_cast<int>(received),
                          senderText);
        }
        return 0;
    }
    if (m_Trace.IsLogEnabled() != 0) {
        char printable[kLineBufferSize];
        m_Trace.Trace(m_dwTraceChannel, 1, "ANN: Received announcement from %s on socket %d", senderText,
                      sock);
        m_Trace.GetTWCommandString(buffer, printable);
        m_Trace.Trace(m_dwTraceChannel, 1, "ANN: %s", printable);
    }
    if ((hex2c(buffer + 5) & 0xFFu) == kEventState) {
        m_byCameraState.store(static_cast<unsigned char>(hex2c(buffer + 7)));
    }
    Announce(buffer, senderText);
    return 1;
}

void CTWPort::Announce(char* buffer, const char* sender) {
    void* context = nullptr;
    const ZP_ANNOUNCEMENT_CALLBACK callback = AnnouncementTarget(&context);
    if (callback == nullptr) return;
    std::snprintf(buffer + kCallbackTextPos, kLineBufferSize - kCallbackTextPos, "_[%s]", sender);
    callback(context, buffer);
}

void CTWPort::KeepAlive(char* buffer, unsigned int& failures) {
    std::snprintf(buffer, kLineBufferSize, "#%02X40\r\n", m_byCameraAddress.load());
    const int result =
        SendCmdAndGetRsp(buffer, buffer, kLineBufferSize, m_szCameraAddress, kAddressTimeoutUs, 1, 1);
    void* context = nullptr;
    const ZP_ANNOUNCEMENT_CALLBACK callback = AnnouncementTarget(&context);
    char text[64];
    if (result == 1) {
        failures = 0;
        if (m_dwLinkLost.load() != 0) {
            m_byCameraState.store(static_cast<unsigned char>(hex2c(buffer + 7)));
            if (callback != nullptr) {
                std::snprintf(text, sizeof text, "#%02X01A800_[%s]", m_byCameraAddress.load(),
                              m_szCameraAddress);
                callback(context, text);
            }
            m_dwLinkLost.store(0);
        }
    } else if (m_dwLinkLost.load() != 0) {
        failures = 0;
    } else if (failures > kFailuresTolerated) {
        m_byCameraState.store(kStateLinkLost);
        if (callback != nullptr) {
            std::snprintf(text, sizeof text, "#%02X01A411_[%s]", m_byCameraAddress.load(), m_szCameraAddress);
            callback(context, text);
        }
        m_dwLinkLost.store(1);
        failures = 0;
    } else {
        ++failures;
    }
}
