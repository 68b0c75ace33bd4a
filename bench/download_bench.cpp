// Download of one recorded 1504 x 1128 frame from the simulator, over loopback and over a veth
// link into a camera namespace (MTU 9000, 8000-byte segments): raw 8-bit and colour JPEG through
// the exported PoReadData, and the floors measured in the same run: a bare UDP receiver taking the
// same raw segment train straight into a buffer, and libjpeg-turbo decoding the same JPEG stream
// alone. Host CPU (user + system of this process, listener thread included) per GB received is
// reported for the raw download. The raw download also runs with and without the privilege to
// force the data socket's receive buffer, to show what the system's cap costs in retries and rate.
// Runs only in a private network namespace (bench_main makes one when run as root).
#include <arpa/inet.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <cstdio>  // before jpeglib.h, which uses FILE
#include <jpeglib.h>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "private_namespace.h"
#include "sim/sim_process.h"
#include "support/net_fixture.h"
#include "zpport/CameraSettings.h"
#include "zpport/ZpPortTW.h"

namespace {

constexpr unsigned int kWidth = 1504, kHeight = 1128;
constexpr unsigned int kRawSize = kWidth * kHeight;
constexpr unsigned int kRgbSize = kRawSize * 3;
constexpr unsigned int kFullWidth = 3008, kFullHeight = 2256;  // fills the port's receive buffer exactly
constexpr unsigned int kFrame = 1;           // the same recorded frame every time
constexpr unsigned int kReadUncompressed = 1, kReadJpegStream = 4;
constexpr int kSocketBuffer = 6786048;       // the library's data socket asks for the same

// A simulated colour camera holding 100 frames of 1504 x 1128, reached at cameraIp from hostIp.
struct Link {
    std::string cameraIp;
    std::string hostIp;
    std::unique_ptr<zptest::SimProcess> sim;
    std::unique_ptr<zptest::NetFixture> net;
    std::string error;
};

Link* MakeLink(int kind) {
    auto link = std::make_unique<Link>();
    if (!InPrivateNamespace()) {
        link->error = "needs a private network namespace: run as root";
    } else if (kind == 0) {
        link->cameraIp = link->hostIp = "127.0.0.1";
        link->sim = std::make_unique<zptest::SimProcess>(std::vector<std::string>{
            "--ip", "127.0.0.1", "--address", "0x0A", "--last-frame", "99", "--image", "colour on"});
        if (!link->sim->Ready()) link->error = "the simulator did not start";
    } else {
        link->cameraIp = "10.78.0.10";
        link->hostIp = "10.78.0.1";
        zptest::CameraLan lan;
        lan.adapters = {zptest::HostAdapter{"zpdl0", "02:00:00:00:78:01", 9000, "10.78.0.1/24", ""}};
        lan.cameraIps = {link->cameraIp};
        lan.firstAddress = 0x0A;
        lan.cameraKeys = "last-frame=99\n";
        lan.simArgs = {"--image", "colour on"};
        link->net = std::make_unique<zptest::NetFixture>(std::vector<zptest::CameraLan>{lan});
        if (!link->net->Ready()) link->error = link->net->Error();
    }
    return link.release();
}

Link& LinkOf(int kind) {
    // Made in this order before any link exists; the processes live as long as the run.
    static Link* links[2] = {MakeLink(0), MakeLink(1)};
    return *links[kind];
}

// The camera opened and set to 1504 x 1128 (or the given size) with 8000-byte segments.
class OpenCamera {
public:
    explicit OpenCamera(const Link& link, unsigned int width = kWidth, unsigned int height = kHeight) {
        _ZP_ENUMITEMEX item{};
        item.portId = 0x2001;
        std::snprintf(item.ipText, sizeof item.ipText, "%s", link.cameraIp.c_str());
        item.adapterIp = ntohl(inet_addr(link.hostIp.c_str()));
        if (PoOpen(&item, &m_handle) != 0) {
            m_handle = nullptr;
            return;
        }
        _CAMERA_SETTINGS settings{};
        settings.roiWidth = width;
        settings.roiHeight = height;
        settings.netPerform = 1000;
        settings.netSpeed = 2;
        if (PoWriteData(m_handle, 0, &settings, sizeof settings) != 0) Close();
    }
    ~OpenCamera() { Close(); }
    ZP_PORT_HANDLE Handle() const { return m_handle; }

private:
    void Close() {
        if (m_handle != nullptr) PoClose(m_handle);
        m_handle = nullptr;
    }
    ZP_PORT_HANDLE m_handle = nullptr;
};

bool Read(ZP_PORT_HANDLE port, std::vector<unsigned char>& buffer, unsigned int flags) {
    const unsigned int words[3] = {0, kFrame, flags};
    std::memcpy(buffer.data(), words, sizeof words);
    return PoReadData(port, buffer.data(), static_cast<unsigned int>(buffer.size())) == 0;
}

double CpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

bool Prepared(benchmark::State& state, const Link& link, const OpenCamera& camera) {
    if (!link.error.empty()) {
        state.SkipWithError(link.error.c_str());
        return false;
    }
    if (camera.Handle() == nullptr) {
        state.SkipWithError("cannot open and set up the camera");
        return false;
    }
    return true;
}

void Label(benchmark::State& state, std::size_t bytesPerFrame) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytesPerFrame));
    state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.SetLabel(state.range(0) == 0 ? "loopback" : "veth");
}

