// Mutexes made on first use.
#include "coretools/ctmisc/lazy_mutex.h"

#include "basictk/baselib/inc/thrMutex.h"

void lazy_mutex_lock(lazy_mutex *mutex) {
    thrMutex_Lock(thr_make_once(mutex->handle, mutex->create));
}

void lazy_mutex_unlock(lazy_mutex *mutex) {
    thrMutex *handle = mutex->handle.load(std::memory_order_acquire);
    if (thrMutex_IsOwned(handle)) {
        thrMutex_Unlock(handle);
    }
}
