// Mutexes made on first use, under the library initialisation lock.
#pragma once

#include <atomic>

class thrMutex;

struct lazy_mutex {
    thrMutex *(*create)(); // thrMutex_Create or thrMutex_Create_Recursive
    std::atomic<thrMutex *> handle{nullptr};
};

// Makes the mutex on the first call, and locks it. If it cannot be made, the caller runs unlocked.
// Must not be called with the initialisation lock held.
void lazy_mutex_lock(lazy_mutex *mutex);

// Undoes one lazy_mutex_lock. Does nothing if the thread is not the owner: the mutex could not be
// made, or a trap that returned has released it.
void lazy_mutex_unlock(lazy_mutex *mutex);

// Holds a lazy mutex for a scope. No trap may leave the scope: it would skip the destructor.
class lazy_mutex_guard {
  public:
    explicit lazy_mutex_guard(lazy_mutex &guarded) : mutex(guarded) { lazy_mutex_lock(&mutex); }
    ~lazy_mutex_guard() { lazy_mutex_unlock(&mutex); }
    lazy_mutex_guard(const lazy_mutex_guard &) = delete;
    lazy_mutex_guard &operator=(const lazy_mutex_guard &) = delete;

  private:
    lazy_mutex &mutex;
};
