// What the arrays and trees of this folder share.
#pragma once

template <class T>
void store_if_wanted(T *output, T value) {
    if (output != nullptr) {
        *output = value;
    }
}

// As xar_alloc, but returns null without a report if memory is exhausted: control comes back, and
// the caller can release what it holds before it reports.
[[nodiscard]] void *xar_alloc_null(int count, int element_size, int step);
// The report of xar_alloc for exhausted memory. May jump to a trap frame.
void xar_report_exhausted_memory();
