// The vocabulary of the location types, derived from pfaloc_methods.def, which has the contract of
// every method: the numbers and names of location types, calling sequences and methods, and the
// exact function type of each method.
#pragma once

#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/vek_file.h"

#include <string_view>
#include <type_traits>
#include <utility>

struct ptime;

enum pfa_location_type : int {
#define PFA_LOCATION_TYPE(name) name,
#include "coretools/ctpfa/pfaloc_methods.def"
    PFA_LOCATION_TYPES, // their number
};

enum pfa_call_sequence : int {
#define PFA_CALL_SEQUENCE(letters, same_type) PLM_CALL_##letters,
#include "coretools/ctpfa/pfaloc_methods.def"
    PFA_CALL_SEQUENCES, // their number
};

enum pfa_method : int {
#define PFA_METHOD(name, letters, ...) plm_index_of_##name,
#include "coretools/ctpfa/pfaloc_methods.def"
    PFA_METHODS, // their number
};

// A method that is known while compiling. Converts to its number.
template <int METHOD>
struct pfa_method_constant {
    constexpr operator pfa_method() const { return pfa_method(METHOD); }
};

#define PFA_METHOD(name, letters, ...)                                                             \
    inline constexpr pfa_method_constant<plm_index_of_##name> name{};
#include "coretools/ctpfa/pfaloc_methods.def"

// The type of a pointer to an implementation of a method.
template <int METHOD>
struct plm_declared_function;
#define PFA_METHOD(name, letters, ...)                                                             \
    template <>                                                                                    \
    struct plm_declared_function<name> {                                                           \
        using type = int (*)(__VA_ARGS__);                                                         \
    };
#include "coretools/ctpfa/pfaloc_methods.def"
template <int METHOD>
using pfa_method_function = typename plm_declared_function<METHOD>::type;

// The tables, for messages and run-time checks, are indexed by the number of the row.
struct loc_type_row {
    const char *name;
    int type;
};
inline constexpr loc_type_row locTypeNames[] = {
#define PFA_LOCATION_TYPE(name) {#name, name},
#include "coretools/ctpfa/pfaloc_methods.def"
};

struct method_attr_row {
    const char *name;
    int sequence;
    bool same_type; // the two records of a call must be of one location type

    constexpr std::string_view letters() const {
        return std::string_view(name).substr(sizeof "PLM_CALL_" - 1);
    }
};
inline constexpr method_attr_row methodAttrTable[] = {
#define PFA_CALL_SEQUENCE(letters, same_type) {"PLM_CALL_" #letters, PLM_CALL_##letters, same_type},
#include "coretools/ctpfa/pfaloc_methods.def"
};

struct loc_method_row {
    const char *name;
    int method;
    int sequence;
};
inline constexpr loc_method_row locMethodInfo[] = {
#define PFA_METHOD(name, letters, ...) {#name, name, PLM_CALL_##letters},
#include "coretools/ctpfa/pfaloc_methods.def"
};

// Whether a function type has the parameters that the letters of a calling sequence stand for.
template <class Parameter>
constexpr bool plm_is_letter(char letter) {
    switch (letter) {
    case 'F':
        return std::is_same_v<Parameter, vek_file *>;
    case 'L':
        return std::is_same_v<Parameter, void **>;
    case 'P':
        return std::is_pointer_v<Parameter>;
    case 'I':
    case 'S':
        return std::is_same_v<Parameter, int>;
    default:
        return false;
    }
}

template <class... Parameter>
constexpr bool plm_spells(int (*)(Parameter...), std::string_view letters) {
    std::size_t at = 0;
    return letters.size() == sizeof...(Parameter) &&
           (plm_is_letter<Parameter>(letters[at++]) && ...);
}

static_assert(
    []<int... METHOD>(std::integer_sequence<int, METHOD...>) {
        return (plm_spells(pfa_method_function<METHOD>(),
                           methodAttrTable[locMethodInfo[METHOD].sequence].letters()) &&
                ...);
    }(std::make_integer_sequence<int, PFA_METHODS>()),
    "the parameters of a method are not those of its calling sequence");
