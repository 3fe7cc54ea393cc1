// Mutexes that know their owner, and the library initialisation lock.
#pragma once

#include "basictk/baselib/inc/thrBaseObject.h"

#include <atomic>

#include <pthread.h>

template <typename Element>
class btkXArray;

enum thrMutexType : int { thrMutexNormal = 0, thrMutexRecursive = 1 };

// While threading is off (thrThread.h), Lock and Unlock do nothing. While it is on, locking a
// normal mutex twice, or unlocking a mutex that the thread does not own, ends the process; a
// recursive one needs as many unlocks as locks. Every mutex is in one registry, from which a trap
// releases those of its thread.
class thrMutex : public thrBaseObject {
  public:
    // If there is no memory the mutex is not valid, and locking it does nothing.
    explicit thrMutex(thrMutexType mutex_type);

    operator thrMutex *() override { return this; }
    virtual ~thrMutex();

    void Lock();
    void Unlock();
    bool IsValid() const { return valid.load(std::memory_order_acquire); }
    // True if the calling thread holds the mutex.
    bool IsOwned() const { return IsOwner(pthread_self()); }

    // Returns the mutexes that a thread owns, linked through NextCollected. The link of a mutex is
    // valid until the thread unlocks it.
    static thrMutex *CollectOwnedBy(pthread_t thread);
    thrMutex *NextCollected() const { return nextCollected; }

  private:
    static bool Register(thrMutex *mutex);
    static void Unregister(thrMutex *mutex);
    bool IsOwner(pthread_t thread) const;

    pthread_mutex_t *handle = nullptr;
    const thrMutexType type;
    int depth = 0; // locks beyond the first; touched by the owner only
    std::atomic<bool> valid{false};
    std::atomic<pthread_t> owner{pthread_t{}};
    int place = -1; // in the registry, under its lock
    thrMutex *nextCollected = nullptr;

    static pthread_mutex_t c_mutexOnLockedMutex;
    static btkXArray<thrMutex *> *c_apLockedMutex;
};

// Holds a mutex for a scope. No trap may leave the scope: it would skip the destructor.
class thrMutexGuard {
  public:
    explicit thrMutexGuard(thrMutex &guarded) : mutex(guarded) { mutex.Lock(); }
    ~thrMutexGuard() { mutex.Unlock(); }
    thrMutexGuard(const thrMutexGuard &) = delete;
    thrMutexGuard &operator=(const thrMutexGuard &) = delete;

  private:
    thrMutex &mutex;
};

// Return a new mutex, destroyed with delete. Null if there is no memory.
thrMutex *thrMutex_Create();
thrMutex *thrMutex_Create_Recursive();
// Do nothing for null.
void thrMutex_Lock(thrMutex *mutex);
void thrMutex_Unlock(thrMutex *mutex);
// True if the calling thread holds the mutex. False after a trap that returned has released it.
bool thrMutex_IsOwned(const thrMutex *mutex);

// The lock under which shared objects are made on first use. Not recursive.
void LockInitializationMutex();
void UnlockInitializationMutex();

// Returns the shared object of `slot`, which the first call makes with `create` under the
// initialisation lock; null if it could not be made, and the next call then tries again. Must not
// be called with the initialisation lock held.
template <class Object>
Object *thr_make_once(std::atomic<Object *> &slot, Object *(*create)()) {
    Object *object = slot.load(std::memory_order_acquire);
    if (object == nullptr) {
        LockInitializationMutex();
        object = slot.load(std::memory_order_relaxed);
        if (object == nullptr) {
            object = create();
            slot.store(object, std::memory_order_release);
        }
        UnlockInitializationMutex();
    }
    return object;
}
