// The thread record behind an OS_THREAD handle and the helpers shared by the thread sources.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zpport/OSLayer.h"

namespace zp::os {

constexpr char kThreadMagic[4] = {'K', 'A', 'V', 'T'};

constexpr int32_t kThreadRunning = 0;
constexpr int32_t kThreadSuspended = 1;  // also: created to start suspended
constexpr int32_t kThreadFinished = 2;

// One per worker, on the heap; the handle points here. Hosts may look at the magic, so the field
// order is fixed.
struct ThreadRecord {
    char magic[4];
    pthread_t thread;
    int32_t state;                // guarded by mutex
    pthread_mutex_t mutex;
    pthread_cond_t condition;     // broadcast at every change of state
    int32_t waiters;              // callers blocked in OS_ThreadWait; guarded by mutex
    OS_THREAD_ROUTINE routine;
    void* argument;
    bool exited;  // the worker has left for good, whatever state a resume set since; guarded by mutex
};

inline bool HasThreadMagic(const void* handle) {
    return handle != nullptr && std::memcmp(handle, kThreadMagic, sizeof(kThreadMagic)) == 0;
}

struct ReasonWord {
    int error;
    const char* word;
};

// The word printed beside an error number in a diagnostic; "unknown" when the table has none.
template <std::size_t N>
const char* ReasonFor(int error, const ReasonWord (&words)[N]) {
    for (const ReasonWord& entry : words) {
        if (entry.error == error) return entry.word;
    }
    return "unknown";
}

constexpr ReasonWord kUnlockReasons[] = {{22, "invalid"}, {1, "no permissions"}};

// The record stored under the calling thread's key by its worker wrapper; null for any other thread
// or when the key could not be created.
ThreadRecord* CallingThreadRecord();

// Waits on the record's condition (mutex held) while keepWaiting(state) is true; interrupted waits
// are retried. Returns 0, or the error of the wait that failed. The caller must have deferred
// cancellation: a cancel inside the wait comes back with the mutex locked, and this releases it on
// the way out so that the worker's finished mark can take it.
int WaitWhileState(ThreadRecord* record, bool (*keepWaiting)(int32_t state));

}  // namespace zp::os
