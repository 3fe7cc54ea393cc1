// Path separators as a host writes them.
#include "coretools/apfutil/path_to_os.h"

#include <algorithm>
#include <cstring>

// No byte of a multi-byte (EUC) character is ASCII, so bytes can be looked at singly.
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
