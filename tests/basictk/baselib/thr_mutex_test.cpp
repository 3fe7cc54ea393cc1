// Mutexes: the switch, ownership, depth, the release of all that a thread owns.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/thrMutex.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <random>

namespace {

// Printed before the step that must end the process, so that an earlier end shows.
void ready() {
    std::fputs("ready; ", stderr);
}

void lock_twice() {
    LockInitializationMutex();
    ready();
    LockInitializationMutex();
}

void unlock_from_elsewhere() {
    LockInitializationMutex();
    ready();
    run_on_threads(1, [](int) { UnlockInitializationMutex(); });
}

void unlock_too_often() {
    thrMutex mutex(thrMutexRecursive);
    mutex.Lock();
    mutex.Lock();
    mutex.Lock();
    thrThread::CurrentThreadUnlockAllOwnedMutex(); // one of the three levels
    mutex.Unlock();
    mutex.Unlock();
    ready();
    mutex.Unlock();
}

void switch_while_threads_run() {
    ++thrThread::c_iThreadsInUse;
    ready();
    DisableThreading();
}

template <std::size_t size>
void free_elsewhere() {
    void *memory = pBlkObjMemMgr->AllocMem(size, 8);
    ready();
    pStringMemMgr->FreeMem(memory);
}

TEST(ThrMutex, MisuseEndsTheProcess) {
    const struct {
        void (*misuse)();
        const char *description;
    } rows[] = {
        {lock_twice, g_pszXIllegalAccess},
        {unlock_from_elsewhere, g_pszXIllegalAccess},
        {unlock_too_often, g_pszXIllegalAccess},
        {switch_while_threads_run, g_pszXThreadingInUse},
        {free_elsewhere<100>, "btkBaseMMgr::FreeMem"},
        {free_elsewhere<9000>, "btkBaseMMgr::FreeMem"},
    };
    for (const auto &row : rows) {
        const std::string report =
            std::string("^ready; FATAL ERROR IN THREAD DETECTED.\nDESCRIPTION: ") +
            row.description + "\nAPPLICATION TERMINATED.\n$";
        EXPECT_EXIT((EnableThreading(), row.misuse()), testing::KilledBySignal(SIGABRT), report);
    }
}

TEST(ThrMutex, SwitchedOffNothingIsLocked) {
    thrMutex mutex(thrMutexNormal);
    mutex.Lock();
    mutex.Lock();
    std::thread([&] { mutex.Lock(); }).join();
    std::thread([&] { mutex.Unlock(); }).join();
}

// Destroyed mutexes move others in the registry; what is released must not depend on it.
TEST(ThrMutex, ReleasesExactlyWhatTheThreadOwns) {
    EnableThreading();
    std::mt19937 random(7);
    std::vector<std::unique_ptr<thrMutex>> mutexes(150);
    for (int round = 0; round < 50; ++round) {
        for (auto &mutex : mutexes) {
            if (random() % 3 == 0) {
                mutex.reset(mutex ? nullptr : new thrMutex(thrMutexNormal));
            }
            if (mutex && random() % 2 == 0) {
                mutex->Lock();
            }
        }
        thrThread::CurrentThreadUnlockAllOwnedMutex();
        for (auto &mutex : mutexes) {
            if (mutex) {
                mutex->Lock(); // ends the process unless it is free
                mutex->Unlock();
            }
        }
    }
    DisableThreading();
}

// A mutex of another thread released by mistake would end the process as well.
TEST(ThrMutex, ExcludesOtherThreads) {
    thrMutex normal(thrMutexNormal);
    thrMutex recursive(thrMutexRecursive);
    int counts[2] = {};
    run_on_threads(8, [&](int) {
        for (int i = 0; i < 1000; ++i) {
            thrMutex own(thrMutexNormal); // the registry changes under the others
            own.Lock();
            recursive.Lock();
            ++counts[0];
            normal.Lock();
            ++counts[1];
            thrThread::CurrentThreadUnlockAllOwnedMutex();
        }
    });
    EXPECT_EQ(counts[0], 8000);
    EXPECT_EQ(counts[1], 8000);
}

} // namespace
