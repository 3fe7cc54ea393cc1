// Start-up object of the byte buffers.
#include "basictk/baselib/inc/btkStartUp.h"

thrMutex *btkUBufMutex = nullptr;

void start_btkubuf() {
    btkUBufMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<btkUBufMutex>();
}
