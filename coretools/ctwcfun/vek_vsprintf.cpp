// The formatting engine: gathers the text of a format and its arguments in a buffer of the calling
// thread. Texts and plain decimal numbers are written here, everything else by snprintf.
#include "coretools/ctwcfun/vek_vsprintf.h"

#include "coretools/apfutil/path_to_os.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/thread_block_internal.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/dbg_msg_tool.h"
#include "coretools/ctmisc/report_services_internal.h"
#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctwcfun/directive_internal.h"
#include "coretools/genutil1/text_copy.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

namespace {

constexpr std::size_t FORMAT_LIMIT = 500;
constexpr std::size_t BUFFER_SIZE = 500;
constexpr int BUFFER_STEP = 300;
constexpr int PATH_ARGUMENT_SIZE = 256;
constexpr double SMALLEST_DOUBLE = 1e-30;
constexpr std::size_t WIDE_CHARACTER_BYTES = 3;

struct text_buffer {
    char *bytes = nullptr; // extensible array, all of it in use
    std::size_t capacity = 0;
};

// Buffers of one formatting call. Formatting can itself cause a report, which formats on the same
// thread: such a call finds the record busy and uses the nested one.
struct work_record {
    text_buffer output;
    text_buffer multi_byte; // a wide text before it is formatted
    trp_mark busy;
    work_record *nested = nullptr;
};

// Each thread's value is a block that holds the address of the thread's first work record.
std::atomic<thrLocalObject *> work_record_object{nullptr};

// The first record of the thread that no call is using, marked busy; null without memory.
work_record *enter_work_record(trp_marked_call *call) {
    auto **link = static_cast<work_record **>(thread_block(work_record_object, sizeof(void *)));
    while (link != nullptr) {
        if (*link == nullptr) {
            void *block = getmem(static_cast<int>(sizeof(work_record)));
            if (block == nullptr) {
                return nullptr;
            }
            *link = ::new (block) work_record;
        }
        if (trp_enter_call(call, &(*link)->busy)) {
            return *link;
        }
        link = &(*link)->nested;
    }
    return nullptr;
}

// Slow path of reserve. Doubles, so that a text of many pieces is not moved for each of them.
bool grow(text_buffer *buffer, std::size_t needed) {
    if (needed > XAR_LIMIT_BYTES) {
        return false;
    }
    const std::size_t capacity = std::min<std::size_t>(
        std::max({needed, 2 * buffer->capacity, BUFFER_SIZE}), XAR_LIMIT_BYTES);
    if (buffer->bytes == nullptr) {
        buffer->bytes = xar_alloc_of<char>(static_cast<int>(capacity), BUFFER_STEP);
        if (buffer->bytes == nullptr) {
            return false;
        }
    } else if (xar_extend(&buffer->bytes, static_cast<int>(capacity - buffer->capacity)) ==
               nullptr) {
        return false;
    }
    buffer->capacity = capacity;
    return true;
}

bool reserve(text_buffer *buffer, std::size_t needed) {
    return needed <= buffer->capacity || grow(buffer, needed);
}

} // namespace

// A call of the engine that is under way.
struct formatting {
    work_record *record = nullptr;
    std::size_t length = 0; // of the text in the output
    std::va_list arguments;
};

