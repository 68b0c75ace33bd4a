#include "interrupt.h"

namespace zpcam {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

extern "C" void OnInterrupt(int) {
    g_interrupted = 1;
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
    return g_interrupted != 0;
}

}  // namespace zpcam
