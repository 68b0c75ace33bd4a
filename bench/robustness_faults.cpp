// Cameras that vanish, reboot or move while a download and a status poll are in progress, and the
// long download over a lossy, reordering link.
#include <atomic>
#include <cstdlib>
#include <regex>
#include <thread>

#include "robustness_common.h"
#include "robustness_runs.h"
#include "support/net_fixture.h"
#include "zpport/CameraSettings.h"

namespace zprobust {
namespace {

using Clock = std::chrono::steady_clock;

// The longest a call may take against a camera that stopped answering, from the port's own
// time-outs: an unanswered command costs one attempt, a fifth of its 6 s time-out; a recorded-frame
// read makes six attempts, each waiting 8 s for the first datagram plus 1 µs per byte of the buffer,
// with a rate and an abort command between attempts and the first-frame query before; a status
// read is one command, which may first wait for another thread's command to leave the link; a close
// waits for such calls to end and may send an abort.
constexpr double kCommandS = 1.2;
double ReadBoundS(std::size_t capacity) {
    return 6 * (8.0 + capacity / 1e6) + 5 * 2 * kCommandS + kCommandS;
}
constexpr double kStatusBoundS = 2 * kCommandS + 0.5;
constexpr double kCloseBoundS = kStatusBoundS + kCommandS;

// The outcome of the first call that met the fault: one in progress that failed, else the next.
struct Outcome {
    unsigned int result = 99;
    double seconds = 0;
    long before = 0;  // successful calls before the fault
    bool corrupted = false;
};

// A download loop and a status loop on threads of their own, each ending with its first call that
// met the fault.
class Traffic {
public:
    Traffic(ZP_PORT_HANDLE port, const CameraSetup& setup) {
        m_reader = std::thread([this, port, setup] {
            std::vector<unsigned char> buffer;
            Loop(m_read, [&](long n) {
                const unsigned int frame = static_cast<unsigned int>(n % 100);
                const unsigned int result =
                    ReadRecorded(port, buffer, std::size_t{setup.width} * setup.height, frame);
                if (result == 0 && !FrameExact(buffer, setup, frame)) m_read.corrupted = true;
                return result;
            });
        });
        m_poller = std::thread([this, port] {
            Loop(m_status, [&](long) {
                unsigned int status = 0;
                return PoGetStatus(port, 0, &status);
            });
        });
    }
    void Fault() {
        m_faultAt = Clock::now();
        m_faulted = true;
    }
    void Join() {
        m_reader.join();
        m_poller.join();
    }
    const Outcome& Read() const { return m_read; }
    const Outcome& Status() const { return m_status; }

private:
    template <typename Call>
    void Loop(Outcome& outcome, Call call) {
        for (long n = 0;; ++n) {
            const bool faulted = m_faulted;
            const auto start = Clock::now();
            const unsigned int result = call(n);
            if (!m_faulted) {
                outcome.before += result == 0 ? 1 : 0;
                continue;
            }
            if (!faulted && result == 0) continue;  // it was complete before the camera went
            outcome.result = result;
            outcome.seconds = SecondsSince(faulted ? start : m_faultAt.load());
            return;
        }
    }

