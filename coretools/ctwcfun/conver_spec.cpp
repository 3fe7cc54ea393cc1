// Conversion directives of the formatting engine.
#include "coretools/ctwcfun/conver_spec.h"

#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctstrutil/ascii.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

struct conversion_row {
    const char *conversion;
    const char *replacement; // what sprintf is to see instead, or null
    conversion_kind kind;
};

// Searched in order, each row over its own length: a row must not follow a shorter one that is a
// prefix of it.
constexpr conversion_row conv_spec_def[] = {
    {"d", nullptr, CONV_INTEGER},  {"f", nullptr, CONV_DOUBLE},   {"lf", nullptr, CONV_DOUBLE},
    {"s", nullptr, CONV_TEXT},     {"ws", "s", CONV_WIDE_TEXT},   {"e", nullptr, CONV_DOUBLE},
    {"g", nullptr, CONV_DOUBLE},   {"c", nullptr, CONV_INTEGER},  {"i", nullptr, CONV_INTEGER},
    {"o", nullptr, CONV_INTEGER},  {"u", nullptr, CONV_INTEGER},  {"x", nullptr, CONV_INTEGER},
    {"ld", nullptr, CONV_INTEGER}, {"li", nullptr, CONV_INTEGER}, {"lo", nullptr, CONV_INTEGER},
    {"lu", nullptr, CONV_INTEGER}, {"lx", nullptr, CONV_INTEGER}, {"pd", "s", CONV_PATH_DIRECTORY},
    {"pf", "s", CONV_PATH_FILE},
};
constexpr int conv_spec_count = static_cast<int>(std::size(conv_spec_def));
static_assert(conv_spec_count == 19);

constexpr char FLAGS[] = "-+ #0'";
constexpr char BEFORE_CONVERSION[] = "-+ #0'123456789.*";
// Conversions that mean the same in upper case, but for the look of what they print.
constexpr char UPPER_CASE_CONVERSIONS[] = "XEGF";

} // namespace

static bool is_one_of(const char *set, char character) {
    return character != '\0' && std::strchr(set, character) != nullptr;
}

static bool begins_with_conversion(const char *text, const char *conversion) {
    for (; *conversion != '\0'; ++text, ++conversion) {
        if (to_lower_letter(*text) != *conversion) {
            return false;
        }
    }
    return true;
}

static const conversion_row *find_conversion(const char *text) {
    const auto *row = std::find_if(
        std::begin(conv_spec_def), std::end(conv_spec_def),
        [text](const conversion_row &r) { return begins_with_conversion(text, r.conversion); });
    return row != std::end(conv_spec_def) ? row : nullptr;
}

int parse_conver_spec(const char **format, int *kind, char *directive) {
    const char *next = *format;
    std::size_t length = 0;
    int stars = 0;
    *kind = CONV_NONE;
    directive[length++] = *next++;
    while (is_one_of(BEFORE_CONVERSION, *next) && length < DIRECTIVE_SIZE - 1) {
        stars += *next == '*';
        directive[length++] = *next++;
    }
    directive[length] = '\0';

    const conversion_row *row = find_conversion(next);
    if (row == nullptr) {
        return 0;
    }
    // The table's lower case is what sprintf sees, but for a last letter whose upper case means the
    // same: the C library reads "%S", "%C" and "%Lf" as asking for arguments of other types, and
    // "%I" as a flag.
    const char *conversion = row->replacement != nullptr ? row->replacement : row->conversion;
    const std::size_t size = std::strlen(conversion);
    if (length + size > DIRECTIVE_SIZE - 1) {
        return 0;
    }
    std::memcpy(directive + length, conversion, size + 1);
    if (row->replacement == nullptr && is_one_of(UPPER_CASE_CONVERSIONS, next[size - 1])) {
        directive[length + size - 1] = next[size - 1];
    }
    *format = next + std::strlen(row->conversion);
    *kind = row->kind;
    return stars;
}

bool replace_star(char *directive, int value) {
    char *star = std::strchr(directive, '*');
    if (star == nullptr) {
        return false;
    }
    const char *rest = star + 1;
    char filled[DIRECTIVE_SIZE];
    int length;
    if (value < 0 && star[-1] == '.') {
        length = std::snprintf(filled, sizeof filled, "%.*s%s",
                               static_cast<int>(star - 1 - directive), directive, rest);
    } else {
        length = std::snprintf(filled, sizeof filled, "%.*s%d%s",
                               static_cast<int>(star - directive), directive, value, rest);
    }
    if (length >= DIRECTIVE_SIZE) {
        return false;
    }
    std::memcpy(directive, filled, static_cast<std::size_t>(length) + 1);
    return true;
}

// Moves past the digits and answers their number, INT_MAX + 1 for all that an int cannot hold.
static long long read_number(const char **text) {
    constexpr long long TOO_LARGE = static_cast<long long>(INT_MAX) + 1;
    long long number = 0;
    for (; is_digit(**text); ++*text) {
        number = std::min(10 * number + (**text - '0'), TOO_LARGE);
    }
    return number;
}

bool directive_is_printable(const char *directive, int kind) {
    // A precision makes numbers longer but texts only shorter.
    const bool numeric = kind == CONV_INTEGER || kind == CONV_DOUBLE;
    const char *next = directive + 1;
    next += std::strspn(next, FLAGS);
    const long long width = read_number(&next);
    long long precision = 0;
    if (*next == '.') {
        ++next;
        precision = read_number(&next);
    }
    return is_letter(*next) && width < XAR_LIMIT_BYTES &&
           precision <= (numeric ? XAR_LIMIT_BYTES : INT_MAX);
}

void take_care_of_precision(const char *directive, char *text) {
    const char *start = std::strchr(directive, '%');
    while (start != nullptr && start[1] == '%') {
        start = std::strchr(start + 2, '%');
    }
    if (start == nullptr) {
        return;
    }
    const char *end = start + std::strcspn(start, "s");
    const char *point = std::find(start, end, '.');
    if (point == end) {
        return;
    }
    const long long precision = read_number(&++point);
    const auto length = static_cast<long long>(std::strlen(text));
    if (length <= precision) {
        return;
    }
    long long kept = euc_char_length(static_cast<unsigned char>(text[0]));
    for (long long next = kept; next <= precision;) {
        kept = next;
        next += euc_char_length(static_cast<unsigned char>(text[next]));
    }
    text[std::min(kept, length)] = '\0';
}
