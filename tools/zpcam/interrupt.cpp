#include "interrupt.h"

#include <atomic>

namespace zpcam {

namespace {

// Set in the handler and read by every download thread: a lock-free atomic, safe in both places.
std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the interrupt flag must be lock-free");

extern "C" void OnInterrupt(int) {
    g_interrupted.store(true);
}

}  // namespace

void CatchInterrupt() {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() {
    return g_interrupted.load();
}

}  // namespace zpcam
