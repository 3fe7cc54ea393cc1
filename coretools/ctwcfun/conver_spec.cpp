// Conversion directives of the formatting engine.
#include "coretools/ctwcfun/conver_spec.h"

#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctstrutil/ascii.h"
#include "coretools/ctwcfun/directive_internal.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

bool is_flag(char character) {
    switch (character) {
    case '-':
    case '+':
    case ' ':
    case '#':
    case '0':
    case '\'':
        return true;
    default:
        return false;
    }
}

bool begins_with_conversion(const char *text, std::string_view conversion) {
    for (const char letter : conversion) {
        if (to_lower_letter(*text++) != letter) {
            return false;
        }
    }
    return true;
}

// Moves past the digits and returns their number, INT_MAX for all beyond.
int read_number(const char **text) {
    long long number = 0;
    for (; is_digit(**text); ++*text) {
        number = std::min<long long>(10 * number + (**text - '0'), INT_MAX);
    }
    return static_cast<int>(number);
}

} // namespace

const char *read_sizes(const char *text, directive *parsed) {
    const char *start = text++;
    for (; is_flag(*text); ++text) {
        (*text == '-' ? parsed->left : parsed->other_flags) = true;
    }
    parsed->width = read_number(&text);
    if (*text == '.') {
        ++text;
        parsed->precision = read_number(&text);
    }
    parsed->sizes = {start, text};
    return text;
}

const char *skip_to_conversion(const char *text) {
    while (is_digit(*text) || *text == '.' || *text == '*' || is_flag(*text)) {
        ++text;
    }
    return text;
}

const char *read_conversion(const char *text, directive *parsed) {
    for (const conversion_row &row : conv_spec_def) {
        if (begins_with_conversion(text, row.conversion)) {
            const char *end = text + row.conversion.size();
            parsed->row = &row;
            parsed->last_letter = end[-1];
            return parsed->sizes.size() + row.host.size() < DIRECTIVE_SIZE ? end : nullptr;
        }
    }
    return nullptr;
}

// The letters are the table's, in lower case, but for a last one whose upper case means the same:
// the C library reads "%S", "%C" and "%Lf" as asking for arguments of other types.
void write_host_directive(const directive &parsed, char *text) {
    text += parsed.sizes.copy(text, std::string_view::npos);
    text += parsed.row->host.copy(text, std::string_view::npos);
    *text = '\0';
    if (text[-1] != 's' && std::strchr("XEGF", parsed.last_letter) != nullptr) {
        text[-1] = parsed.last_letter;
    }
}

int parse_conver_spec(const char **format, int *kind, char *directive_text) {
    const char *start = *format;
    const char *conversion = skip_to_conversion(start + 1);
    directive parsed;
    parsed.sizes = {start, conversion};
    const char *end = read_conversion(conversion, &parsed);
    *kind = CONV_NONE;
    directive_text[0] = '\0';
    if (end == nullptr) {
        return 0;
    }
    write_host_directive(parsed, directive_text);
    *format = end;
    *kind = parsed.row->kind;
    return static_cast<int>(std::count(start, conversion, '*'));
}

void cut_at_character(char *text, int precision) {
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

void take_care_of_precision(const char *directive_text, char *text) {
    const char *start = std::strchr(directive_text, '%');
    while (start != nullptr && start[1] == '%') {
        start = std::strchr(start + 2, '%');
    }
    if (start == nullptr) {
        return;
    }
    const char *end = start + std::strcspn(start, "s");
    const char *point = std::find(start, end, '.');
    if (point != end) {
        ++point;
        cut_at_character(text, read_number(&point));
    }
}
