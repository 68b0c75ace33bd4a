// GEEnumerate on veth networks made by the network fixture: the host adapters live in the test's
// namespace, the simulated cameras in camera namespaces.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "net/enumeration.h"
#include "support/net_fixture.h"

namespace zptest {
namespace {

HostAdapter Adapter(const std::string& name, int lan, int host) {
    char mac[32];
    std::snprintf(mac, sizeof mac, "02:00:00:00:%02X:%02X", lan, host);
    return {name, mac, 1500, "10.74." + std::to_string(lan) + "." + std::to_string(host) + "/24", ""};
}

CameraLan Lan(std::vector<HostAdapter> adapters, std::vector<std::string> ips,
              std::vector<std::string> simArgs = {}) {
    return CameraLan{std::move(adapters), std::move(ips), 24, 0x20, 1000001, "", std::move(simArgs)};
}

std::vector<_ZP_ENUMITEMEX> Enumerate(unsigned int& count, int protocol, unsigned int filter = 0) {
    std::vector<_ZP_ENUMITEMEX> items(count + 1);
    std::memset(static_cast<void*>(items.data()), 0x5A, items.size() * sizeof items[0]);
    GEEnumerate(items.data(), &count, protocol, 1027, filter);
    EXPECT_EQ(items.back().infoTag, 0x5A5A5A5Au) << "nothing written past the caller's capacity";
    return items;
}

// The first LAN has three cameras behind two adapters (answering on both), the second one camera
// that gives type 19, model 6 in binary answers.
TEST(GEEnumerate, AnswersBecomeItemsOncePerCameraOnTheFilteredAdaptersUpToTheCapacity) {
    NetFixture net(
        {Lan({Adapter("zpe0", 1, 1), Adapter("zpe1", 1, 2)}, {"10.74.1.10", "10.74.1.11", "10.74.1.12"}),
         Lan({Adapter("zpe2", 2, 1)}, {"10.74.2.10"}, {"--binary-type", "19", "--binary-model", "6"})});
    ASSERT_TRUE(net.Ready()) << net.Error();
    unsigned int count = 8;
    auto items = Enumerate(count, 2, 0x0A4A0101);  // zpe0 only
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(net.SimLog(0), std::vector<std::string>(
                                 {"10.74.1.10 54\\r\\n", "10.74.1.11 54\\r\\n", "10.74.1.12 54\\r\\n"}));
    EXPECT_TRUE(net.SimLog(1).empty()) << "no request on the other adapters";
    for (unsigned int i = 0; i < count; ++i) {
        const _ZP_ENUMITEMEX& item = items[i];
        const unsigned int camera = item.ipAddress - 0x0A4A010A;  // any order
        char text[600];
        std::snprintf(text, sizeof text, "%s %02X %s %s %s %u", item.ipText, item.cmdAddress,
                      item.adapterIpText, item.adapterMaskText, item.adapterMacText,
                      item.infoTag + item.serialNumber + item.cameraType);  // cleared, completed by the port
        EXPECT_EQ(text, "10.74.1.1" + std::to_string(camera) + " 2" + std::to_string(camera) +
                            " 10.74.1.1 255.255.255.0 02:00:00:00:01:01 0");
    }
    // Up to the capacity; 0 and all ones: every adapter; an address no adapter has: none.
    for (const auto& [capacity, filter, found] :
         {std::tuple{2u, 0x0A4A0101u, 2u}, {8u, 0u, 4u}, {8u, 0xFFFFFFFFu, 4u}, {8u, 0x0A4A0301u, 0u}}) {
        count = capacity;
        Enumerate(count, 2, filter);
        EXPECT_EQ(count, found) << std::hex << filter;
    }
    EXPECT_EQ(net.SimLog(0).size(), 3u + 3 + 6 + 6) << "one request from each adapter";
    EXPECT_EQ(net.SimLog(1).size(), 2u);

    count = 8;
    items = Enumerate(count, 1, 0x0A4A0201);
    EXPECT_EQ(net.SimLog(1).back(), "10.74.2.10 \\x01\\x00\\x08\\x01\\x08\\x00\\x00\\x00");
    ASSERT_EQ(count, 1u);
    // Type 19, model 6 is refined to type 23, model 2.
    EXPECT_EQ(std::vector<unsigned>({items[0].cameraType, items[0].modelNumber, items[0].serialNumber,
                                     items[0].macHigh, items[0].macLow}),
              std::vector<unsigned>({23, 2, 1000001, 0x025A, 0x0A4A020A}));
    EXPECT_EQ(std::string(items[0].ipText) + " " + items[0].adapterIpText, "10.74.2.10 10.74.2.1");
    // Only the two refused ports left to the system: every bind gets one; after eight tries the last
    // socket sends unbound, from a port outside the range.
    ASSERT_EQ(std::system("sysctl -q -w net.ipv4.ip_local_port_range='1028 1029'"), 0);
    count = 8;
    Enumerate(count, 1, 0x0A4A0201);
    std::system("sysctl -q -w net.ipv4.ip_local_port_range='32768 60999'");
    EXPECT_EQ(net.SimLog(1).size(), 4u);
    EXPECT_EQ(count, 1u);
}

}  // namespace
}  // namespace zptest
