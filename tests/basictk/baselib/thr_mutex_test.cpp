// Mutexes: the switch, ownership, depth, the release of all that a thread owns.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/thrMutex.h"
#include "tests/basictk/baselib/threads.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <random>

namespace {

TEST(ThrMutex, SwitchedOffNothingIsLockedAndNothingIsAnError) {
    thrMutex mutex(thrMutexNormal);
    mutex.Lock();
    mutex.Lock();
    on_threads(1, [&](int) { mutex.Lock(); });
    for (int i = 0; i < 4; ++i) {
        mutex.Unlock();
    }
    thrMutex_Lock(nullptr);
    thrMutex_Unlock(nullptr);
}

TEST(ThrMutex, FatalMisuse) {
    struct Row {
        const char *what;
        const char *description;
        void (*misuse)();
    };
    const Row rows[] = {
        {"locked twice", g_pszXIllegalAccess,
         [] {
             thrMutex *mutex = thrMutex_Create();
             thrMutex_Lock(mutex);
             thrMutex_Lock(mutex);
         }},
        {"initialisation lock locked twice", g_pszXIllegalAccess,
         [] {
             LockInitializationMutex();
             LockInitializationMutex();
         }},
        {"unlocked while free", g_pszXIllegalAccess, [] { thrMutex_Unlock(thrMutex_Create()); }},
        {"recursive unlocked too often", g_pszXIllegalAccess,
         [] {
             thrMutex *mutex = thrMutex_Create_Recursive();
             for (int i = 0; i < 3; ++i) {
                 thrMutex_Lock(mutex);
             }
             thrThread::CurrentThreadUnlockAllOwnedMutex(); // one of the three levels
             thrMutex_Unlock(mutex);
             thrMutex_Unlock(mutex);
             std::fputs("so far right; ", stderr);
             thrMutex_Unlock(mutex);
         }},
        {"unlocked by another thread", g_pszXIllegalAccess,
         [] {
             thrMutex *mutex = thrMutex_Create();
             thrMutex_Lock(mutex);
             on_threads(1, [&](int) { thrMutex_Unlock(mutex); });
         }},
        {"switched on while threads run", g_pszXThreadingInUse,
         [] {
             ++thrThread::c_iThreadsInUse;
             EnableThreading();
         }},
        {"switched off while threads run", g_pszXThreadingInUse,
         [] {
             ++thrThread::c_iThreadsInUse;
             DisableThreading();
         }},
        {"memory from the bare interface", "btkMemMgr::AllocMem",
         [] { static_cast<void>(btkNew(1, new btkMemMgr)); }},
        {"memory of another manager", "btkBaseMMgr::FreeMem",
         [] { pStringMemMgr->FreeMem(pBlkObjMemMgr->AllocMem(100, 8)); }},
    };
    for (const Row &row : rows) {
        const std::string report = std::string("FATAL ERROR IN THREAD DETECTED.\nDESCRIPTION: ") +
                                   row.description + "\nAPPLICATION TERMINATED.\n$";
        EXPECT_EXIT(
            {
                EnableThreading();
                row.misuse();
            },
            testing::KilledBySignal(SIGABRT), report)
            << row.what;
    }
}

TEST(ThrMutex, ConversionsTellTheClass) {
    thrMutex mutex(thrMutexNormal);
    thrBaseObject *object = &mutex;
    EXPECT_EQ(static_cast<thrMutex *>(*object), &mutex);
    EXPECT_EQ(static_cast<thrLocalObject *>(*object), nullptr);
    EXPECT_EQ(static_cast<thrCThread *>(*object), nullptr);
}

TEST(ThrMutex, RecursiveMutexIsHeldUntilItsLastLevel) {
    ThreadingOn on;
    thrMutex mutex(thrMutexRecursive);
    std::atomic<bool> last_unlock{false};
    for (int i = 0; i < 3; ++i) {
        mutex.Lock();
    }
    std::thread other([&] {
        mutex.Lock();
        EXPECT_TRUE(last_unlock);
        mutex.Unlock();
    });
    thrThread::UnlockAllOwnedMutexInternal(pthread_self());
    mutex.Unlock();
    last_unlock = true;
    mutex.Unlock();
    other.join();
}

// Destroyed mutexes leave gaps in the registry; what is released must not depend on them.
TEST(ThrMutex, ReleasesExactlyWhatTheThreadOwns) {
    ThreadingOn on;
    std::mt19937 random(7);
    std::vector<std::unique_ptr<thrMutex>> mutexes(150);
    thrMutex foreign(thrMutexNormal);
    std::atomic<int> step{0};
    std::thread owner([&] {
        foreign.Lock();
        step = 1;
        step.wait(1);
        foreign.Unlock(); // ends the process unless it is still held
    });
    step.wait(0);
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
            if (mutex) { // twice locked would end the process, and so would a free one unlocked
                mutex->Lock();
                mutex->Unlock();
            }
        }
    }
    step = 2;
    step.notify_one();
    owner.join();
}

TEST(ThrMutex, ExcludesOtherThreads) {
    ThreadingOn on;
    thrMutex normal(thrMutexNormal);
    thrMutex recursive(thrMutexRecursive);
    int plain = 0;
    int nested = 0;
    constexpr int THREADS = 8;
    constexpr int ROUNDS = 2000;
    on_threads(THREADS, [&](int) {
        for (int i = 0; i < ROUNDS; ++i) {
            thrMutex own(thrMutexNormal); // the registry changes under the others
            own.Lock();
            recursive.Lock();
            recursive.Lock();
            ++nested;
            recursive.Unlock();
            recursive.Unlock();
            normal.Lock();
            ++plain;
            thrThread::CurrentThreadUnlockAllOwnedMutex();
        }
    });
    EXPECT_EQ(plain, THREADS * ROUNDS);
    EXPECT_EQ(nested, THREADS * ROUNDS);
}

} // namespace
