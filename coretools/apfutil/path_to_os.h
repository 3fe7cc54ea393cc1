// Path separators as a host writes them.
#pragma once

constexpr int PFU_HOST_POSIX = 3;
constexpr int PFU_HOST_BACKSLASH = 4;

void pfu_path_to_os(char *text, int host_kind);
