// The portability layer without a network: worker threads, semaphores, critical sections, and the
// time, disk, directory and string services.
#include <gtest/gtest.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/statfs.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <regex>
#include <thread>
#include <vector>

#include "os/thread_record.h"
#include "support/temp_dir.h"
#include "zpport/OSLayer.h"

namespace {

using namespace std::chrono_literals;
using zp::os::ThreadRecord;
using Clock = std::chrono::steady_clock;

// Polls for up to ten seconds; a generous bound for a loaded machine.
bool Eventually(const std::function<bool()>& condition) {
    const auto limit = Clock::now() + 10s;
    while (!condition() && Clock::now() < limit) std::this_thread::sleep_for(5ms);
    return condition();
}

// Runs a blocking call on a thread of its own, interrupted once after 300 ms by SIGUSR1 (handled
// without SA_RESTART, so the call sees EINTR). Returns the call's result; seconds gets its duration.
int RunInterrupted(const std::function<int()>& call, double& seconds) {
    struct sigaction action = {}, previous = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &previous);
    std::atomic<int> result{-1};
    const auto start = Clock::now();
    std::thread caller([&] { result = call(); });
    std::this_thread::sleep_for(300ms);
    pthread_kill(caller.native_handle(), SIGUSR1);
    caller.join();
    seconds = std::chrono::duration<double>(Clock::now() - start).count();
    sigaction(SIGUSR1, &previous, nullptr);
    return result;
}

enum Mode { kReturn, kSpin, kSleepLong, kSuspend };

// A worker and what it did. It may be cancelled at any instruction, so its body only touches atomics
// or sleeps.
struct Worker {
    explicit Worker(Mode m, unsigned flags = 0) : mode(m), handle(OS_ThreadCreate(Body, this, flags)) {}
    static void* Body(void* arg) {
        auto* w = static_cast<Worker*>(arg);
        w->started = true;
        if (w->mode == kSuspend) w->suspendResult = OS_ThreadSuspend();
        if (w->mode == kSleepLong) OS_ThreadSleep(60000);
        for (; w->mode == kSpin && !w->stop; ++w->spins) OS_ThreadSleep(1);
        w->returned = true;
        return nullptr;
    }
    // Reads a field of the record under its mutex; or first sets it and broadcasts, as the layer does.
    int32_t Field(int32_t ThreadRecord::*field, int32_t set = -1) {
        auto* record = static_cast<ThreadRecord*>(handle);
        pthread_mutex_lock(&record->mutex);
        if (set >= 0) record->*field = set;
        if (set >= 0) pthread_cond_broadcast(&record->condition);
        const int32_t value = record->*field;
        pthread_mutex_unlock(&record->mutex);
        return value;
    }
    int32_t State() { return Field(&ThreadRecord::state); }
    const Mode mode;
    std::atomic<bool> stop{false}, started{false}, returned{false};
    std::atomic<uint64_t> spins{0};
    std::atomic<int> suspendResult{-1};
    OS_THREAD handle;
};

TEST(Threads, RecordIsMarkedAndBadHandlesAreRejectedUntouched) {
    Worker w(kReturn, 0x301);  // only the low byte counts: held at the start gate
    EXPECT_EQ(std::memcmp(w.handle, "KAVT", 4), 0);
    EXPECT_EQ(w.State(), zp::os::kThreadSuspended);
    EXPECT_EQ(w.Field(&ThreadRecord::waiters), 0);
    unsigned char foreign[sizeof(ThreadRecord)], before[sizeof(ThreadRecord)];
    std::memcpy(foreign, w.handle, sizeof foreign);
    EXPECT_EQ(OS_ThreadDestroy(w.handle), OS_OK);
    EXPECT_FALSE(w.started) << "destroyed at its start gate, a worker never runs";
    foreign[3] = 'X';
    for (unsigned char* handle : {foreign, static_cast<unsigned char*>(nullptr), foreign}) {
        if (handle != nullptr) std::memcpy(before, handle, sizeof before);
        for (int result : {OS_ThreadTerminate(handle), OS_ThreadDestroy(handle), OS_ThreadWait(handle, 0),
                           OS_ThreadWait(handle, OS_INFINITE), OS_ThreadResume(handle)})
            EXPECT_EQ(result, OS_ERR_HANDLE);
        EXPECT_TRUE(handle == nullptr || std::memcmp(before, handle, sizeof before) == 0);
        std::memset(foreign, 0, 4);  // what OS_ThreadDestroy leaves in the magic
    }
}

