// Wide text as this library packs it: one int a character, the EUC code sets in 16 bits.
//
//   byte b below 0x80                      b
//   b1 b2, JIS X 0208                      b1 << 8 | b2 | 0x8080
//   0x8e b2, half-width katakana           b2 | 0x80
//   0x8f b2 b3, JIS X 0212                 b2 << 8 | (b3 & 0x7f) | 0x8000
//
// A zero byte always ends a text, even inside a character.
#pragma once

using vek_wchar = int;

// The bytes of the EUC character that starts with this byte: 1 to 3.
constexpr int euc_char_length(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    return lead == 0x8f ? 3 : 2;
}

// Decodes the character at the start of text and returns the bytes used, 1 to 3. Reads up to the
// character's length, but never past a zero byte: of a character cut short by one, the result is
// what was read of it, its first byte or, behind 0x8f, its second.
int euc_decode(vek_wchar *result, const char *text);

// The characters of a wide text before its terminating zero; 0 for null.
int wslen(const vek_wchar *text);

// Both return the destination, terminated; a null source is an empty text. What strtows made of a
// text reads the same again after wstostr and strtows.

// Writes up to 3 bytes per character and a zero; '?' for a number that is no character.
char *wstostr(char *destination, const vek_wchar *source);
// Writes up to one wide character per byte and a zero. The first byte of a character cut short by
// the end of the text becomes a wide character of its own, as does each byte after it.
vek_wchar *strtows(vek_wchar *destination, const char *source);
