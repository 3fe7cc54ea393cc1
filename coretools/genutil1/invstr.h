// The plain name alphabet: ASCII letters, digits, '_' and '-', of which '-' may not come first.
#pragma once

#include "coretools/ctplatform/wide_text.h"

// 1 for a character of the alphabet, else 0.
int is_valid_wc(vek_wchar character);

// The index of the first character that breaks the rule; the length of a valid name, 0 for the
// empty one. name must not be null.
int invalid_name_idx(const vek_wchar *name);

// 1 for a name that breaks the rule, else 0; the empty name is valid.
int invalid_string(const vek_wchar *name);
