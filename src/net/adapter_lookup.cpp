// Look-ups over the adapter list: by MAC text, by address (mask and MAC), and the MTU.
#include <strings.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "net/os_adapter_query.h"
#include "os/text_copy.h"
#include "zpport/AddressText.h"
#include "zpport/NetworkAdapters.h"

namespace {

constexpr int kMacLookupCapacity = 10;
constexpr int kMtuLookupCapacity = 32;
constexpr unsigned int kMinimumMtu = 1500;

}  // namespace

unsigned int IPAddressFromMACAddress(const char* macText, unsigned int& ip) {
    ip = 0;
    _NET_AD_DESCR list[kMacLookupCapacity];
    int count = kMacLookupCapacity;
    const int found = EnumerateNetworkAdapters(list, &count);
    for (int i = 0; macText != nullptr && i < found; ++i) {
        if (strcasecmp(list[i].macText, macText) == 0) {
            ip = list[i].ip;
            break;
        }
    }
    return static_cast<unsigned int>(found);
}

unsigned int MACAddressFromIPAddress(unsigned int&, unsigned int&, unsigned int&) {
    return 1;
}

void FindAdapterAddresses(unsigned int ip, unsigned int& ipOut, unsigned int& mask, unsigned int& macLow,
                          unsigned int& macHigh) {
    ipOut = ip;
    mask = 0;
    macLow = 0;
    macHigh = 0;
    char dotted[20];
    std::snprintf(dotted, sizeof dotted, "%u.%u.%u.%u", (ip >> 24) & 0xFFu, (ip >> 16) & 0xFFu,
                  (ip >> 8) & 0xFFu, ip & 0xFFu);
    std::vector<_OS_ADAPTER_INFO> records;
    if (!zpnet::QueryAdapters(OS_NetGetAdaptersInfo, records)) return;
    for (const _OS_ADAPTER_INFO* record : zpnet::FilledRecords(records, zpnet::IsFilledInfo)) {
        char address[sizeof record->IpAddress + 1];
        zpos::CopyText(address, record->IpAddress);
        if (strcasecmp(address, dotted) != 0) continue;
        const uint8_t* mac = record->Address;
        macHigh = (static_cast<unsigned int>(mac[0]) << 8) + mac[1];
        macLow = (static_cast<unsigned int>(mac[2]) << 24) | (static_cast<unsigned int>(mac[3]) << 16) |
                 (static_cast<unsigned int>(mac[4]) << 8) | mac[5];
        char maskText[sizeof record->IpMask + 1];
        zpos::CopyText(maskText, record->IpMask);
        StringAddressToLong(maskText, mask);
    }
}

void FindAdapterMTU(unsigned int ip, unsigned int& mtu) {
    mtu = kMinimumMtu;
    _NET_AD_DESCR list[kMtuLookupCapacity];
    int count = kMtuLookupCapacity;
    const int found = EnumerateNetworkAdapters(list, &count);
    for (int i = 0; i < found; ++i) {
        if (list[i].ip == ip) {
            mtu = list[i].mtu;
            break;
        }
    }
    if (mtu < kMinimumMtu) mtu = kMinimumMtu;
}
