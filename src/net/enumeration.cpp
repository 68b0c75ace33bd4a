// GEEnumerate: one UDP socket per usable adapter, the discovery datagram from each, and the
// worker that collects the answers within 1500 ms.
#include "net/enumeration.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

#include "net/discovery_answers.h"
#include "zpport/AddressText.h"
#include "zpport/OSLayer.h"

namespace {

using zpnet::EnumContext;
using zpnet::EnumTrace;

constexpr int kRebindAttempts = 8;
constexpr unsigned int kAllAdapters = 0xFFFFFFFFu;

sockaddr_in Ipv4(uint32_t hostOrder, unsigned int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(hostOrder);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

// Ports a binary camera treats as its own, never used as the source of the binary request.
bool IsInvalidLocalPort(int port) { return port == 1028 || port == 1029; }

int BoundSocket(const sockaddr_in& local) {
    const int sock = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (sock < 0) return -1;
    if (::bind(sock, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        ::close(sock);
        return -1;
    }
    return sock;
}

int LocalPort(int sock) {
    sockaddr_in bound{};
    socklen_t size = sizeof bound;
    if (::getsockname(sock, reinterpret_cast<sockaddr*>(&bound), &size) != 0) return -1;
    return ntohs(bound.sin_port);
}

// A socket for the binary request: rebound while the system assigns 1028 or 1029; after
// kRebindAttempts a fresh socket is used unbound. -1 on failure.
int BinarySocket(const sockaddr_in& local, const EnumTrace& trace) {
    int sock = BoundSocket(local);
    for (int attempt = 0; sock >= 0; ++attempt) {
        const int port = LocalPort(sock);
        if (port < 0) break;
        if (trace.trace != nullptr) trace.trace->Trace(trace.channel, 0, "ENU: Assigned local port %d", port);
        if (!IsInvalidLocalPort(port)) return sock;
        if (trace.trace != nullptr)
            trace.trace->Trace(trace.channel, 0, "ENU: Assigned invalid local port %d", port);
        ::close(sock);
        if (attempt + 1 == kRebindAttempts) return ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
        sock = BoundSocket(local);
    }
    if (sock >= 0) ::close(sock);
    return -1;
}

bool SendBroadcast(int sock, const void* data, size_t size, const sockaddr_in& destination) {
    const int on = 1;
    if (::setsockopt(sock, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0) return false;
    const ssize_t sent =
        ::sendto(sock, data, size, 0, reinterpret_cast<const sockaddr*>(&destination), sizeof destination);
    return sent == static_cast<ssize_t>(size);
}

// Opens the adapter's socket and sends the protocol's request from it; -1 on any failure.
int SendDiscovery(const _NET_AD_DESCR& adapter, int protocol, unsigned int port, const EnumTrace& trace) {
    const sockaddr_in local = Ipv4(adapter.ip, 0);
    int sock = -1;
    bool sent = false;
    if (protocol < zpnet::kEnumProtocolAscii) {
        unsigned int mask = 0;
        StringAddressToLongSquare(adapter.maskText, mask);
        sock = BinarySocket(local, trace);
        unsigned char request[zpnet::kBinaryRequestSize];
        zpnet::BuildBinaryRequest(request);
        sent = sock >= 0 && SendBroadcast(sock, request, sizeof request, Ipv4((adapter.ip & mask) | ~mask, port));
    } else {
        sock = BoundSocket(local);
        sent = sock >= 0 && SendBroadcast(sock, zpnet::kAsciiRequest, zpnet::kAsciiRequestSize,
                                          Ipv4(INADDR_BROADCAST, port));
    }
    if (!sent && sock >= 0) {
        ::close(sock);
        sock = -1;
    }
    return sock;
}

void CloseSockets(EnumContext& context) {
    for (int i = 0; i < context.socketCount; ++i) ::close(context.sockets[i]);
    context.socketCount = 0;
}

void CollectAnswers(EnumContext& context) {
    context.deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(zpnet::kEnumWaitMs);
    OS_THREAD worker = OS_ThreadCreate(zpnet::EnumerateThread, &context, 0);
    if (worker == nullptr) return;
    // Deliberately longer than the bound: the worker listens the whole 1500 ms and ends on its own
    // within the margin; one still running after it is stuck and is cancelled at its next wait.
    OS_ThreadWait(worker, zpnet::kEnumWaitMs + zpnet::kEnumWorkerMargin.count());
    OS_ThreadDestroy(worker);
}

}  // namespace

void GEEnumerate(_ZP_ENUMITEMEX* items, unsigned int* count, int protocol, unsigned int port,
                 unsigned int adapterFilter, EnumTrace trace) {
    if (count == nullptr) return;
    std::vector<_NET_AD_DESCR> adapters(zpnet::kMaxEnumAdapters);
    int listed = zpnet::kMaxEnumAdapters;
    if (EnumerateNetworkAdapters(adapters.data(), &listed) == 0) return;
    EnumContext context;
    context.protocol = protocol;
    context.items = items;
    context.capacity = items == nullptr ? 0 : *count;
    context.trace = trace;
    const unsigned int filter = adapterFilter == 0 ? kAllAdapters : adapterFilter;
    for (int i = 0; i < listed; ++i) {
        const _NET_AD_DESCR& adapter = adapters[static_cast<size_t>(i)];
        if (adapter.ip == 0 || (filter != kAllAdapters && filter != adapter.ip)) continue;
        const int sock = SendDiscovery(adapter, protocol, port, trace);
        if (sock < 0) {
            CloseSockets(context);
            *count = 0;
            return;
        }
        context.sockets[context.socketCount] = sock;
        context.adapters[context.socketCount] = &adapter;
        ++context.socketCount;
    }
    if (context.socketCount > 0) CollectAnswers(context);
    CloseSockets(context);
    *count = context.found;
}
