// Mutexes that know their owner, and the library initialisation lock.
#pragma once

class thrMutex;

thrMutex *thrMutex_Create();
thrMutex *thrMutex_Create_Recursive();
void thrMutex_Lock(thrMutex *mutex);
void thrMutex_Unlock(thrMutex *mutex);

void LockInitializationMutex();
void UnlockInitializationMutex();
