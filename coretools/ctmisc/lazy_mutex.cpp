// Mutexes made when they are first needed, under the library initialisation lock.
#include "coretools/ctmisc/lazy_mutex.h"

#include "basictk/baselib/inc/thrMutex.h"

static thrMutex *handle_of(lazy_mutex *mutex) {
    thrMutex *handle = mutex->handle.load(std::memory_order_acquire);
    if (handle == nullptr) {
        LockInitializationMutex();
        handle = mutex->handle.load(std::memory_order_relaxed);
        if (handle == nullptr) {
            handle = mutex->create();
            mutex->handle.store(handle, std::memory_order_release);
        }
        UnlockInitializationMutex();
    }
    return handle;
}

void lazy_mutex_lock(lazy_mutex *mutex) {
    thrMutex *handle = handle_of(mutex);
    if (handle != nullptr) {
        thrMutex_Lock(handle);
    }
}

void lazy_mutex_unlock(lazy_mutex *mutex) {
    thrMutex *handle = mutex->handle.load(std::memory_order_acquire);
    if (thrMutex_IsOwned(handle)) {
        thrMutex_Unlock(handle);
    }
}
