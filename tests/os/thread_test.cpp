// Worker threads: handle checks, waiting, suspend/resume, cancellation, teardown and sleeping.
//
// Workers may be cancelled asynchronously, so their bodies only touch atomics or sleep: no heap, no
// stdio, no objects with destructors.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <thread>

#include "os/interrupting_signal.h"
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

TEST(ThreadRecordTest, HandleIsTheRecordInItsFixedLayout) {
    const std::size_t offsets[][2] = {
        {offsetof(ThreadRecord, magic), 0},       {offsetof(ThreadRecord, thread), 8},
        {offsetof(ThreadRecord, state), 16},      {offsetof(ThreadRecord, mutex), 24},
        {offsetof(ThreadRecord, condition), 64},  {offsetof(ThreadRecord, waiters), 112},
        {offsetof(ThreadRecord, routine), 120},   {offsetof(ThreadRecord, argument), 128}};
    for (const auto& field : offsets) EXPECT_EQ(field[0], field[1]);

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

// Only the low byte of the flag is the start state: 0x100 starts the worker running.
TEST(ThreadWaitTest, FinishedWorkerIsReportedAtOnce) {
    for (int flags : {0, 0x100}) {
        Probe probe;
        OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &probe, flags);
        ASSERT_NE(handle, nullptr) << flags;
        EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK) << flags;
        EXPECT_TRUE(probe.returned.load()) << flags;
        EXPECT_EQ(StateOf(handle), zp::os::kThreadFinished) << flags;
        EXPECT_EQ(OS_ThreadWait(handle, 0), OS_OK) << flags;
        EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK) << flags;
    }
}

TEST(ThreadWaitTest, TimeoutShorterThanTheWorkLeavesTheWorkerRunning) {
    Probe probe;
    OS_THREAD handle = OS_ThreadCreate(NapUntilStopped, &probe, 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(OS_ThreadWait(handle, 0), OS_ERR_TIMEOUT);
    const auto start = Clock::now();
    EXPECT_EQ(OS_ThreadWait(handle, 1500), OS_ERR_TIMEOUT);
    EXPECT_GE(SecondsSince(start), 1.4);
    EXPECT_FALSE(probe.returned.load());
    EXPECT_EQ(StateOf(handle), zp::os::kThreadRunning);
    const uint64_t spins = probe.spins.load();
    EXPECT_TRUE(Eventually([&] { return probe.spins.load() > spins; }));
    probe.stop.store(true);
    EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
    EXPECT_TRUE(probe.returned.load());
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
}

// A worker created suspended (0x301: only the low byte counts) or suspending itself waits for a resume.
TEST(ThreadSuspendTest, SuspendedWorkerRunsOnlyAfterResume) {
    for (bool self : {false, true}) {
        SCOPED_TRACE(self ? "suspended itself" : "created suspended");
        Probe probe;
        OS_THREAD handle = OS_ThreadCreate(self ? SuspendThenReturn : ReturnAtOnce, &probe, self ? 0 : 0x301);
        ASSERT_NE(handle, nullptr);
        ASSERT_TRUE(Eventually([&] { return StateOf(handle) == zp::os::kThreadSuspended; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_FALSE(probe.returned.load());
        EXPECT_EQ(OS_ThreadWait(handle, 0), OS_ERR_TIMEOUT);
        EXPECT_EQ(OS_ThreadResume(handle), OS_OK);
        EXPECT_EQ(OS_ThreadWait(handle, OS_INFINITE), OS_OK);
        EXPECT_EQ(probe.suspendResult.load(), self ? OS_OK : -1);
        EXPECT_TRUE(probe.returned.load());
        EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
    }
}

TEST(ThreadSuspendTest, DestroyingAWorkerHeldAtTheStartNeverRunsIt) {
    Probe suspended;
    OS_THREAD handle = OS_ThreadCreate(ReturnAtOnce, &suspended, 0x301);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(StateOf(handle), zp::os::kThreadSuspended);
    EXPECT_EQ(OS_ThreadDestroy(handle), OS_OK);
    EXPECT_FALSE(suspended.returned.load());
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

// Busy, sleeping, held at the start gate, or suspended by itself: each worker is cancelled at once.
TEST(ThreadTerminateTest, WorkerIsCancelledAndMarkedFinished) {
    const struct {
        const char* name;
        void* (*routine)(void*);
        int flags;
        bool (*ready)(Probe&, OS_THREAD);
    } rows[] = {
        {"busy", SpinUntilStopped, 0, [](Probe& p, OS_THREAD) { return p.spins.load() > 0; }},
        {"sleeping", SleepForAMinute, 0, [](Probe& p, OS_THREAD) { return p.started.load(); }},
        {"start gate", ReturnAtOnce, 1, [](Probe&, OS_THREAD) { return true; }},
        {"self-suspended", SuspendThenReturn, 0,
         [](Probe&, OS_THREAD h) { return StateOf(h) == zp::os::kThreadSuspended; }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Probe probe;
        OS_THREAD handle = OS_ThreadCreate(row.routine, &probe, row.flags);
        ASSERT_NE(handle, nullptr);
        ASSERT_TRUE(Eventually([&] { return row.ready(probe, handle); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
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
    const auto sleep = zptest::RunInterrupted([] { return OS_ThreadSleep(1200); }, 200);
    EXPECT_TRUE(sleep.signalCaught);
    EXPECT_EQ(sleep.result, OS_OK);
    EXPECT_GE(sleep.seconds, 1.15);
}

}  // namespace
