// Start-up objects: built in order before main, destroyed by exit newest first.
#include "basictk/baselib/inc/baselibState.h"
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/btkStartUp.h"
#include "basictk/baselib/inc/thrThread.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

TEST(StartUp, BuildsInOrderAndDestroysNewestFirst) {
    std::vector<std::string> names;
    for (const btkStaticRecord *at = btkNewestStatic(); at != nullptr; at = at->older) {
        names.push_back(at->name);
    }
    const std::vector<std::string> newest_first = {"btkUBufMutex",  "btkXZStringMutex",
                                                   "ptkMutex",      "fork_protection",
                                                   "iodbgXX",       "ioMiscInfo",
                                                   "pBlkObjMemMgr", "pStringMemMgr",
                                                   "_AbortMutex",   "thrcInitializationMutex",
                                                   "mMTSafeSet"};
    EXPECT_EQ(names, newest_first);
}

btkMemMgr *manager_of(const void *object) {
    return static_cast<btkMemMgr *const *>(object)[-2];
}

TEST(StartUp, ObjectsComeFromTheManagerOfTheirTime) {
    for (const void *object : std::initializer_list<const void *>{
             thrMTSafeStaticsSet::mMTSafeSet, thrcInitializationMutex, _AbortMutex, pStringMemMgr,
             pBlkObjMemMgr, pDefMemMgr}) {
        EXPECT_EQ(manager_of(object), nullptr);
    }
    for (const void *object : std::initializer_list<const void *>{
             ioMiscInfo, iodbgXX, fork_protection, ptkMutex, btkXZStringMutex, btkUBufMutex}) {
        EXPECT_EQ(manager_of(object), pDefMemMgr);
    }
    EXPECT_EQ(pStringMemMgr, pArrayMemMgr);
    EXPECT_EQ(emptyCSBuffInitializer[0], 0);
    EXPECT_EQ(emptyWSBuffInitializer[0], 0);
}

TEST(StartUp, ExitRunsTheListNewestFirst) {
    static btkStaticRecord first{"first", [] { std::fputs("first ", stderr); }, nullptr};
    static btkStaticRecord second{"second", [] { std::fputs("second ", stderr); }, nullptr};
    EXPECT_EXIT(
        {
            btkRecordStatic(&first);
            btkRecordStatic(&second);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^second first $");
}

TEST(StartUp, NothingDanglesAfterDestruction) {
    EXPECT_EXIT(
        {
            btkDestroyStatics();
            for (const void *object : std::initializer_list<const void *>{
                     btkUBufMutex, btkXZStringMutex, ptkMutex, fork_protection, iodbgXX, ioMiscInfo,
                     pBlkObjMemMgr, pStringMemMgr, pArrayMemMgr, _AbortMutex,
                     thrcInitializationMutex, thrMTSafeStaticsSet::mMTSafeSet}) {
                EXPECT_EQ(object, nullptr);
            }
            EnableThreading();
            LockInitializationMutex(); // what runs later still may
            UnlockInitializationMutex();
            delete thrMutex_Create();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "^$");
}

TEST(StartUp, StateTellsWhichVariablesAreSet) {
    const char *const names[] = {"NOINTERACT", "NOEXIT", "HARDMEMDEBUG"};
    for (int set = 0; set < 8; ++set) {
        for (int i = 0; i < 3; ++i) {
            if ((set >> i & 1) != 0) {
                setenv(names[i], "", 1);
            } else {
                unsetenv(names[i]);
            }
        }
        baselibState state;
        state.SetNewState();
        const int told = state.NoInteract() + 2 * state.NoExit() + 4 * state.HardMemDebug();
        EXPECT_EQ(told, set);
    }
}

} // namespace
