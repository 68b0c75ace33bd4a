// Worker threads: waiting for a finish, suspend and resume, and sleeping.
#include <errno.h>
#include <pthread.h>
#include <time.h>

#include <cstdio>

#include "os/deadline.h"
#include "os/thread_record.h"
#include "zpport/OSLayer.h"

namespace zp::os {
namespace {

constexpr const char kWaitName[] = "OS_ThreadWait";
constexpr const char kSuspendName[] = "OS_ThreadSuspend";
constexpr const char kResumeName[] = "OS_ThreadResume";

constexpr long kNanosPerMilli = 1000000L;

constexpr ReasonWord kSuspendReasons[] = {{22, "bad signal"}, {3, "bad thread"}};

bool IsNotRunning(int32_t state) { return state != kThreadRunning; }

int WaitResult(int waitError) { return waitError == ETIMEDOUT ? OS_ERR_TIMEOUT : OS_ERR_SYSTEM; }

// Called with the mutex held and the worker not finished; a null deadline waits without limit.
int AwaitFinish(ThreadRecord* record, const timespec* deadline) {
    for (;;) {
        ++record->waiters;
        int error = 0;
        do {
            error = deadline != nullptr
                        ? pthread_cond_timedwait(&record->condition, &record->mutex, deadline)
                        : pthread_cond_wait(&record->condition, &record->mutex);
        } while (error == EINTR);
        --record->waiters;
        // Woken by a suspend or resume broadcast (or spuriously): wait again for the same deadline.
        if (error == 0 && record->state != kThreadFinished) continue;
        return error == 0 ? OS_OK : WaitResult(error);
    }
}

bool UnlockSuspended(ThreadRecord* record) {
    if (pthread_mutex_unlock(&record->mutex) == 0) return true;
    std::fprintf(stderr, "%s: Error unlocking mutex\n", kSuspendName);
    return false;
}

// Runs with cancellation deferred; holds no clean-up of its own (WaitWhileState has it).
int SuspendCallingWorker(ThreadRecord* record) {
    if (pthread_mutex_lock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error locking mutex\n", kSuspendName);
        return OS_ERR_SYSTEM;
    }
    record->state = kThreadSuspended;
    pthread_cond_broadcast(&record->condition);
    const int error = WaitWhileState(record, IsNotRunning);
    if (error == 0) return UnlockSuspended(record) ? OS_OK : OS_ERR_SYSTEM;
    std::fprintf(stderr, "%s: Error sending signal: %s (%d)\n", kSuspendName,
                 ReasonFor(error, kSuspendReasons), error);
    UnlockSuspended(record);
    return OS_ERR_SYSTEM;
}

}  // namespace
}  // namespace zp::os

using zp::os::ThreadRecord;

int OS_ThreadWait(OS_THREAD handle, uint64_t timeoutMs) {
    if (!zp::os::HasThreadMagic(handle)) return OS_ERR_HANDLE;
    auto* record = static_cast<ThreadRecord*>(handle);
    timespec deadline{};
    const bool timed = timeoutMs != OS_INFINITE;
    if (timed && !zpos::DeadlineFromNow(timeoutMs, deadline)) {
        std::perror("OS_ThreadWait: clock_gettime failed");
        return OS_ERR_SYSTEM;
    }
    if (pthread_mutex_lock(&record->mutex) != 0) return OS_ERR_SYSTEM;
    const int result = record->state == zp::os::kThreadFinished
                           ? OS_OK
                           : zp::os::AwaitFinish(record, timed ? &deadline : nullptr);
    const int error = pthread_mutex_unlock(&record->mutex);
    if (error != 0) {
        std::fprintf(stderr, "%s: Error unlocking mutex: %s (%d)\n", zp::os::kWaitName,
                     zp::os::ReasonFor(error, zp::os::kUnlockReasons), error);
        return OS_ERR_SYSTEM;
    }
    return result;
}

int OS_ThreadSuspend(void) {
    ThreadRecord* record = zp::os::CallingThreadRecord();
    if (record == nullptr) return OS_ERR_SYSTEM;
    if (!zp::os::HasThreadMagic(record)) return OS_ERR_HANDLE;
    // The worker runs with asynchronous cancellation; the mutex and condition calls must only be
    // cancelled inside the condition wait.
    int cancelType = PTHREAD_CANCEL_DEFERRED;
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &cancelType);
    const int result = zp::os::SuspendCallingWorker(record);
    pthread_setcanceltype(cancelType, nullptr);
    return result;
}

int OS_ThreadResume(OS_THREAD handle) {
    if (!zp::os::HasThreadMagic(handle)) return OS_ERR_HANDLE;
    auto* record = static_cast<ThreadRecord*>(handle);
    if (pthread_mutex_lock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error locking mutex\n", zp::os::kResumeName);
        return OS_ERR_SYSTEM;
    }
    // Unconditional, so resuming a finished worker clears its finished mark; callers rely on it.
    record->state = zp::os::kThreadRunning;
    pthread_cond_broadcast(&record->condition);
    if (pthread_mutex_unlock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error unlocking mutex\n", zp::os::kResumeName);
        return OS_ERR_SYSTEM;
    }
    return OS_OK;
}

int OS_ThreadSleep(uint32_t ms) {
    timespec request{};
    request.tv_sec = static_cast<time_t>(ms / 1000);
    request.tv_nsec = static_cast<long>(ms % 1000) * zp::os::kNanosPerMilli;
    timespec remaining{};
    while (nanosleep(&request, &remaining) != 0) {
        if (errno != EINTR) {
            std::perror("OS_ThreadSleep: error in nanosleep");
            return OS_ERR_SYSTEM;
        }
        request = remaining;
    }
    return OS_OK;
}