void BM_RawDownload(benchmark::State& state) {
    const Link& link = LinkOf(static_cast<int>(state.range(0)));
    OpenCamera camera(link);
    if (!Prepared(state, link, camera)) return;
    std::vector<unsigned char> buffer(kRawSize);
    const double cpuBefore = CpuSeconds();
    for (auto _ : state) {
        if (!Read(camera.Handle(), buffer, kReadUncompressed)) {
            state.SkipWithError("download failed");
            break;
        }
    }
    const double gigabytes = static_cast<double>(state.iterations()) * kRawSize / 1e9;
    state.counters["cpu_s_per_GB"] = (CpuSeconds() - cpuBefore) / gigabytes;
    Label(state, kRawSize);
}

// Capabilities belong to the thread: without CAP_NET_ADMIN in effect, the data socket cannot force
// its size and gets at most net.core.rmem_max. False when the set cannot be changed.
bool SetNetAdmin(bool on) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (::syscall(SYS_capget, &header, data) != 0) return false;
    const unsigned int bit = 1u << CAP_NET_ADMIN;
    data[0].effective = on ? data[0].effective | bit : data[0].effective & ~bit;
    return ::syscall(SYS_capset, &header, data) == 0;
}

// A folder of its own under $TMPDIR for the port's trace, removed with its files at the end.
class TraceFolder {
public:
    TraceFolder() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/zpbench-XXXXXX";
        if (::mkdtemp(&pattern[0]) != nullptr) m_path = pattern;
    }
    ~TraceFolder() {
        if (m_path.empty()) return;
        ::unlink(File().c_str());
        ::rmdir(m_path.c_str());
    }
    bool Valid() const { return !m_path.empty(); }
    std::string Name() const { return m_path + "/trace.log"; }  // the port adds its number
    std::string File() const { return m_path + "/trace_0000000001.log"; }
    int Count(const std::string& text) const {
        std::ifstream in(File());
        std::stringstream all;
        all << in.rdbuf();
        const std::string trace = all.str();
        int n = 0;
        for (std::size_t at = trace.find(text); at != std::string::npos; at = trace.find(text, at + 1)) ++n;
        return n;
    }

private:
    std::string m_path;
};

