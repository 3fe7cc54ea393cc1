// What the process was told through its environment when it started.
#pragma once

// Each flag is true when the variable of its name is set, whatever its value. Read once at
// start-up; constant afterwards, so that any thread may ask.
class baselibState {
  public:
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
