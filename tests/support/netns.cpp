#include "support/netns.h"

#include <cstdio>
#include <cstdlib>

namespace zptest {

bool RunScript(const std::string& script) {
    const int rc = std::system(("set -e\n" + script).c_str());
    if (rc != 0) std::fprintf(stderr, "netns: failed (%d):\n%s\n", rc, script.c_str());
    return rc == 0;
}

bool AddVethPair(const std::string& name, const std::string& peer, const std::string& mac, int mtu,
                 const std::string& ipv4Cidr) {
    std::string script = "ip link add " + name + " type veth peer name " + peer + "\n";
    if (!mac.empty()) script += "ip link set " + name + " address " + mac + "\n";
    if (mtu > 0) script += "ip link set " + name + " mtu " + std::to_string(mtu) + "\n";
    if (!ipv4Cidr.empty()) script += "ip addr add " + ipv4Cidr + " dev " + name + "\n";
    return RunScript(script + "ip link set " + name + " up\nip link set " + peer + " up\n");
}

}  // namespace zptest
