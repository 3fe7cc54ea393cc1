// The templates behind the call wrappers of pfaloc_call.h, which is what to include and to read.
#pragma once

#include "coretools/ctpfa/pfaloc.h"

#include <array>
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

// A calling sequence as a function type, with plm_ptr for P.
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

// An implementation found at run time: called with erased parameters, which become those of its
// method again on the way.
template <int SEQUENCE, class Function = plm_erased_function<SEQUENCE>>
class plm_erased_call;

template <int SEQUENCE, class... Parameter>
class plm_erased_call<SEQUENCE, int (*)(Parameter...)> {
  public:
    plm_erased_call(int method, plm_any_function function)
        : convert_(CONVERT[static_cast<std::size_t>(method)]), function_(function) {}

    int operator()(Parameter... parameter) const { return convert_(function_, parameter...); }

  private:
    using converter = int (*)(plm_any_function, Parameter...);

    template <int METHOD>
    static int call_as(plm_any_function function, Parameter... parameter) {
        return reinterpret_cast<pfa_method_function<METHOD>>(function)(parameter...);
    }

    template <int METHOD>
    static constexpr converter converter_of() {
        if constexpr (locMethodInfo[METHOD].sequence == SEQUENCE) {
            return call_as<METHOD>;
        } else {
            return nullptr;
        }
    }

    template <int... METHOD>
    static constexpr std::array<converter, PFA_METHODS>
    all_converters(std::integer_sequence<int, METHOD...>) {
        return {converter_of<METHOD>()...};
    }

    // By method; null for those of other sequences.
    static constexpr std::array<converter, PFA_METHODS> CONVERT =
        all_converters(std::make_integer_sequence<int, PFA_METHODS>());

    converter convert_;
    plm_any_function function_;
};

// How the arguments of a wrapper become those of an implementation. `first` is what selects the
// implementation: a record, which becomes its first parameter, or a location type, which does not.
struct plm_with_type {
    template <class Function, class... Argument>
    static auto call(const Function &function, int, Argument &&...argument)
        -> decltype(function(std::forward<Argument>(argument)...)) {
        return function(std::forward<Argument>(argument)...);
    }
};
struct plm_with_record {
    template <class Function, class... Argument>
    static auto call(const Function &function, vek_file *first, Argument &&...argument)
        -> decltype(function(first, std::forward<Argument>(argument)...)) {
        return function(first, std::forward<Argument>(argument)...);
    }
};
struct plm_with_handle {
    template <class Function, class... Argument>
    static auto call(const Function &function, vek_file *first, Argument &&...argument)
        -> decltype(function(first, &first->location_handle, std::forward<Argument>(argument)...)) {
        return function(first, &first->location_handle, std::forward<Argument>(argument)...);
    }
};
struct plm_with_two_handles {
    template <class Function, class... Argument>
    static auto call(const Function &function, vek_file *first, vek_file *second,
                     Argument &&...argument)
        -> decltype(function(first, &first->location_handle, second, &second->location_handle,
                             std::forward<Argument>(argument)...)) {
        return function(first, &first->location_handle, second, &second->location_handle,
                        std::forward<Argument>(argument)...);
    }
};

template <class Shape, class Function, class... Argument>
concept plm_callable = requires(const Function &function, Argument &&...argument) {
    Shape::call(function, std::forward<Argument>(argument)...);
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
            return have_same_type(method, first, std::forward<Argument>(argument)...);
        } else {
            return true;
        }
    }
    template <class... Rest>
    static bool have_same_type(int method, vek_file *first, vek_file *second, Rest &&...) {
        return pfaloc_same_type(SEQUENCE, method, first, second);
    }

    static bool look_up(vek_file *record, int method, pfaloc_impl *found) {
        return pfaloc_get_func(record, method, SEQUENCE, found) != 0;
    }
    static bool look_up(int type, int method, pfaloc_impl *found) {
        return pfaloc_get_func_low(type, method, SEQUENCE, found) != 0;
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
        if (found == nullptr) {
            return PFA_E_NO_METHOD;
        }
        return shape::call(reinterpret_cast<function>(found), first,
                           std::forward<Argument>(argument)...);
    }

    // A method that is known at run time.
    template <plm_run_time_method Method, class... Argument>
    int operator()(selector first, Method method, Argument &&...argument) const requires
        plm_callable<shape, plm_erased_call<SEQUENCE>, selector, Argument...> {
        pfaloc_impl found;
        if (!may_call(first, method, argument...) || !look_up(first, method, &found)) {
            return PFA_E_NO_METHOD;
        }
        return shape::call(plm_erased_call<SEQUENCE>(method, found.function()), first,
                           std::forward<Argument>(argument)...);
    }
};
