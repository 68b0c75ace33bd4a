// Worker threads: handle checks, waiting, suspend/resume, cancellation, teardown and sleeping.
//
// Workers may be cancelled asynchronously, so their bodies only touch atomics or sleep: no heap, no
// stdio, no objects with destructors.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <thread>

#include "os/thread_record.h"
#include "zpport/OSLayer.h"

namespace {

using zp::os::ThreadRecord;
using Clock = std::chrono::steady_clock;

struct Probe {
    std::atomic<bool> stop{false};
    std::atomic<bool> started{false};
    std::atomic<bool> returned{false};
    std::atomic<uint64_t> spins{0};
    std::atomic<int> suspendResult{-1};
};

void* SpinUntilStopped(void* arg) {
    auto* probe = static_cast<Probe*>(arg);
    probe->started.store(true);
    while (!probe->stop.load()) probe->spins.fetch_add(1);
    probe->returned.store(true);
    return nullptr;
}

void* NapUntilStopped(void* arg) {
    auto* probe = static_cast<Probe*>(arg);
    probe->started.store(true);
    while (!probe->stop.load()) {
        probe->spins.fetch_add(1);
        OS_ThreadSleep(5);
    }
    probe->returned.store(true);
    return nullptr;
}

void* SleepForAMinute(void* arg) {
    auto* probe = static_cast<Probe*>(arg);
    probe->started.store(true);
    OS_ThreadSleep(60000);
    probe->returned.store(true);
    return nullptr;
}

void* ReturnAtOnce(void* arg) {
    static_cast<Probe*>(arg)->returned.store(true);
    return nullptr;
}

void* SuspendThenReturn(void* arg) {
    auto* probe = static_cast<Probe*>(arg);
    probe->started.store(true);
    probe->suspendResult.store(OS_ThreadSuspend());
    probe->returned.store(true);
    return nullptr;
}

ThreadRecord* RecordOf(OS_THREAD handle) { return static_cast<ThreadRecord*>(handle); }

int32_t StateOf(OS_THREAD handle) {
    ThreadRecord* record = RecordOf(handle);
    pthread_mutex_lock(&record->mutex);
    const int32_t state = record->state;
    pthread_mutex_unlock(&record->mutex);
    return state;
}

void SetWaiters(OS_THREAD handle, int32_t waiters) {
    ThreadRecord* record = RecordOf(handle);
    pthread_mutex_lock(&record->mutex);
    record->waiters = waiters;
    pthread_mutex_unlock(&record->mutex);
}

// What the worker wrapper does on its way out; used to retire a record whose mark was cleared.
void MarkFinished(OS_THREAD handle) {
    ThreadRecord* record = RecordOf(handle);
    pthread_mutex_lock(&record->mutex);
    record->state = zp::os::kThreadFinished;
    pthread_cond_broadcast(&record->condition);
    pthread_mutex_unlock(&record->mutex);
}

// Polls for up to ten seconds; a generous bound for a loaded machine.
bool Eventually(const std::function<bool()>& condition) {
    const auto limit = Clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (Clock::now() > limit) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::atomic<int> signalsCaught{0};
void CountSignal(int) { signalsCaught.fetch_add(1); }

// Installs a SIGUSR1 handler without SA_RESTART for the test's lifetime.
class InterruptingSignal {
public:
    InterruptingSignal() {
        struct sigaction action {};
        action.sa_handler = CountSignal;
        sigemptyset(&action.sa_mask);
        sigaction(SIGUSR1, &action, &previous_);
    }
    ~InterruptingSignal() { sigaction(SIGUSR1, &previous_, nullptr); }

private:
    struct sigaction previous_ {};
};

TEST(ThreadRecordTest, HandleIsTheRecordInItsFixedLayout) {
    EXPECT_EQ(offsetof(ThreadRecord, magic), 0u);
    EXPECT_EQ(offsetof(ThreadRecord, thread), 8u);
    EXPECT_EQ(offsetof(ThreadRecord, state), 16u);
    EXPECT_EQ(offsetof(ThreadRecord, mutex), 24u);
    EXPECT_EQ(offsetof(ThreadRecord, condition), 64u);
    EXPECT_EQ(offsetof(ThreadRecord, waiters), 112u);
    EXPECT_EQ(offsetof(ThreadRecord, routine), 120u);
    EXPECT_EQ(offsetof(ThreadRecord, argument), 128u);

    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, 1);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(std::memcmp(handle, "KAVT", 4), 0);
    EXPECT_EQ(StateOf(handle), zp::os::kThreadSuspended);
    EXPECT_EQ(RecordOf(handle)->waiters, 0);
    EXPECT_EQ(RecordOf(handle)->routine, &ReturnAtOnce);
    EXPECT_EQ(RecordOf(handle)->argument, &probe);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadHandleTest, ForeignNullOrDestroyedMagicIsRejectedUntouched) {
    alignas(ThreadRecord) unsigned char foreign[sizeof(ThreadRecord)];
    std::memset(foreign, 0x5A, sizeof(foreign));
    std::memcpy(foreign, "KAVX", 4);
    alignas(ThreadRecord) unsigned char destroyed[sizeof(ThreadRecord)];
    std::memset(destroyed, 0x5A, sizeof(destroyed));
    std::memset(destroyed, 0, 4);  // what OS_ThreadDestroy leaves in the magic

    for (unsigned char* buffer : {foreign, destroyed}) {
        unsigned char before[sizeof(ThreadRecord)];
        std::memcpy(before, buffer, sizeof(before));
        EXPECT_EQ(OS_ThreadTerminate(buffer), OS_ERR_HANDLE);
        EXPECT_EQ(OS_ThreadDestroy(buffer), OS_ERR_HANDLE);
        EXPECT_EQ(OS_ThreadWait(buffer, 0), OS_ERR_HANDLE);
        EXPECT_EQ(OS_ThreadWait(buffer, OS_INFINITE), OS_ERR_HANDLE);
        EXPECT_EQ(OS_ThreadResume(buffer), OS_ERR_HANDLE);
        EXPECT_EQ(std::memcmp(before, buffer, sizeof(before)), 0);
    }
    EXPECT_EQ(OS_ThreadTerminate(nullptr), OS_ERR_HANDLE);
    EXPECT_EQ(OS_ThreadDestroy(nullptr), OS_ERR_HANDLE);
    EXPECT_EQ(OS_ThreadWait(nullptr, 0), OS_ERR_HANDLE);
    EXPECT_EQ(OS_ThreadResume(nullptr), OS_ERR_HANDLE);
}

TEST(ThreadWaitTest, FinishedWorkerIsReportedAtOnce) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_TRUE(probe.returned.load());
    EXPECT_EQ(StateOf(handle), zp::os::kThreadFinished);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_OK);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadWaitTest, ZeroTimeoutOnRunningWorkerTimesOut) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(NapUntilStopped, &probe, 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_ERR_TIMEOUT);
    probe.stop.store(true);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_TRUE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadWaitTest, TimeoutShorterThanTheWorkLeavesTheWorkerRunning) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(NapUntilStopped, &probe, 0);
    ASSERT_NE(handle, nullptr);
    const auto start = Clock::now();
    EXPECT_EQ(OS_ThreadWait(handle, 1500), OS_ERR_TIMEOUT);
    EXPECT_GE(SecondsSince(start), 1.4);
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(StateOf(handle), zp::os::kThreadRunning);
    const uint64_t spins = probe.spins.load();
    EXPECT_TRUE(Eventually([&] { return probe.spins.load() > spins; }));
    probe.stop.store(true);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadSuspendTest, WorkerCreatedSuspendedRunsOnlyAfterResume) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, 1);
    ASSERT_NE(handle, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_ERR_TIMEOUT);
    EXPECT_EQ(OS_ThreadResume(handle), OS_OK);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_TRUE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadSuspendTest, OnlyTheLowByteOfTheFlagIsTheStartState) {
    Probe running;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &running, 0x100);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_TRUE(running.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);

    Probe suspended;
    handle = OS_ThreadCreate(ReturnAtOnce, &suspended, 0x301);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(StateOf(handle), zp::os::kThreadSuspended);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
    EXPECT_FALSE(suspended.returned.load());
}

