// Runs the start-up initialisers before main and the list of what they built at exit.
#include "basictk/baselib/inc/btkStartUp.h"

namespace {

constexpr void (*INITIALISERS[])() = {start_thrtrap, start_osapic, start_fdset, start_widfun,
                                      start_btkubuf};

const btkStaticRecord *newest = nullptr;

// One static object, because the language leaves the order between files open. The linker cannot
// leave this file out of a program that uses the toolkit: btkNew, the initialisation lock and
// theCTState need files with initialisers, which call btkRecordStatic.
struct start_up {
    start_up() {
        for (void (*initialise)() : INITIALISERS) {
            initialise();
        }
    }
    ~start_up() { btkDestroyStatics(); }
    start_up(const start_up &) = delete;
    start_up &operator=(const start_up &) = delete;
} the_start_up;

} // namespace

void btkRecordStatic(btkStaticRecord *record) {
    record->older = newest;
    newest = record;
}

void btkDestroyStatics() {
    while (newest != nullptr) {
        const btkStaticRecord *record = newest;
        newest = record->older;
        record->destroy();
    }
}
