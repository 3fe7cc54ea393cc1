// Thread-local objects: a value per thread, all objects behind one POSIX key.
#pragma once

#include "basictk/baselib/inc/btkXArray.h"
#include "basictk/baselib/inc/thrBaseObject.h"

#include <pthread.h>

// A thread's values, indexed by the objects' slot indexes. Only its thread lengthens it, with the
// manager's lock held, so the thread may read it without. A slot is written by the thread and by
// whoever destroys the object: slots are accessed as atomics.
using thrSlotArray = btkXArray<void *>;

// Hands out slot indexes and owns every thread's slot array, also after the thread has ended. Any
// thread may call.
class thrLocalObjectManager : public btkAllocated {
  public:
    thrLocalObjectManager();
    // No object of the manager may be in use.
    ~thrLocalObjectManager();
    thrLocalObjectManager(const thrLocalObjectManager &) = delete;
    thrLocalObjectManager &operator=(const thrLocalObjectManager &) = delete;

    // False if there was no memory or no POSIX key: it must then not be used.
    bool IsValid() const { return hasKey && lock != nullptr; }
    pthread_key_t *Key() { return &key; }

    // Returns the free index released last, or a new one.
    int TakeIndex();
    // Sets the slot in every thread's array to null and frees the index. Returns the number of
    // indexes that are still taken.
    int GiveBackIndex(int index);

    // Returns the calling thread's array, made long enough for `index`. Null if there is no memory.
    thrSlotArray *SlotsFor(int index);

  private:
    bool Lengthen(thrSlotArray *slots, int index);
    bool RegisterTSDForCleanup(thrSlotArray *slots);
    void LowerNextIndex();
    bool TakeFreeIndex(int index);

    int nextIndex = 0;
    pthread_key_t key{};
    bool hasKey;
    btkXArray<int> freeIndexes;
    btkXArray<thrSlotArray *> threadArrays;
    pthread_mutex_t *lock;
};

// Any thread may create and destroy objects, but not destroy one that another thread uses.
class thrLocalObject : public thrBaseObject {
  public:
    // Null stands for the process-wide manager. Another one must outlive the object.
    explicit thrLocalObject(thrLocalObjectManager *of = nullptr);

    operator thrLocalObject *() override { return this; }
    virtual ~thrLocalObject();

    // False if there was no memory.
    bool IsValid() const { return key != nullptr; }
    int Index() const { return index; }
    void *GetData() const;
    bool SetData(void *value);

  private:
    static bool AllocateSystemKey();
    static void DeallocateSystemKey();

    int index = -1;
    thrLocalObjectManager *manager = nullptr;
    pthread_key_t *key = nullptr;

    static pthread_mutex_t c_mutexOnDefaultManager;
    static thrLocalObjectManager *mDefaultManager;
};

// Returns a new object, destroyed with delete. Null if there is no memory.
thrLocalObject *thrLocalObject_Create();
// Returns the calling thread's value. Null if it stored none, and for a null object.
void *thrLocalObject_GetData(const thrLocalObject *object);
// Stores the calling thread's value, which stays the caller's. False, and the old value stays, if
// there is no memory for a first store.
bool thrLocalObject_SetData(thrLocalObject *object, void *value);
