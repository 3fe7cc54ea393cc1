// Raising a signal, with a report of how it went.
#pragma once

// Raises the signal and reports on standard error, before and after: 1 when it was raised or when
// this platform cannot raise signals, else 0. The number -1 answers 0 and reports nothing.
int ctsu_raise_signal(int signal_number);

// The bare raise: 0 on success, 3 on failure.
int posix_raise_signal(int signal_number);
