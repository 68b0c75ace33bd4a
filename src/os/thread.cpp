// Worker threads: creation, the wrapper every worker runs, cancellation and teardown.
//
// Workers run their routine with asynchronous cancellation. An unwinding started at an arbitrary
// instruction may only pass through frames without clean-ups there, so every frame that holds a
// clean-up (FinishedMark, the unlock in WaitWhileState) is entered only through a call and runs with
// cancellation deferred; the frames that switch the cancellation type hold no clean-ups themselves
// and are kept out of line.
#include <errno.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>

#include "os/thread_record.h"
#include "zpport/OSLayer.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace zp::os {
namespace {

constexpr const char kCreateName[] = "OS_ThreadCreate";
constexpr const char kWrapperName[] = "os_ThreadWrapper";
constexpr const char kFinishedName[] = "os_ThreadFinishedSignal";
constexpr const char kCancelName[] = "os_ThreadCancel";
constexpr const char kDestroyName[] = "OS_ThreadDestroy";

constexpr ReasonWord kKeyCreateReasons[] = {{11, "too many keys"}};
constexpr ReasonWord kCancelTypeReasons[] = {{22, "invalid"}};
constexpr ReasonWord kKeyStoreReasons[] = {{22, "invalid key"}};
constexpr ReasonWord kLockReasons[] = {{22, "invalid"}, {35, "deadlock"}};
constexpr ReasonWord kCancelReasons[] = {{3, "bad thread id"}};

// Each worker stores its record under this key so that OS_ThreadSuspend can find it. Created by
// the first OS_ThreadCreate; the mutex makes concurrent first creations agree on one key.
pthread_key_t recordKey;
std::atomic<bool> recordKeyExists{false};
std::mutex recordKeyMutex;

void EnsureRecordKey() {
    if (recordKeyExists.load(std::memory_order_acquire)) return;
    std::lock_guard<std::mutex> lock(recordKeyMutex);
    if (recordKeyExists.load(std::memory_order_relaxed)) return;
    const int error = pthread_key_create(&recordKey, nullptr);
    if (error != 0) {
        std::fprintf(stderr, "%s: error creating thread key: %s (%d)\n", kCreateName,
                     ReasonFor(error, kKeyCreateReasons), error);
        return;
    }
    recordKeyExists.store(true, std::memory_order_release);
}

bool IsSuspended(int32_t state) { return state == kThreadSuspended; }
bool IsNotFinished(int32_t state) { return state != kThreadFinished; }

// Releases a mutex when a cancellation unwinds out of a condition wait, which comes back locked.
class UnlockOnUnwind {
public:
    explicit UnlockOnUnwind(pthread_mutex_t* mutex) : mutex_(mutex) {}
    ~UnlockOnUnwind() {
        if (mutex_ != nullptr) pthread_mutex_unlock(mutex_);
    }
    UnlockOnUnwind(const UnlockOnUnwind&) = delete;
    UnlockOnUnwind& operator=(const UnlockOnUnwind&) = delete;
    void Dismiss() { mutex_ = nullptr; }

private:
    pthread_mutex_t* mutex_;
};

void os_ThreadFinishedSignal(ThreadRecord* record) {
    if (!HasThreadMagic(record)) return;
    int error = pthread_mutex_lock(&record->mutex);
    if (error != 0) {
        std::fprintf(stderr, "%s: Error locking thread: %s (%d)\n", kFinishedName,
                     ReasonFor(error, kLockReasons), error);
        return;
    }
    record->state = kThreadFinished;
    record->exited = true;
    pthread_cond_broadcast(&record->condition);
    error = pthread_mutex_unlock(&record->mutex);
    if (error != 0) {
        std::fprintf(stderr, "%s: Error unlocking mutex: %s (%d)\n", kFinishedName,
                     ReasonFor(error, kUnlockReasons), error);
    }
}

// A cancellation unwinds the worker's frames without their epilogues, so AddressSanitizer would still
// hold their redzones, and its own thread-exit code trips over them. Clears the stack below here.
[[gnu::noinline]] void ClearUnwoundStackPoison() {
#if defined(__SANITIZE_ADDRESS__)
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
    void* stackLow = nullptr;
    std::size_t stackSize = 0;
    const int error = pthread_attr_getstack(&attributes, &stackLow, &stackSize);
    pthread_attr_destroy(&attributes);
    if (error != 0) return;
    char* const here = static_cast<char*>(__builtin_frame_address(0));
    __asan_unpoison_memory_region(stackLow, static_cast<std::size_t>(here - static_cast<char*>(stackLow)));
#endif
}

// Marks the record finished when the wrapper is left, by return or by a cancellation unwinding.
class FinishedMark {
public:
    explicit FinishedMark(ThreadRecord* record) : record_(record) {}
    ~FinishedMark() {
        ClearUnwoundStackPoison();
        os_ThreadFinishedSignal(record_);
    }
    FinishedMark(const FinishedMark&) = delete;
    FinishedMark& operator=(const FinishedMark&) = delete;

private:
    ThreadRecord* record_;
};

void EnableAsynchronousCancel() {
    const int error = pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    if (error != 0) {
        std::fprintf(stderr, "%s: Error setting thread cancelation type: %s (%d)\n", kWrapperName,
                     ReasonFor(error, kCancelTypeReasons), error);
    }
}

void StoreOwnRecord(ThreadRecord* record) {
    // Without a key the store is refused the way an unknown key is.
    const int error = recordKeyExists.load(std::memory_order_acquire)
                          ? pthread_setspecific(recordKey, record)
                          : EINVAL;
    if (error != 0) {
        std::fprintf(stderr,
                     "%s: Error setting thread specific data (thread suspend/resume will not work): "
                     "%s (%d)\n",
                     kWrapperName, ReasonFor(error, kKeyStoreReasons), error);
    }
}

// Holds a worker created suspended until it is resumed; a released worker runs in whatever state.
void PassStartGate(ThreadRecord* record) {
    if (pthread_mutex_lock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error locking mutex\n", kWrapperName);
        return;
    }
    if (WaitWhileState(record, IsSuspended) != 0) {
        std::fprintf(stderr, "%s: Error waiting on condition\n", kWrapperName);
    }
    if (pthread_mutex_unlock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error unlocking mutex\n", kWrapperName);
    }
}

// Everything the worker does before it is marked finished. Holds no clean-up, so an asynchronous
// cancel may strike anywhere in it; out of line so that it never becomes part of the wrapper's frame.
[[gnu::noinline]] void* RunWorker(ThreadRecord* record) {
    EnableAsynchronousCancel();
    int cancelType = PTHREAD_CANCEL_ASYNCHRONOUS;
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &cancelType);
    StoreOwnRecord(record);
    PassStartGate(record);
    pthread_setcanceltype(cancelType, nullptr);  // a cancel requested meanwhile strikes here
    void* result = record->routine(record->argument);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);  // the finished mark must run whole
    return result;
}

