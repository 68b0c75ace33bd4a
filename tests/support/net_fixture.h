// A small routed world for discovery tests, built inside the test's own network namespace: the
// test process is the host, each camera LAN is a further namespace joined to the host by veth
// links and holding a simulator with its cameras. The fixture's destructor stops the simulators,
// deletes the host links and closes the namespaces, so a failing test leaves nothing behind; the
// namespaces have no names, and if the process itself dies its own namespace goes, and with it
// every host link.
#ifndef ZP_TESTS_SUPPORT_NET_FIXTURE_H
#define ZP_TESTS_SUPPORT_NET_FIXTURE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sim/sim_process.h"
#include "support/temp_dir.h"

namespace zptest {

// A network namespace made by this process and held open by a descriptor.
class NetNamespace {
public:
    NetNamespace();
    ~NetNamespace();
    NetNamespace(const NetNamespace&) = delete;
    NetNamespace& operator=(const NetNamespace&) = delete;

    bool Valid() const { return m_fd >= 0; }
    // A path naming the namespace for "ip link set <dev> netns <path>".
    std::string Path() const;
    int Fd() const { return m_fd; }

private:
    int m_fd = -1;
};

// Moves the calling thread into a namespace for its lifetime: sockets made and processes started
// meanwhile belong to that namespace.
class InsideNamespace {
public:
    explicit InsideNamespace(const NetNamespace& space);
    ~InsideNamespace();
    InsideNamespace(const InsideNamespace&) = delete;
    InsideNamespace& operator=(const InsideNamespace&) = delete;
    bool Entered() const { return m_entered; }

private:
    int m_home = -1;
    bool m_entered = false;
};

// One host adapter: the host end of a veth link.
struct HostAdapter {
    std::string name;  // at most 13 characters; the camera end is name + "c"
    std::string mac;
    int mtu = 1500;
    std::string cidr;     // host address, e.g. "10.70.1.1/24"
    std::string peerMac;  // MAC of the camera end; empty: the kernel's choice
};

// One camera LAN: its host adapters (bridged together on the camera side when more than one),
// the simulated cameras' addresses on it and extra simulator options.
struct CameraLan {
    std::vector<HostAdapter> adapters;
    std::vector<std::string> cameraIps;
    int prefix = 24;
    std::uint8_t firstAddress = 0x10;     // bus address of the first camera, counting up
    std::uint32_t firstSerial = 1000001;  // serial number of the first camera, counting up
    std::string cameraKeys;  // extra "key=value" lines for every camera of the simulator's config
    std::vector<std::string> simArgs;
    bool startSimulator = true;
};

class NetFixture {
public:
    explicit NetFixture(std::vector<CameraLan> lans);
    ~NetFixture();
    NetFixture(const NetFixture&) = delete;
    NetFixture& operator=(const NetFixture&) = delete;

    // True when every link, address and simulator is up; otherwise Error() says what failed.
    bool Ready() const { return m_error.empty(); }
    const std::string& Error() const { return m_error; }

    const NetNamespace& Lan(std::size_t lan) const;
    // Lines the LAN's simulator received, "ip printable-line" each.
    std::vector<std::string> SimLog(std::size_t lan) const;

private:
    struct LanState;  // a LAN's layout, namespace, simulator and files
    TempDir m_files;  // the simulators' configurations and logs; outlives the LANs
    std::vector<std::unique_ptr<LanState>> m_lans;
    std::vector<std::string> m_hostLinks;
    std::string m_error;
};

}  // namespace zptest

#endif  // ZP_TESTS_SUPPORT_NET_FIXTURE_H
