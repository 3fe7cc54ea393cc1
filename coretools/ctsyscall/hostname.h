// The name of this host.
#pragma once

int vek_get_hostname(char *buffer, int size);
