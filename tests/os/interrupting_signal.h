// Runs a blocking call on a thread of its own and interrupts it once with SIGUSR1, whose handler is
// installed without SA_RESTART so that the call sees EINTR.
#ifndef ZPTEST_INTERRUPTING_SIGNAL_H
#define ZPTEST_INTERRUPTING_SIGNAL_H

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace zptest {

inline std::atomic<int> signalsCaught{0};

struct InterruptedCall {
    int result;
    double seconds;
    bool signalCaught;
};

// Sends the signal delayMs after the call started; restores the previous handler before returning.
inline InterruptedCall RunInterrupted(const std::function<int()>& call, int delayMs) {
    struct sigaction action {}, previous {};
    action.sa_handler = [](int) { signalsCaught.fetch_add(1); };
    sigemptyset(&action.sa_mask);
    sigaction(SIGUSR1, &action, &previous);
    const int caughtBefore = signalsCaught.load();
    std::atomic<bool> started{false};
    InterruptedCall outcome{-1, 0.0, false};
    std::thread caller([&] {
        started.store(true);
        const auto start = std::chrono::steady_clock::now();
        outcome.result = call();
        outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    });
    while (!started.load()) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
    pthread_kill(caller.native_handle(), SIGUSR1);
    caller.join();
    sigaction(SIGUSR1, &previous, nullptr);
    outcome.signalCaught = signalsCaught.load() > caughtBefore;
    return outcome;
}

}  // namespace zptest

#endif  // ZPTEST_INTERRUPTING_SIGNAL_H
