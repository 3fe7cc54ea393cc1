// The formatting engine: each directive is formatted by the system's snprintf on its own, and the
// items are gathered in a buffer of the calling thread.
#include "coretools/ctwcfun/vek_vsprintf.h"

#include "basictk/baselib/inc/thrLocalObject.h"
#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/apfutil/path_to_os.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/dbg_msg_tool.h"
#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctstrutil/ascii.h"
#include "coretools/ctwcfun/conver_spec.h"
#include "coretools/ctwcfun/held_text_internal.h"
#include "coretools/genutil1/text_copy.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t FORMAT_LIMIT = 500;
constexpr int OUTPUT_STEP = 300;
constexpr int BUFFER_SIZE = 500;
constexpr int PATH_ARGUMENT_SIZE = 256;
constexpr double SMALLEST_DOUBLE = 1e-30;
constexpr int WIDE_CHARACTER_BYTES = 3;

// Buffers of one formatting call. A record whose arrays could not all be made is completed by the
// next call. Formatting can itself be the cause of a report, which formats on the same thread: such
// a call finds the record busy and takes the nested one.
struct work_record {
    char *output = nullptr;    // extensible array: the text being built
    char *mb_buffer = nullptr; // extensible array: the multi-byte form of a wide text
    char *item = nullptr;      // extensible array: one formatted directive
    int mb_capacity = 0;
    int item_capacity = 0;
    trp_mark busy;
    work_record *nested = nullptr;
};

// Lets a va_list, which may be an array type, be handed on by address.
struct argument_list {
    std::va_list list;
};

// Each thread's value is a block that holds the address of the thread's first work record.
std::atomic<thrLocalObject *> work_record_object{nullptr};

} // namespace

// Where the calling thread keeps the address of its first work record; null without memory.
static work_record **thread_slot() {
    thrLocalObject *object = thr_make_once(work_record_object, thrLocalObject_Create);
    if (object == nullptr) {
        return nullptr;
    }
    void *slot = thrLocalObject_GetData(object);
    if (slot == nullptr) {
        slot = getmem(static_cast<int>(sizeof(work_record *)));
        if (slot == nullptr) {
            return nullptr;
        }
        if (!thrLocalObject_SetData(object, slot)) {
            rlsmem(slot);
            return nullptr;
        }
    }
    return static_cast<work_record **>(slot);
}

