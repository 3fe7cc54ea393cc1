// Exit handlers and the end of the process.
#include "coretools/ctmisc/wlx_exit.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/lazy_mutex.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int EXIT_FUNCS_STEP = 3;

// Extensible array of wlx_exit_handler, newest first. A published array never changes: each
// registration makes a new one, so that wlx_exit_run can read without a lock.
std::atomic<void *> exit_funcs{nullptr};
std::atomic<int> exit_handlers_run{0};
std::atomic<wlx_exit_handler> wlx_exit_func{nullptr};
constinit lazy_mutex wlx_exit_functions_lock{thrMutex_Create};

// Must be called with wlx_exit_functions_lock held.
int put_in_front(wlx_exit_handler handler) {
    void *old = exit_funcs.load();
    const int count = xar_count(&old);
    void *handlers =
        xar_alloc(count + 1, static_cast<int>(sizeof(wlx_exit_handler)), EXIT_FUNCS_STEP);
    if (handlers == nullptr) {
        return 0;
    }
    auto *first = static_cast<wlx_exit_handler *>(handlers);
    first[0] = handler;
    if (count > 0) {
        std::memcpy(first + 1, old, static_cast<std::size_t>(count) * sizeof(wlx_exit_handler));
    }
    exit_funcs.store(handlers);
    // A run that has begun may still read the old array. One that begins after this test reads the
    // new one: these atomics are sequentially consistent.
    if (exit_handlers_run.load() == 0) {
        xar_free(&old);
    }
    return 1;
}

} // namespace

void lock_wlx_exit_functions() {
    lazy_mutex_lock(&wlx_exit_functions_lock);
}

void unlock_wlx_exit_functions() {
    lazy_mutex_unlock(&wlx_exit_functions_lock);
}

// No scoped guard: a trap of the allocation can jump out of here.
int wlx_exit_register(wlx_exit_handler handler) {
    if (handler == nullptr) {
        return 0;
    }
    lock_wlx_exit_functions();
    const int registered = put_in_front(handler);
    unlock_wlx_exit_functions();
    return registered;
}

void wlx_exit_run(int code) {
    if (exit_handlers_run.exchange(1) != 0) {
        return;
    }
    void *handlers = exit_funcs.load();
    const int count = xar_count(&handlers);
    for (int i = 0; i < count; ++i) {
        // Read afresh: a handler may register another one.
        handlers = exit_funcs.load();
        static_cast<wlx_exit_handler *>(handlers)[i](code);
    }
}

void wlx_exit(int code) {
    if (const wlx_exit_handler function = wlx_exit_func; function != nullptr) {
        function(code);
        return;
    }
    std::exit(code);
}

void set_wlx_exit_func(wlx_exit_handler function) {
    wlx_exit_func = function;
}
