// Start-up objects of the process interface: library state, memory managers, abort report.
#include "basictk/baselib/inc/baselibState.h"
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/btkStartUp.h"
#include "basictk/baselib/inc/thrThread.h"

// Defined beside its initialisation: a program that uses nothing else of the toolkit still links
// the start-up that fills it in.
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

btkStaticRecord pow2_record{"pStringMemMgr", destroy_pow2_manager, nullptr};

} // namespace

// What is built before pDefMemMgr has its headers name no manager and goes back to free. The
// default manager itself is not recorded: it holds nothing that needs destruction, and objects
// that came from it may be released at any time up to the end of the process.
void start_osapic() {
    theCTState.SetNewState();
    _AbortMutex = new thrMutex(thrMutexNormal);
    btkRecordOwned<_AbortMutex>("_AbortMutex");
    pStringMemMgr = pArrayMemMgr = new btkPow2MMgr;
    btkRecordStatic(&pow2_record);
    pBlkObjMemMgr = new btkPoolMMgr;
    btkRecordOwned<pBlkObjMemMgr>("pBlkObjMemMgr");
    pDefMemMgr = new btkDefMemMgr;
    ioMiscInfo = new btkXArray<void *>;
    btkRecordOwned<ioMiscInfo>("ioMiscInfo");
    iodbgXX =
        new btkClassXArrayImpl(2 * static_cast<int>(sizeof(void *)), btkClassXArrayImpl::Cmp_Ptrs);
    btkRecordOwned<iodbgXX>("iodbgXX");
    fork_protection = new thrMutex(thrMutexNormal);
    btkRecordOwned<fork_protection>("fork_protection");
}

void btkAbort(const char *place) {
    thrMutex_Lock(_AbortMutex);
    thrAbortApplication(place);
}
