// The run mode of the process.
#pragma once

constexpr int RUN_MODE_USER = 0;
constexpr int RUN_MODE_PFA_TRACE = 9998;

int get_run_mode();
int set_run_mode(int mode);
int user_run_mode();
int is_run_mode(int mode);
int regression_run_mode();
