// The name of this host.
#pragma once

// Writes the name into buffer[size], always terminated: 1, or 0 and an empty text when the system
// has no name or it does not fit.
int vek_get_hostname(char *buffer, int size);
