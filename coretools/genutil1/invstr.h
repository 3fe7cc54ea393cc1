// The plain name alphabet.
#pragma once

#include "coretools/ctplatform/wide_text.h"

int is_valid_wc(vek_wchar character);
int invalid_name_idx(const vek_wchar *name);
int invalid_string(const vek_wchar *name);
