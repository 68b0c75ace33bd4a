// Adapter lists, run inside the test's private network namespace. The kernel
// lists lo, eth7, wlan3 and loop9 in creation order (the veth peers have no IPv4
// address, so they are not listed).
#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "support/netns.h"
#include "zpport/OSLayer.h"

namespace {

constexpr uint8_t kFill = 0xA5;
constexpr uint32_t kListed = 4;  // lo, eth7, wlan3, loop9
constexpr uint8_t kEthMac[6] = {0x02, 0x00, 0x00, 0xaa, 0xbb, 0x01};
constexpr uint8_t kWlanMac[6] = {0x02, 0x00, 0x00, 0xaa, 0xbb, 0x02};

bool gLabReady = false;

// Every byte in [from, to) of the object still holds the caller's fill pattern.
template <typename T>
void ExpectUntouched(const T& record, size_t from, size_t to) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    for (size_t i = from; i < to; ++i) ASSERT_EQ(bytes[i], kFill) << "byte " << i;
}

// The whole 64-byte name field: the name, then zero padding.
void ExpectName(const char (&field)[64], const char* name) {
    char expected[64] = {};
    std::strcpy(expected, name);
    EXPECT_EQ(0, std::memcmp(field, expected, sizeof(expected))) << name;
}

class AdaptersTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        gLabReady = zptest::AddVethPair("eth7", "eth7p", "02:00:00:aa:bb:01", 9000, "10.77.0.1/24") &&
                    zptest::AddVethPair("wlan3", "wlan3p", "02:00:00:aa:bb:02", 1400, "10.78.0.1/16") &&
                    // Created last so that a loopback-named entry ends the kernel's list.
                    zptest::AddVethPair("loop9", "loop9p", "02:00:00:aa:bb:03", 0, "10.79.0.1/24");
    }
    static void TearDownTestSuite() {
        for (const char* name : {"eth7", "wlan3", "loop9"}) zptest::DeleteLink(name);
    }
    void SetUp() override { ASSERT_TRUE(gLabReady) << "could not build the test interfaces"; }

    template <typename Record>
    static std::vector<Record> FilledRecords(size_t count) {
        std::vector<Record> records(count);
        std::memset(static_cast<void*>(records.data()), kFill, count * sizeof(Record));
        return records;
    }
};

TEST_F(AdaptersTest, SizeNegotiationCountsEveryListedInterface) {
    uint32_t size = 0;
    EXPECT_EQ(OS_ERR_BUFFER, OS_NetGetAdaptersInfo(nullptr, &size));
    EXPECT_EQ(kListed * 248, size);
    size = 0;
    EXPECT_EQ(OS_ERR_BUFFER, OS_GetAdaptersAddresses(nullptr, &size));
    EXPECT_EQ(kListed * 40, size);

    auto info = FilledRecords<_OS_ADAPTER_INFO>(kListed);
    size = kListed * 248 - 1;
    EXPECT_EQ(OS_ERR_BUFFER, OS_NetGetAdaptersInfo(info.data(), &size));
    EXPECT_EQ(kListed * 248, size);
    ExpectUntouched(info[0], 0, sizeof(info[0]));
    EXPECT_EQ(OS_OK, OS_NetGetAdaptersInfo(info.data(), &size));
    EXPECT_EQ(kListed * 248, size);

    auto addresses = FilledRecords<_OS_ADAPTER_ADDRESSES>(kListed);
    size = kListed * 40;
    EXPECT_EQ(OS_OK, OS_GetAdaptersAddresses(addresses.data(), &size));
    EXPECT_EQ(kListed * 40, size);
}

