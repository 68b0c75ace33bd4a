// PoEnumerate over a veth network: the test's namespace is the host, the cameras are simulated in
// camera namespaces behind one or two adapters. Found items then open and hear announcements by
// real multicast across the link.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/net_fixture.h"
#include "tw_fixture.h"
#include "zpport/ZpPortTW.h"

namespace zptest {
namespace {

constexpr unsigned int kRoom = 128 + 8;  // what a caller must provide: existing items + 128
const uint32_t kFirstSerial = CameraLan{}.firstSerial;

std::string CameraIp(int lan, int index) {
    return "10.76." + std::to_string(lan) + "." + std::to_string(10 + index);
}

HostAdapter Adapter(const std::string& name, int lan, int host, int mtu = 1500) {
    char mac[32], peer[32];
    std::snprintf(mac, sizeof mac, "02:00:00:00:76:%02X", lan * 16 + host);
    std::snprintf(peer, sizeof peer, "02:00:00:01:76:%02X", lan * 16 + host);
    return HostAdapter{name, mac, mtu, "10.76." + std::to_string(lan) + "." + std::to_string(host) + "/24",
                       peer};
}

CameraLan Lan(std::vector<HostAdapter> adapters, int lan, int cameras,
              std::vector<std::string> simArgs = {}) {
    CameraLan layout;
    layout.adapters = std::move(adapters);
    for (int i = 0; i < cameras; ++i) layout.cameraIps.push_back(CameraIp(lan, i));
    layout.simArgs = std::move(simArgs);
    return layout;
}

std::vector<_ZP_ENUMITEMEX> Enumerate(unsigned int& count, std::vector<_ZP_ENUMITEMEX> items = {}) {
    const unsigned int existing = static_cast<unsigned int>(items.size());
    items.resize(kRoom);
    count = 0;
    EXPECT_EQ(PoEnumerate(items.data(), &count, existing), 0u);
    return items;
}

// Index of the camera an item stands for (its address's last byte counts from 10).
int CameraOf(const _ZP_ENUMITEMEX& item) {
    return static_cast<int>(item.ipAddress & 0xFF) - 10;
}

// The name a camera gets from its serial number; the simulator's name answer has no quotes.
std::string NameOf(int camera) {
    char name[32];
    std::snprintf(name, sizeof name, "Cam_%010u", kFirstSerial + static_cast<unsigned int>(camera));
    return name;
}

void ExpectCompleteItem(const _ZP_ENUMITEMEX& item, unsigned int index, int lan, unsigned int mtu) {
    const int camera = CameraOf(item);
    SCOPED_TRACE("item " + std::to_string(index) + ", camera " + std::to_string(camera));
    ASSERT_GE(camera, 0);
    const unsigned int serial = kFirstSerial + static_cast<unsigned int>(camera);
    const unsigned int ip = 0x0A4C000Au + static_cast<unsigned int>((lan << 8) + camera);
    const unsigned int adapterIp = 0x0A4C0001u | static_cast<unsigned int>(lan << 8);
    const unsigned int adapterMacLow = 0x00007600u | static_cast<unsigned int>(lan * 16 + 1);
    // Words from the answer, the adapter and the vendor record (camera type 12: model 7).
    // clang-format off
    const std::pair<unsigned int, unsigned int> words[] = {
        {item.infoTag, 356u},          {item.portId, 0x2001u + index}, {item.cameraType, 12u},
        {item.typeFlag, 0u},           {item.interfaceType, 4u},       {item.serialNumber, serial},
        {item.viWord18, 4u},           {item.viWord22, 2u},            {item.fwVersion, 0x102u},
        {item.fwVersion2, 0u},         {item.reserved36, 0u},          {item.linkFlag, 1u},
        {item.viByte204, 0u},          {item.bigSerial, 0u},           {item.viWord184, 0u},
        {item.viWord196, 5000u},       {item.mtu, mtu},                {item.word76, 64u},
        {item.viByte205, 1u},          {item.cmdPort, 1027u},          {item.adapterMask, 0xFFFFFF00u},
        {item.ipAddress, ip},          {item.adapterIp, adapterIp},    {item.adapterMacHigh, 0x0200u},
        {item.adapterMac, adapterMacLow}, {item.macHigh, 0x0200u},        {item.cmdAddress, 0u},
        {item.byte1000, 1u},           {item.byte1001, 0u},            {item.word292, 3u}};
    // clang-format on
    for (size_t i = 0; i < sizeof words / sizeof words[0]; ++i)
        EXPECT_EQ(words[i].second, words[i].first) << i;
    char adapterMac[32], cameraMac[32];
    std::snprintf(adapterMac, sizeof adapterMac, "02:00:00:00:76:%02X", lan * 16 + 1);
    std::snprintf(cameraMac, sizeof cameraMac, "02-00-00-01-76-%02X", lan * 16 + 1);
    // The camera's MAC is that of its end of the link, from the host's neighbour table.
    const std::pair<std::string, std::string> texts[] = {
        {item.ipText, CameraIp(lan, camera)},
        {item.adapterIpText, "10.76." + std::to_string(lan) + ".1"},
        {item.adapterMaskText, "255.255.255.0"},
        {item.adapterMacText, adapterMac},
        {item.macText, cameraMac},
        {item.cameraName, NameOf(camera)}};
    for (const auto& [got, expected] : texts) EXPECT_EQ(expected, got);
}

TEST(Discovery, FindsEveryCameraOnTheLinkWithEveryField) {
    for (int cameras : {1, 16}) {
        SCOPED_TRACE(std::to_string(cameras) + " cameras");
        // A camera on the camera side's loopback does not hear the link's broadcast. The answers come
        // 96 ms apart, so that the worker listens the whole window: the sixteenth answers after 1.44 s.
        NetFixture net({Lan({Adapter("zpt0", 1, 1, 9000)}, 1, cameras,
                            {"--ip", "127.0.0.5", "--discovery-spread", "96"})});
        ASSERT_TRUE(net.Ready()) << net.Error();
        const auto openFiles = [] {
            return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
        };
        const auto files = openFiles();
        unsigned int count = 0;
        const auto items = Enumerate(count);
        EXPECT_EQ(files, openFiles()) << "every socket of the enumeration is closed";
        ASSERT_EQ(count, static_cast<unsigned int>(cameras));
        for (unsigned int i = 0; i < count; ++i) ExpectCompleteItem(items[i], i, 1, 9000);
        EXPECT_EQ(items[count].infoTag, 0u);  // nothing written past the count
    }
}

// Two LANs: the first behind two adapters (its cameras answer on both), the second behind one.
TEST(Discovery, ListsEachCameraOnceAddsOnlyNewOnesAndTheLinkAddressLimitsItToOneAdapter) {
    NetFixture net(
        {Lan({Adapter("zpt0", 1, 1, 9000), Adapter("zpt1", 1, 2)}, 1, 2, {"--control-port", "7076"}),
         Lan({Adapter("zpt2", 2, 1)}, 2, 3)});
    ASSERT_TRUE(net.Ready()) << net.Error();
    UdpClient control("10.76.1.1");
    ASSERT_EQ(
        "OK\n",
        control.Exchange(CameraIp(1, 0), 7076, "@10.76.1.11 raw 52 #111152\"old\"\"Bay 4\"").value_or(""));
    unsigned int count = 0;
    Enumerate(count);
    EXPECT_EQ(count, 5u);
    PoLinkInit(0x0A4C0201);
    auto items = Enumerate(count);
    ASSERT_EQ(count, 3u);
    for (unsigned int i = 0; i < count; ++i) ExpectCompleteItem(items[i], i, 2, 1500);
    PoLinkInit(0x0A4C0101);
    items = Enumerate(count);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(items[0].mtu, 9000u);
    for (unsigned int i = 0; i < count; ++i) {
        EXPECT_EQ(items[i].cameraName, CameraOf(items[i]) == 1 ? "Bay 4" : NameOf(CameraOf(items[i])));
    }
    // The caller already has the second camera: the other is appended after it.
    std::vector<_ZP_ENUMITEMEX> one(1);
    one[0].ipAddress = 0x0A4C010B;
    items = Enumerate(count, one);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(items[0].infoTag, 0u);  // the caller's item is left alone
    EXPECT_EQ(items[1].ipAddress, 0x0A4C010Au);
    EXPECT_EQ(items[1].portId, 0x2002u);
    // An enumerated item opens; announcements reach it by multicast. The callback is given before
    // the open: setting it on an open port races with its listener.
    TestPort port;
    Announcements announcements;
    port.SetAnnouncementCallback(&Announcements::Callback, &announcements);
    ASSERT_EQ(port.Open(&items[1]), 1u);
    EXPECT_EQ(control.Exchange(CameraIp(1, 0), 7076, "@10.76.1.10 state 6").value_or(""), "OK\n");
    const auto texts = announcements.WaitFor(1);
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.back(), "#1001A406_[10.76.1.10]");
    port.Close();
    PoLinkInit(0);
}

TEST(Discovery, WithoutAdaptersTheCallerGetsTheClearedItems) {
    unsigned int count = 0;
    const auto items = Enumerate(count);
    ASSERT_EQ(count, 128u);  // the preset of the found list is kept as applications know it
    EXPECT_EQ(items[127].portId, 0x2001u + 127);
    EXPECT_EQ(items[127].infoTag, 356u);
    EXPECT_EQ(items[127].serialNumber, 0u);  // no camera was asked
}

}  // namespace
}  // namespace zptest
