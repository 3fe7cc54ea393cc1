// Whether a host path names a directory.
#pragma once

// 1 when path, links followed, is a directory, else 0. After a 0, errno tells why: 0 when the path
// was looked at and is something else, otherwise the errno of stat.
int vek_is_dir(const char *path);