// The first record of the thread that no call is using, marked busy; null without memory.
static work_record *enter_work_record(trp_marked_call *call) {
    work_record **link = thread_slot();
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

static bool make_buffer(char **buffer, int *capacity) {
    if (*buffer == nullptr) {
        *buffer = xar_alloc_of<char>(BUFFER_SIZE, BUFFER_SIZE);
        *capacity = *buffer != nullptr ? BUFFER_SIZE : 0;
    }
    return *buffer != nullptr;
}

static bool prepare(work_record *record) {
    if (record->output == nullptr) {
        record->output = xar_alloc_of<char>(0, OUTPUT_STEP);
        if (record->output == nullptr) {
            return false;
        }
    } else {
        xar_shrink(&record->output, xar_count(&record->output));
    }
    return make_buffer(&record->mb_buffer, &record->mb_capacity) &&
           make_buffer(&record->item, &record->item_capacity);
}

static bool grow(char **buffer, int *capacity, std::size_t needed) {
    if (needed <= static_cast<std::size_t>(*capacity)) {
        return true;
    }
    if (needed > XAR_LIMIT_BYTES) {
        return false;
    }
    const int size = static_cast<int>(needed);
    if (xar_extend(buffer, size - *capacity) == nullptr) {
        return false;
    }
    *capacity = size;
    return true;
}

static bool append(work_record *record, const char *bytes, std::size_t count) {
    if (count == 0) {
        return true;
    }
    return count <= XAR_LIMIT_BYTES &&
           xar_append(&record->output, static_cast<int>(count), bytes) != nullptr;
}

// Formats one value into the item, which grows when the result does not fit, and appends it.
template <class Value>
static bool append_item(work_record *record, const char *directive, Value value) {
    int length = 0;
    do {
        if (!grow(&record->item, &record->item_capacity, static_cast<std::size_t>(length) + 1)) {
            return false;
        }
        length = std::snprintf(record->item, static_cast<std::size_t>(record->item_capacity),
                               directive, value);
        if (length < 0) {
            return false;
        }
    } while (length >= record->item_capacity);
    return append(record, record->item, std::strlen(record->item));
}

// The width of a directive "%s" or "%-<width>s"; -1 for any other one. The width is known to fit.
static int left_justified_width(const char *directive) {
    int width = 0;
    const char *next = directive + 1;
    if (*next == '-') {
        for (++next; is_digit(*next); ++next) {
            width = 10 * width + (*next - '0');
        }
    }
    return std::strcmp(next, "s") == 0 ? width : -1;
}

// Padding on the right, the columns of a table, is worth doing here: snprintf pads byte by byte.
static bool append_text(work_record *record, const char *directive, const char *text) {
    if (text == nullptr) {
        text = "";
    }
    const int width = left_justified_width(directive);
    if (width < 0) {
        return append_item(record, directive, text);
    }
    const std::size_t length = std::strlen(text);
    if (!append(record, text, length)) {
        return false;
    }
    if (length >= static_cast<std::size_t>(width)) {
        return true;
    }
    const int blanks = width - static_cast<int>(length);
    char *padding = xar_extend(&record->output, blanks);
    if (padding != nullptr) {
        std::memset(padding, ' ', static_cast<std::size_t>(blanks));
    }
    return padding != nullptr;
}

static bool append_wide_text(work_record *record, const char *directive, const vek_wchar *text) {
    const std::size_t bytes = static_cast<std::size_t>(wslen(text)) * WIDE_CHARACTER_BYTES;
    if (!grow(&record->mb_buffer, &record->mb_capacity, bytes + 1)) {
        return false;
    }
    wstostr(record->mb_buffer, text);
    take_care_of_precision(directive, record->mb_buffer);
    return append_text(record, directive, record->mb_buffer);
}

static bool append_path(work_record *record, const char *directive, const char *text) {
    char path[PATH_ARGUMENT_SIZE];
    if (strcpy_limit(text != nullptr ? text : "", PATH_ARGUMENT_SIZE, path) != 0) {
        dbg_crash_msg("WSTRCOPY_X", "OVERFLOW.");
    }
    pfu_path_to_os(path, PFU_HOST_POSIX);
    return append_text(record, directive, path);
}

// Takes the argument of a complete directive and appends its text.
static bool append_argument(work_record *record, const char *directive, int kind,
                            argument_list *arguments) {
    switch (kind) {
    case CONV_INTEGER:
        return std::strchr(directive, 'l') != nullptr
                   ? append_item(record, directive, va_arg(arguments->list, long))
                   : append_item(record, directive, va_arg(arguments->list, int));
    case CONV_DOUBLE: {
        const double value = va_arg(arguments->list, double);
        return append_item(record, directive, std::fabs(value) < SMALLEST_DOUBLE ? 0.0 : value);
    }
    case CONV_TEXT:
        return append_text(record, directive, va_arg(arguments->list, const char *));
    case CONV_WIDE_TEXT:
        return append_wide_text(record, directive, va_arg(arguments->list, const vek_wchar *));
    case CONV_PATH_DIRECTORY:
    case CONV_PATH_FILE:
        return append_path(record, directive, va_arg(arguments->list, const char *));
    default:
        return false;
    }
}

static bool append_directive(work_record *record, const char **format, argument_list *arguments) {
    char directive[DIRECTIVE_SIZE];
    int kind = CONV_NONE;
    const int stars = parse_conver_spec(format, &kind, directive);
    if (kind == CONV_NONE) {
        return false;
    }
    for (int i = 0; i < stars; ++i) {
        if (!replace_star(directive, va_arg(arguments->list, int))) {
            return false;
        }
    }
    return directive_is_printable(directive, kind) &&
           append_argument(record, directive, kind, arguments);
}

// The first '%' that is a character of its own, or the end of the text.
static const char *end_of_plain_text(const char *text) {
    while (*text != '\0' && *text != '%') {
        const int length = euc_char_length(static_cast<unsigned char>(*text));
        ++text;
        for (int i = 1; i < length && *text != '\0'; ++i) {
            ++text;
        }
    }
    return text;
}

static bool format_all(work_record *record, const char *format, argument_list *arguments) {
    while (*format != '\0') {
        if (*format != '%') {
            const char *end = end_of_plain_text(format);
            if (!append(record, format, static_cast<std::size_t>(end - format))) {
                return false;
            }
            format = end;
        } else if (format[1] == '%') {
            if (!append(record, format, 1)) {
                return false;
            }
            format += 2;
        } else if (!append_directive(record, &format, arguments)) {
            return false;
        }
    }
    return append(record, "", 1);
}

const char *vek_hold_text(vek_held_text *held, const char *format, std::va_list arguments) {
    held->text = nullptr;
    if (format == nullptr) {
        return nullptr;
    }
    if (strnlen(format, FORMAT_LIMIT + 1) > FORMAT_LIMIT) {
        std::printf("vek_sprintf   format too long \n");
        return nullptr;
    }
    work_record *record = enter_work_record(&held->call);
    if (record == nullptr) {
        return nullptr;
    }
    argument_list passed;
    va_copy(passed.list, arguments);
    if (prepare(record) && format_all(record, format, &passed)) {
        held->text = record->output;
    } else {
        trp_leave_call(&held->call);
    }
    va_end(passed.list);
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
        std::memcpy(destination, held.text, static_cast<std::size_t>(xar_count(&held.text)));
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
