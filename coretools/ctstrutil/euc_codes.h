// Japanese EUC text and its JIS (JIS X 0208) and Shift-JIS codes.
#pragma once

#include "coretools/ctplatform/wide_text.h"

// Decodes the character at the start of `text`, of which `count` bytes are available, as euc_decode
// does. Returns the bytes used, 1 to 3; or 0, and writes nothing, if the character needs more bytes
// than there are.
int euc_mb2wc(vek_wchar *result, const char *text, int count);

// Returns the JIS code of a wide character; a value below 0x100 is returned unchanged.
vek_wchar wc_euc2jis(vek_wchar wide);

// Replaces a JIS X 0208 pair by its Shift-JIS pair. A pair whose first byte is 0 stays.
void jis2sjis(unsigned char *first, unsigned char *second);
