// zpcam download of 500 recorded 1504 x 1128 8-bit frames, against the library's bare PoReadData
// loop over the same frames in the same run. The cameras sit behind one veth link into a camera
// namespace (MTU 9000, 8000-byte segments), three of them on one simulator. Each zpcam run is a
// child process writing into a temporary folder of its own under $TMPDIR (or /tmp), removed after
// the run; the label names the folder's file system. Counters: frames/s and MB/s (10^6 bytes) of
// image data, host CPU (user + system of this process and of the zpcam child) per 10^9 bytes, and
// the ratio to the bare loop. The simulator's CPU is the camera's and is not counted.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "private_namespace.h"
#include "support/net_fixture.h"
#include "support/temp_dir.h"
#include "zpport/CameraSettings.h"
#include "zpport/ZpPortTW.h"

extern char** environ;

namespace {

constexpr unsigned int kWidth = 1504, kHeight = 1128;
constexpr unsigned int kRawSize = kWidth * kHeight;
constexpr unsigned int kFrames = 500;
constexpr unsigned int kReadUncompressed = 1;
const char* const kHostIp = "10.79.0.1";
const std::vector<std::string> kCameraIps = {"10.79.0.10", "10.79.0.11", "10.79.0.12"};

using Clock = std::chrono::steady_clock;

// The camera LAN and its simulator, set up once for the whole run: three mono cameras holding
// 500 frames of 1504 x 1128, each configured for 8000-byte segments without a rate limit.
struct Lan {
    std::unique_ptr<zptest::NetFixture> net;
    std::string error;
};

ZP_PORT_HANDLE Open(const std::string& cameraIp) {
    _ZP_ENUMITEMEX item{};
    item.portId = 0x2001;
    std::snprintf(item.ipText, sizeof item.ipText, "%s", cameraIp.c_str());
    item.adapterIp = ntohl(inet_addr(kHostIp));
    ZP_PORT_HANDLE port = nullptr;
    return PoOpen(&item, &port) == 0 ? port : nullptr;
}

Lan* MakeLan() {
    auto lan = std::make_unique<Lan>();
    if (!InPrivateNamespace()) {
        lan->error = "needs a private network namespace: run as root";
        return lan.release();
    }
    zptest::CameraLan layout;
    layout.adapters = {
        zptest::HostAdapter{"zpzd0", "02:00:00:00:79:01", 9000, std::string(kHostIp) + "/24", ""}};
    layout.cameraIps = kCameraIps;
    layout.firstAddress = 0x0A;
    layout.cameraKeys = "width=1504\nheight=1128\nfirst-frame=0\nlast-frame=499\n";
    lan->net = std::make_unique<zptest::NetFixture>(std::vector<zptest::CameraLan>{layout});
    if (!lan->net->Ready()) {
        lan->error = lan->net->Error();
        return lan.release();
    }
    // The simulated camera keeps its settings between sessions, so zpcam finds them as set here.
    for (const auto& ip : kCameraIps) {
        ZP_PORT_HANDLE port = Open(ip);
        _CAMERA_SETTINGS settings{};
        settings.roiWidth = kWidth;
        settings.roiHeight = kHeight;
        settings.netPerform = 1000;
        settings.netSpeed = 2;
        const bool set = port != nullptr && PoWriteData(port, 0, &settings, sizeof settings) == 0;
        if (port != nullptr) PoClose(port);
        if (!set) lan->error = "cannot open and set up the camera at " + ip;
    }
    return lan.release();
}

const Lan& TheLan() {
    // Lives as long as the run; destroyed at exit, which stops the simulator and removes its files.
    static const std::unique_ptr<Lan> lan(MakeLan());
    return *lan;
}

struct Usage {
    double self = 0, children = 0;
};

double Seconds(const rusage& usage) {
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

Usage CpuNow() {
    rusage self{}, children{};
    ::getrusage(RUSAGE_SELF, &self);
    ::getrusage(RUSAGE_CHILDREN, &children);
    return {Seconds(self), Seconds(children)};
}

// "/tmp (ext4)": where the zpcam runs write, and its file system.
std::string OutputPlace() {
    const char* base = ::getenv("TMPDIR");
    const std::string path = base != nullptr && *base != '\0' ? base : "/tmp";
    struct statfs info {};
    if (::statfs(path.c_str(), &info) != 0) return path;
    switch (static_cast<unsigned long>(info.f_type)) {
        case 0xEF53:
            return path + " (ext4)";
        case 0x01021994:
            return path + " (tmpfs)";
        case 0x58465342:
            return path + " (xfs)";
        case 0x9123683E:
            return path + " (btrfs)";
        case 0x794C7630:
            return path + " (overlay)";
        default: {
            char text[32];
            std::snprintf(text, sizeof text, " (fs 0x%lX)", static_cast<unsigned long>(info.f_type));
            return path + text;
        }
    }
}

// The figures of one case over all its iterations, and those of the bare loop for the ratios.
struct Totals {
    double seconds = 0, cpu = 0;
    unsigned long long frames = 0;
};
Totals g_bare;

void Report(benchmark::State& state, const Totals& totals, bool againstBare) {
    const double bytes = static_cast<double>(totals.frames) * kRawSize;
    const double fps = totals.frames / totals.seconds;
    state.counters["fps"] = fps;
    state.counters["MB_per_s"] = bytes / 1e6 / totals.seconds;
    state.counters["cpu_s_per_GB"] = totals.cpu / (bytes / 1e9);
    if (againstBare && g_bare.frames != 0) state.counters["vs_bare"] = fps / (g_bare.frames / g_bare.seconds);
}

// The library alone: open the camera, read the 500 frames uncompressed into one buffer, close.
std::vector<unsigned char> g_lastBareFrame;  // the last frame, to compare with zpcam's file

void BM_BareReadLoop(benchmark::State& state) {
    const Lan& lan = TheLan();
    if (!lan.error.empty()) {
        state.SkipWithError(lan.error.c_str());
        return;
    }
    std::vector<unsigned char> buffer(kRawSize);
    Totals totals;
    for (auto _ : state) {
        const Usage before = CpuNow();
        const auto start = Clock::now();
        ZP_PORT_HANDLE port = Open(kCameraIps[0]);
        if (port == nullptr) {
            state.SkipWithError("cannot open the camera");
            return;
        }
        bool ok = true;
        for (unsigned int frame = 0; frame < kFrames && ok; ++frame) {
            const unsigned int words[3] = {0, frame, kReadUncompressed};
            std::memcpy(buffer.data(), words, sizeof words);
            ok = PoReadData(port, buffer.data(), kRawSize) == 0;
        }
        PoClose(port);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (!ok) {
            state.SkipWithError("PoReadData failed");
            return;
        }
        state.SetIterationTime(seconds);
        totals.seconds += seconds;
        totals.cpu += CpuNow().self - before.self;
        totals.frames += kFrames;
    }
    g_lastBareFrame = buffer;
    g_bare.seconds += totals.seconds;
    g_bare.cpu += totals.cpu;
    g_bare.frames += totals.frames;
    Report(state, totals, false);
    state.SetLabel("out: none");
}

// Runs the program and returns its exit status (-1 when it did not run or ended by a signal);
// its standard output and error go to outputPath.
int RunChild(const std::vector<std::string>& args, const std::string& outputPath) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    std::vector<char*> argv;
    for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int spawned = ::posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return -1;
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

// Frame files of the given extension in dir, and whether each raw one has the frame's size.
unsigned int CountFrames(const std::string& dir, const std::string& extension, bool raw) {
    unsigned int count = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dir, error)) {
        if (entry.path().extension() != extension) continue;
        const auto size = entry.file_size(error);
        if (raw ? size == kRawSize : size > 0) ++count;
    }
    return count;
}

