// The plain name alphabet.
#include "coretools/genutil1/invstr.h"

#include "coretools/ctstrutil/ascii.h"

#include <algorithm>
#include <array>

namespace {

constexpr bool is_in_alphabet(int character) {
    return is_letter(character) || is_digit(character) || character == '_' || character == '-';
}

constexpr auto NAME_BYTES = [] {
    std::array<bool, 256> bytes{};
    for (int byte = 0; byte < 256; ++byte) {
        bytes[static_cast<std::size_t>(byte)] = is_in_alphabet(byte);
    }
    return bytes;
}();

} // namespace

int is_valid_wc(vek_wchar character) {
    return is_in_alphabet(character) ? 1 : 0;
}

int invalid_name_idx(const vek_wchar *name) {
    if (name[0] == '-') {
        return 0;
    }
    int index = 0;
    while (is_in_alphabet(name[index])) {
        ++index;
    }
    return index;
}

int invalid_string(const vek_wchar *name) {
    return name[invalid_name_idx(name)] != 0 ? 1 : 0;
}

bool is_invalid_name(std::string_view name) {
    return name.starts_with('-') || !std::all_of(name.begin(), name.end(), [](char character) {
               return NAME_BYTES[static_cast<unsigned char>(character)];
           });
}
