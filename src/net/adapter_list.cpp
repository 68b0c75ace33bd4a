// EnumerateNetworkAdapters: the adapter list of discovery, with each adapter's MTU matched by MAC.
#include <strings.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "net/os_adapter_query.h"
#include "os/text_copy.h"
#include "zpport/AddressText.h"
#include "zpport/NetworkAdapters.h"

namespace {

constexpr unsigned int kUnknownMtu = 0xFFFFFFFFu;

void FormatMac(const uint8_t* bytes, char* out, size_t size) {
    std::snprintf(out, size, "%02X:%02X:%02X:%02X:%02X:%02X", bytes[0], bytes[1], bytes[2], bytes[3],
                  bytes[4], bytes[5]);
}

void FillDescription(const _OS_ADAPTER_INFO& info, _NET_AD_DESCR& entry) {
    std::memset(&entry, 0, sizeof entry);
    zpos::CopyText(entry.description, info.Description);
    char* cut = std::strstr(entry.description, " - ");
    if (cut != nullptr) *cut = '\0';
    char dotted[sizeof info.IpAddress + 1];
    zpos::CopyText(dotted, info.IpAddress);
    std::snprintf(entry.ipText, sizeof entry.ipText, "[%s]", dotted);
    StringAddressToLongSquare(entry.ipText, entry.ip);
    FormatMac(info.Address, entry.macText, sizeof entry.macText);
    zpos::CopyText(dotted, info.IpMask);
    std::snprintf(entry.maskText, sizeof entry.maskText, "[%s]", dotted);
    entry.mtu = 0;
}

// Gives each listed adapter the MTU of the first address record with the same MAC.
void MatchMtus(_NET_AD_DESCR* list, int count) {
    std::vector<_OS_ADAPTER_ADDRESSES> records;
    if (!zpnet::QueryAdapters(OS_GetAdaptersAddresses, records)) return;
    for (const _OS_ADAPTER_ADDRESSES* record : zpnet::FilledRecords(records, zpnet::IsFilledAddresses)) {
        if (record->PhysicalAddressLength <= 5) continue;
        char mac[32];
        FormatMac(record->PhysicalAddress, mac, sizeof mac);
        for (int i = 0; i < count; ++i) {
            if (strcasecmp(list[i].macText, mac) == 0) {
                list[i].mtu = record->Mtu == kUnknownMtu ? 0 : record->Mtu;
                break;
            }
        }
    }
}

}  // namespace

int EnumerateNetworkAdapters(_NET_AD_DESCR* list, int* count) {
    if (count == nullptr) return 0;
    const int capacity = list == nullptr ? 0 : *count;
    *count = 0;
    std::vector<_OS_ADAPTER_INFO> records;
    if (capacity <= 0 || !zpnet::QueryAdapters(OS_NetGetAdaptersInfo, records)) return 0;
    int found = 0;
    for (const _OS_ADAPTER_INFO* record : zpnet::FilledRecords(records, zpnet::IsFilledInfo)) {
        if (found == capacity) break;
        FillDescription(*record, list[found]);
        ++found;
    }
    MatchMtus(list, found);
    *count = found;
    return found;
}
