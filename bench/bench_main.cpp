// main() of the benchmarks. With the rights to do so the process first moves into a private
// network namespace, so the simulator's announcements and everything the library sends stay
// there; without them it runs on loopback addresses only.
#include <sched.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (::unshare(CLONE_NEWNET) == 0) {
        if (std::system("ip link set lo up") != 0) {
            std::fprintf(stderr, "bench: cannot bring up loopback in the private namespace\n");
            return 1;
        }
        std::fprintf(stderr, "bench: running in a private network namespace\n");
    } else {
        std::fprintf(stderr, "bench: no private namespace (not root); loopback only\n");
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
