// Plain POSIX mutexes inside the thread library.
#pragma once

#include "basictk/baselib/inc/btkNew.h"

#include <pthread.h>

// Returns a new mutex with default attributes. Null if there is no memory.
inline pthread_mutex_t *thr_new_posix_mutex() {
    auto *mutex = static_cast<pthread_mutex_t *>(btkNew(sizeof(pthread_mutex_t), pDefMemMgr));
    if (mutex != nullptr && pthread_mutex_init(mutex, nullptr) != 0) {
        btkDelete(mutex);
        return nullptr;
    }
    return mutex;
}

inline void thr_delete_posix_mutex(pthread_mutex_t *mutex) {
    if (mutex != nullptr) {
        pthread_mutex_destroy(mutex);
        btkDelete(mutex);
    }
}

class thrPosixGuard {
  public:
    explicit thrPosixGuard(pthread_mutex_t *guarded) : mutex(guarded) { pthread_mutex_lock(mutex); }
    ~thrPosixGuard() { pthread_mutex_unlock(mutex); }
    thrPosixGuard(const thrPosixGuard &) = delete;
    thrPosixGuard &operator=(const thrPosixGuard &) = delete;

  private:
    pthread_mutex_t *mutex;
};
