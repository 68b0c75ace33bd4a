// Broadcast enumeration: one discovery datagram from every usable adapter, and a worker thread
// that collects the answers into enumeration items.
#ifndef ZP_NET_ENUMERATION_H
#define ZP_NET_ENUMERATION_H

#include <chrono>
#include <cstdint>

#include "zpport/NetworkAdapters.h"
#include "zpport/XTrace.h"
#include "zpport/ZpPortTW.h"

namespace zpnet {

constexpr int kMaxEnumAdapters = 64;
constexpr uint64_t kEnumWaitMs = 1500;      // the worker listens this long
// The caller waits this much past the listening window for the worker to end on its own, so that it
// is cancelled only when it is stuck.
constexpr std::chrono::milliseconds kEnumWorkerMargin{100};
constexpr long kEnumQuietUs = 500000;       // a quiet half-second ends the worker
constexpr int kEnumProtocolAscii = 2;       // 0 and 1: binary request and answers

// Where the enumeration traces ("ENU:" lines); no trace when trace is null.
struct EnumTrace {
    CXTrace* trace = nullptr;
    unsigned int channel = 0;
};

// Shared between GEEnumerate and its worker. The worker alone writes items and found while the
// caller waits; found never exceeds capacity.
struct EnumContext {
    int socketCount = 0;
    int sockets[kMaxEnumAdapters] = {};
    const _NET_AD_DESCR* adapters[kMaxEnumAdapters] = {};
    int protocol = kEnumProtocolAscii;
    unsigned int found = 0;
    unsigned int capacity = 0;
    _ZP_ENUMITEMEX* items = nullptr;
    EnumTrace trace;
    std::chrono::steady_clock::time_point deadline;  // the worker's own end on a busy network
};

// The worker: serves every socket of the context until a quiet half-second or its deadline.
void* EnumerateThread(void* context);

}  // namespace zpnet

// Broadcasts the discovery datagram of the protocol to the given port from every adapter with an
// address (only the one whose address is adapterFilter, unless it is 0 or 0xFFFFFFFF) and
// collects the answers for at most 1500 ms. *count is the capacity of items on entry and the
// number of cameras found on return; it is left as it was when the adapter list is empty.
void GEEnumerate(_ZP_ENUMITEMEX* items, unsigned int* count, int protocol, unsigned int port,
                 unsigned int adapterFilter, zpnet::EnumTrace trace = {});

// One extra discovery datagram "54\r\n" to 255.255.255.255, port 1027; errors are ignored.
void Broadcast();

#endif  // ZP_NET_ENUMERATION_H
