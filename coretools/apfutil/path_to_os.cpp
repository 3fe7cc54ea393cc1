// Path separators as a host writes them.
#include "coretools/apfutil/path_to_os.h"

#include <algorithm>
#include <cstring>

// Trailing bytes of multi-byte (EUC) characters are never ASCII, so bytes can be looked at singly.
void pfu_path_to_os(char *text, int host_kind) {
    if (text == nullptr || (host_kind != PFU_HOST_POSIX && host_kind != PFU_HOST_BACKSLASH)) {
        return;
    }
    const char own = host_kind == PFU_HOST_POSIX ? '/' : '\\';
    std::replace_if(
        text, text + std::strlen(text),
        [](char character) { return character == '|' || character == '\\' || character == '/'; },
        own);
}
