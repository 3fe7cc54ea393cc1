// Start-up objects of the process interface: library state, memory managers, abort report.
#include "basictk/baselib/inc/baselibState.h"
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/btkStartUp.h"
#include "basictk/baselib/inc/thrThread.h"

// Defined here so that a program which uses nothing else of the toolkit still links its
// initialiser.
constinit baselibState theCTState;
thrMutex *_AbortMutex = nullptr;
thrMutex *fork_protection = nullptr;
btkMemMgr *pStringMemMgr = nullptr;
constinit btkMemMgr *&pArrayMemMgr = pStringMemMgr;
btkMemMgr *pBlkObjMemMgr = nullptr;
btkMemMgr *pDefMemMgr = nullptr;
btkXArray<void *> *ioMiscInfo = nullptr;
btkClassXArrayImpl *iodbgXX = nullptr;

// Objects built before pDefMemMgr have no manager in their headers and go back to free(). The
// default manager is not recorded for destruction: its objects may be released until the process
// ends.
void start_osapic() {
    theCTState.SetNewState();
    _AbortMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<_AbortMutex>();
    pStringMemMgr = new btkPow2MMgr;
    btkRecordOwned<pStringMemMgr>();
    pBlkObjMemMgr = new btkPoolMMgr;
    btkRecordOwned<pBlkObjMemMgr>();
    pDefMemMgr = new btkDefMemMgr;
    ioMiscInfo = new btkXArray<void *>;
    btkRecordOwned<ioMiscInfo>();
    iodbgXX =
        new btkClassXArrayImpl(2 * static_cast<int>(sizeof(void *)), btkClassXArrayImpl::Cmp_Ptrs);
    btkRecordOwned<iodbgXX>();
    fork_protection = new thrMutex(thrMutexNormal);
    btkRecordOwned<fork_protection>();
}

void btkAbort(const char *place) {
    thrMutex_Lock(_AbortMutex);
    thrAbortApplication(place);
}