TEST(Threads, WaitEndsOnlyWithTheWorker) {
    Worker w(kSpin, 0x100);  // 0x100: the low byte says "running"
    // A resume meanwhile wakes the waiter by its broadcast; the waiter must wait on to the same deadline.
    std::thread resumer([&] {
        std::this_thread::sleep_for(300ms);
        OS_ThreadResume(w.handle);
    });
    const auto start = Clock::now();
    EXPECT_EQ(OS_ThreadWait(w.handle, 1500), OS_ERR_TIMEOUT);
    EXPECT_GE(Clock::now() - start, 1400ms);
    resumer.join();
    const uint64_t spins = w.spins;
    EXPECT_TRUE(Eventually([&] { return w.spins > spins; })) << "the worker runs on after a time-out";
    w.stop = true;
    EXPECT_EQ(OS_ThreadWait(w.handle, OS_INFINITE), OS_OK);
    EXPECT_TRUE(w.returned && w.State() == zp::os::kThreadFinished);
    EXPECT_EQ(OS_ThreadDestroy(w.handle), OS_OK);
}

TEST(Threads, SuspendOnlyInAWorkerUntilResumeAndResumeAlsoUndoesAFinish) {
    for (bool self : {true, false}) {  // suspended itself, or created suspended
        Worker w(self ? kSuspend : kReturn, self ? 0 : 1);
        ASSERT_TRUE(Eventually([&] { return w.State() == zp::os::kThreadSuspended; }));
        std::this_thread::sleep_for(200ms);
        EXPECT_EQ(OS_ThreadWait(w.handle, 0), OS_ERR_TIMEOUT);
        EXPECT_EQ(OS_ThreadResume(w.handle), OS_OK);
        EXPECT_EQ(OS_ThreadWait(w.handle, OS_INFINITE), OS_OK);
        EXPECT_EQ(w.suspendResult, self ? OS_OK : -1);
        EXPECT_EQ(OS_ThreadResume(w.handle), OS_OK);
        EXPECT_EQ(w.State(), zp::os::kThreadRunning);
        EXPECT_EQ(OS_ThreadWait(w.handle, 300), OS_ERR_TIMEOUT) << "waits for a finish that already happened";
        Worker other(kSpin);         // may be given the gone worker's thread id
        std::atomic<int> ended{-1};  // a hang here must fail the test, not stop it
        std::thread([&] { ended = OS_ThreadTerminate(w.handle) + OS_ThreadDestroy(w.handle); }).detach();
        ASSERT_TRUE(Eventually([&] { return ended == OS_OK; })) << "the worker is gone: nothing to cancel";
        EXPECT_EQ(OS_ThreadWait(other.handle, 0), OS_ERR_TIMEOUT) << "nor is the thread with its old id";
        EXPECT_EQ(OS_ThreadDestroy(other.handle), OS_OK);
    }
    std::atomic<int> result{-1};
    std::thread([&] { result = OS_ThreadSuspend(); }).join();
    EXPECT_EQ(result + OS_ThreadSuspend(), 2 * OS_ERR_SYSTEM) << "not a worker of the layer";
}

// Busy, sleeping, held at the start gate or suspended by itself: each worker is cancelled at once, by
// terminate (the record stays, finished) or by destroy.
TEST(Threads, TerminateAndDestroyCancelTheWorker) {
    const std::pair<Mode, unsigned> rows[] = {
        {kSpin, 0}, {kSleepLong, 0}, {kReturn, 1}, {kSuspend, 0}, {kSpin, 2}};
    for (const auto& [mode, flags] : rows) {
        Worker w(mode, flags & 1);
        ASSERT_TRUE(Eventually([&] { return flags == 1 || (w.started && w.State() == (mode == kSuspend)); }));
        std::this_thread::sleep_for(50ms);
        if (flags != 2) {  // 2: destroyed without terminate
            EXPECT_EQ(OS_ThreadTerminate(w.handle), OS_OK) << mode;
            EXPECT_EQ(w.State(), zp::os::kThreadFinished) << mode;
            EXPECT_EQ(OS_ThreadWait(w.handle, 0) + OS_ThreadTerminate(w.handle), OS_OK) << "finished";
        }
        EXPECT_EQ(OS_ThreadDestroy(w.handle), OS_OK);
        const uint64_t spins = w.spins;
        std::this_thread::sleep_for(100ms);
        EXPECT_TRUE(w.spins == spins && !w.returned) << mode;
    }
}

