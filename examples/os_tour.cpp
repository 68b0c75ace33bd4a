// A short tour of the library's host-side services: local time and tick,
// a worker thread and a semaphore, address text, the trace log and the
// description tables. Touches no network.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <semaphore.h>

#include "zpport/AddressText.h"
#include "zpport/OSLayer.h"
#include "zpport/XTrace.h"

namespace {

void* CountTo(void* arg) {
    auto* counter = static_cast<int*>(arg);
    for (int i = 0; i < 5; ++i) {
        ++*counter;
        OS_ThreadSleep(10);
    }
    return nullptr;
}

void ShowTimeAndThreads() {
    _OS_SYSTEMTIME now{};
    OS_GetLocalTime(&now);
    std::printf("local time   %04d-%02d-%02d %02d:%02d:%02d, tick %u ms\n", now.wYear + 1900, now.wMonth + 1,
                now.wDay, now.wHour, now.wMinute, now.wSecond, OS_GetTickCount());

    int counter = 0;
    OS_THREAD worker = OS_ThreadCreate(CountTo, &counter, 0);
    const int waited = OS_ThreadWait(worker, 2000);
    std::printf("worker       wait result %d, counted to %d, destroy result %d\n", waited, counter,
                OS_ThreadDestroy(worker));

    OS_SEMAPHORE lock = OS_SemCreate(1, "zp_os_tour_lock");
    const int first = OS_SemWait(lock, 100);
    const int second = OS_SemWait(lock, 100);  // already taken: times out (3)
    std::printf("semaphore    first wait %d, second wait %d\n", first, second);
    OS_SemRelease(lock);
    OS_SemDestroy(lock);
    sem_unlink("/zp_os_tour_lock");
}

void ShowAddressText() {
    char text[64];
    unsigned int address = 0;
    StringAddressToLong("192.168.0.1", address);
    ByteAddressToString(address, text);
    std::printf("address      0x%08X prints as %s\n", address, text);

    unsigned int low = 0, high = 0;
    StringToMACAddress("00:1a:2b:3c:4d:5e", low, high);
    MACAddressToString(low, high, text);
    std::printf("MAC          high 0x%04X low 0x%08X prints as %s\n", high, low, text);
}

void ShowTrace() {
    char dir[] = "/tmp/zp_os_tour_XXXXXX";
    if (mkdtemp(dir) == nullptr) return;
    const std::string name = std::string(dir) + "/camera.log";

    CXTrace trace;
    trace.EnableTrace(7u, name.c_str(), 1);
    char line[] = "#0140\r\n";
    char printable[2048], description[128];
    trace.GetTWCommandString(line, printable);
    trace.GetTWCommandDescr(0x40, description);
    trace.Trace(0x2001, 1, "CMD: %s(%s)", printable, description);
    unsigned short registers[3] = {0x1234, 0xABCD, 0x0001};
    trace.TraceRegs(0x2001, 1, registers, 3);

    std::printf("trace log    %s:\n", trace.LogPath());
    if (FILE* f = std::fopen(trace.LogPath(), "rb")) {
        char buffer[512];
        while (std::fgets(buffer, sizeof buffer, f) != nullptr) std::printf("             %s", buffer);
        std::fclose(f);
    }
    std::remove(trace.LogPath());
    std::remove(dir);

    char text[128];
    trace.GetHardwareErrorString(2008, text);
    std::printf("error 2008   %s\n", text);
    trace.GetParameterDescr(35, text);
    std::printf("parameter 35 %s\n", text);
}

}  // namespace

int main() {
    ShowTimeAndThreads();
    ShowAddressText();
    ShowTrace();
    return 0;
}
