// ASCII character classes and case, whatever the locale.
//
// Every function takes any int: a char of either signedness, a byte, a wide character. Values
// outside ASCII are in no class and are returned unchanged.
#pragma once

constexpr bool is_digit(int character) {
    return character >= '0' && character <= '9';
}

constexpr bool is_upper_letter(int character) {
    return character >= 'A' && character <= 'Z';
}

constexpr bool is_lower_letter(int character) {
    return character >= 'a' && character <= 'z';
}

constexpr bool is_letter(int character) {
    return is_upper_letter(character) || is_lower_letter(character);
}

constexpr int to_upper_letter(int character) {
    return is_lower_letter(character) ? character - 'a' + 'A' : character;
}

constexpr int to_lower_letter(int character) {
    return is_upper_letter(character) ? character - 'A' + 'a' : character;
}
