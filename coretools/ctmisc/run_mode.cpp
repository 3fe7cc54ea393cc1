// The run mode of the process.
#include "coretools/ctmisc/run_mode.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/lazy_mutex.h"

#include <algorithm>
#include <atomic>

namespace {

constexpr int REGRESSION_MODES[] = {RUN_MODE_REGRESSION, 9129, 9229, 9329};
constexpr int ADDED_MODES_STEP = 5;

std::atomic<int> run_mode{RUN_MODE_USER};

// Extensible array of ints, guarded by added_run_modes_lock. That it exists can be seen without the
// lock, so a process that adds no mode never locks.
std::atomic<int *> added_run_modes{nullptr};
constinit lazy_mutex added_run_modes_lock{thrMutex_Create_Recursive};

// Must be called with added_run_modes_lock held.
int append_run_mode(int mode) {
    int *modes = added_run_modes.load();
    if (int_in_list(mode, modes) >= 0) {
        return 1;
    }
    if (modes == nullptr) {
        modes = xar_alloc_of<int>(0, ADDED_MODES_STEP);
        if (modes == nullptr) {
            return 0;
        }
    }
    const bool appended = xar_append(&modes, 1, &mode) != nullptr;
    added_run_modes.store(modes);
    return appended ? 1 : 0;
}

} // namespace

int get_run_mode() {
    return run_mode;
}

int set_run_mode(int mode) {
    return run_mode.exchange(mode);
}

int user_run_mode() {
    return get_run_mode() == RUN_MODE_USER ? 1 : 0;
}

int regression_run_mode() {
    return static_cast<int>(std::ranges::count(REGRESSION_MODES, get_run_mode()));
}

int is_run_mode(int mode) {
    if (get_run_mode() == mode) {
        return 1;
    }
    if (added_run_modes.load() == nullptr) {
        return 0;
    }
    const lazy_mutex_guard guard(added_run_modes_lock);
    return int_in_list(mode, added_run_modes.load()) >= 0 ? 1 : 0;
}

// No scoped guard: a trap of the allocation can jump out of here.
int add_run_mode(int mode) {
    lazy_mutex_lock(&added_run_modes_lock);
    const int added = append_run_mode(mode);
    lazy_mutex_unlock(&added_run_modes_lock);
    return added;
}
