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
