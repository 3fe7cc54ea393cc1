// Runs bookkeeping of the memory layer so that exhausted memory cannot jump out of it.
#include "coretools/ctmemmgr/memory_trap.h"

#include <csetjmp>

#include "basictk/baselib/inc/thrTrap.h"

constinit thread_local bool in_memory_bookkeeping = false;

trapped_call call_with_memory_trap(void (*function)(void *), void *argument) {
    std::jmp_buf context;
    if (trp_push_frame(TRP_CLASS_MEMORY, &context) == 0) {
        return trapped_call::NOT_MADE;
    }
    const bool outer = in_memory_bookkeeping;
    trapped_call outcome = trapped_call::TRAPPED;
    if (setjmp(context) == 0) {
        in_memory_bookkeeping = true;
        function(argument);
        outcome = trapped_call::DONE;
    }
    in_memory_bookkeeping = outer;
    trp_pop_frame();
    return outcome;
}
