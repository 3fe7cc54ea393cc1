// The toolkit's start-up objects: built before main in a fixed order, destroyed by exit() newest
// first. No other thread may use the toolkit while exit() runs.
#pragma once

#include "basictk/baselib/inc/btkXArray.h"
#include "basictk/baselib/inc/thrMutex.h"

// The five initialisers, in the order in which they run. Each is in the file of its name, the first
// in thrStatics.cpp.
void start_thrtrap();
void start_osapic();
void start_fdset();
void start_widfun();
void start_btkubuf();

// An object to destroy at exit. The module that built it owns the record, in static storage.
struct btkStaticRecord {
    void (*destroy)();
    const btkStaticRecord *older = nullptr;
};

// Adds a record to the list. Not thread-safe.
void btkRecordStatic(btkStaticRecord *record);
// Destroys what is on the list, newest first, and empties it. Run by exit().
void btkDestroyStatics();

// Records the object that a global pointer owns. At exit it is deleted and the pointer set to null,
// so that later code finds no object instead of a dead one.
template <auto &pointer>
void btkRecordOwned() {
    static btkStaticRecord record{[] {
        delete pointer;
        pointer = nullptr;
    }};
    btkRecordStatic(&record);
}

// Shared statics by name: rows of name and object, ordered with Cmp_cStrings.
class thrMTSafeStaticsSet {
  public:
    static btkClassXArrayImpl *mMTSafeSet;
};

// Normal mutexes of the toolkit's modules. Null if there was no memory.
extern thrMutex *thrcInitializationMutex;
extern thrMutex *_AbortMutex;
extern thrMutex *fork_protection;
extern thrMutex *ptkMutex;
extern thrMutex *btkXZStringMutex;
extern thrMutex *btkUBufMutex;

// Tables of the process interface: plain words, and pairs ordered by the address in the first.
extern btkXArray<void *> *ioMiscInfo;
extern btkClassXArrayImpl *iodbgXX;

// The texts of an empty string buffer, byte and wide.
extern char emptyCSBuffInitializer[4];
extern int emptyWSBuffInitializer[1];