TEST(Threads, DestroyFreesTheRecordOnlyWhenNoWaiterIsLeft) {
    Worker blocked(kSpin), counted(kReturn);
    std::atomic<int> waitResult{-1}, destroyResult{-1};
    std::thread waiter([&] { waitResult = OS_ThreadWait(blocked.handle, OS_INFINITE); });
    EXPECT_TRUE(Eventually([&] { return blocked.Field(&ThreadRecord::waiters) == 1; }));
    EXPECT_EQ(OS_ThreadDestroy(blocked.handle), OS_OK);
    waiter.join();
    EXPECT_EQ(waitResult, OS_OK) << "the waiter is woken by the cancel before the record goes";
    ASSERT_EQ(OS_ThreadWait(counted.handle, OS_INFINITE), OS_OK);
    counted.Field(&ThreadRecord::waiters, 1);  // as if a caller were still leaving OS_ThreadWait
    std::thread destroyer([&] { destroyResult = OS_ThreadDestroy(counted.handle); });
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(destroyResult, -1) << "destroy spins while a waiter is counted";
    counted.Field(&ThreadRecord::waiters, 0);
    destroyer.join();
    EXPECT_EQ(destroyResult, OS_OK);
}

TEST(Threads, SleepLastsThroughASignal) {
    double seconds = 0;
    EXPECT_EQ(RunInterrupted([] { return OS_ThreadSleep(1200); }, seconds), OS_OK);
    EXPECT_GE(seconds, 1.15);
}

// The name of a generated semaphore: opening a name again in this process gives the same mapping.
std::string NameOf(OS_SEMAPHORE handle) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
        const std::string name = "/" + entry.path().filename().string().substr(4);
        sem_t* again = name.rfind("/KAVSEM_", 0) == 0 ? sem_open(name.c_str(), 0) : SEM_FAILED;
        if (again != SEM_FAILED && sem_close(again) == 0 && again == handle) return name;
    }
    return "";
}

// A plain name gets one leading slash and an existing name is reopened; a generated name is unique.
// The last one, made empty, then takes released units and keeps its deadline through a signal.
TEST(Semaphores, NamesCountsWaitsAndRefusals) {
    const std::string name = "/zp_semtest_" + std::to_string(getpid());
    OS_SEMAPHORE handles[4] = {OS_SemCreate(2, name.c_str() + 1), OS_SemCreate(0, name.c_str()),
                               OS_SemCreate(3, nullptr), OS_SemCreate(0, nullptr)};
    const std::string names[2] = {NameOf(handles[2]), NameOf(handles[3])};
    sem_unlink(name.c_str());
    int values[4] = {};
    for (int i = 0; i < 4; ++i) sem_getvalue(static_cast<sem_t*>(handles[i]), &values[i]);
    EXPECT_EQ(handles[0], handles[1]);
    EXPECT_EQ(std::vector<int>(values, values + 4), std::vector<int>({2, 2, 3, 0}));
    EXPECT_NE(names[0], names[1]) << "a counter keeps the names of one clock tick apart";
    for (const std::string& generated : names) {
        sem_unlink(generated.c_str());
        // "/KAVSEM_%d" of a 32-bit sum: a signed decimal.
        EXPECT_TRUE(std::regex_match(generated, std::regex("/KAVSEM_(0|-?[1-9][0-9]*)"))) << generated;
    }
    EXPECT_EQ(OS_SemWait(handles[3], 0), OS_ERR_TIMEOUT);
    EXPECT_EQ(OS_SemRelease(handles[3]), OS_OK);
    EXPECT_EQ(OS_SemWait(handles[3], OS_INFINITE), OS_OK);
    double seconds = 0;
    // 1999 ms carries a second into the deadline; a signal meanwhile does not shorten it.
    EXPECT_EQ(RunInterrupted([&] { return OS_SemWait(handles[3], 1999); }, seconds), OS_ERR_TIMEOUT);
    EXPECT_GE(seconds, 1.95);
    std::thread releaser([&] {
        std::this_thread::sleep_for(600ms);
        OS_SemRelease(handles[3]);
    });
    EXPECT_EQ(RunInterrupted([&] { return OS_SemWait(handles[3], OS_INFINITE); }, seconds), OS_OK);
    releaser.join();
    EXPECT_GE(seconds, 0.55) << "the unlimited wait survives the signal and ends on the release";
    for (int i = 0; i < 4; ++i) EXPECT_EQ(OS_SemDestroy(handles[i]), OS_OK);
    testing::internal::CaptureStderr();
    for (int result : {OS_SemWait(nullptr, 0), OS_SemWait(nullptr, OS_INFINITE), OS_SemRelease(nullptr),
                       OS_SemDestroy(nullptr)})
        EXPECT_EQ(result, OS_OK) << "no semaphore counts as an acquired lock";
    EXPECT_EQ(OS_SemCreate(1, std::string(4095, 'a').c_str()), nullptr);
    EXPECT_EQ(OS_SemCreate(1, std::string(4094, 'a').c_str()), nullptr) << "fits the buffer; refused";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Semaphore name is not normalized and too long\nError creating semaphore: Invalid argument\n"
              "Error creating semaphore: Invalid argument\n");
}

