// Raising a signal, with a report of how it went.
#pragma once

int ctsu_raise_signal(int signal_number);
int posix_raise_signal(int signal_number);
