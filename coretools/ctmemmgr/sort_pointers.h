// Sorting of pointer arrays in place.
//
// Fewer than 10 elements are sorted by insertion, and equal ones keep their order; from 10 on by a
// quicksort, which does not promise that. A comparison that contradicts itself gives some order,
// never an access outside the array. Takes no locks and no memory.
#pragma once

// Negative if a sorts before b, 0 if they are equal, positive if a sorts after b.
using sort_compare = int (*)(const void *a, const void *b);
using sort_compare_with_data = int (*)(const void *a, const void *b, void *extra);

void sort_pointers(int count, sort_compare compare, const void **pointers);
// Passes `extra` to every comparison.
void sort_pointers_with_data(int count, sort_compare_with_data compare, const void **pointers,
                             void *extra);
// Sorts the elements at the indexes `first` to `last`, both included.
void quick_sort_with_data(int first, int last, sort_compare_with_data compare,
                          const void **pointers, void *extra);
