// Benchmarks that broadcast or build veth links run only where bench_main moved the process into
// a private network namespace: there, before any link is made, the only interface is loopback.
#ifndef ZP_BENCH_PRIVATE_NAMESPACE_H
#define ZP_BENCH_PRIVATE_NAMESPACE_H

#include <net/if.h>

#include <string>

inline bool InPrivateNamespace() {
    struct if_nameindex* interfaces = ::if_nameindex();
    if (interfaces == nullptr) return false;
    bool onlyLoopback = true;
    for (const struct if_nameindex* entry = interfaces; entry->if_index != 0; ++entry) {
        onlyLoopback = onlyLoopback && std::string(entry->if_name) == "lo";
    }
    ::if_freenameindex(interfaces);
    return onlyLoopback;
}

#endif  // ZP_BENCH_PRIVATE_NAMESPACE_H
