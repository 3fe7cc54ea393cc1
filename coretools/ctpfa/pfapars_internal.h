// Expansion of names before they are parsed.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Both write the expanded text into out[capacity], which must not overlap `in`; more than
// PFA_PATH_SIZE bytes are not used. They fail with PFA_E_INVALID_INPUT if the text does not fit or
// cannot be expanded.

// Replaces every '$' and the variable name after it, up to the next '/', '\', '.' or ']', by the
// variable's value, which is not expanded again. An unknown or empty name stays as written. From
// the first replacement on, every '\' of the text itself is written as '/'.
pfa_status substitute_env_vars(const char *in, char *out, int capacity);

// Replaces a leading "~", "~/" or "~\" by the home directory. '~' and a user name cannot be
// expanded, nor can a home directory that is not known. Fails with PFA_E_OUT_OF_MEMORY if there is
// no memory to find it.
pfa_status substitute_unix_home_dir(const char *in, char *out, int capacity);
