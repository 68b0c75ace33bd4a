#include "robustness_common.h"

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>

#include "support/netns.h"

namespace zprobust {

namespace {

constexpr unsigned char kGuard = 0xEE;
constexpr std::size_t kGuardBytes = 64;

long Entries(const char* path) {
    std::error_code error;
    long count = 0;
    for (std::filesystem::directory_iterator it(path, error), end; !error && it != end; it.increment(error))
        ++count;
    return count;
}

long RssKb() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    return -1;
}

}  // namespace

bool EnterPrivateNamespace() {
    if (::unshare(CLONE_NEWNET) != 0) {
        std::fprintf(stderr, "cannot create a private network namespace (%s): run as root\n",
                     std::strerror(errno));
        return false;
    }
    return zptest::RunScript("ip link set lo up");
}

Resources Measure() {
    Resources now;
    // A finished thread leaves /proc/self/task shortly after it returns: give it a moment.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    now.descriptors = Entries("/proc/self/fd");
    now.threads = Entries("/proc/self/task");
    now.shmEntries = Entries("/dev/shm");
    now.heapBytes = static_cast<long>(::mallinfo2().uordblks);
    now.rssKb = RssKb();
    return now;
}

long InheritableSockets() {
    long count = 0;
    for (const auto& fd : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(fd.path(), error).string().rfind("socket:", 0) != 0) continue;
        std::ifstream info("/proc/self/fdinfo/" + fd.path().filename().string());
        std::string key;
        while (info >> key && key != "flags:") continue;
        unsigned int flags = 0;
        info >> std::oct >> flags;
        count += (flags & O_CLOEXEC) == 0 ? 1 : 0;
    }
    return count;
}

void CheckNoGrowth(Verdict& verdict, const Resources& before, const Resources& after,
                   long heapToleranceBytes) {
    std::printf(
        "  descriptors %ld -> %ld, threads %ld -> %ld, /dev/shm %ld -> %ld, heap %ld -> %ld bytes, "
        "RSS %ld -> %ld kB\n",
        before.descriptors, after.descriptors, before.threads, after.threads, before.shmEntries,
        after.shmEntries, before.heapBytes, after.heapBytes, before.rssKb, after.rssKb);
    verdict.Check(after.descriptors <= before.descriptors, "descriptors grew");
    verdict.Check(after.threads <= before.threads, "threads grew");
    verdict.Check(after.shmEntries <= before.shmEntries, "/dev/shm entries grew");
    verdict.Check(after.heapBytes - before.heapBytes <= heapToleranceBytes, "live heap grew");
}

SimCamera::SimCamera(const CameraSpec& spec, const zptest::TempDir& dir, unsigned short controlPort)
    : m_spec(spec), m_log(dir.File("camera_" + spec.ip + ".log")), m_controlPort(controlPort) {
    char address[8];
    std::snprintf(address, sizeof address, "0x%02X", spec.address);
    std::vector<std::string> args = {"--ip",           spec.ip,
                                     "--address",      address,
                                     "--width",        std::to_string(spec.width),
                                     "--height",       std::to_string(spec.height),
                                     "--first-frame",  std::to_string(spec.firstFrame),
                                     "--last-frame",   std::to_string(spec.lastFrame),
                                     "--log",          m_log,
                                     "--control-port", std::to_string(controlPort)};
    args.insert(args.end(), spec.extra.begin(), spec.extra.end());
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return;
    args.insert(args.begin(), ZPCAM_SIM_PATH);
    std::vector<char*> argv;
    for (auto& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    m_pid = ::fork();
    if (m_pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // a run that dies takes its cameras along
        ::dup2(pipeFds[1], STDOUT_FILENO);
        // The port's sockets have no close-on-exec flag: a simulator started while a download
        // runs would otherwise hold the data and announcement ports for its whole life.
        ::close_range(3, ~0U, 0);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    // The simulator prints "ready" once its sockets are bound.
    std::string seen;
    char text[256];
    pollfd entry{pipeFds[0], POLLIN, 0};
    while (m_pid > 0 && seen.find("ready\n") == std::string::npos && ::poll(&entry, 1, 10000) > 0) {
        const ssize_t size = ::read(pipeFds[0], text, sizeof text);
        if (size <= 0) break;
        seen.append(text, static_cast<std::size_t>(size));
    }
    ::close(pipeFds[0]);
    m_ready = seen.find("ready\n") != std::string::npos;
}

SimCamera::~SimCamera() {
    if (m_pid <= 0) return;
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

void SimCamera::Freeze() const {
    if (m_pid > 0) ::kill(m_pid, SIGSTOP);
}

std::string SimCamera::Control(const std::string& line) const {
    zptest::UdpClient client("127.0.0.1");
    std::string answer = client.Exchange(m_spec.ip, m_controlPort, line).value_or("<no answer>");
    while (!answer.empty() && answer.back() == '\n') answer.pop_back();
    return answer;
}

unsigned int ReadRecorded(ZP_PORT_HANDLE port, std::vector<unsigned char>& buffer, std::size_t capacity,
                          unsigned int frame) {
    buffer.assign(capacity + kGuardBytes, kGuard);
    const unsigned int words[3] = {0, frame, 1};
    std::memcpy(buffer.data(), words, sizeof words);
    return PoReadData(port, buffer.data(), static_cast<unsigned int>(capacity));
}

bool FrameExact(const std::vector<unsigned char>& buffer, const CameraSpec& spec, unsigned int frame) {
    const std::size_t size = std::size_t{spec.width} * spec.height;
    if (buffer.size() < size + kGuardBytes) return false;
    const std::string expected =
        zpsim::RenderRawFrame(spec.firstFrame + frame, static_cast<std::uint16_t>(spec.width),
                              static_cast<std::uint16_t>(spec.height), false);
    return std::memcmp(expected.data(), buffer.data(), size) == 0 &&
           std::all_of(buffer.begin() + static_cast<long>(size), buffer.end(),
                       [](unsigned char b) { return b == kGuard; });
}

long Count(const std::string& text, const std::string& part) {
    long n = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

}  // namespace zprobust