namespace {

// The end of the text, with room for `count` more bytes; null if there is none.
char *reserve_end(formatting *call, std::size_t count) {
    text_buffer *output = &call->record->output;
    if (count > XAR_LIMIT_BYTES || !reserve(output, call->length + count)) {
        return nullptr;
    }
    return output->bytes + call->length;
}

bool append_bytes(formatting *call, const char *bytes, std::size_t count) {
    char *end = reserve_end(call, count);
    if (end == nullptr) {
        return false;
    }
    std::memcpy(end, bytes, count);
    call->length += count;
    return true;
}

// Appends bytes with blanks up to the width. Flags other than '-' are not looked at.
bool append_justified(formatting *call, const directive &parsed, const char *bytes,
                      std::size_t count) {
    const auto width = static_cast<std::size_t>(parsed.width);
    const std::size_t blanks = width > count ? width - count : 0;
    char *end = reserve_end(call, count + blanks);
    if (end == nullptr) {
        return false;
    }
    std::memset(parsed.left ? end + count : end, ' ', blanks);
    std::memcpy(parsed.left ? end : end + blanks, bytes, count);
    call->length += count + blanks;
    return true;
}

// Lets snprintf append a value: a text up to the first zero character that it prints.
template <class Value>
bool append_by_host(formatting *call, const directive &parsed, Value value) {
    char format[DIRECTIVE_SIZE];
    write_host_directive(parsed, format);
    std::size_t room = 1;
    while (char *text = reserve_end(call, room)) {
        room = call->record->output.capacity - call->length;
        const int length = std::snprintf(text, room, format, value);
        if (length < 0) {
            return false;
        }
        if (static_cast<std::size_t>(length) < room) {
            call->length += std::strlen(text);
            return true;
        }
        room = static_cast<std::size_t>(length) + 1;
    }
    return false;
}

template <class Integer>
bool append_integer(formatting *call, const directive &parsed, Integer value) {
    const char conversion = parsed.row->host.back();
    const bool decimal = conversion == 'd' || conversion == 'i';
    if (!decimal || parsed.precision != NO_PRECISION || parsed.other_flags) {
        return append_by_host(call, parsed, value);
    }
    char digits[24];
    const char *end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    return append_justified(call, parsed, digits, static_cast<std::size_t>(end - digits));
}

// Null counts as the empty text.
bool append_this_text(formatting *call, const directive &parsed, const char *text) {
    if (text == nullptr) {
        text = "";
    }
    if (parsed.other_flags) {
        return append_by_host(call, parsed, text);
    }
    const std::size_t length = parsed.precision == NO_PRECISION
                                   ? std::strlen(text)
                                   : strnlen(text, static_cast<std::size_t>(parsed.precision));
    return append_justified(call, parsed, text, length);
}

} // namespace

bool append_int(formatting *call, const directive &parsed) {
    return append_integer(call, parsed, va_arg(call->arguments, int));
}

bool append_long(formatting *call, const directive &parsed) {
    return append_integer(call, parsed, va_arg(call->arguments, long));
}

bool append_double(formatting *call, const directive &parsed) {
    const double value = va_arg(call->arguments, double);
    return append_by_host(call, parsed, std::fabs(value) < SMALLEST_DOUBLE ? 0.0 : value);
}

bool append_text(formatting *call, const directive &parsed) {
    return append_this_text(call, parsed, va_arg(call->arguments, const char *));
}

bool append_wide_text(formatting *call, const directive &parsed) {
    const auto *text = va_arg(call->arguments, const vek_wchar *);
    text_buffer *buffer = &call->record->multi_byte;
    if (!reserve(buffer, static_cast<std::size_t>(wslen(text)) * WIDE_CHARACTER_BYTES + 1)) {
        return false;
    }
    wstostr(buffer->bytes, text);
    if (parsed.precision != NO_PRECISION) {
        cut_at_character(buffer->bytes, parsed.precision);
    }
    return append_this_text(call, parsed, buffer->bytes);
}

bool append_path(formatting *call, const directive &parsed) {
    const auto *text = va_arg(call->arguments, const char *);
    char path[PATH_ARGUMENT_SIZE];
    if (strcpy_limit(text != nullptr ? text : "", PATH_ARGUMENT_SIZE, path) != 0) {
        dbg_crash_msg("WSTRCOPY_X", "OVERFLOW.");
    }
    pfu_path_to_os(path, PFU_HOST_POSIX);
    return append_this_text(call, parsed, path);
}

