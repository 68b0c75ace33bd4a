// The runs that live in files of their own; each returns the process's exit status.
#ifndef ZP_BENCH_ROBUSTNESS_RUNS_H
#define ZP_BENCH_ROBUSTNESS_RUNS_H

#include <string>

namespace zprobust {

// Recorded frames over a veth link that loses about 1 % of the camera's image datagrams in the
// kernel while the simulator reorders 0.5 % of the segments.
int Lossy(long frames);
// A camera that vanishes mid-download ("vanish"), reboots ("reboot") or comes back at another
// address ("moved").
int Faults(const std::string& scenario);

}  // namespace zprobust

#endif  // ZP_BENCH_ROBUSTNESS_RUNS_H
