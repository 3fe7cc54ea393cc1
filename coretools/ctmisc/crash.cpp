// The end of the process after a fatal error.
#include "coretools/ctmisc/crash.h"

#include "coretools/ctmisc/wlx_exit.h"
#include "coretools/ctsigutil/raise_signal.h"

#include <atomic>
#include <csignal>
#include <cstdio>

namespace {

constexpr int CRASH_STATUS = 2;

std::atomic<int> vek_debug_switch{0};

} // namespace

void set_vek_debug_switch(int on) {
    vek_debug_switch = on;
}

int crash() {
    if (vek_debug_switch != 0) {
        std::fflush(stdout); // the signal loses what is buffered
        ctsu_raise_signal(SIGSEGV);
        return 0;
    }
    std::printf("Serious internal error; cannot continue.\n");
    wlx_exit_run(CRASH_STATUS);
    wlx_exit(CRASH_STATUS);
    return 0;
}