// The raw download traced (for its retries), with the receive buffer forced to the size the port
// asks (range 1: 0) or capped by the system (1), of a 1504 x 1128 frame (range 2: 0) or of one as
// large as the buffer asked (1). Frames that fail after all their attempts are counted, not fatal.
void BM_RawDownloadReceiveBuffer(benchmark::State& state) {
    const Link& link = LinkOf(static_cast<int>(state.range(0)));
    const bool capped = state.range(1) != 0;
    const bool full = state.range(2) != 0;
    const unsigned int frameSize = full ? kFullWidth * kFullHeight : kRawSize;
    OpenCamera camera(link, full ? kFullWidth : kWidth, full ? kFullHeight : kHeight);
    if (!Prepared(state, link, camera)) return;
    TraceFolder trace;
    if (!trace.Valid() || (capped && !SetNetAdmin(false))) {
        state.SkipWithError("cannot make the trace folder or drop CAP_NET_ADMIN");
        return;
    }
    PoEnablePortLog(camera.Handle(), 1, trace.Name().c_str(), 1);
    std::vector<unsigned char> buffer(frameSize);
    int failed = 0;
    for (auto _ : state) failed += Read(camera.Handle(), buffer, kReadUncompressed) ? 0 : 1;
    if (capped) SetNetAdmin(true);
    if (trace.Count("ERR: ReadData receive buffer") != (capped ? 1 : 0)) {
        state.SkipWithError(capped ? "the buffer was not capped (net.core.rmem_max is large enough)"
                                   : "the buffer was capped although forced");
        return;
    }
    const auto frames = static_cast<double>(state.iterations());
    state.counters["retries_per_frame"] = trace.Count("ERR: ReadData retrying") / frames;
    state.counters["failed_frames"] = failed;
    Label(state, frameSize);
    const std::string where = state.range(0) == 0 ? "loopback" : "veth";
    state.SetLabel(where + (capped ? ", capped" : ", forced") + (full ? ", 3008 x 2256" : ""));
}

// The floor of the raw download: the same request line, and a receiver that takes the border,
// each segment straight into its place in the buffer (its 8-byte trailer overwritten by the next
// one) and the information datagram, with no checks beyond the control words.
class BareReceiver {
public:
    explicit BareReceiver(const Link& link) {
        m_command = Bound(link.hostIp, 0);
        m_data = Bound(link.hostIp, 0);
        ::setsockopt(m_data, SOL_SOCKET, SO_RCVBUFFORCE, &kSocketBuffer, sizeof kSocketBuffer);
        sockaddr_in local{};
        socklen_t length = sizeof local;
        ::getsockname(m_data, reinterpret_cast<sockaddr*>(&local), &length);
        m_camera.sin_family = AF_INET;
        m_camera.sin_port = htons(1027);
        m_camera.sin_addr.s_addr = inet_addr(link.cameraIp.c_str());
        std::snprintf(m_request, sizeof m_request, "#0A88%08X%04X", kFrame, ntohs(local.sin_port));
    }
    ~BareReceiver() {
        ::close(m_command);
        ::close(m_data);
    }
    bool Ready() const { return m_command >= 0 && m_data >= 0; }

