// Raising a signal, with a report of how it went.
#pragma once

// Raises the signal and reports on standard error, before and after. Returns 1 if it was raised or
// the platform cannot raise signals, else 0. For the number -1 returns 0 and reports nothing.
int ctsu_raise_signal(int signal_number);

// What raising a signal can result in. POSIX has the first and the fourth.
enum raise_result : int {
    RAISED = 0,
    RAISE_BAD_ARGUMENTS = 1,
    RAISE_SYSTEM_ERROR = 2,
    RAISE_APPLICATION_ERROR = 3,
    RAISE_NOT_SUPPORTED = 4,
};

// Raises the signal without a report. Returns RAISED or RAISE_APPLICATION_ERROR.
int posix_raise_signal(int signal_number);
