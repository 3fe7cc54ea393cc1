// Path separators as a host writes them.
#pragma once

constexpr int PFU_HOST_POSIX = 3;     // '/'
constexpr int PFU_HOST_BACKSLASH = 4; // '\'

// Replaces every '|', '\' and '/' of `text` by the separator of this kind of host. Leaves the text
// as it is for any other kind. Null is allowed.
void pfu_path_to_os(char *text, int host_kind);