TEST(ThreadSuspendTest, WorkerSuspendsItselfUntilResumed) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(SuspendThenReturn, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(Eventually([&] { return StateOf(handle) == zp::os::kThreadSuspended; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_ERR_TIMEOUT);
    EXPECT_EQ(OS_ThreadResume(handle), OS_OK);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_EQ(probe.suspendResult.load(), OS_OK);
    EXPECT_TRUE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadSuspendTest, SuspendOutsideAWorkerFails) {
    int result = -1;
    std::thread plain([&] { result = OS_ThreadSuspend(); });
    plain.join();
    EXPECT_EQ(result, OS_ERR_SYSTEM);
    EXPECT_EQ(OS_ThreadSuspend(), OS_ERR_SYSTEM);
}

TEST(ThreadSuspendTest, ResumingAFinishedWorkerMarksItRunningAgain) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_EQ(OS_ThreadResume(handle), OS_OK);
    EXPECT_EQ(StateOf(handle), zp::os::kThreadRunning);
    const auto start = Clock::now();
    EXPECT_EQ(OS_ThreadWait(handle, 300), OS_ERR_TIMEOUT);
    EXPECT_GE(SecondsSince(start), 0.25);
    // The worker is gone and will never mark itself again; cancelling it now would wait forever.
    MarkFinished(handle);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadTerminateTest, BusyWorkerIsCancelledAndMarkedFinished) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(SpinUntilStopped, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(Eventually([&] { return probe.spins.load() > 0; }));
    EXPECT_EQ(OS_ThreadTerminate(handle), OS_OK);
    EXPECT_EQ(StateOf(handle), zp::os::kThreadFinished);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_OK);
    const uint64_t spins = probe.spins.load();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(probe.spins.load(), spins);
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(OS_ThreadTerminate(handle), OS_OK);  // already finished
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadTerminateTest, SleepingWorkerIsCancelled) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(SleepForAMinute, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(Eventually([&] { return probe.started.load(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(OS_ThreadTerminate(handle), OS_OK);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_OK);
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadTerminateTest, WorkerHeldAtTheStartGateIsCancelled) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, 1);
    ASSERT_NE(handle, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(OS_ThreadTerminate(handle), OS_OK);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_OK);
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadTerminateTest, SelfSuspendedWorkerIsCancelled) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(SuspendThenReturn, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(Eventually([&] { return StateOf(handle) == zp::os::kThreadSuspended; }));
    EXPECT_EQ(OS_ThreadTerminate(handle), OS_OK);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_OK);
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

TEST(ThreadDestroyTest, RunningWorkerIsCancelledAndFreed) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(SpinUntilStopped, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(Eventually([&] { return probe.started.load(); }));
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
    const uint64_t spins = probe.spins.load();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(probe.spins.load(), spins);
    EXPECT_FALSE(probe.returned.load());
}

TEST(ThreadDestroyTest, BlockedWaiterIsWokenBeforeTheRecordIsFreed) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(NapUntilStopped, &probe, 0);
    ASSERT_NE(handle, nullptr);
    std::atomic<int> waitResult{-1};
    std::thread waiter([&] { waitResult.store(OS_ThreadWait(handle, OS_INFINITE)); });
    const bool waiting = Eventually([&] {
        pthread_mutex_lock(&RecordOf(handle)->mutex);
        const bool counted = RecordOf(handle)->waiters == 1;
        pthread_mutex_unlock(&RecordOf(handle)->mutex);
        return counted;
    });
    EXPECT_TRUE(waiting);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
    waiter.join();
    EXPECT_EQ(waitResult.load(), OS_OK);
}

