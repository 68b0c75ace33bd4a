// Wall time of PoEnumerate against 1, 16 and 64 simulated cameras behind one veth adapter. The
// cameras live in a namespace of their own, so the benchmark runs only when the process is in a
// private network namespace (bench_main makes one when run as root) and refuses to run otherwise.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "private_namespace.h"
#include "support/net_fixture.h"
#include "zpport/ZpPortTW.h"

namespace {

zptest::CameraLan Cameras(int count) {
    zptest::CameraLan lan;
    lan.adapters = {zptest::HostAdapter{"zpb0", "02:00:00:00:77:01", 1500, "10.77.0.1/16", ""}};
    lan.prefix = 16;
    for (int i = 0; i < count; ++i) {
        lan.cameraIps.push_back("10.77." + std::to_string(1 + i / 200) + "." + std::to_string(10 + i % 200));
    }
    return lan;
}

void BM_Enumerate(benchmark::State& state) {
    if (!InPrivateNamespace()) {
        state.SkipWithError("needs a private network namespace: run as root");
        return;
    }
    const auto cameras = static_cast<unsigned int>(state.range(0));
    zptest::NetFixture net({Cameras(static_cast<int>(cameras))});
    if (!net.Ready()) {
        state.SkipWithError(net.Error().c_str());
        return;
    }
    std::vector<_ZP_ENUMITEMEX> items(128);
    for (auto _ : state) {
        unsigned int count = 0;
        PoEnumerate(items.data(), &count, 0);
        if (count != cameras) {
            state.SkipWithError("not every camera was found");
            break;
        }
    }
    state.counters["cameras"] = cameras;
}

BENCHMARK(BM_Enumerate)->Arg(1)->Arg(16)->Arg(64)->Iterations(5)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
