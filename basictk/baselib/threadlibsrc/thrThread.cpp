// The threading switch, the thread counters and the fatal report.
#include "basictk/baselib/inc/thrThread.h"

#include "basictk/baselib/inc/thrMutex.h"

#include <cstdio>
#include <cstdlib>

const char *const g_pszXThreadingDisabled = "Threading must be enabled before using threads";
const char *const g_pszXThreadingInUse = "Threads already in use";
const char *const g_pszXIllegalAccess =
    "Thread can't lock non-recursive mutex twice or unlock non-locked mutex";

constinit std::atomic<bool> s_bThreadingEnabled{false};
constinit std::atomic<int> thrThread::c_iThreadsInUse{0};
constinit std::atomic<int> thrThread::c_iActiveThreadsInUse{0};
constinit std::atomic<int> thrThread::c_iLimitOfSafeThreads{0};

namespace {

void set_switch(bool enabled) {
    if (thrThread_GetNumberOfThreadsRunning() != 0) {
        thrAbortApplication(g_pszXThreadingInUse);
    }
    s_bThreadingEnabled.store(enabled, std::memory_order_relaxed);
}

} // namespace

void EnableThreading() {
    set_switch(true);
}

void DisableThreading() {
    set_switch(false);
}

void thrThread::CurrentThreadUnlockAllOwnedMutex() {
    UnlockAllOwnedMutexInternal(pthread_self());
}

void thrThread::UnlockAllOwnedMutexInternal(pthread_t thread) {
    if (!IsThreadingEnabled()) {
        return;
    }
    thrMutex *mutex = thrMutex::CollectOwnedBy(thread);
    while (mutex != nullptr) {
        // Once unlocked the mutex may be another thread's, and its link with it.
        thrMutex *next = mutex->NextCollected();
        mutex->Unlock();
        mutex = next;
    }
}

void thrAbortApplication(const char *description) {
    // One call, so that reports of two threads do not mix.
    std::fprintf(stderr,
                 "FATAL ERROR IN THREAD DETECTED.\n"
                 "DESCRIPTION: %s\n"
                 "APPLICATION TERMINATED.\n",
                 description != nullptr ? description : "");
    std::abort();
}

void throwXIllegalAccess() {
    thrAbortApplication(g_pszXIllegalAccess);
}
