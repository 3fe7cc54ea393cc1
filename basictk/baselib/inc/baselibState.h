// The library state that the environment sets at start-up.
#pragma once

// Each flag is true if the environment variable of its name is set, to any value. Read before main
// and constant afterwards; any thread may read it.
class baselibState {
  public:
    // Reads the environment again.
    void SetNewState();
    bool NoInteract() const { return noInteract; }     // NOINTERACT
    bool NoExit() const { return noExit; }             // NOEXIT
    bool HardMemDebug() const { return hardMemDebug; } // HARDMEMDEBUG

  private:
    bool noInteract = false;
    bool noExit = false;
    bool hardMemDebug = false;
};

extern baselibState theCTState;
