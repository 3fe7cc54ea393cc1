// The input mode of the process.
#include "coretools/ctfileutil/input_mode.h"

#include "coretools/ctmisc/report_services_internal.h"

#include <atomic>

namespace {

std::atomic<int> input_mode{0};

} // namespace

int get_input_mode() {
    return input_mode.load(std::memory_order_relaxed);
}

void set_input_mode(int mode) {
    input_mode.store(mode, std::memory_order_relaxed);
}
