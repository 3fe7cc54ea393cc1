// Path separators as a host writes them.
#pragma once

constexpr int PFU_HOST_POSIX = 3;     // '/'
constexpr int PFU_HOST_BACKSLASH = 4; // '\'

// Rewrites in place every separator of another kind of host ('|', '\', '/') as this kind writes it.
// Any other kind of host leaves the text as it is.
void pfu_path_to_os(char *text, int host_kind);
