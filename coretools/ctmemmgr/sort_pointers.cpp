// Quicksort of pointer arrays, with insertion sort for short ranges.
#include "coretools/ctmemmgr/sort_pointers.h"

#include <utility>

namespace {

constexpr int INSERTION_SORT_BELOW = 10;

template <class Compare>
void insertion_sort(int first, int last, Compare compare, const void **pointers) {
    for (int i = first + 1; i <= last; ++i) {
        const void *moving = pointers[i];
        int place = i;
        for (; place > first && compare(moving, pointers[place - 1]) < 0; --place) {
            pointers[place] = pointers[place - 1];
        }
        pointers[place] = moving;
    }
}

// An entry that is the pivot itself stops a scan without a comparison. With a sound comparison an
// entry inside the range always stops it; the bounds are for any other.
template <class Compare>
void quick_sort(int first, int last, Compare compare, const void **pointers) {
    while (last - first >= INSERTION_SORT_BELOW - 1) {
        const void *pivot = pointers[first + (last - first) / 2];
        int up = first;
        int down = last;
        do {
            while (up < last && pointers[up] != pivot && compare(pointers[up], pivot) < 0) {
                ++up;
            }
            while (down > first && pointers[down] != pivot && compare(pivot, pointers[down]) < 0) {
                --down;
            }
            if (up <= down) {
                std::swap(pointers[up], pointers[down]);
                ++up;
                --down;
            }
        } while (up <= down);
        // The shorter part first, the longer one in the next turn: the depth stays logarithmic.
        if (down - first <= last - up) {
            quick_sort(first, down, compare, pointers);
            first = up;
        } else {
            quick_sort(up, last, compare, pointers);
            last = down;
        }
    }
    insertion_sort(first, last, compare, pointers);
}

} // namespace

void sort_pointers(int count, sort_compare compare, const void **pointers) {
    quick_sort(0, count - 1, compare, pointers);
}

void sort_pointers_with_data(int count, sort_compare_with_data compare, const void **pointers,
                             void *extra) {
    quick_sort_with_data(0, count - 1, compare, pointers, extra);
}

void quick_sort_with_data(int first, int last, sort_compare_with_data compare,
                          const void **pointers, void *extra) {
    quick_sort(
        first, last,
        [compare, extra](const void *a, const void *b) { return compare(a, b, extra); }, pointers);
}
