// Location types: the registry of what each of them implements, and the claim of a name.
//
// Every operation of the file access layer calls a numbered method of the record's location type.
// A method has one calling sequence, a sequence has exactly one function type, and an
// implementation carries that type with it, so that a slot can only be called with the parameters
// that it takes.
//
// The registry is process-wide and unlocked: registration happens inside the first allocation of a
// path record, which must be complete before a second thread uses the layer; after it the registry
// is only read. Refusals are reported through dbg_err_crash.
#pragma once

#include "coretools/ctpfa/pfaloc_tables.h"
#include "coretools/ctpfa/vek_file.h"

#include <string_view>
#include <type_traits>

// A pointer parameter (P) of a calling sequence: the address of any object, whose type the caller
// and the implementation of the method agree on. What was passed as const must be read as const.
class plm_ptr {
  public:
    plm_ptr(const void *address) : address_(address) {}

    template <class T>
    T *as() const {
        return static_cast<T *>(const_cast<void *>(address_));
    }

  private:
    const void *address_;
};

// The function type of each calling sequence. A location handle (L) is passed by address.
using plm_fn_F = int (*)(vek_file *);
using plm_fn_FF = int (*)(vek_file *, vek_file *);
using plm_fn_FFP = int (*)(vek_file *, vek_file *, plm_ptr);
using plm_fn_FI = int (*)(vek_file *, int);
using plm_fn_FII = int (*)(vek_file *, int, int);
using plm_fn_FL = int (*)(vek_file *, void **);
using plm_fn_FLFL = int (*)(vek_file *, void **, vek_file *, void **);
using plm_fn_FLFLPP = int (*)(vek_file *, void **, vek_file *, void **, plm_ptr, plm_ptr);
using plm_fn_FLI = int (*)(vek_file *, void **, int);
using plm_fn_FLP = int (*)(vek_file *, void **, plm_ptr);
using plm_fn_FLPI = int (*)(vek_file *, void **, plm_ptr, int);
using plm_fn_FLPII = int (*)(vek_file *, void **, plm_ptr, int, int);
using plm_fn_FLPIII = int (*)(vek_file *, void **, plm_ptr, int, int, int);
using plm_fn_FLPPI = int (*)(vek_file *, void **, plm_ptr, plm_ptr, int);
using plm_fn_FLPPPI = int (*)(vek_file *, void **, plm_ptr, plm_ptr, plm_ptr, int);
using plm_fn_FP = int (*)(vek_file *, plm_ptr);
using plm_fn_FPP = int (*)(vek_file *, plm_ptr, plm_ptr);
using plm_fn_FPPP = int (*)(vek_file *, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_FPPS = int (*)(vek_file *, plm_ptr, plm_ptr, int);
using plm_fn_PP = int (*)(plm_ptr, plm_ptr);
using plm_fn_PPP = int (*)(plm_ptr, plm_ptr, plm_ptr);
using plm_fn_PPPP = int (*)(plm_ptr, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_FPIPPPP = int (*)(vek_file *, plm_ptr, int, plm_ptr, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_FFIIIPP = int (*)(vek_file *, vek_file *, int, int, int, plm_ptr, plm_ptr);
using plm_fn_FPPPP = int (*)(vek_file *, plm_ptr, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_P = int (*)(plm_ptr);
using plm_fn_FLPP = int (*)(vek_file *, void **, plm_ptr, plm_ptr);

// The function types in the order of their codes, and what follows from it: the code of a type, the
// type of a code, and that every type spells the name of its code.
template <class... Fn>
struct plm_function_list {
    template <class Wanted>
    static constexpr int index_of() {
        int index = 0;
        return ((std::is_same_v<Wanted, Fn> ? true : (index++, false)) || ...) ? index : -1;
    }

    static constexpr bool spells_the_names() {
        int sequence = 0;
        return (spells(methodAttrTable[sequence++].name, Fn()) && ...);
    }

  private:
    template <class Parameter>
    static constexpr bool is_letter(char letter) {
        switch (letter) {
        case 'F':
            return std::is_same_v<Parameter, vek_file *>;
        case 'L':
            return std::is_same_v<Parameter, void **>;
        case 'P':
            return std::is_same_v<Parameter, plm_ptr>;
        case 'I':
        case 'S':
            return std::is_same_v<Parameter, int>;
        default:
            return false;
        }
    }

    template <class... Parameter>
    static constexpr bool spells(std::string_view name, int (*)(Parameter...)) {
        constexpr std::string_view PREFIX = "PLM_CALL_";
        const std::string_view letters = name.substr(PREFIX.size());
        std::size_t at = 0;
        return name.starts_with(PREFIX) && letters.size() == sizeof...(Parameter) &&
               (is_letter<Parameter>(letters[at++]) && ...);
    }
};

template <class First, class... Rest>
union plm_function_union {
    First first;
    plm_function_union<Rest...> rest;

    constexpr explicit plm_function_union(First function) : first(function) {}
    template <class Fn>
    constexpr explicit plm_function_union(Fn function) : rest(function) {}

    template <class Fn>
    constexpr Fn get() const {
        if constexpr (std::is_same_v<Fn, First>) {
            return first;
        } else {
            return rest.template get<Fn>();
        }
    }
};

template <class Last>
union plm_function_union<Last> {
    Last first;

    constexpr explicit plm_function_union(Last function) : first(function) {}

    template <class Fn>
    constexpr Fn get() const {
        return first;
    }
};

template <template <class...> class Holder>
using plm_in_code_order =
    Holder<plm_fn_F, plm_fn_FF, plm_fn_FFP, plm_fn_FI, plm_fn_FII, plm_fn_FL, plm_fn_FLFL,
           plm_fn_FLFLPP, plm_fn_FLI, plm_fn_FLP, plm_fn_FLPI, plm_fn_FLPII, plm_fn_FLPIII,
           plm_fn_FLPPI, plm_fn_FLPPPI, plm_fn_FP, plm_fn_FPP, plm_fn_FPPP, plm_fn_FPPS, plm_fn_PP,
           plm_fn_PPP, plm_fn_PPPP, plm_fn_FPIPPPP, plm_fn_FFIIIPP, plm_fn_FPPPP, plm_fn_P,
           plm_fn_FLPP>;

static_assert(plm_in_code_order<plm_function_list>::index_of<plm_fn_FLPP>() ==
              PFA_CALL_SEQUENCES - 1);
static_assert(plm_in_code_order<plm_function_list>::spells_the_names());

// The code of a function type, -1 when it is no calling sequence.
template <class Fn>
inline constexpr int
    plm_sequence_of = plm_in_code_order<plm_function_list>::template index_of<Fn>();

// An implementation of a method: a function pointer that remembers its calling sequence. Made from
// a function whose type is one of the sequences; anything else does not compile. All zero bytes
// mean none.
class pfaloc_impl {
  public:
    constexpr pfaloc_impl() = default;

    template <class Fn>
    requires(plm_sequence_of<Fn> >= 0) constexpr pfaloc_impl(Fn function)
        : tag_(function == nullptr ? 0 : plm_sequence_of<Fn> + 1), function_(function) {}

    // The code of the calling sequence, -1 when there is no implementation.
    constexpr int sequence() const { return tag_ - 1; }

    // The function, null unless it has exactly this type.
    template <class Fn>
    constexpr Fn get() const {
        return sequence() == plm_sequence_of<Fn> ? function_.template get<Fn>() : nullptr;
    }

  private:
    int tag_ = 0;
    plm_in_code_order<plm_function_union> function_{plm_fn_F(nullptr)};
};
static_assert(std::is_trivially_copyable_v<pfaloc_impl> &&
              std::is_trivially_destructible_v<pfaloc_impl>);

// Opens the registration of a type 1 to 9, each once in the life of the process, and creates the
// registry if there is none yet; a registration that is still open is closed. 0 closes the open
// registration. 1, or 0 when the type is refused or there is no memory.
int pfa_loc_register_setup(int type);

// Puts an implementation into the open registration. Refused: an index out of range, a type whose
// registration is not open, a sequence that is not the method's, a function that does not have the
// type of the sequence. An unknown sequence code is reported but stored all the same; such a slot
// is found only if the function has the type of the method's own sequence.
void pfa_loc_method_register(int type, int method, int sequence, const pfaloc_impl &implementation);

// The same when the method is known while compiling: a function of another sequence does not
// compile.
template <pfa_method METHOD, class Fn>
requires(plm_sequence_of<Fn> ==
         locMethodInfo[METHOD].sequence) void pfa_loc_method_register(int type, Fn implementation) {
    pfa_loc_method_register(type, METHOD, locMethodInfo[METHOD].sequence, implementation);
}

// Copies the donor's slot of a method (0 to 66) into the heir's open registration, an empty slot
// too. 1 when the slot holds an implementation, 0 when it is empty or the copy was refused.
int pfa_loc_type_inherit_method(int heir, int donor, int method);

// Asks the registered location types from 9 down to 1, or only_type alone unless it is -1, whether
// they claim the name (may be null). 0 when one does: the record is then of that type, its location
// components are filled, and *rest (may be null; the caller sets it to 0) is the index of the first
// character after the location. Otherwise the answer of the last type asked (2 when none was) and
// the record keeps its type.
pfa_status pfa_parse_location(vek_file *record, const char *name, std::int16_t *rest,
                              int only_type);

// Look-up by record or by type index: 1 and *found (may be null) when the type offers the method,
// else 0. Silent for an invalid record and for type 0; before the first registration nothing is
// found.
int pfaloc_get_func(const vek_file *record, int method, int sequence, pfaloc_impl *found);
int pfaloc_get_func_low(int type, int method, int sequence, pfaloc_impl *found);

// Creates the registry if there is none yet, the only memory that registration needs: 1, or 0 when
// there is no memory.
int pfaloc_create_registry();
