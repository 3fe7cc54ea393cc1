// In-place sorting of pointer arrays.
#pragma once

using sort_compare = int (*)(const void *a, const void *b);
using sort_compare_with_data = int (*)(const void *a, const void *b, void *extra);

void sort_pointers(int count, sort_compare compare, const void **pointers);
void sort_pointers_with_data(int count, sort_compare_with_data compare, const void **pointers,
                             void *extra);
void quick_sort_with_data(int first, int last, sort_compare_with_data compare,
                          const void **pointers, void *extra);