namespace {

// Copies the text from a '%' up to `conversion`, with the next int arguments in place of its stars;
// a negative precision is left out with its '.'. False if it does not fit.
bool fill_in_stars(formatting *call, const char *from, const char *conversion,
                   char (&filled)[DIRECTIVE_SIZE]) {
    std::size_t length = 0;
    for (; from != conversion; ++from) {
        char number[12] = {*from};
        if (*from == '*') {
            const int value = va_arg(call->arguments, int);
            if (value < 0 && filled[length - 1] == '.') {
                --length;
                continue;
            }
            std::snprintf(number, sizeof number, "%d", value);
        }
        const std::size_t count = std::strlen(number);
        if (length + count >= DIRECTIVE_SIZE) {
            return false;
        }
        std::memcpy(filled + length, number, count);
        length += count;
    }
    filled[length] = '\0';
    return true;
}

// Appends what the directive at *format makes of its arguments, and moves *format past it.
bool append_directive(formatting *call, const char **format) {
    directive parsed;
    char filled[DIRECTIVE_SIZE];
    const char *conversion = read_sizes(*format, &parsed);
    if (*conversion == '*') {
        conversion = skip_to_conversion(conversion);
        parsed = {};
        if (!fill_in_stars(call, *format, conversion, filled) ||
            *read_sizes(filled, &parsed) != '\0') {
            return false;
        }
    }
    const char *rest = read_conversion(conversion, &parsed);
    if (rest == nullptr) {
        return false;
    }
    // A precision makes numbers longer but texts only shorter.
    const bool numeric = parsed.row->kind == CONV_INTEGER || parsed.row->kind == CONV_DOUBLE;
    if (parsed.width >= XAR_LIMIT_BYTES || (numeric && parsed.precision > XAR_LIMIT_BYTES)) {
        return false;
    }
    *format = rest;
    return parsed.row->append(call, parsed);
}

// The first '%' that is a character of its own, or the end of the text.
const char *end_of_plain_text(const char *text) {
    while (*text != '\0' && *text != '%') {
        const int length = euc_char_length(static_cast<unsigned char>(*text));
        ++text;
        for (int i = 1; i < length && *text != '\0'; ++i) {
            ++text;
        }
    }
    return text;
}

bool append_all(formatting *call, const char *format) {
    bool fits = true;
    while (fits && *format != '\0') {
        if (*format != '%') {
            const char *end = end_of_plain_text(format);
            fits = append_bytes(call, format, static_cast<std::size_t>(end - format));
            format = end;
        } else if (format[1] == '%') {
            fits = append_bytes(call, format, 1);
            format += 2;
        } else {
            fits = append_directive(call, &format);
        }
    }
    return fits && append_bytes(call, "", 1);
}

} // namespace

const char *vek_hold_text(vek_held_text *held, const char *format, std::va_list arguments) {
    held->text = nullptr;
    if (format == nullptr) {
        return nullptr;
    }
    if (strnlen(format, FORMAT_LIMIT + 1) > FORMAT_LIMIT) {
        std::printf("vek_sprintf   format too long \n");
        return nullptr;
    }
    formatting call;
    call.record = enter_work_record(&held->call);
    if (call.record == nullptr) {
        return nullptr;
    }
    va_copy(call.arguments, arguments);
    if (append_all(&call, format)) {
        held->text = call.record->output.bytes;
        held->length = call.length - 1;
    } else {
        trp_leave_call(&held->call);
    }
    va_end(call.arguments);
    return held->text;
}

void vek_release_text(vek_held_text *held) {
    if (held->text != nullptr) {
        trp_leave_call(&held->call);
    }
}

char *vek_vsprintf(char *destination, const char *format, std::va_list arguments) {
    vek_held_text held;
    if (vek_hold_text(&held, format, arguments) == nullptr) {
        return nullptr;
    }
    if (destination != nullptr) {
        std::memcpy(destination, held.text, held.length + 1);
    }
    vek_release_text(&held);
    return destination != nullptr ? destination : held.text;
}

int vek_printf(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = vek_vsprintf(nullptr, format, arguments);
    va_end(arguments);
    if (text == nullptr || std::fputs(text, stdout) == EOF) {
        return 0;
    }
    return static_cast<int>(std::strlen(text));
}
