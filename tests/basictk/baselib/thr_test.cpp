// The thread library: mutexes, thread-local objects, and traps.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/thrLocalObject.h"
#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <csignal>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

// Printed before the step that must end the process, so that an earlier end shows.
void ready() {
    std::fputs("ready; ", stderr);
}

TEST(ThrMutex, MisuseEndsTheProcess) {
    const std::pair<void (*)(), const char *> rows[] = {
        {[] {
             thrMutex mutex(thrMutexRecursive);
             mutex.Lock();
             mutex.Lock();
             thrThread::CurrentThreadUnlockAllOwnedMutex(); // one of the two levels
             mutex.Unlock();
             ready();
             mutex.Unlock();
         },
         g_pszXIllegalAccess},
        {[] { LockInitializationMutex(), ready(), std::thread(UnlockInitializationMutex).join(); },
         g_pszXIllegalAccess},
        {[] { ready(), pStringMemMgr->FreeMem(pBlkObjMemMgr->AllocMem(100, 8)); },
         "btkBaseMMgr::FreeMem"},
    };
    for (const auto &[misuse, description] : rows) {
        const std::string report =
            "^ready; FATAL ERROR IN THREAD DETECTED.\nDESCRIPTION: " + std::string(description) +
            "\nAPPLICATION TERMINATED.\n";
        EXPECT_EXIT((EnableThreading(), misuse()), testing::KilledBySignal(SIGABRT), report);
    }
}

// Mutexes come and go, which moves others in the registry, and so do thread-local objects, more
// than the first storage of a slot array holds. A mutex that is still locked, or was released by
// the wrong thread, ends the process.
TEST(ThrMutex, EightThreadsReleaseExactlyWhatTheyOwn) {
    thrMutex normal(thrMutexNormal);
    thrMutex recursive(thrMutexRecursive);
    int counts[2] = {};
    run_on_threads(8, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        std::vector<std::unique_ptr<thrMutex>> mutexes(100);
        for (int round = 0; round < 50; ++round) {
            std::vector<std::unique_ptr<thrLocalObject>> objects(random() % 100);
            for (auto &mutex : mutexes) {
                if (random() % 3 == 0) {
                    mutex.reset(mutex ? nullptr : new thrMutex(thrMutexNormal));
                }
                thrMutex_Lock(random() % 2 == 0 ? mutex.get() : nullptr);
            }
            for (auto &object : objects) {
                object.reset(thrLocalObject_Create());
                ASSERT_EQ(thrLocalObject_GetData(object.get()), nullptr);
                ASSERT_TRUE(thrLocalObject_SetData(object.get(), &object));
            }
            recursive.Lock();
            ++counts[0];
            normal.Lock();
            ++counts[1];
            thrThread::CurrentThreadUnlockAllOwnedMutex();
            for (auto &mutex : mutexes) {
                thrMutex_Lock(mutex.get());
                thrMutex_Unlock(mutex.get());
            }
            for (auto &object : objects) {
                ASSERT_EQ(thrLocalObject_GetData(object.get()), &object);
            }
        }
    });
    EXPECT_EQ(counts[0], 400);
    EXPECT_EQ(counts[1], 400);
}

// The nth allocation fails: an object is either whole or null, and nothing leaks.
TEST(ThrLocalObject, WithoutMemoryNothingIsHalfMade) {
    run_on_threads(1, [](int) {
        bool stored = false;
        for (int nth = 0; nth < 20; ++nth) {
            fail_allocation(nth, true);
            const std::unique_ptr<thrMutex> mutex(thrMutex_Create());
            const std::unique_ptr<thrLocalObject> object(thrLocalObject_Create());
            stored = thrLocalObject_SetData(object.get(), &stored);
            fail_allocation(NO_FAILURE, false);
            EXPECT_EQ(thrLocalObject_GetData(object.get()), stored ? &stored : nullptr) << nth;
            thrMutex_Lock(mutex.get());
            thrMutex_Unlock(mutex.get());
        }
        EXPECT_TRUE(stored);
    });
}

