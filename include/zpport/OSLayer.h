/*
 * Portability layer: threads, semaphores, critical sections (C linkage), and
 * network, time, disk and string services.
 *
 * Results: 0 success, 1 failed system call, 2 not a thread record of this
 * layer, 3 time-out, 4 buffer too small. Time-outs are in milliseconds; the
 * all-ones value (OS_INFINITE) means no limit. Diagnostics go to stderr.
 */
#ifndef ZPPORT_OSLAYER_H
#define ZPPORT_OSLAYER_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "ZpExport.h"

#define OS_INFINITE UINT64_C(0xFFFFFFFFFFFFFFFF)

/* Result codes of the OS_ functions. */
#define OS_OK 0
#define OS_ERR_SYSTEM 1
#define OS_ERR_HANDLE 2
#define OS_ERR_TIMEOUT 3
#define OS_ERR_BUFFER 4

/* Thread handle: points to a heap record that begins with the magic "KAVT". */
typedef void* OS_THREAD;
/* Semaphore handle: the POSIX named-semaphore pointer; null means "no semaphore". */
typedef void* OS_SEMAPHORE;
/* Critical section: a caller-owned POSIX mutex. */
typedef pthread_mutex_t OS_CRITICAL_SECTION;
typedef void* (*OS_THREAD_ROUTINE)(void*);

/* One adapter in the 248-byte form; records lie back to back in the caller's buffer. */
typedef struct _OS_ADAPTER_INFO {
    struct _OS_ADAPTER_INFO* Next; /* following record, or null */
    uint32_t Reserved0;            /* not written */
    uint16_t AddressLength;        /* always 6 */
    uint16_t Zero;
    uint8_t Address[6];            /* MAC address */
    char AdapterName[64];          /* bounded copy; not terminated when 64 long */
    char IpAddress[16];            /* dotted text */
    char IpMask[16];               /* dotted text */
    char Description[18];          /* "Network interface" */
    uint8_t Reserved1[112];        /* not written */
} _OS_ADAPTER_INFO;

/* One adapter in the 40-byte form. */
typedef struct _OS_ADAPTER_ADDRESSES {
    uint32_t IfIndex;              /* 0 for the first listed adapter, counting up */
    uint32_t Reserved0;
    struct _OS_ADAPTER_ADDRESSES* Next;
    uint8_t PhysicalAddress[6];
    uint8_t Reserved1[2];
    uint32_t PhysicalAddressLength; /* always 6 */
    uint32_t Mtu;
    uint32_t IfType;               /* IANA ifType: 71 for "wl*" names, else 6 */
    uint32_t Reserved2;
} _OS_ADAPTER_ADDRESSES;

#define OS_IF_TYPE_ETHERNET 6
#define OS_IF_TYPE_IEEE80211 71

typedef struct _OS_PING_RESULT {
    uint32_t Address;   /* resolved IPv4 address, network byte order; 0 for dotted input */
    int64_t RoundTrip;  /* whole milliseconds */
} _OS_PING_RESULT;

/* Broken-down local time; year is years since 1900 and month is 0-based (by design). */
typedef struct _OS_SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
} _OS_SYSTEMTIME;

ZP_STATIC_ASSERT(sizeof(void*) == 8, "the adapter records are laid out for 64-bit pointers");
ZP_STATIC_ASSERT(sizeof(_OS_ADAPTER_INFO) == 248, "_OS_ADAPTER_INFO size");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, Next) == 0, "_OS_ADAPTER_INFO.Next");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, Reserved0) == 8, "_OS_ADAPTER_INFO.Reserved0");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, AddressLength) == 12, "_OS_ADAPTER_INFO.AddressLength");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, Zero) == 14, "_OS_ADAPTER_INFO.Zero");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, Address) == 16, "_OS_ADAPTER_INFO.Address");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, AdapterName) == 22, "_OS_ADAPTER_INFO.AdapterName");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, IpAddress) == 86, "_OS_ADAPTER_INFO.IpAddress");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, IpMask) == 102, "_OS_ADAPTER_INFO.IpMask");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, Description) == 118, "_OS_ADAPTER_INFO.Description");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_INFO, Reserved1) == 136, "_OS_ADAPTER_INFO.Reserved1");
ZP_STATIC_ASSERT(sizeof(_OS_ADAPTER_ADDRESSES) == 40, "_OS_ADAPTER_ADDRESSES size");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, IfIndex) == 0, "_OS_ADAPTER_ADDRESSES.IfIndex");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, Reserved0) == 4, "_OS_ADAPTER_ADDRESSES.Reserved0");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, Next) == 8, "_OS_ADAPTER_ADDRESSES.Next");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, PhysicalAddress) == 16, "_OS_ADAPTER_ADDRESSES.PhysicalAddress");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, Reserved1) == 22, "_OS_ADAPTER_ADDRESSES.Reserved1");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, PhysicalAddressLength) == 24, "_OS_ADAPTER_ADDRESSES.PhysicalAddressLength");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, Mtu) == 28, "_OS_ADAPTER_ADDRESSES.Mtu");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, IfType) == 32, "_OS_ADAPTER_ADDRESSES.IfType");
ZP_STATIC_ASSERT(offsetof(_OS_ADAPTER_ADDRESSES, Reserved2) == 36, "_OS_ADAPTER_ADDRESSES.Reserved2");
ZP_STATIC_ASSERT(sizeof(_OS_PING_RESULT) == 16, "_OS_PING_RESULT size");
ZP_STATIC_ASSERT(offsetof(_OS_PING_RESULT, Address) == 0, "_OS_PING_RESULT.Address");
ZP_STATIC_ASSERT(offsetof(_OS_PING_RESULT, RoundTrip) == 8, "_OS_PING_RESULT.RoundTrip");
ZP_STATIC_ASSERT(sizeof(_OS_SYSTEMTIME) == 16, "_OS_SYSTEMTIME size");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wYear) == 0, "_OS_SYSTEMTIME.wYear");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wMonth) == 2, "_OS_SYSTEMTIME.wMonth");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wDayOfWeek) == 4, "_OS_SYSTEMTIME.wDayOfWeek");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wDay) == 6, "_OS_SYSTEMTIME.wDay");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wHour) == 8, "_OS_SYSTEMTIME.wHour");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wMinute) == 10, "_OS_SYSTEMTIME.wMinute");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wSecond) == 12, "_OS_SYSTEMTIME.wSecond");
ZP_STATIC_ASSERT(offsetof(_OS_SYSTEMTIME, wMilliseconds) == 14, "_OS_SYSTEMTIME.wMilliseconds");

