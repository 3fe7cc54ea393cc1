// The name of this host.
#pragma once

// Writes the name into buffer[size], always terminated, and returns 1. Returns 0, with an empty
// text in the buffer, if the system has no name or it does not fit.
int vek_get_hostname(char *buffer, int size);