TEST(ThrLocalObjectManager, FreeIndexesAreLastInFirstOut) {
    thrLocalObjectManager manager;
    for (int index = 0; index < 4; ++index) {
        EXPECT_EQ(manager.TakeIndex(), index);
    }
    manager.GiveBackIndex(0);
    manager.GiveBackIndex(2);
    EXPECT_EQ(manager.TakeIndex(), 2);
    EXPECT_EQ(manager.TakeIndex(), 0);
    EXPECT_EQ(manager.TakeIndex(), 4);
}

thread_local std::string cleaned;

// A clean-up call with a frame of its own, and a trap, which is ignored.
void note(const trp_word words[TRP_CLEANUP_WORDS]) {
    std::jmp_buf context;
    EXPECT_EQ(trp_push_frame(TRP_CLASS_MEMORY, &context), 1);
    trp_execute(TRP_CLASS_MEMORY);
    trp_pop_frame();
    EXPECT_EQ(words[15], 15);
    cleaned += static_cast<char>(words[0]);
}

void queue_note(int letter) {
    const trp_word words[] = {letter, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    EXPECT_EQ(trp_queue_cleanup(note, words, TRP_CLEANUP_WORDS), 1);
}

// Pushes a frame for each mask of a list ended by 0, the first outermost, with two calls on each;
// traps inside the innermost, and returns the place of the frame that resumed (-1: none).
// exhausted: the trap finds no memory.
int trap_through(const int *masks, int level, int trap, bool exhausted) {
    if (masks[level] == 0) {
        fail_allocation(exhausted ? 0 : NO_FAILURE, exhausted);
        trp_execute(trap);
        fail_allocation(NO_FAILURE, false);
        return -1;
    }
    std::jmp_buf context;
    int resumed = level;
    if (setjmp(context) == 0) {
        EXPECT_EQ(trp_push_frame(masks[level], &context), 1);
        queue_note('a' + 2 * level);
        queue_note('b' + 2 * level);
        resumed = trap_through(masks, level + 1, trap, exhausted);
    }
    fail_allocation(NO_FAILURE, false);
    EXPECT_EQ(tls_get_trap_ptr()->frames.Count(), level + 1);
    queue_note('z'); // goes with its frame
    trp_pop_frame();
    return resumed;
}

// Each trap unlocks the mutex.
void trap_through_all(bool exhausted, thrMutex *mutex) {
    const struct {
        int masks[5];
        int trap, resumed;
        const char *cleaned;
    } rows[] = {
        {{0}, 2, -1, ""},
        {{2, 2, 0}, 2, 1, "cd"},
        {{2, 4, 8, 0}, 2, 0, "efcdab"},
        {{1, 6, 8, 4, 0}, 2, 1, "ghefcd"},
        {{2, 4, 8, 1, 0}, 12, 2, "ghef"},
        {{1, 1, 1, 1, 0}, 2, -1, "ghefcdab"},
    };
    for (const auto &row : rows) {
        cleaned.clear();
        mutex->Lock();
        EXPECT_EQ(trap_through(row.masks, 0, row.trap, exhausted), row.resumed) << row.cleaned;
        EXPECT_EQ(cleaned, row.cleaned);
    }
}

TEST(ThrTrap, ResumesAtTheInnermostFrameOfTheClassOnEachThread) {
    thrMutex mutex(thrMutexNormal);
    testing::internal::CaptureStdout();
    trap_through_all(true, &mutex);
    run_on_threads(2, [&](int) {
        for (int round = 0; round < 200; ++round) {
            trap_through_all(false, &mutex);
        }
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout().size(),
              401 * std::string(" ALL TRAPS EXAUSTED\n").size());
}

TEST(ThrTrap, IsHeldBackWhileUnarmedSuspendedOrExecuting) {
    std::jmp_buf context;
    if (setjmp(context) != 0) {
        FAIL() << "the trap went through";
    }
    ASSERT_EQ(trp_push_frame(6, &context), 1);
    queue_note('n');
    trp_stack *stack = tls_get_trap_ptr();
    stack->armed = 0;
    trp_execute(4);
    EXPECT_EQ(stack->pending, 1);
    EXPECT_EQ(stack->pending_class, 4);
    stack->armed = 1;
    stack->suspended = 1;
    trp_execute(2);
    stack->suspended = 0;
    trp_execute(2);  // under way already
    trp_pop_frame(); // drops the call
}

} // namespace
