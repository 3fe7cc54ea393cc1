// Japanese EUC text and its JIS (JIS X 0208) and Shift-JIS codes.
#pragma once

#include "coretools/ctplatform/wide_text.h"

// Decodes the character at the start of text, of which count bytes are available, as wide_text.h
// packs it: the bytes used, 1 to 3, or 0 and nothing written when the character needs more.
int euc_mb2wc(vek_wchar *result, const char *text, int count);
// The JIS code of a wide character; values below 0x100 are unchanged.
vek_wchar wc_euc2jis(vek_wchar wide);
// Turns a JIS X 0208 pair into its Shift-JIS pair in place; a pair whose first byte is 0 is left.
void jis2sjis(unsigned char *first, unsigned char *second);
