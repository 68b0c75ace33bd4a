// Discovery: broadcast enumeration across the host's adapters and completion of each item.
#include <cstdio>
#include <cstring>
#include <vector>

#include "net/discovery_answers.h"
#include "net/enumeration.h"
#include "net/neighbour_table.h"
#include "os/text_copy.h"
#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/NetworkAdapters.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr unsigned int kFoundCapacity = 128;
constexpr unsigned int kInfoTag = 356;
constexpr unsigned int kFirstPortId = 0x2001;
constexpr unsigned int kEthernetInterface = 4;
constexpr unsigned int kWord292 = 3;
constexpr unsigned int kWord76 = 64;
constexpr unsigned int kBigSerialAbove = 2999999999u;
constexpr unsigned int kDefaultWord196 = 5000;
constexpr unsigned int kDefaultWord22 = 2;
constexpr int kWord196Index = 6;  // words184[6] is the word at offset 196

bool IsListed(const _ZP_ENUMITEMEX* items, unsigned int existing, unsigned int ipAddress) {
    for (unsigned int i = 0; i < existing; ++i) {
        if (items[i].ipAddress == ipAddress) return true;
    }
    return false;
}

// The fields every item takes from the answer and the adapter it came on.
void CopyAnswer(_ZP_ENUMITEMEX& item, const _ZP_ENUMITEMEX& found, unsigned int index) {
    item.portId = kFirstPortId + index;
    std::memset(&item.cmdAddress, 0, 4);  // bytes 996..999: the address byte stays with the port
    item.infoTag = kInfoTag;
    zpos::CopyText(item.adapterIpText, found.adapterIpText);
    zpos::CopyText(item.adapterMaskText, found.adapterMaskText);
    zpos::CopyText(item.adapterMacText, found.adapterMacText);
    zpos::CopyText(item.ipText, found.ipText);
    StringToMACAddress(item.adapterMacText, item.adapterMac, item.adapterMacHigh);
    StringAddressToLong(item.adapterIpText, item.adapterIp);
    StringAddressToLong(item.adapterMaskText, item.adapterMask);
    item.ipAddress = found.ipAddress;
    item.cmdPort = kCommandPort;
    item.byte1000 = 1;
    item.byte1001 = 0;
}

void CopyVendorFields(_ZP_ENUMITEMEX& item, const _VENDOR_INFO& info) {
    item.infoTag = kInfoTag;
    item.interfaceType = kEthernetInterface;
    item.word292 = kWord292;
    item.linkFlag = 1;
    item.cameraType = info.classCode;
    item.viWord18 = info.word18;
    item.typeFlag = info.cameraTypeByte != 0 ? 1 : 0;
    item.serialNumber = info.serialNumber;
    item.viWord22 = info.word22 != 0 ? info.word22 : kDefaultWord22;
    item.viByte204 = info.byte204;
    item.bigSerial = info.serialNumber > kBigSerialAbove ? 1 : 0;
    item.viWord184 = info.words184[0] * 10000u;
    const unsigned int word196 = info.words184[kWord196Index];
    item.viWord196 = word196 != 0 ? word196 * 100u : kDefaultWord196;
    item.viByte205 = info.byte205;
    item.word76 = kWord76;
    item.reserved36 = 0;
    item.reserved56 = 0;
    item.reserved64 = 0;
    std::memset(item.reserved80, 0, sizeof item.reserved80);
    item.reserved92 = 0;
    item.reserved108 = 0;
}

}  // namespace

void CTWPort::Enumerate(_ZP_ENUMITEMEX* items, unsigned int* count, unsigned int existing) {
    if (count == nullptr) return;
    if (items == nullptr) {
        *count = existing;
        return;
    }
    Broadcast();
    std::vector<_ZP_ENUMITEMEX> found(kFoundCapacity);
    unsigned int foundCount = kFoundCapacity;
    GEEnumerate(found.data(), &foundCount, zpnet::kEnumProtocolAscii, kCommandPort, m_nEnumIPAdd,
                zpnet::EnumTrace{&m_Trace, m_dwTraceChannel});
    const unsigned int traceChannel = m_dwTraceChannel;
    unsigned int next = existing;
    for (unsigned int i = 0; i < foundCount && i < kFoundCapacity; ++i) {
        if (IsListed(items, existing, found[i].ipAddress)) continue;
        _ZP_ENUMITEMEX& item = items[next];
        CopyAnswer(item, found[i], next);
        m_dwTraceChannel = item.portId;
        m_byCameraAddress.store(found[i].cmdAddress);
        zpos::CopyText(m_szCameraAddress, item.ipText);
        GetEnumInfo(&item);
        // The answer does not carry the camera's MAC; after the exchange the kernel knows it.
        zpnet::NeighbourMacAddress(item.ipAddress, item.macLow, item.macHigh);
        MACAddressToString(item.macLow, item.macHigh, item.macText);
        ++next;
    }
    *count = next;
    m_dwTraceChannel = traceChannel;
}

unsigned int CTWPort::GetEnumInfo(_ZP_ENUMITEMEX* item) {
    // An item without a camera address (the empty-adapter-list path) is not asked anything.
    if (item == nullptr || m_szCameraAddress[0] == '\0') return 0;
    _VENDOR_INFO info{};
    if (GetVendorInfo(&info) == 0) return 0;
    CopyVendorFields(*item, info);
    GetControllersVersion(m_dwFwVersion[0], m_dwFwVersion[1]);
    item->fwVersion = m_dwFwVersion[0];
    item->fwVersion2 = m_dwFwVersion[1];
    StringToMACAddress(item->macText, item->macLow, item->macHigh);
    StringToMACAddress(item->adapterMacText, item->adapterMac, item->adapterMacHigh);
    StringAddressToLong(item->adapterIpText, item->adapterIp);
    StringAddressToLong(item->adapterMaskText, item->adapterMask);
    FindAdapterMTU(item->adapterIp, item->mtu);
    std::snprintf(item->cameraName, sizeof item->cameraName, "Cam_%010u", item->serialNumber);
    char buffer[kLineBufferSize];
    Command(buffer, kCommandTimeoutUs, "#%02X52", static_cast<unsigned int>(m_byCameraAddress.load()));
    zpnet::CameraNameFromAnswer(buffer, item->cameraName, sizeof item->cameraName);
    return 1;
}
