// Start-up object of the descriptor sets.
#include "basictk/baselib/inc/btkStartUp.h"

thrMutex *ptkMutex = nullptr;

void start_fdset() {
    ptkMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<ptkMutex>();
}