TEST(Services, LocalTimeTickDiskDirectoryAndStrings) {
    std::time_t now = 0;
    _OS_SYSTEMTIME st;
    do {  // read again when a second ticked over meanwhile
        now = std::time(nullptr);
        std::memset(&st, 0xA5, sizeof st);
        OS_GetLocalTime(&st);
    } while (std::time(nullptr) != now);
    std::tm p{};
    localtime_r(&now, &p);
    EXPECT_EQ(
        std::vector<int>({st.wYear, st.wMonth, st.wDayOfWeek, st.wDay, st.wHour, st.wMinute, st.wSecond,
                          st.wMilliseconds}),
        std::vector<int>({p.tm_year, p.tm_mon, p.tm_wday, p.tm_mday, p.tm_hour, p.tm_min, p.tm_sec, 0}));
    auto tickAt = [](const timeval& tv) {
        return uint32_t(tv.tv_sec % 31536000) * 1000u + uint32_t(tv.tv_usec / 1000);
    };
    timeval t0{}, t1{};
    gettimeofday(&t0, nullptr);
    const uint32_t ticks[2] = {OS_GetTickCount(), OS_timeGetTime()};
    gettimeofday(&t1, nullptr);
    for (uint32_t tick : ticks)
        EXPECT_LE(tick - tickAt(t0), tickAt(t1) - tickAt(t0));  // unsigned: right across wraps

    uint64_t total = 111, freeBytes = 222;
    uint32_t parts[4] = {};
    struct statfs info {};
    EXPECT_FALSE(CheckDiskSpace("/nonexistent/zp", total, freeBytes));
    EXPECT_EQ(total + freeBytes, 333u) << "a failure leaves the outputs";
    // The path is ignored: the figures are those of the current folder.
    EXPECT_EQ(OS_GetDiskFreeSpaceEx("/nonexistent/zp", &parts[0], &parts[1], &parts[2], &parts[3]), 0);
    ASSERT_TRUE(CheckDiskSpace(".", total, freeBytes) && statfs(".", &info) == 0);
    EXPECT_EQ(total, uint64_t(info.f_bsize) * info.f_blocks);
    EXPECT_EQ((uint64_t(parts[1]) << 32) | parts[0], total);

    const zptest::TempDir home;
    const std::string savedHome = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    const std::pair<int, std::string> kinds[] = {{3, home.Path()}, {2, "/sbin"}, {-1, "/home"}, {4, ""}};
    for (const auto& [kind, text] : kinds) {
        // -1: kind 1 with HOME unset. The size passed is ignored.
        kind < 0 ? unsetenv("HOME") : setenv("HOME", home.Path().c_str(), 1);
        std::string buffer(64, 'Z');
        EXPECT_EQ(OS_GetDirectory(std::abs(kind), buffer.data(), 1), text.empty() ? -1 : 0) << kind;
        EXPECT_EQ(buffer.substr(0, text.size() + 2), text.empty() ? "ZZ" : text + '\0' + 'Z') << kind;
    }
    setenv("HOME", savedHome.c_str(), 1);
    char text[] = "AZaz@[`{\xC4";
    EXPECT_STREQ(strlwr(text), "azaz@[`{\xC4");
    EXPECT_STREQ(strupr(text), "AZAZ@[`{\xC4");
    EXPECT_LT(strcmpi("[", "A"), 0) << "compared lower-cased: '[' sorts below 'a'";
    EXPECT_EQ(strcmpi("ABC", "abc"), 0);
}

}  // namespace