TEST(ThreadDestroyTest, SpinsWhileAWaiterIsCounted) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, 0);
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    SetWaiters(handle, 1);  // as if a caller were still leaving OS_ThreadWait
    std::atomic<int> destroyResult{-1};
    std::thread destroyer([&] { destroyResult.store(OS_ThreadDestroy(handle)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(destroyResult.load(), -1);
    EXPECT_EQ(std::memcmp(handle, "KAVT", 4), 0);
    SetWaiters(handle, 0);
    destroyer.join();
    EXPECT_EQ(destroyResult.load(), OS_OK);
}

TEST(ThreadSleepTest, ZeroReturnsAtOnce) { EXPECT_EQ(OS_ThreadSleep(0), OS_OK); }

TEST(ThreadSleepTest, SleepsTheWholeTimeThroughASignal) {
    InterruptingSignal interrupting;
    const int caughtBefore = signalsCaught.load();
    std::atomic<bool> sleeping{false};
    std::atomic<int> result{-1};
    double slept = 0.0;
    std::thread sleeper([&] {
        sleeping.store(true);
        const auto start = Clock::now();
        result.store(OS_ThreadSleep(1200));
        slept = SecondsSince(start);
    });
    EXPECT_TRUE(Eventually([&] { return sleeping.load(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    pthread_kill(sleeper.native_handle(), SIGUSR1);
    sleeper.join();
    EXPECT_GT(signalsCaught.load(), caughtBefore);
    EXPECT_EQ(result.load(), OS_OK);
    EXPECT_GE(slept, 1.15);
}

}  // namespace
