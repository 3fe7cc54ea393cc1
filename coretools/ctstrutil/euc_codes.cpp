// EUC decoding within a count of bytes, JIS and Shift-JIS codes.
#include "coretools/ctstrutil/euc_codes.h"

int euc_mb2wc(vek_wchar *result, const char *text, int count) {
    if (count < 1 || count < euc_char_length(static_cast<unsigned char>(*text))) {
        return 0;
    }
    return euc_decode(result, text);
}

vek_wchar wc_euc2jis(vek_wchar wide) {
    return wide < 0x100 ? wide : wide & 0x7f7f;
}

// Two rows of 94 cells share a Shift-JIS lead byte: odd rows take its first half, even rows the
// second. The code leaves out the leads 0xa0 to 0xdf, which are half-width katakana, and the cell
// 0x7f, which is DEL.
void jis2sjis(unsigned char *first, unsigned char *second) {
    const int row = *first;
    const int cell = *second;
    if (row == 0) {
        return;
    }
    const int row_offset = row < 0x5f ? 0x70 : 0xb0;
    int cell_offset = 0x7e;
    if (row % 2 != 0) {
        cell_offset = cell <= 0x5f ? 0x1f : 0x20;
    }
    *first = static_cast<unsigned char>((row + 1) / 2 + row_offset);
    *second = static_cast<unsigned char>(cell + cell_offset);
}
