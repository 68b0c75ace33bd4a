// The session's open and close sequences.
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "twport/clock_lines.h"
#include "twport/tw_port_internal.h"
#include "zpport/AddressText.h"
#include "zpport/TWPort.h"

using namespace zptw;

namespace {

constexpr unsigned int kDefaultTransferLimit = 2500;
std::atomic<unsigned int> gLockCounter{0};

bool IsStateIn(unsigned int state, unsigned int low, unsigned int high) {
    return state >= low && state <= high;
}

// A binary lock whose name is removed at once: the semaphore lives until it is closed, and
// nothing stays behind in the system's name space.
OS_SEMAPHORE CreateLock() {
    char name[64];
    std::snprintf(name, sizeof name, "/ZPTW_%d_%u", static_cast<int>(::getpid()), gLockCounter.fetch_add(1));
    OS_SEMAPHORE lock = OS_SemCreate(1, name);
    if (lock != nullptr) sem_unlink(name);
    return lock;
}

}  // namespace

unsigned int CTWPort::Open(_ZP_ENUMITEMEX* item) {
    if (item == nullptr) return 0;
    m_dwAdapterAddress = item->adapterIp;
    m_dwCameraType = item->cameraType;
    m_dwPortState[0] = item->fwVersion;
    m_dwTraceChannel = item->portId;
    // Taken before the listener starts, which reads it for its keep-alive.
    const size_t length = strnlen(item->ipText, sizeof m_szCameraAddress - 1);
    std::memcpy(m_szCameraAddress, item->ipText, length);
    m_szCameraAddress[length] = '\0';
    if (!StartListener()) return 0;
    if (SendOpenSequence() == 1) return 1;
    // Deliberately undone: a failed open stops its listener and closes its socket, so that no thread
    // or keep-alive outlives it and the object can be freed.
    StopListener();
    DestroyLocks();
    return 0;
}

// The camera's address byte, then the lines that bring the camera into a known state, then the
// locks. 0 at the first command that fails.
unsigned int CTWPort::SendOpenSequence() {
    char buffer[kLineBufferSize];
    std::memcpy(buffer, "54\r\n", 5);
    if (SendLine(buffer, kCommandTimeoutUs) != 1) return 0;
    m_byCameraAddress.store(static_cast<unsigned char>(hex2c(buffer + 7)));
    const unsigned int a = m_byCameraAddress.load();
    if (Command(buffer, kCommandTimeoutUs, "#%02X48", a) != 1) return 0;
    m_dwOptionFlag = hex2c(buffer + 7) == 1 ? 1 : 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X0102", a) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X40", a) != 1) return 0;
    const unsigned int state = hex2c(buffer + 7) & 0xFFu;
    m_byCameraState.store(static_cast<unsigned char>(state));
    if (!IsStateIn(state, 3, 6)) {
        if (Command(buffer, kCommandTimeoutUs, "#%02X9802", a) != 1) return 0;
        if (Command(buffer, kCommandTimeoutUs, "#%02X83010000", a) != 1) return 0;
    }
    if (Command(buffer, kCommandTimeoutUs, "#%02X538000", a) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X538000SLOW", a) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X8F1E", a) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X8700", a) != 1) return 0;
    _OS_SYSTEMTIME now{};
    OS_GetLocalTime(&now);
    const ClockFields clock = ClockFieldsOf(now);
    if (Command(buffer, kCommandTimeoutUs, "#%02X08%02d%02d%02d", a, clock.hour, clock.minute,
                clock.second) != 1)
        return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X09%02d%02d%02d", a, clock.month, clock.day, clock.year) != 1)
        return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X0D0200000000", a) != 1) return 0;
    if (IsStateIn(state, 5, 6) &&
        Command(buffer, kCommandTimeoutUs,
                "#%02X0F302E302C312E302C312E302C312E302C30000000000000000000000000000000", a) != 1)
        return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X0C00\"0\"", a) != 1) return 0;
    if (m_dwOptionFlag != 0 && Command(buffer, kCommandTimeoutUs, "#%02X7103", a) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X4700000000000000", a) != 1) return 0;
    if (Command(buffer, kCommandTimeoutUs, "#%02X0A0000", a) != 1) return 0;
    if (m_dwTransferLimit[0] == 0) {
        m_dwTransferLimit[0] = kDefaultTransferLimit;
        m_dwTransferLimit[1] = kDefaultTransferLimit;
    }
    DestroyLocks();  // a repeated open of the same object replaces its locks
    m_hLock = CreateLock();
    m_hKALock = CreateLock();
    return 1;
}

void CTWPort::Close() {
    // Calls in progress on other threads end first (a download aborts at its next wait slice) and
    // new ones are refused, so that nothing uses the port once it is closed and freed.
    m_dwClosing.store(1);
    while (m_nCallsInProgress.load() != 0) OS_ThreadSleep(1);
    const unsigned int state = m_byCameraState.load();
    if (IsStateIn(state, 5, 6)) {
        char buffer[kLineBufferSize];
        if (Command(buffer, kCommandTimeoutUs, "#%02X86",
                    static_cast<unsigned int>(m_byCameraAddress.load())) != 1)
            return;
    }
    // Waits for the listener to end (within one wait slice) instead of a fixed pause, so that the
    // socket is closed exactly once and no thread outlives the close.
    StopListener();
    DestroyLocks();
}

void CTWPort::DestroyLocks() {
    if (const OS_SEMAPHORE lock = m_hKALock.exchange(nullptr); lock != nullptr) OS_SemDestroy(lock);
    if (m_hLock != nullptr) {
        OS_SemDestroy(m_hLock);
        m_hLock = nullptr;
    }
}
