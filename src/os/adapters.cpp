// Adapter lists in two record shapes, both built from the kernel's IPv4
// interface list (SIOCGIFCONF) by one shared walk.
#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "zpport/OSLayer.h"

namespace {

constexpr size_t kListBytes = 1024;  // room for 25 interface requests
constexpr size_t kHardwareAddressLength = 6;
constexpr char kDescription[] = "Network interface";

static_assert(sizeof(ifreq) == 40, "the interface list is counted in 40-byte requests");
static_assert(sizeof(kDescription) == sizeof(_OS_ADAPTER_INFO::Description), "description field width");

// The kernel's interface list, read into a fixed local buffer.
struct InterfaceList {
    ifreq entries[kListBytes / sizeof(ifreq)];
    size_t count = 0;
};

bool ReadInterfaceList(int fd, InterfaceList& list) {
    ifconf conf{};
    conf.ifc_len = static_cast<int>(sizeof(list.entries));
    conf.ifc_req = list.entries;
    if (ioctl(fd, SIOCGIFCONF, &conf) < 0) {
        perror("ioctl(SIOCGIFCONF)");
        return false;
    }
    list.count = static_cast<size_t>(conf.ifc_len) / sizeof(ifreq);
    return true;
}

// Every name that starts with these two letters counts as loopback.
bool IsLoopbackName(const char* name) { return std::strncmp(name, "lo", 2) == 0; }

// Runs one per-interface query on a request that carries the interface's name.
bool QueryInterface(int fd, const ifreq& entry, unsigned long request, const char* what, ifreq& reply) {
    reply = ifreq{};
    std::memcpy(reply.ifr_name, entry.ifr_name, sizeof(reply.ifr_name));
    if (ioctl(fd, request, &reply) < 0) {
        perror(what);
        return false;
    }
    return true;
}

bool QueryHardwareAddress(int fd, const ifreq& entry, uint8_t* out) {
    ifreq reply;
    if (!QueryInterface(fd, entry, SIOCGIFHWADDR, "ioctl(SIOCGIFHWADDR)", reply)) return false;
    std::memcpy(out, reply.ifr_hwaddr.sa_data, kHardwareAddressLength);
    return true;
}

void FormatIpv4(const sockaddr& address, char* out, size_t outSize) {
    const auto* in = reinterpret_cast<const sockaddr_in*>(&address);
    inet_ntop(AF_INET, &in->sin_addr, out, static_cast<socklen_t>(outSize));
}

// Lists the interfaces, negotiates the buffer size (need = record size x every
// listed interface, loopback included) and lets fill() write one record per
// non-loopback interface, slot after slot. A record's next pointer goes to the
// following slot unless its interface is the kernel's last entry; a skipped
// trailing loopback therefore leaves it pointing at an unfilled slot, which is
// kept as applications have always seen it.
template <typename Record, typename Fill>
int WalkAdapters(Record* buffer, uint32_t* size, Fill fill) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        perror("socket");
        return OS_ERR_SYSTEM;
    }
    InterfaceList list;
    if (!ReadInterfaceList(fd, list)) {
        close(fd);
        return OS_ERR_SYSTEM;
    }
    const uint32_t need = static_cast<uint32_t>(sizeof(Record) * list.count);
    if (*size < need) {
        *size = need;
        close(fd);
        return OS_ERR_BUFFER;
    }
    uint32_t slot = 0;
    for (size_t i = 0; i < list.count; ++i) {
        const ifreq& entry = list.entries[i];
        if (IsLoopbackName(entry.ifr_name)) continue;
        Record& record = buffer[slot];
        if (!fill(fd, entry, slot, record)) {
            close(fd);
            return OS_ERR_SYSTEM;
        }
        record.Next = (i + 1 < list.count) ? &buffer[slot + 1] : nullptr;
        ++slot;
    }
    close(fd);
    return OS_OK;
}

bool FillInfo(int fd, const ifreq& entry, uint32_t /*slot*/, _OS_ADAPTER_INFO& record) {
    std::strncpy(record.AdapterName, entry.ifr_name, sizeof(record.AdapterName));
    FormatIpv4(entry.ifr_addr, record.IpAddress, sizeof(record.IpAddress));
    ifreq reply;
    if (!QueryInterface(fd, entry, SIOCGIFNETMASK, "ioctl(SIOCGIFNETMASK)", reply)) return false;
    FormatIpv4(reply.ifr_netmask, record.IpMask, sizeof(record.IpMask));
    if (!QueryHardwareAddress(fd, entry, record.Address)) return false;
    record.AddressLength = kHardwareAddressLength;
    record.Zero = 0;
    std::memcpy(record.Description, kDescription, sizeof(kDescription));
    return true;
}

bool FillAddresses(int fd, const ifreq& entry, uint32_t slot, _OS_ADAPTER_ADDRESSES& record) {
    record.IfIndex = slot;
    ifreq reply;
    if (!QueryInterface(fd, entry, SIOCGIFMTU, "ioctl(SIOCGIFMTU)", reply)) return false;
    record.Mtu = static_cast<uint32_t>(reply.ifr_mtu);
    record.IfType = std::strncmp(entry.ifr_name, "wl", 2) == 0 ? OS_IF_TYPE_IEEE80211 : OS_IF_TYPE_ETHERNET;
    if (!QueryHardwareAddress(fd, entry, record.PhysicalAddress)) return false;
    record.PhysicalAddressLength = kHardwareAddressLength;
    return true;
}

}  // namespace

int OS_NetGetAdaptersInfo(_OS_ADAPTER_INFO* buffer, uint32_t* size) {
    return WalkAdapters(buffer, size, FillInfo);
}

int OS_GetAdaptersAddresses(_OS_ADAPTER_ADDRESSES* buffer, uint32_t* size) {
    return WalkAdapters(buffer, size, FillAddresses);
}
