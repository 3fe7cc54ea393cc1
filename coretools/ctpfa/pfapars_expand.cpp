// Expansion of '$' and '~' in a name, before it is parsed.
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfapars_internal.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using expanded_text = bounded_text<PFA_PATH_SIZE>;

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

// Appends [from, to) as written, or with the separators that follow from a replacement.
bool append_part(const char *from, const char *to, bool replaced, expanded_text *out) {
    const std::size_t start = out->size();
    const bool fits = out->append({from, static_cast<std::size_t>(to - from)});
    if (replaced) {
        std::replace(out->data() + start, out->data() + out->size(), '\\', '/');
    }
    return fits;
}

bool expand_variables(const char *in, expanded_text *out) {
    bool replaced = false;
    while (*in != '\0') {
        const char *dollar = in + std::strcspn(in, "$");
        if (!append_part(in, dollar, replaced, out)) {
            return false;
        }
        if (*dollar == '\0') {
            break;
        }
        in = find_path_separator(dollar + 1);
        if (const char *value = value_of(dollar + 1, in); value != nullptr) {
            if (!replaced) {
                std::replace(out->data(), out->data() + out->size(), '\\', '/');
                replaced = true;
            }
            if (!out->append(value)) {
                return false;
            }
            continue;
        }
        in += *in != '\0' ? 1 : 0;
        if (!append_part(dollar, in, replaced, out)) {
            return false;
        }
    }
    return true;
}

pfa_status append_home_directory(expanded_text *out) {
    vek_file home;
    char name[PFA_PATH_SIZE];
    pfa_init_vek_file(&home);
    const pfa_status known = pfa_get_home_dir(&home);
    if (known == PFA_E_OUT_OF_MEMORY) {
        return known;
    }
    const bool fits = known == PFA_E_NO_ERROR && pfa_get_full_name(&home, name) == PFA_E_NO_ERROR &&
                      out->append(name);
    return fits ? PFA_E_NO_ERROR : PFA_E_INVALID_INPUT;
}

pfa_status store(const expanded_text &text, char *out, int capacity) {
    if (static_cast<int>(text.size()) >= capacity) {
        return PFA_E_INVALID_INPUT;
    }
    text.copy_to(out);
    return PFA_E_NO_ERROR;
}

} // namespace

pfa_status substitute_env_vars(const char *in, char *out, int capacity) {
    expanded_text expanded;
    return expand_variables(in, &expanded) ? store(expanded, out, capacity) : PFA_E_INVALID_INPUT;
}

pfa_status substitute_unix_home_dir(const char *in, char *out, int capacity) {
    expanded_text expanded;
    if (in[0] == '~') {
        if (in[1] != '\0' && !is_separator(in[1])) {
            return PFA_E_INVALID_INPUT; // the home directory of a user
        }
        const pfa_status result = append_home_directory(&expanded);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
        in += in[1] == '\0' ? 1 : 2;
    }
    return expanded.append(in) ? store(expanded, out, capacity) : PFA_E_INVALID_INPUT;
}
