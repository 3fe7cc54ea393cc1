// Runs the start-up initialisers before main and the list of what they built at exit.
#include "basictk/baselib/inc/btkStartUp.h"

namespace {

constexpr void (*INITIALISERS[])() = {start_thrtrap, start_osapic, start_fdset, start_widfun,
                                      start_btkubuf};

const btkStaticRecord *newest = nullptr;

// One static object keeps the order in one place: between several files the language leaves it
// open. Every initialiser calls btkRecordStatic, and btkNew and the initialisation lock need what
// an initialiser defines, so that a linker cannot leave this file out of a program that uses them.
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

const btkStaticRecord *btkNewestStatic() {
    return newest;
}

void btkDestroyStatics() {
    while (newest != nullptr) {
        const btkStaticRecord *record = newest;
        newest = record->older;
        record->destroy();
    }
}
