// Japanese EUC text and its JIS and Shift-JIS codes.
#pragma once

#include "coretools/ctplatform/wide_text.h"

int euc_mb2wc(vek_wchar *result, const char *text, int count);
vek_wchar wc_euc2jis(vek_wchar wide);
void jis2sjis(unsigned char *first, unsigned char *second);
