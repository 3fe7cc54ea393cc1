// The toolkit's start-up objects: built before main in a fixed order, destroyed by exit newest
// first. No thread of the process may use the toolkit any more when exit runs.
#pragma once

#include "basictk/baselib/inc/btkXArray.h"
#include "basictk/baselib/inc/thrMutex.h"

// The five initialisers, in the order in which they run; each is in the file of its name but the
// first, which is in thrStatics.cpp.
void start_thrtrap();
void start_osapic();
void start_fdset();
void start_widfun();
void start_btkubuf();

// One object to destroy at exit. The record is static storage of the module that built the object.
struct btkStaticRecord {
    const char *name;
    void (*destroy)();
    const btkStaticRecord *older;
};

// Puts a record on the list. Called before other threads run.
void btkRecordStatic(btkStaticRecord *record);
const btkStaticRecord *btkNewestStatic();
// Destroys what is on the list, newest first, and leaves the list empty. exit runs it.
void btkDestroyStatics();

// Records the object that a global pointer owns: it is deleted and the pointer cleared, so that
// what runs later finds no object instead of a dead one.
template <auto &pointer>
void btkRecordOwned(const char *name) {
    static btkStaticRecord record{name,
                                  [] {
                                      delete pointer;
                                      pointer = nullptr;
                                  },
                                  nullptr};
    btkRecordStatic(&record);
}

// Shared statics by name: rows of name and object, ordered with Cmp_cStrings.
class thrMTSafeStaticsSet {
  public:
    static btkClassXArrayImpl *mMTSafeSet;
};

// Normal mutexes of the toolkit's modules. Null when there was no memory for one.
extern thrMutex *thrcInitializationMutex;
extern thrMutex *_AbortMutex;
extern thrMutex *fork_protection;
extern thrMutex *ptkMutex;
extern thrMutex *btkXZStringMutex;
extern thrMutex *btkUBufMutex;

// Tables of the process interface: plain words, and pairs ordered by the address in the first.
extern btkXArray<void *> *ioMiscInfo;
extern btkClassXArrayImpl *iodbgXX;

// The texts that an empty string buffer shows, byte and wide.
extern char emptyCSBuffInitializer[4];
extern int emptyWSBuffInitializer[1];
