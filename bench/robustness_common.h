// Shared pieces of the robustness runs: the private network namespace, simulated cameras on
// loopback, counts of what a process holds, frame checks and the verdict of a run.
#ifndef ZP_BENCH_ROBUSTNESS_COMMON_H
#define ZP_BENCH_ROBUSTNESS_COMMON_H

#include <arpa/inet.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "frame_source.h"
#include "sim/sim_process.h"
#include "support/temp_dir.h"
#include "zpport/ZpPortTW.h"

namespace zprobust {

// Every check of a run goes through here: a failed one is printed and makes the run fail.
class Verdict {
public:
    bool Check(bool ok, const std::string& what) {
        if (!ok) {
            std::fprintf(stderr, "FAILED: %s\n", what.c_str());
            m_failed = true;
        }
        return ok;
    }
    int ExitCode() const { return m_failed ? 1 : 0; }
    bool Failed() const { return m_failed; }

private:
    bool m_failed = false;
};

inline double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Moves the process into a network namespace of its own with loopback up, so that nothing a run
// sends can reach the machine's interfaces. False (with the reason) when that is not allowed.
bool EnterPrivateNamespace();

// The counts a leak would make grow.
struct Resources {
    long descriptors = 0;  // /proc/self/fd
    long threads = 0;      // /proc/self/task
    long shmEntries = 0;   // /dev/shm
    long heapBytes = 0;    // live heap (mallinfo2)
    long rssKb = 0;        // resident set
};
Resources Measure();
// Sockets of the process that a program it starts would inherit (not close-on-exec).
long InheritableSockets();
// Checks that nothing grew beyond its tolerance; prints both counts either way.
void CheckNoGrowth(Verdict& verdict, const Resources& before, const Resources& after,
                   long heapToleranceBytes);

// One simulated camera (its own simulator process) on a loopback address, logging into a folder
// of its own.
struct CameraSetup {
    std::string ip;
    unsigned int address = 0x0A;
    unsigned int width = 320, height = 240;
    unsigned int firstFrame = 1000, lastFrame = 1099;
    std::vector<std::string> extra;
};
inline CameraSetup CameraAt(const std::string& ip) {
    CameraSetup setup;
    setup.ip = ip;
    return setup;
}
// The simulator is a child of this process, so that a run can freeze it (a camera switched off:
// nothing answers, and no port-unreachable message comes back either) and end it.
class SimCamera {
public:
    SimCamera(const CameraSetup& setup, const zptest::TempDir& dir, unsigned short controlPort = 7050);
    bool Ready() const { return m_sim->Ready(); }
    void Freeze() const { m_sim->Freeze(); }
    std::string Control(const std::string& line) const;
    std::string Log() const { return zptest::ReadFile(m_log); }

private:
    CameraSetup m_setup;
    std::string m_log;
    unsigned short m_controlPort;
    std::unique_ptr<zptest::SimProcess> m_sim;
};

inline _ZP_ENUMITEMEX ItemFor(const std::string& ip) {
    _ZP_ENUMITEMEX item{};
    item.portId = 0x2001;
    std::snprintf(item.ipText, sizeof item.ipText, "%s", ip.c_str());
    return item;
}

// Reads recorded frame `frame` (uncompressed) into buffer (capacity bytes plus guard bytes behind
// them); the call's result.
unsigned int ReadRecorded(ZP_PORT_HANDLE port, std::vector<unsigned char>& buffer, std::size_t capacity,
                          unsigned int frame);
// True when the buffer holds the camera's frame exactly and the guard bytes are untouched.
bool FrameExact(const std::vector<unsigned char>& buffer, const CameraSetup& setup, unsigned int frame);

// Occurrences of part in text.
long Count(const std::string& text, const std::string& part);

}  // namespace zprobust

#endif  // ZP_BENCH_ROBUSTNESS_COMMON_H