ZP_EXTERN_C_BEGIN

/* Threads. Create returns null on failure; the others return 0, 1, 2 or 3. */
ZP_EXPORT OS_THREAD OS_ThreadCreate(OS_THREAD_ROUTINE start, void* arg, unsigned int startSuspended);
ZP_EXPORT int OS_ThreadTerminate(OS_THREAD handle);
ZP_EXPORT int OS_ThreadDestroy(OS_THREAD handle);
ZP_EXPORT int OS_ThreadWait(OS_THREAD handle, uint64_t timeoutMs);
ZP_EXPORT int OS_ThreadSuspend(void);
ZP_EXPORT int OS_ThreadResume(OS_THREAD handle);
ZP_EXPORT int OS_ThreadSleep(uint32_t ms);

/* Named POSIX semaphores ("/KAVSEM_%d" when no name is given). Null handles are accepted. */
ZP_EXPORT OS_SEMAPHORE OS_SemCreate(uint32_t initialCount, const char* name);
ZP_EXPORT int OS_SemDestroy(OS_SEMAPHORE handle);
ZP_EXPORT int OS_SemWait(OS_SEMAPHORE handle, uint64_t timeoutMs);
ZP_EXPORT int OS_SemRelease(OS_SEMAPHORE handle);

/* Critical sections: each returns the POSIX call's own result. */
ZP_EXPORT int OS_InitializeCriticalSection(OS_CRITICAL_SECTION* cs);
ZP_EXPORT int OS_EnterCriticalSection(OS_CRITICAL_SECTION* cs);
ZP_EXPORT int OS_LeaveCriticalSection(OS_CRITICAL_SECTION* cs);
ZP_EXPORT int OS_DeleteCriticalSection(OS_CRITICAL_SECTION* cs);

/* Adapter lists: 0, 1, or 4 with the needed size in bytes written to *size. */
ZP_EXPORT int OS_NetGetAdaptersInfo(_OS_ADAPTER_INFO* buffer, uint32_t* size);
ZP_EXPORT int OS_GetAdaptersAddresses(_OS_ADAPTER_ADDRESSES* buffer, uint32_t* size);
/* One echo through the system ping program: 0, 1, or 3 when silent at the deadline. */
ZP_EXPORT int OS_NetPing(const char* host, _OS_PING_RESULT* result, uint32_t ttl, uint64_t timeoutMs);

ZP_EXTERN_C_END

#ifdef __cplusplus
/* Services exported with their C++ signatures. */
ZP_EXPORT void OS_GetLocalTime(_OS_SYSTEMTIME* time);
/* Milliseconds; wraps every 365 days counted from the epoch. */
ZP_EXPORT uint32_t OS_GetTickCount();
ZP_EXPORT uint32_t OS_timeGetTime();
ZP_EXPORT bool OS_IsSSE();
ZP_EXPORT bool CheckDiskSpace(const char* path, uint64_t& total, uint64_t& freeBytes);
ZP_EXPORT int OS_GetDiskFreeSpaceEx(const char* path, uint32_t* totalLow, uint32_t* totalHigh,
                                    uint32_t* freeLow, uint32_t* freeHigh);
/* Kinds 1 and 3: $HOME (or "/home"); kind 2: "/sbin"; others: -1. The copy is unbounded. */
ZP_EXPORT int OS_GetDirectory(int kind, char* buffer, int size);

ZP_EXPORT char* strlwr(char* s);
ZP_EXPORT char* strupr(char* s);
/* Arguments must be shorter than 256 characters. */
ZP_EXPORT int strcmpi(const char* a, const char* b);
ZP_EXPORT int strcpy_s(char* dst, size_t size, const char* src);
ZP_EXPORT int strcat_s(char* dst, size_t size, const char* src);
ZP_EXPORT void ZeroMemory(void* p, int count);
ZP_EXPORT int fopen_s(FILE** out, const char* path, const char* mode);
#endif

#endif /* ZPPORT_OSLAYER_H */
