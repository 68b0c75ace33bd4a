#include "robustness_common.h"

#include <fcntl.h>
#include <malloc.h>
#include <sched.h>
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

SimCamera::SimCamera(const CameraSetup& setup, const zptest::TempDir& dir, unsigned short controlPort)
    : m_setup(setup), m_log(dir.File("camera_" + setup.ip + ".log")), m_controlPort(controlPort) {
    char address[8];
    std::snprintf(address, sizeof address, "0x%02X", setup.address);
    std::vector<std::string> args = {"--ip",           setup.ip,
                                     "--address",      address,
                                     "--width",        std::to_string(setup.width),
                                     "--height",       std::to_string(setup.height),
                                     "--first-frame",  std::to_string(setup.firstFrame),
                                     "--last-frame",   std::to_string(setup.lastFrame),
                                     "--log",          m_log,
                                     "--control-port", std::to_string(controlPort)};
    args.insert(args.end(), setup.extra.begin(), setup.extra.end());
    m_sim = std::make_unique<zptest::SimProcess>(args);
}

std::string SimCamera::Control(const std::string& line) const {
    zptest::UdpClient client("127.0.0.1");
    std::string answer = client.Exchange(m_setup.ip, m_controlPort, line).value_or("<no answer>");
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

bool FrameExact(const std::vector<unsigned char>& buffer, const CameraSetup& setup, unsigned int frame) {
    const std::size_t size = std::size_t{setup.width} * setup.height;
    if (buffer.size() < size + kGuardBytes) return false;
    const std::string expected =
        zpsim::RenderRawFrame(setup.firstFrame + frame, static_cast<std::uint16_t>(setup.width),
                              static_cast<std::uint16_t>(setup.height), false);
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
