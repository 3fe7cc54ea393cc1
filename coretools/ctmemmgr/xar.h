// Extensible arrays: the handle is the address of the first element.
#pragma once

#include <type_traits>

constexpr int XAR_LIMIT_BYTES = 2047984;

void *xar_alloc(int count, int element_size, int step);
void *zone_xar_alloc(int zone, int count, int element_size, int step);
void *xar_append(void **handle, int count, const void *source);
void *xar_extend(void **handle, int count);
int xar_count(const void *const *handle);
void *xar_last(void *const *handle);
void *xar_shrink(void **handle, int count);
int xar_resize(void **handle, int new_count);
void xar_params(const void *const *handle, int *element_size, int *step, int *count, int *maximum);
void xar_free(void **handle);
int int_in_list(int value, const int *handle);

int get_force_ext_no();
void set_force_ext_no(int value);
int get_force_ignore_reloc_cnt();
void set_force_ignore_reloc_cnt(int value);

// The same operations on a typed handle.

template <class T>
T *xar_alloc_of(int count, int step) {
    return static_cast<T *>(xar_alloc(count, static_cast<int>(sizeof(T)), step));
}

template <class T>
T *xar_append(T **handle, int count, const std::type_identity_t<T> *source) {
    void *untyped = *handle;
    void *first = xar_append(&untyped, count, static_cast<const void *>(source));
    *handle = static_cast<T *>(untyped);
    return static_cast<T *>(first);
}
// The owner adds the same for xar_extend, xar_count, xar_last, xar_shrink, xar_resize, xar_params
// and xar_free.
