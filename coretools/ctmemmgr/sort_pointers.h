// In-place sorting of pointer arrays.
//
// Fewer than 10 elements are sorted by insertion, and equal ones keep their order; from 10 on a
// quicksort does not promise that. A comparison that contradicts itself gives some order, never an
// access outside the array. No locks, no memory.
#pragma once

// Negative when a sorts before b, 0 when they are equal, positive when a sorts after b.
using sort_compare = int (*)(const void *a, const void *b);
using sort_compare_with_data = int (*)(const void *a, const void *b, void *extra);

void sort_pointers(int count, sort_compare compare, const void **pointers);
// Every comparison is given extra.
void sort_pointers_with_data(int count, sort_compare_with_data compare, const void **pointers,
                             void *extra);
// Sorts the elements with the indexes first to last, both included.
void quick_sort_with_data(int first, int last, sort_compare_with_data compare,
                          const void **pointers, void *extra);
