// Whether a host path names a directory.
#pragma once

// True (1) if path is a directory, links followed; false (0) also if the host cannot tell.
int vek_is_dir(const char *path);
