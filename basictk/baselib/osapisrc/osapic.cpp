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
btkMemMgr *pArrayMemMgr = nullptr;
btkMemMgr *pBlkObjMemMgr = nullptr;
btkMemMgr *pDefMemMgr = nullptr;
btkXArray<void *> *ioMiscInfo = nullptr;
btkClassXArrayImpl *iodbgXX = nullptr;

namespace {

void destroy_pow2_manager() {
    delete pStringMemMgr;
    pStringMemMgr = nullptr;
    pArrayMemMgr = nullptr;
}

btkStaticRecord pow2_record{destroy_pow2_manager};

} // namespace

// Objects built before pDefMemMgr have no manager in their headers and go back to free(). The
// default manager is not recorded for destruction: its objects may be released until the process
// ends.
void start_osapic() {
    theCTState.SetNewState();
    _AbortMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<_AbortMutex>();
    pStringMemMgr = pArrayMemMgr = new btkPow2MMgr;
    btkRecordStatic(&pow2_record);
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
