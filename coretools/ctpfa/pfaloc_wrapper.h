// The templates behind the call wrappers of pfaloc_call.h, which is what to include and to read.
#pragma once

#include "coretools/ctpfa/pfaloc.h"

#include <cstddef>
#include <string_view>
#include <type_traits>
#include <utility>

// The address that a run-time call passes for a pointer parameter, whatever its type. What was
// passed as const must be read as const.
class plm_ptr {
  public:
    plm_ptr(const void *address) : address_(address) {}

    template <class T>
    operator T *() const {
        return static_cast<T *>(const_cast<void *>(address_));
    }

  private:
    const void *address_;
};

inline int plm_erased(int number) {
    return number;
}
inline plm_ptr plm_erased(const void *address) {
    return address;
}

// A calling sequence as a function type, with plm_ptr for P: what a run-time call must match.
template <char LETTER>
using plm_parameter = std::conditional_t<
    LETTER == 'F', vek_file *,
    std::conditional_t<LETTER == 'L', void **, std::conditional_t<LETTER == 'P', plm_ptr, int>>>;

template <int SEQUENCE>
constexpr std::string_view plm_letters = methodAttrTable[SEQUENCE].letters();

template <int SEQUENCE, std::size_t... AT>
auto plm_erase(std::index_sequence<AT...>) -> int (*)(plm_parameter<plm_letters<SEQUENCE>[AT]>...);
template <int SEQUENCE>
using plm_erased_function =
    decltype(plm_erase<SEQUENCE>(std::make_index_sequence<plm_letters<SEQUENCE>.size()>()));

// How the arguments of a wrapper become those of an implementation. `first` is what selects the
// implementation: a record, which becomes its first parameter, or a location type, which does not.
struct plm_with_type {
    template <class Function, class... Argument>
    static auto call(Function *function, int, Argument &&...argument)
        -> decltype(function(argument...)) {
        return function(argument...);
    }
};
struct plm_with_record {
    template <class Function, class... Argument>
    static auto call(Function *function, vek_file *first, Argument &&...argument)
        -> decltype(function(first, argument...)) {
        return function(first, argument...);
    }
};
struct plm_with_handle {
    template <class Function, class... Argument>
    static auto call(Function *function, vek_file *first, Argument &&...argument)
        -> decltype(function(first, &first->location_handle, argument...)) {
        return function(first, &first->location_handle, argument...);
    }
};
struct plm_with_two_handles {
    template <class Function, class... Argument>
    static auto call(Function *function, vek_file *first, vek_file *second, Argument &&...argument)
        -> decltype(function(first, &first->location_handle, second, &second->location_handle,
                             argument...)) {
        return function(first, &first->location_handle, second, &second->location_handle,
                        argument...);
    }
};

template <class Shape, class Function, class... Argument>
concept plm_callable = requires(Function function, Argument &&...argument) {
    Shape::call(function, argument...);
};

template <class Method>
concept plm_run_time_method = std::is_integral_v<Method> || std::is_enum_v<Method>;

// True if both records are valid and of one location type; different types are reported.
bool pfaloc_same_type(int sequence, int method, const vek_file *first, const vek_file *second);

template <int SEQUENCE>
class plm_wrapper {
    static constexpr std::string_view LETTERS = plm_letters<SEQUENCE>;
    static constexpr bool BY_RECORD = LETTERS.starts_with('F');
    using selector = std::conditional_t<BY_RECORD, vek_file *, int>;
    using shape = std::conditional_t<
        LETTERS.starts_with("FLFL"), plm_with_two_handles,
        std::conditional_t<LETTERS.starts_with("FL"), plm_with_handle,
                           std::conditional_t<BY_RECORD, plm_with_record, plm_with_type>>>;

    template <class... Argument>
    static bool may_call(selector first, int method, Argument &&...argument) {
        if constexpr (methodAttrTable[SEQUENCE].same_type) {
            const auto same_type = [&](const vek_file *second, auto...) {
                return pfaloc_same_type(SEQUENCE, method, first, second);
            };
            return same_type(argument...);
        }
        return true;
    }

    static bool is_offered(vek_file *record, int method) {
        return pfaloc_get_func(record, method, SEQUENCE, nullptr) != 0;
    }
    static bool is_offered(int type, int method) {
        return pfaloc_get_func_low(type, method, SEQUENCE, nullptr) != 0;
    }

  public:
    // A method that is known while compiling.
    template <int METHOD, class... Argument>
        int operator()(selector first, pfa_method_constant<METHOD>, Argument &&...argument) const
        requires(locMethodInfo[METHOD].sequence == SEQUENCE) &&
        plm_callable<shape, pfa_method_function<METHOD>, selector, Argument...> {
        using function = pfa_method_function<METHOD>;
        if (!may_call(first, METHOD, argument...)) {
            return PFA_E_NO_METHOD;
        }
        const plm_any_function found = pfaloc_find(first, METHOD, &plm_tag_of<function>);
        return found != nullptr ? shape::call(reinterpret_cast<function>(found), first, argument...)
                                : PFA_E_NO_METHOD;
    }

    // A method that is known at run time: checked, and then called as what it is.
    template <plm_run_time_method Method, class... Argument>
    int operator()(selector first, Method method, Argument &&...argument) const requires
        plm_callable<shape, plm_erased_function<SEQUENCE>, selector, Argument...> {
        if (!may_call(first, method, argument...) || !is_offered(first, method)) {
            return PFA_E_NO_METHOD;
        }
        int result = PFA_E_NO_METHOD;
        const auto call_if_it_is = [&]<int METHOD>(pfa_method_constant<METHOD> known) {
            if constexpr (locMethodInfo[METHOD].sequence == SEQUENCE) {
                if (METHOD == static_cast<int>(method)) {
                    result = (*this)(first, known, plm_erased(argument)...);
                }
            }
        };
        [&]<int... METHOD>(std::integer_sequence<int, METHOD...>) {
            (call_if_it_is(pfa_method_constant<METHOD>()), ...);
        }
        (std::make_integer_sequence<int, PFA_METHODS>());
        return result;
    }
};