    std::atomic<bool> m_faulted{false};
    std::atomic<Clock::time_point> m_faultAt{};
    Outcome m_read, m_status;
    std::thread m_reader, m_poller;
};

bool Report(Verdict& verdict, const char* what, const Outcome& outcome, double boundS) {
    std::printf(
        "  %s: %ld calls before the fault; the call in progress returned %u after %.1f s (bound %.1f s)\n",
        what, outcome.before, outcome.result, outcome.seconds, boundS);
    verdict.Check(outcome.before > 0, std::string(what) + ": calls succeeded before the fault");
    verdict.Check(!outcome.corrupted, std::string(what) + ": no frame corrupted");
    verdict.Check(outcome.result <= 1, std::string(what) + ": a clear result");
    return verdict.Check(outcome.seconds <= boundS, std::string(what) + ": within its bound");
}

// Reads frames until one arrives exact, for at most `seconds`; the time it took, or -1.
double UntilUsable(ZP_PORT_HANDLE port, const CameraSetup& setup, double seconds) {
    const auto start = Clock::now();
    std::vector<unsigned char> buffer;
    for (unsigned int n = 0; SecondsSince(start) < seconds; ++n) {
        if (ReadRecorded(port, buffer, std::size_t{setup.width} * setup.height, n % 100) == 0 &&
            FrameExact(buffer, setup, n % 100))
            return SecondsSince(start);
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
    return -1;
}

double TimedClose(ZP_PORT_HANDLE port, Verdict& verdict) {
    const auto start = Clock::now();
    verdict.Check(PoClose(port) == 0, "close");
    const double seconds = SecondsSince(start);
    std::printf("  close took %.1f s (bound %.1f s)\n", seconds, kCloseBoundS);
    verdict.Check(seconds <= kCloseBoundS, "close within its bound");
    return seconds;
}

}  // namespace

int Faults(const std::string& scenario) {
    zptest::TempDir dir;
    CameraSetup setup = CameraAt("127.0.0.40");
    setup.extra = {"--announce-to", setup.ip};
    Verdict verdict;
    const Resources idle = Measure();
    auto camera = std::make_unique<SimCamera>(setup, dir);
    if (!verdict.Check(camera->Ready(), "simulator starts")) return 1;
    _ZP_ENUMITEMEX item = ItemFor(setup.ip);
    ZP_PORT_HANDLE port = nullptr;
    if (!verdict.Check(PoOpen(&item, &port) == 0, "open")) return 1;
    PoEnablePortLog(port, 9, dir.File("trace.log").c_str(), 1);
    const double readBound = ReadBoundS(std::size_t{setup.width} * setup.height);

    Traffic traffic(port, setup);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const auto faultAt = Clock::now();
    camera->Freeze();  // switched off: no answer, no datagram, no port-unreachable message
    traffic.Fault();
    std::printf("%s: the camera stopped answering during a download\n", scenario.c_str());
    std::unique_ptr<SimCamera> moved;
    if (scenario == "reboot") {
        std::this_thread::sleep_for(std::chrono::seconds(20));
        camera.reset();  // the frozen camera holds its address until it ends
        camera = std::make_unique<SimCamera>(setup, dir);  // a fresh camera at the same address
        verdict.Check(camera->Ready(), "the rebooted simulator starts");
        std::printf("  the camera answers again %.1f s after the fault\n", SecondsSince(faultAt));
    }
    if (scenario == "moved") {
        CameraSetup elsewhere = setup;
        elsewhere.ip = "127.0.0.41";
        elsewhere.extra = {"--announce-to", elsewhere.ip};
        moved = std::make_unique<SimCamera>(elsewhere, dir, 7051);
        verdict.Check(moved->Ready(), "the simulator at the new address starts");
    }
    traffic.Join();
    Report(verdict, "download", traffic.Read(), readBound);
    Report(verdict, "status", traffic.Status(), kStatusBoundS);

    if (scenario == "reboot") {
        // The port is usable again once the camera answers: a read of an exact frame proves it.
        const double after = UntilUsable(port, setup, 60);
        std::printf("  usable again: %s (%.1f s after the calls ended)\n", after >= 0 ? "yes" : "no", after);
        verdict.Check(after >= 0, "the port works again after the reboot");
    } else {
        // The port fails cleanly: further calls fail within their bounds.
        std::vector<unsigned char> buffer;
        auto start = Clock::now();
        const unsigned int read = ReadRecorded(port, buffer, std::size_t{setup.width} * setup.height, 0);
        const double readS = SecondsSince(start);
        start = Clock::now();
        unsigned int status = 0;
        const unsigned int polled = PoGetStatus(port, 0, &status);
        const double statusS = SecondsSince(start);
        std::printf("  next read returned %u after %.1f s, next status %u after %.1f s\n", read, readS,
                    polled, statusS);
        verdict.Check(read == 1 && readS <= readBound, "a later read fails within its bound");
        verdict.Check(polled == 1 && statusS <= kStatusBoundS, "a later status fails within its bound");
    }
    TimedClose(port, verdict);
    if (scenario == "moved") {
        _ZP_ENUMITEMEX there = ItemFor("127.0.0.41");
        ZP_PORT_HANDLE fresh = nullptr;
        const bool opened = verdict.Check(PoOpen(&there, &fresh) == 0, "open at the new address");
        CameraSetup elsewhere = setup;
        elsewhere.ip = "127.0.0.41";
        const double took = opened ? UntilUsable(fresh, elsewhere, 10) : -1;
        std::printf("  a fresh open at the new address reads an exact frame: %s\n", took >= 0 ? "yes" : "no");
        verdict.Check(took >= 0, "a frame at the new address");
        if (opened) TimedClose(fresh, verdict);
    }
    camera.reset();
    moved.reset();
    const Resources after = Measure();
    verdict.Check(after.threads <= idle.threads && after.descriptors <= idle.descriptors,
                  "no thread or descriptor left behind");
    std::printf("%s: %s\n", scenario.c_str(), verdict.Failed() ? "FAILED" : "passed");
    return verdict.ExitCode();
}

int Lossy(long frames) {
    constexpr unsigned int kWidth = 160, kHeight = 120;
    zptest::TempDir dir;
    zptest::CameraLan lan;  // the fixture names the camera end of the link zprl0c
    lan.adapters = {zptest::HostAdapter{"zprl0", "02:00:00:00:79:01", 9000, "10.79.0.1/24", ""}};
    lan.cameraIps = {"10.79.0.10"};
    lan.firstAddress = 0x0A;
    lan.cameraKeys = "first-frame=1000\nlast-frame=1299\n";
    lan.simArgs = {"--image", "shuffle 0.005"};
    zptest::NetFixture net({lan});
    Verdict verdict;
    if (!verdict.Check(net.Ready(), "camera LAN: " + net.Error())) return 1;
    const auto inCamera = [&net](const std::string& command) {
        return std::system(("nsenter --net=" + net.Lan(0).Path() + " " + command).c_str());
    };
    _ZP_ENUMITEMEX item = ItemFor("10.79.0.10");
    item.adapterIp = ntohl(inet_addr("10.79.0.1"));
    ZP_PORT_HANDLE port = nullptr;
    if (!verdict.Check(PoOpen(&item, &port) == 0, "open")) return 1;
    PoEnablePortLog(port, 9, dir.File("trace.log").c_str(), 1);
    // Net speed 1: 4000-byte segments, 7 datagrams a frame with border and information.
    _CAMERA_SETTINGS settings{};
    settings.roiWidth = kWidth;
    settings.roiHeight = kHeight;
    settings.netPerform = 5000;
    settings.netSpeed = 1;
    verdict.Check(PoWriteData(port, 0, &settings, sizeof settings) == 0, "settings upload");
    // The loss starts once the camera is set up, so that only downloads meet it.
    verdict.Check(
        inCamera("tc qdisc add dev zprl0c clsact") == 0 &&
            inCamera("tc filter add dev zprl0c egress bpf da obj " ZP_LINK_LOSS_BPF " sec classifier") == 0,
        "loss filter attached");
    const CameraSetup setup{"", 0x0A, kWidth, kHeight, 1000, 1299, {}};
    std::vector<unsigned char> buffer;
    long failed = 0, corrupted = 0;
    const auto start = Clock::now();
    for (long i = 0; i < frames; ++i) {
        const unsigned int frame = static_cast<unsigned int>((i * 37) % 300);
        if (ReadRecorded(port, buffer, std::size_t{kWidth} * kHeight, frame) != 0)
            ++failed;
        else if (!FrameExact(buffer, setup, frame))
            ++corrupted;
    }
    const double seconds = SecondsSince(start);
    inCamera("tc -s qdisc show dev zprl0c >" + dir.File("stats"));
    std::smatch dropped;
    const std::string stats = zptest::ReadFile(dir.File("stats"));
    std::regex_search(stats, dropped, std::regex("qdisc clsact[^\\n]*\\n[^\\n]*dropped (\\d+)"));
    verdict.Check(PoClose(port) == 0, "close");
    const long retries = Count(zptest::ReadFile(dir.File("trace_0000000009.log")), "ERR: ReadData retrying ");
    std::printf(
        "lossy: %ld frames in %.1f s, %s datagrams dropped by the link, %ld retries, %ld failed, %ld "
        "corrupted\n",
        frames, seconds, dropped.size() > 1 ? dropped[1].str().c_str() : "?", retries, failed, corrupted);
    verdict.Check(failed == 0 && corrupted == 0, "every frame exact");
    verdict.Check(dropped.size() > 1 && dropped[1].str() != "0" && retries > 0, "the link lost datagrams");
    return verdict.ExitCode();
}

}  // namespace zprobust
