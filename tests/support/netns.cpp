#include "support/netns.h"

#include <cstdio>
#include <cstdlib>

namespace zptest {

bool RunIp(const std::string& args) {
    const std::string cmd = "ip " + args;
    const int rc = std::system(cmd.c_str());
    if (rc != 0) std::fprintf(stderr, "netns: '%s' failed (%d)\n", cmd.c_str(), rc);
    return rc == 0;
}

bool AddVethPair(const std::string& name, const std::string& peer, const std::string& mac, int mtu,
                 const std::string& ipv4Cidr) {
    if (!RunIp("link add " + name + " type veth peer name " + peer)) return false;
    if (!mac.empty() && !RunIp("link set " + name + " address " + mac)) return false;
    if (mtu > 0 && !RunIp("link set " + name + " mtu " + std::to_string(mtu))) return false;
    if (!ipv4Cidr.empty() && !RunIp("addr add " + ipv4Cidr + " dev " + name)) return false;
    return RunIp("link set " + name + " up") && RunIp("link set " + peer + " up");
}

bool DeleteLink(const std::string& name) {
    return RunIp("link del " + name);
}

}  // namespace zptest
