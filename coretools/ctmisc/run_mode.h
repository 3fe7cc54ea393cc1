// The run mode of the process: one current mode, and any number of added ones that count as active.
// Any thread may call.
#pragma once

constexpr int RUN_MODE_USER = 0;           // traces silent, serious errors do not end the process
constexpr int RUN_MODE_REGRESSION = 9029;  // 9129, 9229 and 9329 are regression modes too
constexpr int RUN_MODE_NO_CALLBACK = -151; // serious errors do not consult the error callback
constexpr int RUN_MODE_PFA_TRACE = 9998;   // traces of the file access layer

int get_run_mode();
// Returns the mode that was set before.
int set_run_mode(int mode);

// 1 in the user run mode, else 0.
int user_run_mode();
// 1 in one of the four regression modes, else 0.
int regression_run_mode();

// 1 if the mode is the current or an added one, else 0.
int is_run_mode(int mode);
// Makes the mode count as active from now on. Returns 1, or 0 if there is no memory.
int add_run_mode(int mode);
