// The library state read from the environment.
#include "basictk/baselib/inc/baselibState.h"

#include <cstdlib>

void baselibState::SetNewState() {
    noInteract = std::getenv("NOINTERACT") != nullptr;
    noExit = std::getenv("NOEXIT") != nullptr;
    hardMemDebug = std::getenv("HARDMEMDEBUG") != nullptr;
}
