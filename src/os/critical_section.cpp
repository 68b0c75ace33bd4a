// Critical sections: caller-owned POSIX mutexes; each call returns the POSIX result.
#include "zpport/OSLayer.h"

int OS_InitializeCriticalSection(OS_CRITICAL_SECTION* cs) { return pthread_mutex_init(cs, nullptr); }

int OS_EnterCriticalSection(OS_CRITICAL_SECTION* cs) { return pthread_mutex_lock(cs); }

int OS_LeaveCriticalSection(OS_CRITICAL_SECTION* cs) { return pthread_mutex_unlock(cs); }

int OS_DeleteCriticalSection(OS_CRITICAL_SECTION* cs) { return pthread_mutex_destroy(cs); }
