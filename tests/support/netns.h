// Helpers for tests that run inside the private network namespace set up by
// netns_main.cpp. Every interface made here lives and dies with that namespace.
#pragma once

#include <string>

namespace zptest {

// Runs a shell script, stopping at the first failing command, in the calling thread's namespace;
// false (and the script on stderr) when it fails.
bool RunScript(const std::string& script);

// Makes a veth pair "name" <-> "peer" with the given MAC, MTU and IPv4 address
// ("10.1.2.3/24") on the first end, and brings both ends up. An empty address
// leaves the end without one.
bool AddVethPair(const std::string& name, const std::string& peer, const std::string& mac, int mtu,
                 const std::string& ipv4Cidr);

}  // namespace zptest
