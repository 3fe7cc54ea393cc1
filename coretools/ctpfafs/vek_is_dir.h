// Whether a host path names a directory.
#pragma once

int vek_is_dir(const char *path);
