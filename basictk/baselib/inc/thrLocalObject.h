// Thread-local objects: one value a thread, all objects behind one POSIX key.
#pragma once

#include "basictk/baselib/inc/btkXArray.h"
#include "basictk/baselib/inc/thrBaseObject.h"

#include <pthread.h>

// A thread's values, one a slot index. Only its thread makes it longer, and only under the
// manager's lock; so the thread itself may look without it. A slot is written by the thread and,
// when an object goes, by whoever destroys the object: slots are accessed as atomics.
using thrSlotArray = btkXArray<void *>;

// Deals out slot indexes and keeps every thread's slot array. The arrays live as long as the
// manager: a thread that ends leaves its own behind. Safe on several threads.
class thrLocalObjectManager : public btkAllocated {
  public:
    thrLocalObjectManager();
    // No thread may use an object of the manager any more.
    ~thrLocalObjectManager();
    thrLocalObjectManager(const thrLocalObjectManager &) = delete;
    thrLocalObjectManager &operator=(const thrLocalObjectManager &) = delete;

    // False when there was no memory or no POSIX key: it must then not be used.
    bool IsValid() const { return hasKey && lock != nullptr; }
    pthread_key_t *Key() { return &key; }

    // The index given back last, or a new one.
    int TakeIndex();
    // Clears the slot in every thread's array and makes the index free; answers how many objects
    // are left.
    int GiveBackIndex(int index);

    // The calling thread's array, made long enough for index; null when there is no memory.
    thrSlotArray *SlotsFor(int index);

  private:
    bool Lengthen(thrSlotArray *slots, int index);
    bool RegisterTSDForCleanup(thrSlotArray *slots);
    void LowerNextIndex();
    bool TakeFreeIndex(int index);

    int nextIndex = 0;
    int objectCount = 0;
    pthread_key_t key{};
    bool hasKey;
    btkXArray<int> freeIndexes;
    btkXArray<thrSlotArray *> threadArrays;
    pthread_mutex_t *lock;
};

// Creation and destruction may come from any thread; an object must not be destroyed while
// another thread uses it.
class thrLocalObject : public thrBaseObject {
  public:
    // An object of the process-wide manager, or of one that outlives the object.
    explicit thrLocalObject(thrLocalObjectManager *of = nullptr);

    operator thrLocalObject *() override { return this; }
    virtual ~thrLocalObject();

    // False when there was no memory.
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

// A new object, destroyed with delete; null when there is no memory.
thrLocalObject *thrLocalObject_Create();
// The calling thread's value: null when it stored none, and for a null object.
void *thrLocalObject_GetData(const thrLocalObject *object);
// Stores the calling thread's value; the value stays the caller's. False, with the old value
// kept, when there is no memory for a first store.
bool thrLocalObject_SetData(thrLocalObject *object, void *value);
