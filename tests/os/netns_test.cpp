// Adapter lists, their look-ups and ping, inside the test's private network namespace. The kernel
// lists lo, eth7, wlan3 and loop9 in creation order; ping's targets are loopback, an address of this
// namespace, or a stand-in "ping" program found first on PATH.
#include "support/netns.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <vector>

#include "sim/sim_process.h"
#include "support/temp_dir.h"
#include "zpport/NetworkAdapters.h"
#include "zpport/OSLayer.h"

namespace {

TEST(Adapters, RecordsListAndLookUps) {
    _NET_AD_DESCR list[3];
    int count = 3;
    EXPECT_EQ(EnumerateNetworkAdapters(list, &count) + count, 0) << "only lo: no adapter at all";
    ASSERT_TRUE(
        zptest::AddVethPair("eth7", "eth7p", "02:00:5e:aa:bb:01", 9000, "10.77.0.1/24") &&
        zptest::AddVethPair("wlan3", "wlan3p", "02:00:00:1c:bb:0B", 576, "10.78.0.1/16") &&
        zptest::AddVethPair("loop9", "loop9p", "02:00:00:aa:bb:03", 0, "10.79.0.1/24"));  // ends the list
    uint32_t size = 0;
    EXPECT_EQ(OS_NetGetAdaptersInfo(nullptr, &size), OS_ERR_BUFFER);
    EXPECT_EQ(size, 4u * 248) << "loopback names count in the need";
    EXPECT_EQ(OS_GetAdaptersAddresses(nullptr, &(size = 0)), OS_ERR_BUFFER);
    EXPECT_EQ(size, 4u * 40);
    std::vector<_OS_ADAPTER_INFO> info(4);
    std::vector<_OS_ADAPTER_ADDRESSES> addresses(4);
    std::memset(static_cast<void*>(info.data()), 0xA5, 4 * 248);
    std::memset(static_cast<void*>(addresses.data()), 0xA5, 4 * 40);
    EXPECT_EQ(OS_NetGetAdaptersInfo(info.data(), &(size = 4 * 248 - 1)), OS_ERR_BUFFER);
    EXPECT_EQ(info[0].Zero, 0xA5A5) << "nothing written into a buffer too small";
    ASSERT_EQ(OS_NetGetAdaptersInfo(info.data(), &(size = 4 * 248)), OS_OK);
    ASSERT_EQ(OS_GetAdaptersAddresses(addresses.data(), &(size = 4 * 40)), OS_OK);
    const char* expected[2] = {
        "eth7 10.77.0.1 255.255.255.0 aa:01 6 0 Network interface a5a5a5a5 aa:01 0 6 9000 6 a5a5a5a5",
        "wlan3 10.78.0.1 255.255.0.0 1c:0b 6 0 Network interface a5a5a5a5 1c:0b 1 6 576 71 a5a5a5a5"};
    // wlan3 is not the kernel's last entry (loop9 is): its next is the following slot.
    for (size_t i = 0; i < 2; ++i) {
        const _OS_ADAPTER_INFO& r = info[i];
        const _OS_ADAPTER_ADDRESSES& a = addresses[i];
        char text[256];
        std::snprintf(text, sizeof text, "%.64s %s %s %02x:%02x %u %u %.18s %08x %02x:%02x %u %u %u %u %08x",
                      r.AdapterName, r.IpAddress, r.IpMask, r.Address[3], r.Address[5], r.AddressLength,
                      r.Zero, r.Description, r.Reserved0, a.PhysicalAddress[3], a.PhysicalAddress[5],
                      a.IfIndex, a.PhysicalAddressLength, a.Mtu, a.IfType, a.Reserved2);
        EXPECT_EQ(std::string(text), expected[i]);
        EXPECT_TRUE(r.Next == &info[i + 1] && a.Next == &addresses[i + 1] && r.Reserved1[111] == 0xA5) << i;
    }
    // lo and loop9 use no slot.
    EXPECT_TRUE(info[2].AdapterName[0] == char(0xA5) && addresses[2].IfIndex == 0xA5A5A5A5u);
    ASSERT_TRUE(zptest::RunScript("ip link del loop9"));
    ASSERT_EQ(OS_NetGetAdaptersInfo(info.data(), &(size = 3 * 248)), OS_OK);
    ASSERT_EQ(OS_GetAdaptersAddresses(addresses.data(), &(size = 3 * 40)), OS_OK);
    // The kernel's last entry ends the chain.
    EXPECT_TRUE(info[1].Next == nullptr && addresses[1].Next == nullptr);

    std::memset(static_cast<void*>(list), 0xA5, sizeof list);
    count = 1;
    EXPECT_EQ(EnumerateNetworkAdapters(list, &count), 1);
    EXPECT_EQ(list[1].mtu, 0xA5A5A5A5u) << "never more than the capacity";
    count = 3;
    ASSERT_EQ(EnumerateNetworkAdapters(list, &count), 2);
    for (const auto& [entry, text] :
         {std::pair{list[0], "[10.77.0.1] 0a4d0001 02:00:5E:AA:BB:01 [255.255.255.0] 9000 Network interface"},
          std::pair{list[1], "[10.78.0.1] 0a4e0001 02:00:00:1C:BB:0B [255.255.0.0] 576 Network interface"}}) {
        char got[600];
        std::snprintf(got, sizeof got, "%s %08x %s %s %u ", entry.ipText, entry.ip, entry.macText,
                      entry.maskText, entry.mtu);
        EXPECT_EQ(got + std::string(entry.description), text);
    }
    unsigned ip = 0, ipOut = 0, mask = 0, low = 0, high = 0, mtu = 0;
    EXPECT_EQ(IPAddressFromMACAddress("02:00:00:1c:BB:0b", ip), 2u);
    EXPECT_EQ(ip, 0x0A4E0001u) << "the MAC text matches ignoring case";
    EXPECT_EQ(IPAddressFromMACAddress("02:00:00:1c:BB:0C", ip) + ip, 2u);
    FindAdapterAddresses(0x0A4D0001, ipOut, mask, low, high);
    EXPECT_EQ(std::vector<unsigned>({ipOut, mask, low, high}),
              std::vector<unsigned>({0x0A4D0001, 0xFFFFFF00, 0x5EAABB01, 0x0200}));
    FindAdapterAddresses(0x0A4F0001, ipOut, mask, low, high);
    EXPECT_EQ(std::vector<unsigned>({ipOut, mask, low, high}), std::vector<unsigned>({0x0A4F0001, 0, 0, 0}));
    for (const auto& [address, expectedMtu] :
         {std::pair{0x0A4D0001u, 9000u}, {0x0A4E0001u, 1500u}, {0x0A4F0001u, 1500u}}) {
        FindAdapterMTU(address, mtu);
        EXPECT_EQ(mtu, expectedMtu) << std::hex << address;
    }
}

TEST(Ping, ThroughTheSystemProgramThenArgumentsOutputParsingAndDeadlineWithAStandIn) {
    ASSERT_TRUE(zptest::AddVethPair("pg0", "pg0p", "", 0, "10.88.0.1/24"));
    _OS_PING_RESULT r;
    std::memset(&r, 0xA5, sizeof r);
    ASSERT_EQ(OS_NetPing("127.0.0.1", &r, 64, 10000), OS_OK);
    EXPECT_TRUE(r.Address == 0 && r.RoundTrip >= 0 && r.RoundTrip < 10000) << "dotted input stores address 0";
    std::memset(&r, 0xA5, sizeof r);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(OS_NetPing("10.88.0.99", &r, 64, 500), OS_ERR_TIMEOUT) << "a silent neighbour";
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(450));
    testing::internal::CaptureStderr();
    EXPECT_EQ(OS_NetPing("no-such-host.invalid", &r, 64, 500), OS_ERR_SYSTEM);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "OS_NetPing: Could not resolve the host name no-such-host.invalid\n");
    EXPECT_EQ(r.Address, 0xA5A5A5A5u) << "nothing stored on failure";

    // Then PATH holds only a folder with a stand-in "ping" that records its arguments and prints the
    // given output.
    const zptest::TempDir dir;
    const std::string savedPath = std::getenv("PATH") != nullptr ? std::getenv("PATH") : "";
    setenv("PATH", dir.Path().c_str(), 1);
    const struct {
        const char *output, *host, *args;
        uint32_t ttl;
        uint64_t timeoutMs;
        int result;
        int64_t roundTrip;  // 0xA5 bytes, as are address's: nothing stored
        uint32_t address;
    } rows[] = {
        {"echo '64 bytes from 10.1.2.3: icmp_seq=1 ttl=44 time=12.9 ms'", "10.1.2.3", "-c 1 -t 44 10.1.2.3",
         300, 5000, OS_OK, 12, 0},
        {"echo 'time=0.045 ms'", "localhost", "-c 1 -t 1 127.0.0.1", 1, OS_INFINITE, OS_OK, 0,
         htonl(INADDR_LOOPBACK)},
        {"echo 'PING'; /bin/sleep 0.3; echo 'reply time=010.5 ms'", "10.1.2.3", "-c 1 -t 64 10.1.2.3", 64,
         10000, OS_OK, 10, 0},
        {"echo 'Request timeout'", "10.1.2.3", "-c 1 -t 64 10.1.2.3", 64, 10000, OS_ERR_SYSTEM,
         -0x5A5A5A5A5A5A5A5B, 0xA5A5A5A5},
        {"exec /bin/sleep 60", "10.1.2.3", "-c 1 -t 64 10.1.2.3", 64, 1500, OS_ERR_TIMEOUT,
         -0x5A5A5A5A5A5A5A5B, 0xA5A5A5A5},
    };
    for (const auto& row : rows) {
        std::ofstream(dir.File("ping")) << "#!/bin/sh\necho \"$@\" > " << dir.File("args") << "\n"
                                        << row.output << "\n";
        ASSERT_EQ(chmod(dir.File("ping").c_str(), 0755), 0);
        std::memset(&r, 0xA5, sizeof r);
        start = std::chrono::steady_clock::now();
        EXPECT_EQ(OS_NetPing(row.host, &r, row.ttl, row.timeoutMs), row.result) << row.output;
        const auto elapsed = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(zptest::ReadFile(dir.File("args")), row.args + std::string("\n"));
        EXPECT_EQ(r.RoundTrip, row.roundTrip) << row.output;
        EXPECT_EQ(r.Address, row.address) << row.output;
        EXPECT_TRUE(row.result != OS_ERR_TIMEOUT ||
                    (elapsed >= std::chrono::milliseconds(1450) && elapsed < std::chrono::seconds(30)))
            << "interrupted, not waited out";
    }
    ::unlink(dir.File("ping").c_str());
    const pid_t self = getpid();
    testing::internal::CaptureStderr();
    const int result = OS_NetPing("10.1.2.3", &r, 64, 10000);
    const std::string error = testing::internal::GetCapturedStderr();
    if (getpid() != self) _exit(3);  // a child that came back must not run the rest of the tests
    setenv("PATH", savedPath.c_str(), 1);
    EXPECT_EQ(result, OS_ERR_SYSTEM);
    EXPECT_EQ(error.rfind("OS_NetPing: execlp: ", 0), 0u) << error;
}

}  // namespace
