// The plain name alphabet: ASCII letters, digits, '_' and '-', of which '-' may not come first. The
// empty name is valid.
#pragma once

#include "coretools/ctplatform/wide_text.h"

#include <string_view>

// 1 for a character of the alphabet, else 0.
int is_valid_wc(vek_wchar character);

// Returns the index of the first character that breaks the rule: the length of a valid name, 0 for
// the empty one. `name` must not be null.
int invalid_name_idx(const vek_wchar *name);

// 1 for a name that breaks the rule, else 0.
int invalid_string(const vek_wchar *name);

// The same for multi-byte (EUC) text, without widening it: every character of the alphabet is one
// byte, and no byte of the others is in it alone.
bool is_invalid_name(std::string_view name);
