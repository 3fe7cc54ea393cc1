// Conversion directives of the formatting engine: reading one, filling in its stars, and cutting
// multi-byte text at its precision.
#pragma once

// The longest directive, from '%' to the end of its conversion, with its terminating zero.
constexpr int DIRECTIVE_SIZE = 24;

// What a directive takes from the argument list.
enum conversion_kind : int {
    CONV_NONE = -1,
    CONV_INTEGER = 1, // int; long when the directive holds an 'l'
    CONV_DOUBLE = 2,
    CONV_TEXT = 3,
    CONV_WIDE_TEXT = 4,      // const vek_wchar *
    CONV_PATH_DIRECTORY = 6, // text, printed with the host's separators
    CONV_PATH_FILE = 7,
};

// Reads the directive at *format, which points at its '%'. Writes the kind, and the directive as
// the system's sprintf is to see it into directive[DIRECTIVE_SIZE]; moves *format past it and
// answers the number of '*' in it. Anything that is no directive of the table, or does not fit,
// gives CONV_NONE and 0, and *format stays.
int parse_conver_spec(const char **format, int *kind, char *directive);

// Writes value in place of the first '*'; a negative precision is taken out with its '.'. False
// when there is no star or the result does not fit.
bool replace_star(char *directive, int value);

// Whether a directive without stars is of the form %[flags][width][.precision]conversion, with a
// width and precision whose result an array can hold.
bool directive_is_printable(const char *directive, int kind);

// Ends text before the first multi-byte character that the directive's precision would cut in two;
// a first character that does not fit is kept whole.
void take_care_of_precision(const char *directive, char *text);
