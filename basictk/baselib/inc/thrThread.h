// The threading switch, the thread counters and the fatal report of the thread library.
#pragma once

#include <atomic>

#include <pthread.h>

extern const char *const g_pszXThreadingDisabled;
extern const char *const g_pszXThreadingInUse;
extern const char *const g_pszXIllegalAccess;

// The switch; false at start. While it is false no mutex of the library locks anything.
extern std::atomic<bool> s_bThreadingEnabled;

class thrThread {
  public:
    // Threads of the library that run, those of them that are active, and how many may run before
    // the memory layer has to lock. All 0 at start; changed by whoever starts and ends threads.
    static std::atomic<int> c_iThreadsInUse;
    static std::atomic<int> c_iActiveThreadsInUse;
    static std::atomic<int> c_iLimitOfSafeThreads;

    // Unlocks once each mutex that the thread owns: a recursive mutex keeps its other levels.
    // Takes no memory. A thread other than the caller is only right when it owns none: unlocking
    // a mutex of somebody else ends the process.
    static void CurrentThreadUnlockAllOwnedMutex();
    static void UnlockAllOwnedMutexInternal(pthread_t thread);
};

inline bool IsThreadingEnabled() {
    return s_bThreadingEnabled.load(std::memory_order_relaxed);
}

// Set and clear the switch. While threads of the library run they end the process with
// "Threads already in use".
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

// Write three lines with the description to the standard error stream and end with abort.
[[noreturn]] void thrAbortApplication(const char *description);
[[noreturn]] void throwXIllegalAccess();