TEST_F(AdaptersTest, InfoRecordsAreExactAndSkipLoopbackNames) {
    auto info = FilledRecords<_OS_ADAPTER_INFO>(kListed);
    uint32_t size = kListed * 248;
    ASSERT_EQ(OS_OK, OS_NetGetAdaptersInfo(info.data(), &size));

    const struct {
        const char* name;
        const char* ip;
        const char* mask;
        const uint8_t* mac;
    } expected[] = {{"eth7", "10.77.0.1", "255.255.255.0", kEthMac},
                    {"wlan3", "10.78.0.1", "255.255.0.0", kWlanMac}};
    for (size_t i = 0; i < 2; ++i) {
        SCOPED_TRACE(expected[i].name);
        const _OS_ADAPTER_INFO& r = info[i];
        // Both point at the following slot: wlan3 is not the kernel's last entry (loop9 is).
        EXPECT_EQ(&info[i + 1], r.Next);
        ExpectUntouched(r, 8, 12);
        EXPECT_EQ(6, r.AddressLength);
        EXPECT_EQ(0, r.Zero);
        EXPECT_EQ(0, std::memcmp(r.Address, expected[i].mac, 6));
        ExpectName(r.AdapterName, expected[i].name);
        EXPECT_STREQ(expected[i].ip, r.IpAddress);
        EXPECT_STREQ(expected[i].mask, r.IpMask);
        EXPECT_EQ(0, std::memcmp(r.Description, "Network interface", 18));
        ExpectUntouched(r, 136, 248);
    }
    // lo and loop9 use no slot; the slot wlan3 points at stays unfilled.
    ExpectUntouched(info[2], 0, 248);
    ExpectUntouched(info[3], 0, 248);
}

TEST_F(AdaptersTest, AddressRecordsAreExactAndTyped) {
    auto records = FilledRecords<_OS_ADAPTER_ADDRESSES>(kListed);
    uint32_t size = kListed * 40;
    ASSERT_EQ(OS_OK, OS_GetAdaptersAddresses(records.data(), &size));

    const struct {
        uint32_t mtu;
        uint32_t type;
        const uint8_t* mac;
    } expected[] = {{9000, 6, kEthMac}, {1400, 71, kWlanMac}};
    for (uint32_t i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const _OS_ADAPTER_ADDRESSES& r = records[i];
        EXPECT_EQ(i, r.IfIndex);
        ExpectUntouched(r, 4, 8);
        EXPECT_EQ(&records[i + 1], r.Next);
        EXPECT_EQ(0, std::memcmp(r.PhysicalAddress, expected[i].mac, 6));
        ExpectUntouched(r, 22, 24);
        EXPECT_EQ(6u, r.PhysicalAddressLength);
        EXPECT_EQ(expected[i].mtu, r.Mtu);
        EXPECT_EQ(expected[i].type, r.IfType);
        ExpectUntouched(r, 36, 40);
    }
    ExpectUntouched(records[2], 0, 40);
    ExpectUntouched(records[3], 0, 40);
}

TEST_F(AdaptersTest, LastKernelEntryEndsTheChain) {
    ASSERT_TRUE(zptest::AddVethPair("eth9", "eth9p", "02:00:00:aa:bb:09", 0, "10.80.0.1/24"));
    auto info = FilledRecords<_OS_ADAPTER_INFO>(kListed + 1);
    uint32_t size = (kListed + 1) * 248;
    const int infoRc = OS_NetGetAdaptersInfo(info.data(), &size);
    auto records = FilledRecords<_OS_ADAPTER_ADDRESSES>(kListed + 1);
    size = (kListed + 1) * 40;
    const int addressesRc = OS_GetAdaptersAddresses(records.data(), &size);
    zptest::DeleteLink("eth9");

    ASSERT_EQ(OS_OK, infoRc);
    ExpectName(info[2].AdapterName, "eth9");
    EXPECT_EQ(&info[2], info[1].Next);
    EXPECT_EQ(nullptr, info[2].Next);
    ExpectUntouched(info[3], 0, 248);

    ASSERT_EQ(OS_OK, addressesRc);
    EXPECT_EQ(2u, records[2].IfIndex);
    EXPECT_EQ(6u, records[2].IfType);
    EXPECT_EQ(1500u, records[2].Mtu);
    EXPECT_EQ(nullptr, records[2].Next);
    ExpectUntouched(records[3], 0, 40);
}

}  // namespace
