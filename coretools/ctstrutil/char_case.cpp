// Case mapping of the ASCII letters.
#include "coretools/ctstrutil/char_case.h"

#include "coretools/ctstrutil/ascii.h"

namespace {

void map_text(const char *source, char *destination, int (*map)(int)) {
    do {
        *destination++ = static_cast<char>(map(*source));
    } while (*source++ != '\0');
}

} // namespace

int uppercase(int character) {
    return to_upper_letter(character & 0xff);
}

int lowercase(int character) {
    return to_lower_letter(character & 0xff);
}

void vek_cnvrt_to_upper(const char *source, char *destination) {
    map_text(source, destination, uppercase);
}

void convert_to_lower(const char *source, char *destination) {
    map_text(source, destination, lowercase);
}
