// Mutexes that know their owner, and the registry of all of them.
#include "basictk/baselib/inc/thrMutex.h"

#include "basictk/baselib/inc/btkXArray.h"
#include "basictk/baselib/inc/thrThread.h"
#include "basictk/baselib/threadlibsrc/thrPosixMutex_internal.h"

// The registry has a POSIX lock: it must work before the first thrMutex does.
constinit pthread_mutex_t thrMutex::c_mutexOnLockedMutex = PTHREAD_MUTEX_INITIALIZER;
constinit btkXArray<thrMutex *> *thrMutex::c_apLockedMutex = nullptr;

thrMutex::thrMutex(thrMutexType mutex_type) : type(mutex_type) {
    if (!Register(this)) {
        return;
    }
    handle = thr_new_posix_mutex();
    valid.store(handle != nullptr, std::memory_order_release);
}

thrMutex::~thrMutex() {
    Unregister(this);
    valid.store(false, std::memory_order_release);
    // Still locked if threading was switched off in between.
    if (handle != nullptr && IsOwner(pthread_self())) {
        pthread_mutex_unlock(handle);
    }
    thr_delete_posix_mutex(handle);
}

bool thrMutex::Register(thrMutex *mutex) {
    thrPosixGuard guard(&c_mutexOnLockedMutex);
    if (c_apLockedMutex == nullptr) {
        c_apLockedMutex = new btkXArray<thrMutex *>;
    }
    if (c_apLockedMutex == nullptr || !c_apLockedMutex->Append(mutex)) {
        return false;
    }
    mutex->place = c_apLockedMutex->Count() - 1;
    return true;
}

void thrMutex::Unregister(thrMutex *mutex) {
    thrPosixGuard guard(&c_mutexOnLockedMutex);
    if (mutex->place < 0) {
        return;
    }
    // The last one takes the free place.
    const int last = c_apLockedMutex->Count() - 1;
    thrMutex *moved = (*c_apLockedMutex)[last];
    (*c_apLockedMutex)[mutex->place] = moved;
    moved->place = mutex->place;
    c_apLockedMutex->_Remove(last, 1);
}

// Must work when memory is exhausted, so it links the mutexes themselves. Only the owner of a mutex
// touches its link.
thrMutex *thrMutex::CollectOwnedBy(pthread_t thread) {
    thrPosixGuard guard(&c_mutexOnLockedMutex);
    thrMutex *first = nullptr;
    for (int i = 0; c_apLockedMutex != nullptr && i < c_apLockedMutex->Count(); ++i) {
        thrMutex *mutex = (*c_apLockedMutex)[i];
        if (mutex->IsOwner(thread)) {
            mutex->nextCollected = first;
            first = mutex;
        }
    }
    return first;
}

// Relaxed: a thread can find itself here only if it stored the value, and it clears that itself.
// The handle orders everything else.
bool thrMutex::IsOwner(pthread_t thread) const {
    return pthread_equal(owner.load(std::memory_order_relaxed), thread) != 0;
}

void thrMutex::Lock() {
    if (!IsThreadingEnabled() || !IsValid()) {
        return;
    }
    const pthread_t self = pthread_self();
    if (IsOwner(self)) {
        if (type != thrMutexRecursive) {
            throwXIllegalAccess();
        }
        ++depth;
        return;
    }
    pthread_mutex_lock(handle);
    owner.store(self, std::memory_order_relaxed);
}

void thrMutex::Unlock() {
    if (!IsThreadingEnabled() || !IsValid()) {
        return;
    }
    if (!IsOwner(pthread_self())) {
        throwXIllegalAccess();
    }
    if (type == thrMutexRecursive && depth > 0) {
        --depth;
        return;
    }
    owner.store(pthread_t{}, std::memory_order_relaxed);
    pthread_mutex_unlock(handle);
}

namespace {

thrMutex *create_valid(thrMutexType type) {
    thrMutex *mutex = new thrMutex(type);
    if (mutex != nullptr && !mutex->IsValid()) {
        delete mutex;
        return nullptr;
    }
    return mutex;
}

} // namespace

thrMutex *thrMutex_Create() {
    return create_valid(thrMutexNormal);
}

thrMutex *thrMutex_Create_Recursive() {
    return create_valid(thrMutexRecursive);
}

void thrMutex_Lock(thrMutex *mutex) {
    if (mutex != nullptr) {
        mutex->Lock();
    }
}

void thrMutex_Unlock(thrMutex *mutex) {
    if (mutex != nullptr) {
        mutex->Unlock();
    }
}

bool thrMutex_IsOwned(const thrMutex *mutex) {
    return mutex != nullptr && mutex->IsOwned();
}
