// main() of the tests that need network interfaces. Before anything else the
// process moves into a network namespace of its own: interfaces the tests make
// and every datagram they send stay inside it, never on the machine's network.
#include <gtest/gtest.h>
#include <sched.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/netns.h"

int main(int argc, char** argv) {
    if (unshare(CLONE_NEWNET) != 0) {
        const bool required = std::getenv("ZP_REQUIRE_NETNS") != nullptr;
        std::fprintf(stderr,
                     "\n*** %s: cannot create a private network namespace: %s.\n"
                     "*** These tests need root (CAP_SYS_ADMIN) and were NOT run.\n\n",
                     required ? "FAILED" : "SKIPPED", std::strerror(errno));
        return required ? 1 : 77;  // 77: CTest's SKIP_RETURN_CODE
    }
    // Loopback starts down in a fresh namespace.
    if (!zptest::RunScript("ip link set lo up")) return 1;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
