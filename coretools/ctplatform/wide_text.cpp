// Wide text from and to EUC bytes.
#include "coretools/ctplatform/wide_text.h"

namespace {

constexpr int SINGLE_SHIFT_2 = 0x8e;
constexpr int SINGLE_SHIFT_3 = 0x8f;

// Writes one character and returns the bytes written, 1 to 3.
int encode(char *destination, vek_wchar wide) {
    const int high = wide >> 8;
    const int low = wide & 0xff;
    if (wide >= 0 && wide < 0x80) {
        destination[0] = static_cast<char>(wide);
        return 1;
    }
    if (high == 0) {
        destination[0] = static_cast<char>(SINGLE_SHIFT_2);
        destination[1] = static_cast<char>(low);
        return 2;
    }
    if (high >= 0x80 && high <= 0xff && low < 0x80) {
        destination[0] = static_cast<char>(SINGLE_SHIFT_3);
        destination[1] = static_cast<char>(high);
        destination[2] = static_cast<char>(low | 0x80);
        return 3;
    }
    if (high >= 0x80 && high <= 0xff && high != SINGLE_SHIFT_2 && high != SINGLE_SHIFT_3) {
        destination[0] = static_cast<char>(high);
        destination[1] = static_cast<char>(low);
        return 2;
    }
    destination[0] = '?';
    return 1;
}

} // namespace

int euc_decode(vek_wchar *result, const char *text) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    const int lead = bytes[0];
    *result = lead;
    if (lead < 0x80 || bytes[1] == 0) {
        return 1;
    }
    if (lead == SINGLE_SHIFT_2) {
        *result = bytes[1] | 0x80;
        return 2;
    }
    if (lead == SINGLE_SHIFT_3) {
        if (bytes[2] == 0) {
            *result = bytes[1];
            return 2;
        }
        *result = bytes[1] << 8 | (bytes[2] & 0x7f) | 0x8000;
        return 3;
    }
    *result = lead << 8 | bytes[1] | 0x8080;
    return 2;
}

int wslen(const vek_wchar *text) {
    int length = 0;
    while (text != nullptr && text[length] != 0) {
        ++length;
    }
    return length;
}

char *wstostr(char *destination, const vek_wchar *source) {
    char *end = destination;
    for (; source != nullptr && *source != 0; ++source) {
        end += encode(end, *source);
    }
    *end = '\0';
    return destination;
}

vek_wchar *strtows(vek_wchar *destination, const char *source) {
    vek_wchar *end = destination;
    for (; source != nullptr && *source != '\0'; ++end) {
        const auto lead = static_cast<unsigned char>(*source);
        const int length = euc_char_length(lead);
        if (length == 1 || euc_decode(end, source) != length) {
            *end = lead; // ASCII, or the first byte of a character that the text cuts short
            ++source;
        } else {
            source += length;
        }
    }
    *end = 0;
    return destination;
}