// The file of the last frame: for raw the bare loop's last frame byte for byte (when it ran), for
// PNG a file that starts with the PNG signature.
bool LastFrameLooksRight(const std::string& path, bool raw) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<unsigned char> data((std::istreambuf_iterator<char>(in)),
                                          std::istreambuf_iterator<char>());
    if (!raw) {
        static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
        return data.size() > sizeof kSignature &&
               std::memcmp(data.data(), kSignature, sizeof kSignature) == 0;
    }
    return g_lastBareFrame.empty() || data == g_lastBareFrame;
}

// zpcam download of frames 0-499 from `cameras` of the LAN, in raw or PNG format.
void BM_Zpcam(benchmark::State& state, const std::string& format, unsigned int cameras) {
    const Lan& lan = TheLan();
    if (!lan.error.empty()) {
        state.SkipWithError(lan.error.c_str());
        return;
    }
    const bool raw = format == "raw";
    Totals totals;
    for (auto _ : state) {
        zptest::TempDir files;
        const std::string out = files.File("out");
        if (!files.Valid() || ::mkdir(out.c_str(), 0755) != 0) {
            state.SkipWithError("cannot make a temporary folder");
            return;
        }
        std::vector<std::string> args = {ZPCAM_PATH, "download"};
        args.insert(args.end(), kCameraIps.begin(), kCameraIps.begin() + cameras);
        args.insert(args.end(),
                    {"--frames", "0-" + std::to_string(kFrames - 1), "--format", format, "-o", out});
        // Every run starts with nothing dirty on the file system: the write-back of earlier runs (and
        // the freeing of their removed files) would otherwise land in this one.
        const int folder = ::open(out.c_str(), O_RDONLY | O_DIRECTORY);
        if (folder >= 0) {
            ::syncfs(folder);
            ::close(folder);
        }
        const Usage before = CpuNow();
        const auto start = Clock::now();
        const int status = RunChild(args, files.File("zpcam.txt"));
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        const Usage after = CpuNow();
        if (status == 2 && !raw) {
            state.SkipWithError(
                ("zpcam rejects --format " + format + " (see zpcam download --help)").c_str());
            return;
        }
        if (status != 0) {
            state.SkipWithError(("zpcam download failed with status " + std::to_string(status)).c_str());
            return;
        }
        if (CountFrames(out, "." + format, raw) != kFrames * cameras) {
            state.SkipWithError("zpcam did not write every frame file");
            return;
        }
        if (!LastFrameLooksRight(out + "/" + kCameraIps[0] + "_000499." + format, raw)) {
            state.SkipWithError("zpcam's file of the last frame is wrong");
            return;
        }
        state.SetIterationTime(seconds);
        totals.seconds += seconds;
        totals.cpu += (after.self - before.self) + (after.children - before.children);
        totals.frames += static_cast<unsigned long long>(kFrames) * cameras;
    }
    Report(state, totals, true);
    state.SetLabel("out: " + OutputPlace());
}

void BM_ZpcamRaw(benchmark::State& state) {
    BM_Zpcam(state, "raw", static_cast<unsigned int>(state.range(0)));
}
void BM_ZpcamPng(benchmark::State& state) {
    BM_Zpcam(state, "png", static_cast<unsigned int>(state.range(0)));
}

// One pass of 500 frames (1.7 GB per three cameras) per iteration.
BENCHMARK(BM_BareReadLoop)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZpcamRaw)->Arg(1)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZpcamPng)->Arg(1)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZpcamRaw)->Arg(3)->Iterations(1)->Repetitions(2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZpcamPng)->Arg(3)->Iterations(1)->Repetitions(2)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
