// The library state read from the environment.
#include "basictk/baselib/inc/baselibState.h"

#include <cstdlib>

constinit baselibState theCTState;

void baselibState::SetNewState() {
    noInteract = std::getenv("NOINTERACT") != nullptr;
    noExit = std::getenv("NOEXIT") != nullptr;
    hardMemDebug = std::getenv("HARDMEMDEBUG") != nullptr;
}
