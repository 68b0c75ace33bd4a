// EnumerateThread: the worker of GEEnumerate. It waits on every adapter's socket at once and turns
// each new sender's answer into one enumeration item, until a quiet half-second or the caller's bound.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>

#include <chrono>
#include <cstring>

#include "net/discovery_answers.h"
#include "net/enumeration.h"

namespace zpnet {

namespace {

// Waits for datagrams on every socket, a quiet half-second at most and never past the deadline.
// Cancellation is allowed only inside this wait, so a cancelled worker never leaves a trace file
// open or an item half written.
int WaitForAnswers(const EnumContext& context, pollfd (&entries)[kMaxEnumAdapters]) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
        context.deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return 0;
    const long waitUs = left.count() < kEnumQuietUs ? static_cast<long>(left.count()) : kEnumQuietUs;
    for (int i = 0; i < context.socketCount; ++i) entries[i] = pollfd{context.sockets[i], POLLIN, 0};
    const timespec quiet{0, waitUs * 1000};
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    const int ready = ::ppoll(entries, static_cast<nfds_t>(context.socketCount), &quiet, nullptr);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    return ready;
}

bool IsKnownSender(const EnumContext& context, const char* sender) {
    for (unsigned int i = 0; i < context.found; ++i) {
        if (std::strcmp(context.items[i].ipText, sender) == 0) return true;
    }
    return false;
}

void AddAsciiAnswers(EnumContext& context, const char* datagram, size_t size, const sockaddr_in& from,
                     const char* sender, const _NET_AD_DESCR& adapter) {
    for (size_t start = 0; start < size;) {
        const char* end = static_cast<const char*>(std::memchr(datagram + start, '\n', size - start));
        const size_t length = end == nullptr ? size - start : static_cast<size_t>(end - datagram) - start;
        unsigned char address = 0;
        if (ReadAsciiAnswerLine(datagram + start, length, address) && !IsKnownSender(context, sender) &&
            context.found < context.capacity) {
            _ZP_ENUMITEMEX& item = context.items[context.found];
            std::memset(&item, 0, sizeof item);
            item.cmdAddress = address;
            FillAddressFields(item, ntohl(from.sin_addr.s_addr), sender, adapter);
            ++context.found;
        }
        start += length + 1;
    }
}

void AddBinaryAnswer(EnumContext& context, const unsigned char* answer, const sockaddr_in& from,
                     const char* sender, const _NET_AD_DESCR& adapter) {
    if (IsKnownSender(context, sender) || context.found >= context.capacity) return;
    _ZP_ENUMITEMEX& item = context.items[context.found];
    if (!ReadBinaryAnswer(answer, context.protocol, item)) return;
    FillAddressFields(item, ntohl(from.sin_addr.s_addr), sender, adapter);
    ++context.found;
}

// Receives one datagram from socket i; false when the receive failed.
bool ReceiveAnswer(EnumContext& context, int i, unsigned char (&buffer)[kAnswerBufferSize + 1]) {
    std::memset(buffer, 0, kClearedAnswerBytes);
    sockaddr_in from{};
    socklen_t fromSize = sizeof from;
    const ssize_t size = ::recvfrom(context.sockets[i], buffer, kAnswerBufferSize, 0,
                                    reinterpret_cast<sockaddr*>(&from), &fromSize);
    if (size == 0 || size == -1) return false;
    buffer[size] = 0;
    char sender[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &from.sin_addr, sender, sizeof sender);
    if (context.trace.trace != nullptr)
        context.trace.trace->Trace(context.trace.channel, 0, "ENU: Received datagram from %s", sender);
    const _NET_AD_DESCR& adapter = *context.adapters[i];
    if (context.protocol >= kEnumProtocolAscii) {
        AddAsciiAnswers(context, reinterpret_cast<const char*>(buffer), static_cast<size_t>(size), from,
                        sender, adapter);
    } else {
        AddBinaryAnswer(context, buffer, from, sender, adapter);
    }
    return true;
}

}  // namespace

void* EnumerateThread(void* argument) {
    auto* context = static_cast<EnumContext*>(argument);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, nullptr);
    pollfd entries[kMaxEnumAdapters];
    unsigned char buffer[kAnswerBufferSize + 1];
    while (WaitForAnswers(*context, entries) > 0) {
        for (int i = 0; i < context->socketCount; ++i) {
            if (entries[i].revents == 0) continue;
            if (!ReceiveAnswer(*context, i, buffer)) break;
        }
    }
    return nullptr;
}

}  // namespace zpnet
