// Runs work of the layer that must not be left half done when memory runs out.
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctpfa/memory_guard_internal.h"

#include <csetjmp>

// A trap can leave the body: nothing in this frame has a destructor.
bool pfa_call_guarded(void (*body)(void *), void *argument) {
    std::jmp_buf context;
    if (trp_push_frame(TRP_CLASS_MEMORY, &context) == 0) {
        return false;
    }
    bool returned = false;
    if (setjmp(context) == 0) {
        body(argument);
        returned = true;
    }
    trp_pop_frame();
    return returned;
}
