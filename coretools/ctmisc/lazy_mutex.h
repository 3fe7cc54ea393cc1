// Mutexes made when they are first needed, under the library initialisation lock.
#pragma once

#include <atomic>

class thrMutex;

struct lazy_mutex {
    thrMutex *(*create)(); // thrMutex_Create or thrMutex_Create_Recursive
    std::atomic<thrMutex *> handle{nullptr};
};

// Makes the mutex at the first call and locks it. When it cannot be made the caller runs unlocked.
// Must not be called while the thread holds the initialisation lock.
void lazy_mutex_lock(lazy_mutex *mutex);

// Undoes one lazy_mutex_lock. Does nothing when the thread is not the owner: the mutex could not be
// made, or a trap that nobody took has released it.
void lazy_mutex_unlock(lazy_mutex *mutex);

// Holds a lazy mutex for a block that no trap can leave.
class lazy_mutex_guard {
  public:
    explicit lazy_mutex_guard(lazy_mutex &guarded) : mutex(guarded) { lazy_mutex_lock(&mutex); }
    ~lazy_mutex_guard() { lazy_mutex_unlock(&mutex); }
    lazy_mutex_guard(const lazy_mutex_guard &) = delete;
    lazy_mutex_guard &operator=(const lazy_mutex_guard &) = delete;

  private:
    lazy_mutex &mutex;
};
