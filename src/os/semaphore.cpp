// Counting semaphores on POSIX named semaphores. They serve as the ports'
// locks. Names are never unlinked: an existing name opens the existing
// semaphore with its current count.
#include <fcntl.h>
#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "os/deadline.h"
#include "zpport/OSLayer.h"

namespace {

constexpr size_t kNameSize = 4096;

// Counter term of generated names; the clock term is what keeps names of
// different moments apart, the counter those of one clock tick.
std::atomic<uint32_t> gNameCounter{0};

sem_t* SemOf(OS_SEMAPHORE handle) { return static_cast<sem_t*>(handle); }

// The name to open, written to buffer when it has to be formed; null when there is none.
const char* NameToOpen(const char* name, char (&buffer)[kNameSize]) {
    if (name == nullptr) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const uint32_t sum = static_cast<uint32_t>(now.tv_sec) + static_cast<uint32_t>(now.tv_nsec) +
                             gNameCounter.fetch_add(1);
        std::snprintf(buffer, kNameSize, "/KAVSEM_%d", static_cast<int32_t>(sum));
        return buffer;
    }
    if (name[0] == '/') return name;
    const size_t length = std::strlen(name);
    if (length > kNameSize - 2) {
        std::fprintf(stderr, "Semaphore name is not normalized and too long\n");
        return nullptr;
    }
    buffer[0] = '/';
    std::memcpy(buffer + 1, name, length + 1);
    return buffer;
}

}  // namespace

OS_SEMAPHORE OS_SemCreate(uint32_t initialCount, const char* name) {
    char buffer[kNameSize];
    const char* semName = NameToOpen(name, buffer);
    sem_t* sem = SEM_FAILED;
    if (semName != nullptr) {
        sem = sem_open(semName, O_CREAT, 0600, initialCount);
    } else {
        errno = EINVAL;  // what the system reports for a name it cannot open
    }
    if (sem == SEM_FAILED) {
        std::perror("Error creating semaphore");
        return nullptr;
    }
    return sem;
}

int OS_SemDestroy(OS_SEMAPHORE handle) {
    if (handle == nullptr) return OS_OK;
    if (sem_close(SemOf(handle)) != 0) {
        std::perror("Error destroying semaphore");
        return OS_ERR_SYSTEM;
    }
    return OS_OK;
}

int OS_SemWait(OS_SEMAPHORE handle, uint64_t timeoutMs) {
    if (handle == nullptr) return OS_OK;  // no semaphore counts as an acquired lock
    const bool unlimited = timeoutMs == OS_INFINITE;
    timespec deadline{};
    if (!unlimited && !zpos::DeadlineFromNow(timeoutMs, deadline)) {
        std::perror("Error getting current time");
        return OS_ERR_SYSTEM;
    }
    for (;;) {
        const int rc = unlimited ? sem_wait(SemOf(handle)) : sem_timedwait(SemOf(handle), &deadline);
        if (rc == 0) return OS_OK;
        if (errno != EINTR) break;
    }
    if (errno == ETIMEDOUT) return OS_ERR_TIMEOUT;
    std::perror("Error waiting with timeout on semaphore");
    return OS_ERR_SYSTEM;
}

int OS_SemRelease(OS_SEMAPHORE handle) {
    if (handle == nullptr) return OS_OK;
    if (sem_post(SemOf(handle)) != 0) {
        std::perror("Error releasing semaphore");
        return OS_ERR_SYSTEM;
    }
    return OS_OK;
}
