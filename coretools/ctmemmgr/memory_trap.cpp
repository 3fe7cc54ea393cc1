// Bookkeeping of the memory layer that exhausted memory must not jump out of.
#include "coretools/ctmemmgr/memory_trap.h"

#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctmemmgr/har.h"

#include <csetjmp>

constinit thread_local bool in_memory_bookkeeping = false;

bool call_with_memory_trap(void (*function)(void *), void *argument) {
    std::jmp_buf context;
    if (trp_push_frame(TRP_CLASS_MEMORY, &context) == 0) {
        return false;
    }
    const bool outer = in_memory_bookkeeping;
    bool returned = false;
    if (setjmp(context) == 0) {
        in_memory_bookkeeping = true;
        function(argument);
        returned = true;
    }
    in_memory_bookkeeping = outer;
    trp_pop_frame();
    return returned;
}

void *append_to_bookkeeping(void ***har, int element_size, int step) {
    void *element = nullptr;
    call_with_memory_trap([=, &element] {
        if (*har == nullptr) {
            *har = har_alloc(element_size, step);
        }
        element = har_inflate(har);
    });
    return element;
}
