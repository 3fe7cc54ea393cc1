// Runs bookkeeping of the memory layer so that exhausted memory cannot jump out of it.
#include "coretools/ctmemmgr/memory_trap.h"

#include <csetjmp>

#include "basictk/baselib/inc/thrTrap.h"

trapped_call call_with_memory_trap(void (*function)(void *), void *argument) {
    std::jmp_buf context;
    if (trp_push_frame(TRP_CLASS_MEMORY, &context) == 0) {
        return trapped_call::NOT_MADE;
    }
    if (setjmp(context) != 0) {
        trp_pop_frame();
        return trapped_call::TRAPPED;
    }
    function(argument);
    trp_pop_frame();
    return trapped_call::DONE;
}
