// Prints the names of the flags that are set. The library state once read false in a program that
// linked nothing else of the toolkit, because the start-up that fills it in was then left out: this
// is such a program.
#include "basictk/baselib/inc/baselibState.h"

#include <cstdio>

int main() {
    std::printf("set: %s%s%s\n", theCTState.NoInteract() ? "NOINTERACT" : "",
                theCTState.NoExit() ? "NOEXIT" : "",
                theCTState.HardMemDebug() ? "HARDMEMDEBUG" : "");
}
