// Start-up objects of the thread library: the named statics and the initialisation lock.
#include "basictk/baselib/inc/btkStartUp.h"

btkClassXArrayImpl *thrMTSafeStaticsSet::mMTSafeSet = nullptr;
thrMutex *thrcInitializationMutex = nullptr;

void start_thrtrap() {
    thrMTSafeStaticsSet::mMTSafeSet = new btkClassXArrayImpl(2 * static_cast<int>(sizeof(void *)),
                                                             btkClassXArrayImpl::Cmp_cStrings);
    btkRecordOwned<thrMTSafeStaticsSet::mMTSafeSet>();
    thrcInitializationMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<thrcInitializationMutex>();
}

void LockInitializationMutex() {
    thrMutex_Lock(thrcInitializationMutex);
}

void UnlockInitializationMutex() {
    thrMutex_Unlock(thrcInitializationMutex);
}
