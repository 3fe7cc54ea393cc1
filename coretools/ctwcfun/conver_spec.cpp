// Conversion directives of the formatting engine.
#include "coretools/ctwcfun/conver_spec.h"

#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctstrutil/ascii.h"
#include "coretools/ctwcfun/directive_internal.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <iterator>

namespace {

// The bit of each character that is a flag, 0 for the others.
constexpr auto FLAG_BITS = [] {
    std::array<unsigned char, 256> bits{};
    for (unsigned i = 0; FLAG_CHARACTERS[i] != '\0'; ++i) {
        bits[static_cast<unsigned char>(FLAG_CHARACTERS[i])] = static_cast<unsigned char>(1U << i);
    }
    return bits;
}();

unsigned flag_bit(char character) {
    return FLAG_BITS[static_cast<unsigned char>(character)];
}

bool begins_with_conversion(const char *text, std::string_view conversion) {
    for (const char letter : conversion) {
        if (to_lower_letter(*text++) != letter) {
            return false;
        }
    }
    return true;
}

// The table's lower case is what printf gets, but for a last letter whose upper case means the
// same: the C library reads "%S", "%C" and "%Lf" as asking for arguments of other types.
bool keeps_case(char written, const conversion_row &row) {
    return is_upper_letter(written) && to_lower_letter(written) == row.host.back() &&
           std::strchr("XEGF", written) != nullptr;
}

// Moves past the digits and returns their number, INT_MAX + 1 for all beyond.
long long read_number(const char **text) {
    constexpr long long TOO_LARGE = static_cast<long long>(INT_MAX) + 1;
    long long number = 0;
    for (; is_digit(**text); ++*text) {
        number = std::min(10 * number + (**text - '0'), TOO_LARGE);
    }
    return number;
}

} // namespace

const char *read_flags_and_sizes(const char *text, directive *parsed) {
    while (const unsigned bit = flag_bit(*text)) {
        parsed->flags |= bit;
        ++text;
    }
    const long long width = read_number(&text);
    long long precision = NO_PRECISION;
    if (*text == '.') {
        ++text;
        precision = read_number(&text);
    }
    if (width > INT_MAX || precision > INT_MAX) {
        return nullptr;
    }
    parsed->width = static_cast<int>(width);
    parsed->precision = static_cast<int>(precision);
    return text;
}

const char *skip_to_conversion(const char *text) {
    while (is_digit(*text) || *text == '.' || *text == '*' || flag_bit(*text) != 0) {
        ++text;
    }
    return text;
}

const char *read_conversion(const char *text, directive *parsed) {
    for (const conversion_row &row : conv_spec_def) {
        if (begins_with_conversion(text, row.conversion)) {
            const char *end = text + row.conversion.size();
            parsed->row = &row;
            parsed->last_letter = keeps_case(end[-1], row) ? end[-1] : row.host.back();
            return end;
        }
    }
    return nullptr;
}

void write_host_conversion(const directive &parsed, char *text) {
    text[parsed.row->host.copy(text, std::string_view::npos)] = '\0';
    text[parsed.row->host.size() - 1] = parsed.last_letter;
}

int parse_conver_spec(const char **format, int *kind, char *directive_text) {
    const char *start = *format;
    const char *conversion = skip_to_conversion(start + 1);
    const auto length = static_cast<std::size_t>(conversion - start);
    directive parsed;
    const char *end = read_conversion(conversion, &parsed);
    *kind = CONV_NONE;
    directive_text[0] = '\0';
    if (end == nullptr || length + parsed.row->host.size() >= DIRECTIVE_SIZE) {
        return 0;
    }
    std::memcpy(directive_text, start, length);
    write_host_conversion(parsed, directive_text + length);
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
        cut_at_character(text,
                         static_cast<int>(std::min<long long>(read_number(&++point), INT_MAX)));
    }
}
