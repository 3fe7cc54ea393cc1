// The threading switch, the thread counters and the fatal report of the thread library.
#pragma once

#include <atomic>

#include <pthread.h>

extern const char *const g_pszXThreadingDisabled;
extern const char *const g_pszXThreadingInUse;
extern const char *const g_pszXIllegalAccess;

// The switch, false at start. While it is false no mutex of the library locks anything.
extern std::atomic<bool> s_bThreadingEnabled;

class thrThread {
  public:
    // Threads that run, threads that are active, and how many may run before the memory layer
    // locks. All 0 at start. Whoever starts threads sets the switch and these counters first.
    static std::atomic<int> c_iThreadsInUse;
    static std::atomic<int> c_iActiveThreadsInUse;
    static std::atomic<int> c_iLimitOfSafeThreads;

    // Unlock each mutex of the thread once: a recursive mutex keeps its other levels. Need no
    // memory. `thread` must be the caller or own no mutex: unlocking another's ends the process.
    static void CurrentThreadUnlockAllOwnedMutex();
    static void UnlockAllOwnedMutexInternal(pthread_t thread);
};

inline bool IsThreadingEnabled() {
    return s_bThreadingEnabled.load(std::memory_order_relaxed);
}

// Set and clear the switch. If c_iThreadsInUse is not 0 they end the process with
// g_pszXThreadingInUse.
void EnableThreading();
void DisableThreading();

inline int thrThread_GetNumberOfThreadsRunning() {
    return thrThread::c_iThreadsInUse.load(std::memory_order_relaxed);
}

inline int thrThread_GetNumberOfActiveThreads() {
    return thrThread::c_iActiveThreadsInUse.load(std::memory_order_relaxed);
}

inline int thrThread_GetLimitOfSafeThreads() {
    return thrThread::c_iLimitOfSafeThreads.load(std::memory_order_relaxed);
}

// Write three lines with the description to standard error and call abort().
[[noreturn]] void thrAbortApplication(const char *description);
[[noreturn]] void throwXIllegalAccess();