void* os_ThreadWrapper(void* argument) {
    auto* record = static_cast<ThreadRecord*>(argument);
    FinishedMark finishedMark(record);
    return RunWorker(record);
}

bool StartDetached(ThreadRecord* record) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    const int error = pthread_create(&record->thread, &attributes, os_ThreadWrapper, record);
    pthread_attr_destroy(&attributes);
    return error == 0;
}

// Called with the mutex held and the worker not finished.
int CancelAndAwaitFinish(ThreadRecord* record) {
    const int error = pthread_cancel(record->thread);
    if (error != 0) {
        std::fprintf(stderr, "%s: Error canceling thread: %s (%d)", kCancelName,
                     ReasonFor(error, kCancelReasons), error);
        return error;
    }
    return WaitWhileState(record, IsNotFinished);
}

int os_ThreadCancel(ThreadRecord* record) {
    if (pthread_mutex_lock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error locking mutex\n", kCancelName);
        return 1;
    }
    // A resumed finished worker reads as running again, but its thread id may now name another
    // thread: an exited worker is never cancelled, so terminate and destroy end at once.
    const bool gone = record->state == kThreadFinished || record->exited;
    const int result = gone ? 0 : CancelAndAwaitFinish(record);
    if (pthread_mutex_unlock(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error unlocking mutex\n", kCancelName);
        return 1;
    }
    return result != 0 ? 1 : 0;
}

// Spins until no caller is inside OS_ThreadWait on the record. False when a mutex call failed while
// a waiter was still counted.
bool AwaitNoWaiters(ThreadRecord* record) {
    int32_t waiters = 0;
    do {
        bool locked = pthread_mutex_lock(&record->mutex) == 0;
        if (locked) {
            waiters = record->waiters;
            locked = pthread_mutex_unlock(&record->mutex) == 0;
        }
        if (!locked) {
            std::fprintf(stderr, "%s: Error locking/unlocking mutex\n", kDestroyName);
            return waiters <= 0;
        }
    } while (waiters > 0);
    return true;
}

void FreeRecord(ThreadRecord* record) {
    std::memset(record->magic, 0, sizeof(record->magic));
    if (pthread_cond_destroy(&record->condition) != 0) {
        std::fprintf(stderr, "%s: Error destroying condition\n", kDestroyName);
    }
    if (pthread_mutex_destroy(&record->mutex) != 0) {
        std::fprintf(stderr, "%s: Error destroying mutex\n", kDestroyName);
    }
    delete record;
}

}  // namespace

