// One command round trip against the simulated camera on loopback: the exported status call,
// the port's command link alone, and, as the floor, bare UDP exchanges of the same line with
// the same simulator (one socket kept open, and one socket per request as the port does).
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>

#include "alloc_counter.h"
#include "sim/sim_process.h"
#include "zpport/TWPort.h"
#include "zpport/ZpPortTW.h"

namespace {

constexpr const char* kCameraIp = "127.0.0.1";
constexpr const char* kStatusLine = "#0A40\r\n";  // what the port sends for the camera state
constexpr int kReplyBufferSize = 1500;

zptest::SimProcess& Simulator() {
    static zptest::SimProcess sim({"--ip", kCameraIp, "--address", "0x0A", "--announce-to", kCameraIp});
    return sim;
}

// An open port on the simulator for the duration of one benchmark.
class OpenPort {
public:
    OpenPort() {
        _ZP_ENUMITEMEX item{};
        item.portId = 0x2001;
        std::snprintf(item.ipText, sizeof item.ipText, "%s", kCameraIp);
        item.adapterIp = ntohl(inet_addr(kCameraIp));
        if (!Simulator().Ready() || PoOpen(&item, &m_handle) != 0) m_handle = nullptr;
    }
    ~OpenPort() {
        if (m_handle != nullptr) PoClose(m_handle);
    }
    ZP_PORT_HANDLE Handle() const { return m_handle; }
    CTWPort* Port() const { return static_cast<CTWPort*>(static_cast<CCamPort*>(m_handle)); }

private:
    ZP_PORT_HANDLE m_handle = nullptr;
};

sockaddr_in CameraCommandAddress() {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(1027);
    to.sin_addr.s_addr = inet_addr(kCameraIp);
    return to;
}

bool Exchange(int sock, const sockaddr_in& to, char* reply) {
    const size_t length = std::strlen(kStatusLine);
    if (::sendto(sock, kStatusLine, length, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) !=
        static_cast<ssize_t>(length)) {
        return false;
    }
    pollfd entry{sock, POLLIN, 0};
    if (::poll(&entry, 1, 1000) != 1) return false;
    return ::recvfrom(sock, reply, kReplyBufferSize, 0, nullptr, nullptr) > 0;
}

void CountAllocations(benchmark::State& state, std::uint64_t before) {
    state.counters["allocs/op"] = benchmark::Counter(
        static_cast<double>(zpbench::AllocationCount() - before), benchmark::Counter::kAvgIterations);
}

// The exported call. GetStatus2 pauses 1 ms after every read by design (it paces polling hosts),
// so this figure is the round trip plus that pause.
void BM_PoGetStatus(benchmark::State& state) {
    OpenPort port;
    if (port.Handle() == nullptr) return state.SkipWithError("cannot open the simulated camera");
    unsigned int status = 0;
    const std::uint64_t before = zpbench::AllocationCount();
    for (auto _ : state) {
        if (PoGetStatus(port.Handle(), 0, &status) != 0) return state.SkipWithError("PoGetStatus failed");
        benchmark::DoNotOptimize(status);
    }
    CountAllocations(state, before);
}
BENCHMARK(BM_PoGetStatus)->UseRealTime();

// The same line through the port's command link: socket, send, wait, read, close under the lock.
void BM_CommandLink(benchmark::State& state) {
    OpenPort port;
    if (port.Handle() == nullptr) return state.SkipWithError("cannot open the simulated camera");
    char line[kReplyBufferSize];
    char address[16];
    std::snprintf(address, sizeof address, "%s", kCameraIp);
    const std::uint64_t before = zpbench::AllocationCount();
    for (auto _ : state) {
        std::memcpy(line, kStatusLine, std::strlen(kStatusLine) + 1);
        if (port.Port()->SendCmdAndGetRsp(line, line, sizeof line, address, 2000000, 1, 0) != 1) {
            return state.SkipWithError("command failed");
        }
    }
    CountAllocations(state, before);
}
BENCHMARK(BM_CommandLink)->UseRealTime();

// Floor: the same request and reply with one socket kept open.
void BM_BareUdpKeptSocket(benchmark::State& state) {
    if (!Simulator().Ready()) return state.SkipWithError("simulator not running");
    const sockaddr_in to = CameraCommandAddress();
    const int sock = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    char reply[kReplyBufferSize];
    for (auto _ : state) {
        if (!Exchange(sock, to, reply)) {
            state.SkipWithError("no reply");
            break;
        }
    }
    ::close(sock);
}
BENCHMARK(BM_BareUdpKeptSocket)->UseRealTime();

// Floor of the port's design: a fresh socket for every request.
void BM_BareUdpSocketPerRequest(benchmark::State& state) {
    if (!Simulator().Ready()) return state.SkipWithError("simulator not running");
    const sockaddr_in to = CameraCommandAddress();
    char reply[kReplyBufferSize];
    for (auto _ : state) {
        const int sock = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        const bool answered = Exchange(sock, to, reply);
        ::close(sock);
        if (!answered) {
            state.SkipWithError("no reply");
            break;
        }
    }
}
BENCHMARK(BM_BareUdpSocketPerRequest)->UseRealTime();

}  // namespace
