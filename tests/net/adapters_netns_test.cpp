// The adapter list and its look-ups over veth adapters made inside the test's own namespace.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/netns.h"
#include "zpport/NetworkAdapters.h"

namespace {

using zptest::AddVethPair;
using zptest::DeleteLink;

// Two adapters as a host might have them: a jumbo-frame camera link and a small-MTU one.
class TwoAdapters : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(AddVethPair("zpa0", "zpa0p", "02:00:00:00:71:0a", 9000, "10.71.1.1/24"));
        ASSERT_TRUE(AddVethPair("zpa1", "zpa1p", "02:00:00:00:71:0B", 576, "10.72.0.1/16"));
    }
    void TearDown() override {
        DeleteLink("zpa0");
        DeleteLink("zpa1");
    }
};

constexpr unsigned int kFirst = 0x0A470101;   // 10.71.1.1
constexpr unsigned int kSecond = 0x0A480001;  // 10.72.0.1

TEST(NoAdapters, ListAndLookupsReportNothing) {
    _NET_AD_DESCR list[4];
    int count = 4;
    EXPECT_EQ(EnumerateNetworkAdapters(list, &count), 0);
    EXPECT_EQ(count, 0);
    unsigned int ip = 7;
    EXPECT_EQ(IPAddressFromMACAddress("02:00:00:00:71:0A", ip), 0u);
    EXPECT_EQ(ip, 0u);
    unsigned int mtu = 0;
    FindAdapterMTU(kFirst, mtu);
    EXPECT_EQ(mtu, 1500u);
}

TEST_F(TwoAdapters, EveryFieldOfTheList) {
    _NET_AD_DESCR list[8];
    int count = 8;
    ASSERT_EQ(EnumerateNetworkAdapters(list, &count), 2);
    EXPECT_EQ(count, 2);
    EXPECT_STREQ(list[0].description, "Network interface");
    EXPECT_STREQ(list[0].ipText, "[10.71.1.1]");
    EXPECT_EQ(list[0].ip, kFirst);
    EXPECT_STREQ(list[0].macText, "02:00:00:00:71:0A");
    EXPECT_STREQ(list[0].maskText, "[255.255.255.0]");
    EXPECT_EQ(list[0].mtu, 9000u);
    EXPECT_STREQ(list[1].ipText, "[10.72.0.1]");
    EXPECT_EQ(list[1].ip, kSecond);
    EXPECT_STREQ(list[1].macText, "02:00:00:00:71:0B");
    EXPECT_STREQ(list[1].maskText, "[255.255.0.0]");
    EXPECT_EQ(list[1].mtu, 576u);
}

TEST_F(TwoAdapters, CapacityIsNeverExceeded) {
    for (int capacity : {0, 1, 2}) {
        std::vector<_NET_AD_DESCR> list(3);
        std::memset(list.data(), 0x5A, list.size() * sizeof list[0]);
        int count = capacity;
        EXPECT_EQ(EnumerateNetworkAdapters(list.data(), &count), capacity);
        EXPECT_EQ(count, capacity);
        const auto* spare = reinterpret_cast<const unsigned char*>(&list[static_cast<size_t>(capacity)]);
        for (size_t i = 0; i < sizeof(_NET_AD_DESCR); ++i) ASSERT_EQ(spare[i], 0x5A) << capacity;
    }
    int count = 4;
    EXPECT_EQ(EnumerateNetworkAdapters(nullptr, &count), 0);
    EXPECT_EQ(count, 0);
}

TEST_F(TwoAdapters, AddressFromMacIgnoresCase) {
    unsigned int ip = 0;
    EXPECT_EQ(IPAddressFromMACAddress("02:00:00:00:71:0b", ip), 2u);
    EXPECT_EQ(ip, kSecond);
    EXPECT_EQ(IPAddressFromMACAddress("02:00:00:00:71:0C", ip), 2u);
    EXPECT_EQ(ip, 0u);
}

TEST_F(TwoAdapters, AdapterAddressesByIp) {
    unsigned int ipOut = 0, mask = 0, low = 0, high = 0;
    FindAdapterAddresses(kSecond, ipOut, mask, low, high);
    EXPECT_EQ(ipOut, kSecond);
    EXPECT_EQ(mask, 0xFFFF0000u);
    EXPECT_EQ(high, 0x0200u);
    EXPECT_EQ(low, 0x0000710Bu);
    FindAdapterAddresses(0x0A490001, ipOut, mask, low, high);
    EXPECT_EQ(ipOut, 0x0A490001u);
    EXPECT_EQ(mask, 0u);
    EXPECT_EQ(low, 0u);
    EXPECT_EQ(high, 0u);
}

TEST_F(TwoAdapters, MtuIsAtLeast1500) {
    const struct {
        unsigned int ip, mtu;
    } cases[] = {{kFirst, 9000}, {kSecond, 1500}, {0x0A490001, 1500}};
    for (const auto& c : cases) {
        unsigned int mtu = 0;
        FindAdapterMTU(c.ip, mtu);
        EXPECT_EQ(mtu, c.mtu) << std::hex << c.ip;
    }
}

}  // namespace
