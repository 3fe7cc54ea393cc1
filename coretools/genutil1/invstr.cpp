// The plain name alphabet.
#include "coretools/genutil1/invstr.h"

#include "coretools/ctstrutil/ascii.h"

int is_valid_wc(vek_wchar character) {
    return is_letter(character) || is_digit(character) || character == '_' || character == '-';
}

int invalid_name_idx(const vek_wchar *name) {
    if (name[0] == '-') {
        return 0;
    }
    int index = 0;
    while (is_valid_wc(name[index]) != 0) {
        ++index;
    }
    return index;
}

int invalid_string(const vek_wchar *name) {
    return name[invalid_name_idx(name)] != 0;
}
