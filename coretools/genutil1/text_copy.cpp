// Small copies of text.
#include "coretools/genutil1/text_copy.h"

#include "coretools/ctmemmgr/getmem.h"

#include <climits>
#include <cstring>

char *make_scopy(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    if (size > INT_MAX) {
        return nullptr;
    }
    void *copy = getmem(static_cast<int>(size));
    return copy != nullptr ? static_cast<char *>(std::memcpy(copy, text, size)) : nullptr;
}

int strcpy_limit(const char *source, int size, char *destination) {
    if (size < 1) {
        return 1;
    }
    const auto capacity = static_cast<std::size_t>(size);
    const std::size_t length = source != nullptr ? strnlen(source, capacity) : capacity;
    if (length == capacity) {
        destination[0] = '\0';
        return 1;
    }
    std::memcpy(destination, source, length + 1);
    return 0;
}
