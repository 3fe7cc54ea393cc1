// The threading switch, the thread counters and the fatal report of the thread library.
#pragma once

#include <atomic>
#include <pthread.h>

extern const char *const g_pszXThreadingDisabled;
extern const char *const g_pszXThreadingInUse;
extern const char *const g_pszXIllegalAccess;

class thrThread {
  public:
    static std::atomic<int> c_iThreadsInUse;
    static std::atomic<int> c_iActiveThreadsInUse;
    static std::atomic<int> c_iLimitOfSafeThreads;

    static void CurrentThreadUnlockAllOwnedMutex();
    static void UnlockAllOwnedMutexInternal(pthread_t thread);
};

bool IsThreadingEnabled();
void EnableThreading();
void DisableThreading();

int thrThread_GetNumberOfThreadsRunning();
int thrThread_GetNumberOfActiveThreads();
int thrThread_GetLimitOfSafeThreads();

[[noreturn]] void thrAbortApplication(const char *description);
[[noreturn]] void throwXIllegalAccess();
