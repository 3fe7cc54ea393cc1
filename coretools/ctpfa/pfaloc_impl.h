// What a slot of the location registry holds: a plain function pointer and a tag of its exact type,
// so that it is only ever called as what it is. The tag is compared before the pointer is cast
// back.
#pragma once

#include "coretools/ctpfa/pfaloc_tables.h"

#include <cstddef>

// The code of the first calling sequence that a function type spells, -1 for none.
template <class Function>
constexpr int plm_spelled_sequence() {
    for (int sequence = 0; sequence < PFA_CALL_SEQUENCES; ++sequence) {
        if (plm_spells(Function(), methodAttrTable[sequence].letters())) {
            return sequence;
        }
    }
    return -1;
}

// The tag of a function type: one object for each type, identified by its address.
struct plm_function_tag {
    int sequence; // the first that the type spells
};
template <class Function>
inline constexpr plm_function_tag plm_tag_of{plm_spelled_sequence<Function>()};

// Any implementation, to be cast to its own type before it is called.
using plm_any_function = void (*)();

// What a slot of the registry holds: a function and the tag of its exact type. All zero bytes mean
// none.
class pfaloc_impl {
  public:
    constexpr pfaloc_impl() = default;
    constexpr pfaloc_impl(std::nullptr_t) {}

    // A function that no calling sequence describes does not compile.
    template <class... Parameter>
    pfaloc_impl(int (*implementation)(Parameter...)) requires(
        plm_spelled_sequence<int (*)(Parameter...)>() >= 0)
        : tag_(implementation == nullptr ? nullptr : &plm_tag_of<int (*)(Parameter...)>),
          function_(reinterpret_cast<plm_any_function>(implementation)) {}

    const plm_function_tag *tag() const { return tag_; }
    plm_any_function function() const { return function_; }

  private:
    const plm_function_tag *tag_ = nullptr;
    plm_any_function function_ = nullptr;
};
static_assert(std::is_trivially_copyable_v<pfaloc_impl> &&
              std::is_trivially_destructible_v<pfaloc_impl>);
