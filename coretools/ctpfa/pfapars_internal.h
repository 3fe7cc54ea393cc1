// What the files that expand and parse names share.
#pragma once

// Both write the expanded text into out[capacity] and answer 0, or 9 when it does not fit or cannot
// be expanded; in must not overlap out.

// Replaces every '$' and the variable name after it, up to the next '/', '\', '.' or ']', by the
// variable's value, which is not expanded again. An unknown or empty name stays as written. From
// the first replacement on, every '\' of the text itself is written as '/'.
pfa_status substitute_env_vars(const char *in, char *out, int capacity);

// Replaces a leading "~", "~/" or "~\" by the home directory. '~' and a user name is refused, and
// so is a home directory that is not known.
pfa_status substitute_unix_home_dir(const char *in, char *out, int capacity);
