// Multi-byte text as wide text, in rotating buffers.
#include "coretools/ctwcfun/wstr_ret.h"

#include "coretools/ctmemmgr/getmem.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t SMALLEST_BUFFER = 260;

struct wide_buffer {
    vek_wchar *text;
    std::size_t capacity; // in wide characters
};

wide_buffer buffers[4];
std::size_t next_buffer = 0;

bool make_room(wide_buffer *buffer, std::size_t needed) {
    if (needed <= buffer->capacity) {
        return true;
    }
    if (needed > INT_MAX / sizeof(vek_wchar)) {
        return false;
    }
    buffer->capacity = 0;
    relmem(&buffer->text);
    const std::size_t capacity = std::max(SMALLEST_BUFFER, needed);
    buffer->text = static_cast<vek_wchar *>(getmem(static_cast<int>(capacity * sizeof(vek_wchar))));
    if (buffer->text == nullptr) {
        return false;
    }
    buffer->capacity = capacity;
    return true;
}

} // namespace

const vek_wchar *wstr_ret(const char *text) {
    if (text == nullptr) {
        text = "";
    }
    wide_buffer *buffer = &buffers[next_buffer];
    next_buffer = (next_buffer + 1) % std::size(buffers);
    return make_room(buffer, std::strlen(text) + 1) ? strtows(buffer->text, text) : nullptr;
}
