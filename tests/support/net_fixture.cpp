#include "support/net_fixture.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "support/netns.h"

namespace zptest {

namespace {

constexpr const char kOwnNamespace[] = "/proc/thread-self/ns/net";
constexpr const char kBridge[] = "zpbr0";
constexpr const char kMulticastRoute[] = "224.0.0.0/4";

int OpenOwnNamespace() { return ::open(kOwnNamespace, O_RDONLY | O_CLOEXEC); }

// Returns the calling thread to the namespace it came from; a thread that cannot go back must not
// run any further test code.
void ReturnTo(int home) {
    if (::setns(home, CLONE_NEWNET) != 0) {
        std::fprintf(stderr, "net fixture: cannot return to the test namespace: %s\n", std::strerror(errno));
        std::abort();
    }
}

std::string Failed(const std::string& what) { return what + " failed"; }

}  // namespace

NetNamespace::NetNamespace() {
    const int home = OpenOwnNamespace();
    if (home < 0) return;
    if (::unshare(CLONE_NEWNET) == 0) {
        m_fd = OpenOwnNamespace();
        ReturnTo(home);
    }
    ::close(home);
}

NetNamespace::~NetNamespace() {
    if (m_fd >= 0) ::close(m_fd);
}

std::string NetNamespace::Path() const {
    return "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(m_fd);
}

InsideNamespace::InsideNamespace(const NetNamespace& space) : m_home(OpenOwnNamespace()) {
    m_entered = m_home >= 0 && space.Valid() && ::setns(space.Fd(), CLONE_NEWNET) == 0;
}

InsideNamespace::~InsideNamespace() {
    if (m_entered) ReturnTo(m_home);
    if (m_home >= 0) ::close(m_home);
}

NetFixture::NetFixture(std::vector<CameraLan> lans) {
    for (std::size_t i = 0; i < lans.size() && m_error.empty(); ++i) {
        auto lan = std::make_unique<LanState>();
        lan->layout = std::move(lans[i]);
        const std::string stem = "/tmp/zp_netfix_" + std::to_string(::getpid()) + "_" + std::to_string(i);
        lan->logPath = stem + ".log";
        lan->configPath = stem + ".conf";
        m_lans.push_back(std::move(lan));
        m_error = Build(*m_lans.back(), i == 0);
    }
    if (!m_error.empty()) std::fprintf(stderr, "net fixture: %s\n", m_error.c_str());
}

NetFixture::~NetFixture() {
    for (auto& lan : m_lans) lan->sim.reset();
    for (const auto& link : m_hostLinks) DeleteLink(link);
    for (auto& lan : m_lans) {
        lan->space.reset();
        ::unlink(lan->logPath.c_str());
        ::unlink(lan->configPath.c_str());
    }
}

std::string NetFixture::Build(LanState& lan, bool firstLan) {
    lan.space = std::make_unique<NetNamespace>();
    if (!lan.space->Valid()) return std::string("cannot make a namespace: ") + std::strerror(errno);
    std::string lanInterface;
    std::string error = ConnectAdapters(lan, lanInterface);
    if (!error.empty()) return error;
    {
        InsideNamespace inside(*lan.space);
        if (!inside.Entered()) return "cannot enter the camera namespace";
        for (const auto& ip : lan.layout.cameraIps) {
            const std::string cidr = ip + "/" + std::to_string(lan.layout.prefix);
            if (!RunIp("addr add " + cidr + " dev " + lanInterface)) return Failed("camera address " + cidr);
        }
        if (!RunIp("route add " + std::string(kMulticastRoute) + " dev " + lanInterface))
            return Failed("camera multicast route");
    }
    if (firstLan && !lan.layout.adapters.empty() &&
        !RunIp("route add " + std::string(kMulticastRoute) + " dev " + lan.layout.adapters.front().name))
        return Failed("host multicast route");
    return lan.layout.startSimulator ? StartSimulator(lan) : std::string();
}

std::string NetFixture::ConnectAdapters(LanState& lan, std::string& lanInterface) {
    std::vector<std::string> peers;
    for (const auto& adapter : lan.layout.adapters) {
        const std::string peer = adapter.name + "c";
        if (!AddVethPair(adapter.name, peer, adapter.mac, adapter.mtu, adapter.cidr))
            return Failed("veth " + adapter.name);
        m_hostLinks.push_back(adapter.name);
        if (!RunIp("link set " + peer + " mtu " + std::to_string(adapter.mtu)) ||
            (!adapter.peerMac.empty() && !RunIp("link set " + peer + " address " + adapter.peerMac)) ||
            !RunIp("link set " + peer + " netns " + lan.space->Path()))
            return Failed("moving " + peer);
        peers.push_back(peer);
    }
    if (peers.empty()) return "a camera LAN needs an adapter";
    InsideNamespace inside(*lan.space);
    if (!inside.Entered()) return "cannot enter the camera namespace";
    if (!RunIp("link set lo up")) return Failed("camera loopback");
    lanInterface = peers.front();
    if (peers.size() > 1) {
        lanInterface = kBridge;
        if (!RunIp(std::string("link add ") + kBridge + " type bridge")) return Failed("bridge");
        for (const auto& peer : peers) {
            if (!RunIp("link set " + peer + " master " + kBridge)) return Failed("bridge port " + peer);
        }
    }
    for (const auto& peer : peers) {
        if (!RunIp("link set " + peer + " up")) return Failed("camera link " + peer);
    }
    return RunIp("link set " + lanInterface + " up") ? std::string() : Failed("camera interface");
}

std::string NetFixture::StartSimulator(LanState& lan) {
    {
        std::ofstream config(lan.configPath);
        for (std::size_t i = 0; i < lan.layout.cameraIps.size(); ++i) {
            config << "[camera]\nip=" << lan.layout.cameraIps[i]
                   << "\naddress=" << static_cast<unsigned>(lan.layout.firstAddress + i)
                   << "\nserial=" << lan.layout.firstSerial + i << "\n"
                   << lan.layout.cameraKeys;
        }
        if (!config) return Failed("writing " + lan.configPath);
    }
    std::vector<std::string> args = {"--config",    lan.configPath, "--log", lan.logPath, "--multicast",
                                     "--multicast-ttl", "1"};
    args.insert(args.end(), lan.layout.simArgs.begin(), lan.layout.simArgs.end());
    InsideNamespace inside(*lan.space);
    if (!inside.Entered()) return "cannot enter the camera namespace";
    lan.sim = std::make_unique<SimProcess>(args);
    return lan.sim->Ready() ? std::string() : "the simulator did not start";
}

std::vector<std::string> NetFixture::SimLog(std::size_t lan) const {
    std::vector<std::string> lines;
    std::istringstream in(ReadFile(m_lans[lan]->logPath));
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    return lines;
}

}  // namespace zptest
