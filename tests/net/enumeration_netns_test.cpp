// GEEnumerate on veth networks made by the network fixture: the host adapters live in the test's
// namespace, the simulated cameras in camera namespaces.
#include <gtest/gtest.h>

#include <cstring>

#include "net/enumeration.h"
#include "support/net_fixture.h"

namespace zptest {
namespace {

HostAdapter Adapter(const std::string& name, int lan, int host) {
    char mac[32];
    std::snprintf(mac, sizeof mac, "02:00:00:00:%02X:%02X", lan, host);
    return HostAdapter{name, mac, 1500, "10.74." + std::to_string(lan) + "." + std::to_string(host) + "/24",
                       ""};
}

CameraLan Lan(std::vector<HostAdapter> adapters, std::vector<std::string> ips,
              std::vector<std::string> simArgs = {}) {
    CameraLan lan;
    lan.adapters = std::move(adapters);
    lan.cameraIps = std::move(ips);
    lan.simArgs = std::move(simArgs);
    lan.firstAddress = 0x20;
    return lan;
}

std::vector<_ZP_ENUMITEMEX> Enumerate(unsigned int& count, int protocol = 2, unsigned int filter = 0) {
    std::vector<_ZP_ENUMITEMEX> items(count + 1);
    std::memset(static_cast<void*>(items.data()), 0x5A, items.size() * sizeof items[0]);
    GEEnumerate(items.data(), &count, protocol, 1027, filter);
    EXPECT_EQ(items.back().infoTag, 0x5A5A5A5Au) << "nothing written past the caller's capacity";
    return items;
}

TEST(GEEnumerate, WithoutAdaptersTheCountStays) {
    unsigned int count = 128;
    GEEnumerate(nullptr, &count, 2, 1027, 0);
    EXPECT_EQ(count, 128u);
}

TEST(GEEnumerate, AsciiAnswersBecomeItemsWithTheirAdapterUpToTheCapacity) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10", "10.74.1.11", "10.74.1.12"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 8;
    auto items = Enumerate(count);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(net.SimLog(0), std::vector<std::string>(
                                 {"10.74.1.10 54\\r\\n", "10.74.1.11 54\\r\\n", "10.74.1.12 54\\r\\n"}));
    for (unsigned int i = 0; i < count; ++i) {
        const _ZP_ENUMITEMEX& item = items[i];
        const unsigned int camera =
            item.ipAddress - 0x0A4A010A;  // any order; fields cleared, completed later by the port
        char text[600];
        std::snprintf(text, sizeof text, "%s %02X %s %s %s %u", item.ipText, item.cmdAddress,
                      item.adapterIpText, item.adapterMaskText, item.adapterMacText,
                      item.infoTag + item.serialNumber + item.cameraType);
        EXPECT_EQ(text, "10.74.1.1" + std::to_string(camera) + " 2" + std::to_string(camera) +
                            " 10.74.1.1 255.255.255.0 02:00:00:00:01:01 0");
    }
    count = 2;
    Enumerate(count);
    EXPECT_EQ(count, 2u);
}

TEST(GEEnumerate, ACameraOnTwoAdaptersIsListedOnceAndTheFilterPicksOneAdapter) {
    NetFixture net({Lan({Adapter("zpe0", 1, 1), Adapter("zpe1", 1, 2)}, {"10.74.1.10"}),
                    Lan({Adapter("zpe2", 2, 1)}, {"10.74.2.10"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 8;
    auto items = Enumerate(count);
    EXPECT_EQ(net.SimLog(0).size(), 2u) << "one request from each adapter";
    ASSERT_EQ(count, 2u);
    EXPECT_NE(std::string(items[0].ipText), items[1].ipText);
    count = 8;
    items = Enumerate(count, 2, 0x0A4A0201);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(std::string(items[0].ipText) + " " + items[0].adapterIpText, "10.74.2.10 10.74.2.1");
    EXPECT_EQ(net.SimLog(0).size(), 2u) << "no request on the other adapters";
    count = 8;
    Enumerate(count, 2, 0xFFFFFFFF);  // all adapters, as 0 does
    EXPECT_EQ(count, 2u);
    count = 8;
    Enumerate(count, 2, 0x0A4A0301);  // no adapter has this address
    EXPECT_EQ(count, 0u);
}

TEST(GEEnumerate, BinaryRequestGoesToTheSubnetBroadcastAwayFromPorts1028And1029) {
    NetFixture net(
        {Lan({Adapter("zpe0", 1, 1)}, {"10.74.1.10"}, {"--binary-type", "19", "--binary-model", "6"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 8;
    auto items = Enumerate(count, 1);
    EXPECT_EQ(net.SimLog(0), std::vector<std::string>{"10.74.1.10 \\x01\\x00\\x08\\x01\\x08\\x00\\x00\\x00"});
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(items[0].cameraType, 23u) << "type 19, model 6: type 23, model 2";
    EXPECT_EQ(items[0].modelNumber, 2u);
    EXPECT_EQ(items[0].serialNumber, 1000001u);
    EXPECT_EQ(items[0].macHigh, 0x025Au);
    EXPECT_EQ(items[0].macLow, 0x0A4A010Au);
    EXPECT_EQ(std::string(items[0].ipText) + " " + items[0].adapterIpText, "10.74.1.10 10.74.1.1");
    count = 8;
    Enumerate(count, 0);
    EXPECT_EQ(count, 0u) << "protocol 0 does not accept type 19";
    // Only the two refused ports left to the system: every bind gets one; after eight tries the last
    // socket sends unbound, from a port outside the range.
    ASSERT_EQ(std::system("sysctl -q -w net.ipv4.ip_local_port_range='1028 1029'"), 0);
    count = 8;
    Enumerate(count, 1);
    std::system("sysctl -q -w net.ipv4.ip_local_port_range='32768 60999'");
    EXPECT_EQ(net.SimLog(0).size(), 3u);
    EXPECT_EQ(count, 1u);
}

}  // namespace
}  // namespace zptest