    // Bytes of image received, 0 when the train was incomplete.
    std::size_t Take(std::vector<unsigned char>& buffer) {
        char reply[1500];
        while (::recv(m_command, reply, sizeof reply, MSG_DONTWAIT) > 0) {
        }
        ::sendto(m_command, m_request, std::strlen(m_request), 0, reinterpret_cast<const sockaddr*>(&m_camera),
                 sizeof m_camera);
        std::size_t at = 0;
        bool last = false, information = false, border = false;
        while (!(last && information && border)) {
            pollfd entry{m_data, POLLIN, 0};
            if (::poll(&entry, 1, 1000) != 1) return 0;
            unsigned char* to = buffer.data() + at;
            const ssize_t got = ::recv(m_data, to, buffer.size() - at, 0);
            if (got < 8) return 0;
            std::uint32_t control;
            std::memcpy(&control, to + got - 4, 4);
            control = ntohl(control);
            if (got == 1036 && control == 0 && !border) {
                border = true;  // read in place, then overwritten by the first segment
            } else if (control == 0x40000000) {
                information = true;
            } else {
                at += static_cast<std::size_t>(got) - 8;
                last = last || (control & 0x80000000u) != 0;
            }
        }
        return at;
    }

private:
    static int Bound(const std::string& ip, int port) {
        const int sock = ::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(static_cast<std::uint16_t>(port));
        local.sin_addr.s_addr = inet_addr(ip.c_str());
        if (sock >= 0 && ::bind(sock, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
            ::close(sock);
            return -1;
        }
        return sock;
    }

    int m_command = -1;
    int m_data = -1;
    sockaddr_in m_camera{};
    char m_request[32] = {};
};

void BM_RawFloorBareUdp(benchmark::State& state) {
    const Link& link = LinkOf(static_cast<int>(state.range(0)));
    OpenCamera camera(link);  // the same settings reach the camera as in the library's run
    if (!Prepared(state, link, camera)) return;
    BareReceiver receiver(link);
    std::vector<unsigned char> buffer(kRawSize + 65536);
    const double cpuBefore = CpuSeconds();
    for (auto _ : state) {
        if (receiver.Take(buffer) != kRawSize) {
            state.SkipWithError("incomplete train");
            break;
        }
    }
    const double gigabytes = static_cast<double>(state.iterations()) * kRawSize / 1e9;
    state.counters["cpu_s_per_GB"] = (CpuSeconds() - cpuBefore) / gigabytes;
    Label(state, kRawSize);
}

void BM_JpegDownload(benchmark::State& state) {
    const Link& link = LinkOf(static_cast<int>(state.range(0)));
    OpenCamera camera(link);
    if (!Prepared(state, link, camera)) return;
    std::vector<unsigned char> buffer(kRgbSize);
    for (auto _ : state) {
        if (!Read(camera.Handle(), buffer, 0)) {
            state.SkipWithError("download failed");
            break;
        }
    }
    Label(state, kRgbSize);
}

// The floor of the JPEG download: the stream the camera sends (taken once through the library's
// stream mode) decoded by libjpeg-turbo alone into the same RGB buffer.
void BM_JpegFloorDecodeOnly(benchmark::State& state) {
    const Link& link = LinkOf(0);
    OpenCamera camera(link);
    if (!Prepared(state, link, camera)) return;
    std::vector<unsigned char> stream(2 * 1024 * 1024);
    if (!Read(camera.Handle(), stream, kReadJpegStream)) {
        state.SkipWithError("stream download failed");
        return;
    }
    std::uint32_t length = 0;
    std::memcpy(&length, stream.data(), 4);
    std::vector<unsigned char> pixels(kRgbSize);
    jpeg_decompress_struct cinfo;
    jpeg_error_mgr error;
    cinfo.err = jpeg_std_error(&error);
    jpeg_create_decompress(&cinfo);
    for (auto _ : state) {
        jpeg_mem_src(&cinfo, stream.data() + 4, length);
        jpeg_read_header(&cinfo, TRUE);
        cinfo.out_color_space = JCS_RGB;
        jpeg_start_decompress(&cinfo);
        while (cinfo.output_scanline < cinfo.output_height) {
            JSAMPROW row = pixels.data() + static_cast<std::size_t>(cinfo.output_scanline) * kWidth * 3;
            jpeg_read_scanlines(&cinfo, &row, 1);
        }
        jpeg_finish_decompress(&cinfo);
    }
    jpeg_destroy_decompress(&cinfo);
    state.counters["stream_bytes"] = length;
    Label(state, kRgbSize);
}

BENCHMARK(BM_RawDownload)->Arg(0)->Arg(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawDownloadReceiveBuffer)
    ->ArgsProduct({{0, 1}, {0, 1}, {0, 1}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawFloorBareUdp)->Arg(0)->Arg(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JpegDownload)->Arg(0)->Arg(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JpegFloorDecodeOnly)->Arg(0)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
