// Whether a host path names a directory.
#pragma once

// 1 if path is a directory, links followed; else 0, also when the host cannot tell.
int vek_is_dir(const char *path);