ThreadRecord* CallingThreadRecord() {
    if (!recordKeyExists.load(std::memory_order_acquire)) return nullptr;
    return static_cast<ThreadRecord*>(pthread_getspecific(recordKey));
}

// Kept out of line: its clean-up must never be merged into a frame that runs asynchronously.
[[gnu::noinline]] int WaitWhileState(ThreadRecord* record, bool (*keepWaiting)(int32_t state)) {
    UnlockOnUnwind unlockOnCancel(&record->mutex);
    int error = 0;
    while (keepWaiting(record->state)) {
        const int waitError = pthread_cond_wait(&record->condition, &record->mutex);
        if (waitError != 0 && waitError != EINTR) {
            error = waitError;
            break;
        }
    }
    unlockOnCancel.Dismiss();
    return error;
}

}  // namespace zp::os

using zp::os::ThreadRecord;

OS_THREAD OS_ThreadCreate(OS_THREAD_ROUTINE start, void* arg, unsigned int startSuspended) {
    zp::os::EnsureRecordKey();
    auto* record = new (std::nothrow) ThreadRecord{};
    if (record == nullptr) {
        std::fprintf(stderr, "%s: no memory\n", zp::os::kCreateName);
        return nullptr;
    }
    std::memcpy(record->magic, zp::os::kThreadMagic, sizeof(record->magic));
    pthread_mutex_init(&record->mutex, nullptr);
    pthread_cond_init(&record->condition, nullptr);
    record->state = static_cast<int32_t>(startSuspended & 0xFFu);
    record->waiters = 0;
    record->routine = start;
    record->argument = arg;
    record->exited = false;
    if (!zp::os::StartDetached(record)) {
        // Nobody can hold the record yet, so it is released here rather than left behind.
        zp::os::FreeRecord(record);
        return nullptr;
    }
    return record;
}

int OS_ThreadTerminate(OS_THREAD handle) {
    if (!zp::os::HasThreadMagic(handle)) return OS_ERR_HANDLE;
    return zp::os::os_ThreadCancel(static_cast<ThreadRecord*>(handle));
}

int OS_ThreadDestroy(OS_THREAD handle) {
    if (!zp::os::HasThreadMagic(handle)) return OS_ERR_HANDLE;
    auto* record = static_cast<ThreadRecord*>(handle);
    const int cancelResult = zp::os::os_ThreadCancel(record);
    if (cancelResult != 0) return cancelResult;
    if (!zp::os::AwaitNoWaiters(record)) return OS_ERR_SYSTEM;
    zp::os::FreeRecord(record);
    return OS_OK;
}
