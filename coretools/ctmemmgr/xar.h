// Extensible arrays: growable arrays of fixed-size elements, indexed like plain ones.
//
// An array is known by the address of its first element, null for none. Operations take `handle`,
// the address of the variable that holds it. Those that move or release the array update the
// variable; all other copies of it are then stale.
// Elements that come into use are zero. Not locked: threads that share an array serialise its use.
// The bookkeeping is described in xar_layout.h.
//
// Misuse ends the process through err_crash with the name of the operation ("XAR_ALLOC",
// "XAR_EXTEND" for appending too, ...) and "invalid array", "invalid request" or "too big array"
// (creation). Exhausted memory, and growth beyond XAR_LIMIT_BYTES, are reported and handed to the
// traps (error_break). Where a report returns, the array is as it was and the operation returns
// null, 0 or false.
#pragma once

#include "coretools/ctmemmgr/xar_layout.h"

#include <cstring>
#include <type_traits>

// Returns a new array of `count` elements of `element_size` bytes (1 to XAR_MAXIMUM_ELEMENT_SIZE).
// `step`, at least 1, is the number of elements by which it first grows: XAR_MAXIMUM_STEP at most,
// and 2 in place of 1 for an empty array of elements below 128 bytes. Null, and nothing is made, if
// count and step are both 0. Release with xar_free().
[[nodiscard]] void *xar_alloc(int count, int element_size, int step);
// The same in a zone, which owns the memory; a negative zone is the general allocator.
[[nodiscard]] void *zone_xar_alloc(int zone, int count, int element_size, int step);
// Appends `count` elements copied from `source`, which may lie in the array, or zero ones if that
// is null. Returns the first of them; null without memory; xar_last() if count is 0.
void *xar_append(void **handle, int count, const void *source);
// Appends `count` zero elements and returns the first of them; null if count is 0 or without
// memory.
void *xar_extend(void **handle, int count);
// Returns the number of elements in use; 0 for a null handle.
int xar_count(const void *const *handle);
// Returns the last element; null if there is none, or for a null handle.
void *xar_last(void *const *handle);
// Removes the last `count` elements and returns the new last one, or null. Frees no memory.
void *xar_shrink(void **handle, int count);
// Makes room for `count` more elements: appending them then neither fails nor moves the array.
// False without memory.
bool xar_reserve(void **handle, int count);
// Shrinks or extends to `new_count` elements. Returns 0, also without memory: the array then keeps
// its xar_count(). A null handle may only be resized to 0.
int xar_resize(void **handle, int new_count);
// Stores, where the output is not null: the element size, the growth step as created, the elements
// in use, and the most elements that an array of this element size can hold. A null handle stores
// none.
void xar_params(const void *const *handle, int *element_size, int *step, int *count, int *maximum);
// Releases the array, unless a zone owns it, and sets the handle to null.
void xar_free(void **handle);
// Returns the index of the first element of an array of ints that is equal to `value`, or -1.
int int_in_list(int value, const int *handle);

// Debugging switches of the calling thread, 0 at first. With force_ext_no its new arrays get the
// step 1; with force_ignore_reloc_cnt growth steps do not widen.
int get_force_ext_no();
void set_force_ext_no(int value);
int get_force_ignore_reloc_cnt();
void set_force_ignore_reloc_cnt(int value);

// The same operations on a typed handle.

// Plain data that is copied by assignment, and aligned no more strictly than elements are.
template <class T>
concept xar_element = std::is_trivially_copyable_v<T> && std::is_copy_assignable_v<T> &&
                      alignof(T) <= XAR_UNIT_BYTES;

template <xar_element T>
[[nodiscard]] T *xar_alloc_of(int count, int step) {
    return static_cast<T *>(xar_alloc(count, static_cast<int>(sizeof(T)), step));
}

// Runs an operation that may change the handle on an untyped copy of it.
template <xar_element T, class Operation>
auto xar_with_untyped(T **handle, Operation operation) {
    if (handle == nullptr) {
        return operation(static_cast<void **>(nullptr));
    }
    void *untyped = *handle;
    auto result = operation(&untyped);
    *handle = static_cast<T *>(untyped);
    return result;
}

// The fast path of xar_append. Null, and nothing is done, if the array has to move, holds the
// source or is no array of T.
template <xar_element T>
T *xar_append_in_place(T *elements, int count, const T *source) {
    constexpr int size = static_cast<int>(sizeof(T));
    if (elements == nullptr) {
        return nullptr;
    }
    xar_header *header = xar_header_of(elements);
    if (header->magic != XAR_HEADER_MAGIC || header->element_size != size) {
        return nullptr;
    }
    xar_trailer *trailer = xar_checked_trailer(header);
    if (trailer == nullptr) {
        return nullptr;
    }
    char *end = xar_end_in_use(elements, trailer, size);
    if (!xar_has_room(end, trailer, count, size) || xar_is_inside(elements, end, source)) {
        return nullptr;
    }
    trailer->count += count;
    T *first = reinterpret_cast<T *>(end);
    // Assigned, not copied as bytes: the compiler then knows that the count does not change.
    if (count == 1) {
        *first = *source;
    } else {
        std::memmove(first, source, static_cast<std::size_t>(count) * sizeof(T));
    }
    return first;
}

template <xar_element T>
T *xar_append(T **handle, int count, const std::type_identity_t<T> *source) {
    if (count > 0 && source != nullptr && handle != nullptr) {
        if (T *first = xar_append_in_place(*handle, count, source)) {
            return first;
        }
    }
    return static_cast<T *>(xar_with_untyped(handle, [count, source](void **untyped) {
        return xar_append(untyped, count, static_cast<const void *>(source));
    }));
}

template <xar_element T>
T *xar_extend(T **handle, int count) {
    return static_cast<T *>(
        xar_with_untyped(handle, [count](void **untyped) { return xar_extend(untyped, count); }));
}

template <xar_element T>
int xar_count(T *const *handle) {
    const void *untyped = handle == nullptr ? nullptr : *handle;
    return xar_count(handle == nullptr ? nullptr : &untyped);
}

template <xar_element T>
T *xar_last(T *const *handle) {
    void *untyped = handle == nullptr ? nullptr : *handle;
    return static_cast<T *>(xar_last(handle == nullptr ? nullptr : &untyped));
}

template <xar_element T>
T *xar_shrink(T **handle, int count) {
    return static_cast<T *>(
        xar_with_untyped(handle, [count](void **untyped) { return xar_shrink(untyped, count); }));
}

template <xar_element T>
bool xar_reserve(T **handle, int count) {
    return xar_with_untyped(handle,
                            [count](void **untyped) { return xar_reserve(untyped, count); });
}

template <xar_element T>
int xar_resize(T **handle, int new_count) {
    return xar_with_untyped(handle,
                            [new_count](void **untyped) { return xar_resize(untyped, new_count); });
}

template <xar_element T>
void xar_params(T *const *handle, int *element_size, int *step, int *count, int *maximum) {
    const void *untyped = handle == nullptr ? nullptr : *handle;
    xar_params(handle == nullptr ? nullptr : &untyped, element_size, step, count, maximum);
}

template <xar_element T>
void xar_free(T **handle) {
    xar_with_untyped(handle, [](void **untyped) {
        xar_free(untyped);
        return 0;
    });
}
