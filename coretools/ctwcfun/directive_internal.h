// Directives of the formatting engine, parsed once.
#pragma once

#include "coretools/ctwcfun/conver_spec.h"

#include <string_view>

struct formatting; // a call of the engine that is under way
struct directive;

struct conversion_row {
    std::string_view conversion; // the letters behind flags, width and precision, in lower case
    std::string_view host;       // the same for the C library's printf
    conversion_kind kind;
    // Takes the argument and appends its text. False if there is no memory or the text is too long.
    bool (&append)(formatting *call, const directive &parsed);
};

bool append_int(formatting *call, const directive &parsed);
bool append_long(formatting *call, const directive &parsed);
bool append_double(formatting *call, const directive &parsed);
bool append_text(formatting *call, const directive &parsed);
bool append_wide_text(formatting *call, const directive &parsed);
bool append_path(formatting *call, const directive &parsed);

// Searched in order, each row over its own length: a row must not follow a shorter one that is a
// prefix of it. A new conversion is one row, and a function if no other row takes its argument.
constexpr conversion_row conv_spec_def[] = {
    {"d", "d", CONV_INTEGER, append_int},          {"f", "f", CONV_DOUBLE, append_double},
    {"lf", "lf", CONV_DOUBLE, append_double},      {"s", "s", CONV_TEXT, append_text},
    {"ws", "s", CONV_WIDE_TEXT, append_wide_text}, {"e", "e", CONV_DOUBLE, append_double},
    {"g", "g", CONV_DOUBLE, append_double},        {"c", "c", CONV_INTEGER, append_int},
    {"i", "i", CONV_INTEGER, append_int},          {"o", "o", CONV_INTEGER, append_int},
    {"u", "u", CONV_INTEGER, append_int},          {"x", "x", CONV_INTEGER, append_int},
    {"ld", "ld", CONV_INTEGER, append_long},       {"li", "li", CONV_INTEGER, append_long},
    {"lo", "lo", CONV_INTEGER, append_long},       {"lu", "lu", CONV_INTEGER, append_long},
    {"lx", "lx", CONV_INTEGER, append_long},       {"pd", "s", CONV_PATH_DIRECTORY, append_path},
    {"pf", "s", CONV_PATH_FILE, append_path},
};

constexpr int NO_PRECISION = -1;

struct directive {
    std::string_view sizes; // its text from '%' up to the conversion
    bool left = false;      // the flag '-'
    bool other_flags = false;
    int width = 0; // INT_MAX stands for all beyond, here and in the precision
    int precision = NO_PRECISION;
    const conversion_row *row = nullptr;
    char last_letter = '\0'; // of the conversion, as it is written
};

// Reads the flags, width and precision of the directive at `text` and returns the text behind them,
// which may be a star.
const char *read_sizes(const char *text, directive *parsed);

// Returns the first character from `text` on that is no flag, digit, '.' or '*'.
const char *skip_to_conversion(const char *text);

// Reads the conversion that `text` begins with, in either case, and returns the text behind it;
// null if there is none or the directive would have DIRECTIVE_SIZE characters or more.
const char *read_conversion(const char *text, directive *parsed);

// Writes the directive as the C library's printf knows it into text[DIRECTIVE_SIZE].
void write_host_directive(const directive &parsed, char *text);

// Cuts `text` as take_care_of_precision does.
void cut_at_character(char *text, int precision);
