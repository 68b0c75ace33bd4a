// Opening a camera that does not answer, inside the test's own network namespace.
#include <zpport/ZpPortTW.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(Open, UnreachableCameraFailsWithOneAndLeavesTheHandleUntouched) {
    _ZP_ENUMITEMEX item{};
    item.portId = 0x2001;
    item.interfaceType = 4;
    item.ipAddress = 0x7F00003Cu;
    item.adapterIp = 0x7F000001u;
    item.adapterMask = 0xFF000000u;
    std::strcpy(item.ipText, "127.0.0.60");
    std::strcpy(item.adapterIpText, "127.0.0.1");

    int marker = 0;
    ZP_PORT_HANDLE handle = &marker;
    EXPECT_EQ(PoOpen(&item, &handle), 1u);
    EXPECT_EQ(handle, static_cast<ZP_PORT_HANDLE>(&marker));
}

}  // namespace
