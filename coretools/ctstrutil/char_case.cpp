// Case mapping of the ASCII letters.
#include "coretools/ctstrutil/char_case.h"

namespace {

constexpr int CASE_BIT = 'a' - 'A';

void map_text(const char *source, char *destination, int (*map)(int)) {
    do {
        *destination++ = static_cast<char>(map(*source));
    } while (*source++ != '\0');
}

} // namespace

int uppercase(int character) {
    const int byte = character & 0xff;
    return byte >= 'a' && byte <= 'z' ? byte - CASE_BIT : byte;
}

int lowercase(int character) {
    const int byte = character & 0xff;
    return byte >= 'A' && byte <= 'Z' ? byte + CASE_BIT : byte;
}

void vek_cnvrt_to_upper(const char *source, char *destination) {
    map_text(source, destination, uppercase);
}

void convert_to_lower(const char *source, char *destination) {
    map_text(source, destination, lowercase);
}
