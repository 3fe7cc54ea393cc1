// Conversion directives of the formatting engine as texts: reading one, and cutting multi-byte text
// at its precision.
#pragma once

// The longest directive, from '%' to the end of its conversion, with its terminating zero.
constexpr int DIRECTIVE_SIZE = 24;

// What a directive takes from the argument list.
enum conversion_kind : int {
    CONV_NONE = -1,
    CONV_INTEGER = 1, // int; long for conversions with an 'l'
    CONV_DOUBLE = 2,
    CONV_TEXT = 3,
    CONV_WIDE_TEXT = 4,      // const vek_wchar *
    CONV_PATH_DIRECTORY = 6, // text, printed with the host's separators
    CONV_PATH_FILE = 7,
};

// Reads the directive at `*format`, which points at its '%'. Writes its conversion_kind, and its
// text as the C library's printf knows it into `directive[DIRECTIVE_SIZE]`; moves `*format` past
// it. Returns the number of '*' in it. For what is no directive of the engine, or does not fit: the
// kind CONV_NONE, the result 0, and `*format` as it was.
int parse_conver_spec(const char **format, int *kind, char *directive);

// Ends `text` before the first multi-byte (EUC) character that the precision of `directive`, a
// text, would cut in two. A first character that does not fit is kept whole.
void take_care_of_precision(const char *directive, char *text);
