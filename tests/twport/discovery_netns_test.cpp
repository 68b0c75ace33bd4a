// PoEnumerate over a veth network: the test's namespace is the host, the cameras are simulated in
// camera namespaces behind one or two adapters. Found items then open, announce by real multicast
// across the link, and carry the address commands.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "support/net_fixture.h"
#include "tw_fixture.h"
#include "zpport/ZpPortTW.h"

namespace zptest {
namespace {

constexpr unsigned int kRoom = 128 + 8;  // what a caller must provide: existing items + 128
constexpr uint32_t kFirstSerial = 1000001;

std::string CameraIp(int lan, int index) { return "10.76." + std::to_string(lan) + "." + std::to_string(10 + index); }

HostAdapter Adapter(const std::string& name, int lan, int host, int mtu = 1500) {
    char mac[32], peer[32];
    std::snprintf(mac, sizeof mac, "02:00:00:00:%02X:%02X", 0x76, lan * 16 + host);
    std::snprintf(peer, sizeof peer, "02:00:00:01:%02X:%02X", 0x76, lan * 16 + host);
    return HostAdapter{name, mac, mtu, "10.76." + std::to_string(lan) + "." + std::to_string(host) + "/24", peer};
}

CameraLan Lan(std::vector<HostAdapter> adapters, int lan, int cameras, std::vector<std::string> simArgs = {}) {
    CameraLan layout;
    layout.adapters = std::move(adapters);
    for (int i = 0; i < cameras; ++i) layout.cameraIps.push_back(CameraIp(lan, i));
    layout.firstAddress = 0x10;
    layout.firstSerial = kFirstSerial;
    layout.simArgs = std::move(simArgs);
    return layout;
}

std::vector<_ZP_ENUMITEMEX> Enumerate(unsigned int& count, std::vector<_ZP_ENUMITEMEX> items = {}) {
    const unsigned int existing = static_cast<unsigned int>(items.size());
    items.resize(kRoom);
    EXPECT_EQ(PoEnumerate(items.data(), &count, existing), 0u);
    return items;
}

// Index of the camera an item stands for (its address's last byte counts from 10).
int CameraOf(const _ZP_ENUMITEMEX& item) { return static_cast<int>(item.ipAddress & 0xFF) - 10; }

void ExpectCompleteItem(const _ZP_ENUMITEMEX& item, unsigned int index, int lan, unsigned int mtu) {
    const int camera = CameraOf(item);
    SCOPED_TRACE("item " + std::to_string(index) + ", camera " + std::to_string(camera));
    ASSERT_GE(camera, 0);
    EXPECT_EQ(item.infoTag, 356u);
    EXPECT_EQ(item.portId, 0x2001u + index);
    EXPECT_EQ(item.cameraType, 12u);  // model 7
    EXPECT_EQ(item.typeFlag, 0u);
    EXPECT_EQ(item.interfaceType, 4u);
    EXPECT_EQ(item.serialNumber, kFirstSerial + static_cast<unsigned int>(camera));
    EXPECT_EQ(item.viWord18, 4u);
    EXPECT_EQ(item.viWord22, 2u);
    EXPECT_EQ(item.fwVersion, 0x102u);
    EXPECT_EQ(item.fwVersion2, 0u);
    EXPECT_EQ(item.reserved36, 0u);
    EXPECT_EQ(item.linkFlag, 1u);
    EXPECT_EQ(item.viByte204, 0u);
    EXPECT_EQ(item.bigSerial, 0u);
    EXPECT_EQ(item.viWord184, 0u);
    EXPECT_EQ(item.viWord196, 5000u);
    EXPECT_EQ(item.mtu, mtu);
    EXPECT_EQ(item.word76, 64u);
    EXPECT_EQ(item.viByte205, 1u);
    EXPECT_EQ(item.ipAddress, 0x0A4C000Au + static_cast<unsigned int>((lan << 8) + camera));
    EXPECT_EQ(item.ipText, CameraIp(lan, camera));
    EXPECT_EQ(item.cmdPort, 1027u);
    EXPECT_EQ(item.adapterIp, 0x0A4C0001u | static_cast<unsigned int>(lan << 8));
    EXPECT_EQ(item.adapterMask, 0xFFFFFF00u);
    EXPECT_EQ(item.adapterMacHigh, 0x0200u);
    EXPECT_EQ(item.adapterMac, 0x00007600u | static_cast<unsigned int>(lan * 16 + 1));
    EXPECT_EQ(item.adapterIpText, "10.76." + std::to_string(lan) + ".1");
    EXPECT_STREQ(item.adapterMaskText, "255.255.255.0");
    char adapterMac[32], cameraMac[32], name[32];
    std::snprintf(adapterMac, sizeof adapterMac, "02:00:00:00:76:%02X", lan * 16 + 1);
    std::snprintf(cameraMac, sizeof cameraMac, "02-00-00-01-76-%02X", lan * 16 + 1);
    std::snprintf(name, sizeof name, "Cam_%010u", kFirstSerial + static_cast<unsigned int>(camera));
    EXPECT_STREQ(item.adapterMacText, adapterMac);
    EXPECT_STREQ(item.macText, cameraMac);  // the camera end of the link, from the neighbour table
    EXPECT_EQ(item.macHigh, 0x0200u);
    EXPECT_STREQ(item.cameraName, name);  // the simulator's Camera ID answer has no quotes
    EXPECT_EQ(item.cmdAddress, 0u);
    EXPECT_EQ(item.byte1000, 1u);
    EXPECT_EQ(item.byte1001, 0u);
    EXPECT_EQ(item.word292, 3u);
}

class Discovery : public ::testing::Test {
protected:
    void TearDown() override { PoLinkInit(0); }
};

TEST_F(Discovery, FindsOneThreeAndSixteenCamerasWithEveryField) {
    for (int cameras : {1, 3, 16}) {
        SCOPED_TRACE(std::to_string(cameras) + " cameras");
        NetFixture net({Lan({Adapter("zpt0", 1, 1, 9000)}, 1, cameras)});
        ASSERT_TRUE(net.Ready()) << net.Error();
        unsigned int count = 0;
        const auto items = Enumerate(count);
        ASSERT_EQ(count, static_cast<unsigned int>(cameras));
        std::vector<int> seen;
        for (unsigned int i = 0; i < count; ++i) {
            ExpectCompleteItem(items[i], i, 1, 9000);
            seen.push_back(CameraOf(items[i]));
        }
        std::sort(seen.begin(), seen.end());
        EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end());
        EXPECT_EQ(items[count].infoTag, 0u);  // nothing written past the count
    }
}

TEST_F(Discovery, CameraIdAnswerNamesTheCamera) {
    NetFixture net({Lan({Adapter("zpt0", 1, 1)}, 1, 2, {"--control-port", "7076"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    UdpClient control("10.76.1.1");
    ASSERT_EQ(control.Exchange(CameraIp(1, 0), 7076, "@10.76.1.11 raw 52 #111152\"old\"\"Bay 4\"").value_or(""),
              "OK\n");
    unsigned int count = 0;
    const auto items = Enumerate(count);
    ASSERT_EQ(count, 2u);
    for (unsigned int i = 0; i < count; ++i) {
        EXPECT_STREQ(items[i].cameraName, CameraOf(items[i]) == 1 ? "Bay 4" : "Cam_0001000001");
    }
}

TEST_F(Discovery, ItemsAlreadyListedAreNotAddedAgain) {
    NetFixture net({Lan({Adapter("zpt0", 1, 1)}, 1, 3)});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 0;
    auto items = Enumerate(count);
    ASSERT_EQ(count, 3u);
    items.resize(3);
    count = 0;
    auto again = Enumerate(count, items);
    EXPECT_EQ(count, 3u);  // nothing new answered
    // The caller already has the second camera: the other two are appended after it.
    std::vector<_ZP_ENUMITEMEX> one(1);
    one[0].ipAddress = 0x0A4C010B;
    count = 0;
    again = Enumerate(count, one);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(again[0].infoTag, 0u);  // the caller's item is left alone
    for (unsigned int i = 1; i < 3; ++i) {
        EXPECT_NE(again[i].ipAddress, 0x0A4C010Bu);
        EXPECT_EQ(again[i].portId, 0x2001u + i);
    }
}

TEST_F(Discovery, ACameraOnTwoAdaptersIsListedOnce) {
    NetFixture net({Lan({Adapter("zpt0", 1, 1), Adapter("zpt1", 1, 2)}, 1, 2)});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 0;
    const auto items = Enumerate(count);
    ASSERT_EQ(count, 2u);
    EXPECT_NE(items[0].ipAddress, items[1].ipAddress);
}

TEST_F(Discovery, TheLinkAddressLimitsDiscoveryToOneAdapter) {
    NetFixture net({Lan({Adapter("zpt0", 1, 1, 9000)}, 1, 2), Lan({Adapter("zpt1", 2, 1)}, 2, 3)});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 0;
    Enumerate(count);
    EXPECT_EQ(count, 5u);
    PoLinkInit(0x0A4C0201);
    count = 0;
    const auto items = Enumerate(count);
    ASSERT_EQ(count, 3u);
    for (unsigned int i = 0; i < count; ++i) ExpectCompleteItem(items[i], i, 2, 1500);
    PoLinkInit(0x0A4C0101);
    count = 0;
    const auto first = Enumerate(count);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(first[0].mtu, 9000u);
}

TEST_F(Discovery, AnEnumeratedItemOpensAndHearsAnnouncementsByMulticast) {
    NetFixture net({Lan({Adapter("zpt0", 1, 1)}, 1, 1, {"--control-port", "7076"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 0;
    auto items = Enumerate(count);
    ASSERT_EQ(count, 1u);
    ZP_PORT_HANDLE handle = nullptr;
    ASSERT_EQ(PoOpen(&items[0], &handle), 0u);
    unsigned int status = 0;
    EXPECT_EQ(PoGetStatus(handle, 0, &status), 0u);
    EXPECT_EQ(PoClose(handle), 0u);
    // The callback is given before the open: setting it on an open port races with its listener.
    TestPort port;
    Announcements announcements;
    port.SetAnnouncementCallback(&Announcements::Callback, &announcements);
    ASSERT_EQ(port.Open(&items[0]), 1u);
    UdpClient control("10.76.1.1");
    EXPECT_EQ(control.Exchange(CameraIp(1, 0), 7076, "state 6").value_or(""), "OK\n");
    const auto texts = announcements.WaitFor(1);
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.back(), "#1001A406_[10.76.1.10]");
    port.Close();
}

TEST_F(Discovery, AddressCommandsReachTheCameraInTheirOrder) {
    const struct {
        const char* cameraKeys;
        std::vector<std::string> setLines;
    } cases[] = {
        {"ip-word=0x0A4C010A\nmask-word=0xFFFFFF00\n",
         {"54\\r\\n", "#100102\\r\\n", "#104D\\r\\n", "#104EFFFF0000\\r\\n", "#104D0A4C0163\\r\\n", "#105F\\r\\n"}},
        {"ip-word=0\nmask-word=0\n",
         {"54\\r\\n", "#100102\\r\\n", "#104D\\r\\n", "#104D0A4C0163\\r\\n", "#104EFFFF0000\\r\\n", "#105F\\r\\n"}},
    };
    for (const auto& c : cases) {
        CameraLan lan = Lan({Adapter("zpt0", 1, 1)}, 1, 1);
        lan.cameraKeys = c.cameraKeys;
        NetFixture net({lan});
        ASSERT_TRUE(net.Ready()) << net.Error();
        unsigned int count = 0;
        auto items = Enumerate(count);
        ASSERT_EQ(count, 1u);
        const size_t before = net.SimLog(0).size();
        ASSERT_EQ(PoSetIpAddress(&items[0], 0x0A4C0163, 0xFFFF0000), 0u);
        unsigned int address = 0, mask = 0;
        ASSERT_EQ(PoGetIpAddress(&items[0], &address, &mask), 0u);
        EXPECT_EQ(address, 0x0A4C0163u);  // the simulator took the new words
        EXPECT_EQ(mask, 0xFFFF0000u);
        auto lines = net.SimLog(0);
        lines.erase(lines.begin(), lines.begin() + static_cast<long>(before));
        for (auto& line : lines) line = line.substr(line.find(' ') + 1);
        std::vector<std::string> expected = c.setLines;
        expected.insert(expected.end(), {"54\\r\\n", "#104D\\r\\n", "#104E\\r\\n"});
        EXPECT_EQ(lines, expected);
    }
}

TEST_F(Discovery, WithoutAdaptersTheCallerGetsTheClearedItemsQuickly) {
    const auto start = std::chrono::steady_clock::now();
    unsigned int count = 0;
    const auto items = Enumerate(count);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    ASSERT_EQ(count, 128u);  // the preset of the found list is kept as applications know it
    EXPECT_EQ(items[127].portId, 0x2001u + 127);
    EXPECT_EQ(items[127].infoTag, 356u);
    EXPECT_EQ(items[127].ipAddress, 0u);
    EXPECT_STREQ(items[127].ipText, "");
    EXPECT_EQ(items[127].serialNumber, 0u);  // no camera was asked
}

}  // namespace
}  // namespace zptest
