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
#include <vector>

#include "support/netns.h"

namespace zptest {

namespace {

int OpenOwnNamespace() {
    return ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
}

// Returns the calling thread to the namespace it came from; a thread that cannot go back must not
// run any further test code.
void ReturnTo(int home) {
    if (::setns(home, CLONE_NEWNET) == 0) return;
    std::fprintf(stderr, "net fixture: cannot return to the test namespace: %s\n", std::strerror(errno));
    std::abort();
}

std::string IpBatch(const std::string& commands) {
    return "ip -batch - <<'EOF'\n" + commands + "EOF\n";
}

// The kernel finishes bringing a link up in the background (carrier, transmit queue, bridge port
// state) and drops what is sent before: waits up to five seconds for each link to report being up.
std::string AwaitUp(const std::vector<std::string>& links, bool bridgePorts) {
    std::string script;
    for (const auto& link : links) {
        const std::string check = "ip -d -o link show dev " + link + " | grep -q ' state UP .*" +
                                  (bridgePorts ? "bridge_slave state forwarding" : "") + "'";
        script += "for i in $(seq 500); do " + check + " && break; sleep 0.01; done\n" + check + "\n";
    }
    return script;
}

// The links of one camera LAN: host ends in the calling thread's namespace, camera ends (bridged when
// there are several) with the cameras' addresses in the LAN's own namespace.
std::string BuildLan(const CameraLan& layout, const NetNamespace& space, bool firstLan) {
    const auto& adapters = layout.adapters;
    if (adapters.empty() || !space.Valid()) return "a camera LAN needs an adapter and a namespace";
    const bool bridged = adapters.size() > 1;
    const std::string lanInterface = bridged ? "zpbr0" : adapters[0].name + "c";
    std::string host, camera = bridged ? "link add zpbr0 type bridge\n" : "";
    std::vector<std::string> hostLinks, peers;
    for (const auto& a : adapters) {
        const std::string peer = a.name + "c", mtu = " mtu " + std::to_string(a.mtu);
        host += "link add " + a.name + mtu + " type veth peer name " + peer + mtu + "\n";
        if (!a.mac.empty()) host += "link set " + a.name + " address " + a.mac + "\n";
        if (!a.peerMac.empty()) host += "link set " + peer + " address " + a.peerMac + "\n";
        if (!a.cidr.empty()) host += "addr add " + a.cidr + " dev " + a.name + "\n";
        host += "link set " + peer + " netns " + space.Path() + "\nlink set " + a.name + " up\n";
        camera += (bridged ? "link set " + peer + " master zpbr0\n" : "") + "link set " + peer + " up\n";
        hostLinks.push_back(a.name);
        peers.push_back(peer);
    }
    camera +=
        "link set lo up\nlink set " + lanInterface + " up\nroute add 224.0.0.0/4 dev " + lanInterface + "\n";
    for (const auto& ip : layout.cameraIps)
        camera += "addr add " + ip + "/" + std::to_string(layout.prefix) + " dev " + lanInterface + "\n";
    if (firstLan) host += "route add 224.0.0.0/4 dev " + adapters[0].name + "\n";
    if (!RunScript(IpBatch(host))) return "the host links failed";
    {
        InsideNamespace inside(space);
        if (!inside.Entered() ||
            !RunScript(IpBatch(camera) + AwaitUp({lanInterface}, false) + AwaitUp(peers, bridged)))
            return "the camera side failed";
    }
    return RunScript(AwaitUp(hostLinks, false)) ? "" : "the host links did not come up";
}

// Writes the simulator's configuration to stem.conf and starts it in the LAN's namespace, logging to
// stem.log.
std::string StartSimulator(const CameraLan& layout, const NetNamespace& space, const std::string& stem,
                           std::unique_ptr<SimProcess>& sim) {
    std::ofstream config(stem + ".conf");
    for (std::size_t i = 0; i < layout.cameraIps.size(); ++i) {
        config << "[camera]\nip=" << layout.cameraIps[i] << "\naddress=" << unsigned(layout.firstAddress + i)
               << "\nserial=" << layout.firstSerial + i << "\n"
               << layout.cameraKeys;
    }
    config.close();
    if (!config) return "writing " + stem + ".conf failed";
    std::vector<std::string> args = {"--config",    stem + ".conf",    "--log", stem + ".log",
                                     "--multicast", "--multicast-ttl", "1"};
    args.insert(args.end(), layout.simArgs.begin(), layout.simArgs.end());
    InsideNamespace inside(space);
    if (inside.Entered()) sim = std::make_unique<SimProcess>(args);
    return sim != nullptr && sim->Ready() ? "" : "the simulator did not start";
}

}  // namespace

struct NetFixture::LanState {
    CameraLan layout;
    NetNamespace space;
    std::unique_ptr<SimProcess> sim;
};

NetNamespace::NetNamespace() {
    const int home = OpenOwnNamespace();
    if (home >= 0 && ::unshare(CLONE_NEWNET) == 0) {
        m_fd = OpenOwnNamespace();
        ReturnTo(home);
    }
    if (home >= 0) ::close(home);
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
    if (!m_files.Valid()) m_error = "cannot make a temporary folder";
    for (std::size_t i = 0; i < lans.size() && m_error.empty(); ++i) {
        m_lans.push_back(std::make_unique<LanState>());
        LanState& lan = *m_lans.back();
        lan.layout = std::move(lans[i]);
        for (const auto& adapter : lan.layout.adapters) m_hostLinks.push_back(adapter.name);
        m_error = BuildLan(lan.layout, lan.space, i == 0);
        if (m_error.empty() && lan.layout.startSimulator)
            m_error = StartSimulator(lan.layout, lan.space, m_files.File("lan" + std::to_string(i)), lan.sim);
    }
    if (!m_error.empty()) std::fprintf(stderr, "net fixture: %s\n", m_error.c_str());
}

NetFixture::~NetFixture() {
    for (auto& lan : m_lans) lan->sim.reset();
    for (const auto& link : m_hostLinks) RunScript("ip link del " + link);
}

const NetNamespace& NetFixture::Lan(std::size_t lan) const {
    return m_lans[lan]->space;
}

std::vector<std::string> NetFixture::SimLog(std::size_t lan) const {
    std::vector<std::string> lines;
    std::istringstream in(ReadFile(m_files.File("lan" + std::to_string(lan) + ".log")));
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

}  // namespace zptest
