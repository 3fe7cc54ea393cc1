// Start-up objects: built in order before main, destroyed by exit newest first.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/btkStartUp.h"
#include "basictk/baselib/inc/thrThread.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

TEST(StartUp, RecordsTheObjectsInTheirOrder) {
    std::string names;
    for (const btkStaticRecord *at = btkNewestStatic(); at != nullptr; at = at->older) {
        names += std::string(at->name) + ' ';
    }
    EXPECT_EQ(names, "btkUBufMutex btkXZStringMutex ptkMutex fork_protection iodbgXX ioMiscInfo "
                     "pBlkObjMemMgr pStringMemMgr _AbortMutex thrcInitializationMutex mMTSafeSet ");
    // The header names the manager of the time.
    EXPECT_EQ(reinterpret_cast<void **>(thrcInitializationMutex)[-2], nullptr);
    EXPECT_EQ(reinterpret_cast<void **>(ioMiscInfo)[-2], pDefMemMgr);
}

TEST(StartUp, ExitRunsTheListNewestFirst) {
    static btkStaticRecord first{"first", [] { std::fputs("first ", stderr); }, nullptr};
    static btkStaticRecord second{"second", [] { std::fputs("second ", stderr); }, nullptr};
    EXPECT_EXIT((btkRecordStatic(&first), btkRecordStatic(&second), std::exit(0)),
                testing::ExitedWithCode(0), "^second first $");
}

// What runs after the list finds no object, and does without it.
void use_after_destruction() {
    btkDestroyStatics();
    EnableThreading();
    LockInitializationMutex();
    LockInitializationMutex();
    delete thrMutex_Create();
    std::exit(pArrayMemMgr == nullptr && ioMiscInfo == nullptr && btkUBufMutex == nullptr);
}

TEST(StartUp, NothingDanglesAfterDestruction) {
    EXPECT_EXIT(use_after_destruction(), testing::ExitedWithCode(1), "^$");
}

} // namespace
