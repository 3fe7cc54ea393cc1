// Expansion of '$' and '~' in a name, before it is parsed.
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfapars_internal.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// A text that grows at its end within a capacity.
struct growing_text {
    char *text;
    int length;
    int capacity;

    bool append(const char *from, std::size_t count) {
        if (count >= static_cast<std::size_t>(capacity - length)) {
            return false;
        }
        std::memcpy(text + length, from, count);
        length += static_cast<int>(count);
        text[length] = '\0';
        return true;
    }
};

// The first character that ends a variable name, or the end of the text.
const char *find_path_separator(const char *text) {
    return text + std::strcspn(text, "/\\.]");
}

// The value of the variable whose name is [name, end), null when there is none.
const char *value_of(const char *name, const char *end) {
    char variable[PFA_PATH_SIZE];
    const auto length = static_cast<std::size_t>(end - name);
    if (length == 0 || length >= sizeof variable) {
        return nullptr;
    }
    std::memcpy(variable, name, length);
    variable[length] = '\0';
    return std::getenv(variable);
}

} // namespace

pfa_status substitute_env_vars(const char *in, char *out, int capacity) {
    growing_text expanded = {out, 0, capacity};
    bool replaced = false;
    // Copies text as written, or with the separators that follow from a replacement.
    const auto copy = [&expanded, &replaced](const char *from, const char *to) {
        const int start = expanded.length;
        if (!expanded.append(from, static_cast<std::size_t>(to - from))) {
            return false;
        }
        if (replaced) {
            std::replace(expanded.text + start, expanded.text + expanded.length, '\\', '/');
        }
        return true;
    };

    while (true) {
        const char *dollar = in + std::strcspn(in, "$");
        if (!copy(in, dollar)) {
            return PFA_E_INVALID_INPUT;
        }
        if (*dollar == '\0') {
            return PFA_E_NO_ERROR;
        }
        const char *end = find_path_separator(dollar + 1);
        const char *value = value_of(dollar + 1, end);
        if (value == nullptr) {
            in = *end == '\0' ? end : end + 1;
            if (!copy(dollar, in)) {
                return PFA_E_INVALID_INPUT;
            }
            continue;
        }
        if (!replaced) {
            std::replace(expanded.text, expanded.text + expanded.length, '\\', '/');
            replaced = true;
        }
        if (!expanded.append(value, std::strlen(value))) {
            return PFA_E_INVALID_INPUT;
        }
        in = end;
    }
}

pfa_status substitute_unix_home_dir(const char *in, char *out, int capacity) {
    growing_text expanded = {out, 0, capacity};
    if (in[0] == '~') {
        if (in[1] != '\0' && in[1] != '/' && in[1] != '\\') {
            return PFA_E_INVALID_INPUT;
        }
        vek_file home;
        char name[PFA_PATH_SIZE];
        pfa_init_vek_file(&home);
        const pfa_status known = pfa_get_home_dir(&home);
        if (known == PFA_E_OUT_OF_MEMORY) {
            return known;
        }
        if (known != PFA_E_NO_ERROR || pfa_get_full_name(&home, name) != PFA_E_NO_ERROR ||
            !expanded.append(name, std::strlen(name))) {
            return PFA_E_INVALID_INPUT;
        }
        in += in[1] == '\0' ? 1 : 2;
    }
    return expanded.append(in, std::strlen(in)) ? PFA_E_NO_ERROR : PFA_E_INVALID_INPUT;
}
