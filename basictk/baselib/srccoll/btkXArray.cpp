// The growable array and its ordered form.
#include "basictk/baselib/inc/btkXArray.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace {

// Returns the first capacity of the series, from `from` on, that holds n; 0 if it exceeds INT_MAX.
int capacity_for(int n, int from) {
    std::int64_t fit = std::max(from, BTK_XARRAY_MIN_CAPACITY);
    while (fit < n) {
        fit *= 2;
    }
    return fit <= INT_MAX ? static_cast<int>(fit) : 0;
}

} // namespace

btkXArrayImpl::btkXArrayImpl(int element_size, int initial_capacity)
    : elementSize(static_cast<std::size_t>(element_size)) {
    SetCapacity(capacity_for(initial_capacity, 0));
}

btkXArrayImpl::~btkXArrayImpl() {
    std::free(data);
}

bool btkXArrayImpl::SetCapacity(int newCapacity) {
    const std::size_t elements = static_cast<std::size_t>(newCapacity);
    if (elements == 0 || elements > SIZE_MAX / elementSize) {
        return false;
    }
    void *moved = std::realloc(data, elements * elementSize);
    if (moved == nullptr) {
        return false;
    }
    data = static_cast<char *>(moved);
    capacity = newCapacity;
    return true;
}

bool btkXArrayImpl::IsRange(int index, int n) const {
    return index >= 0 && n >= 0 && index <= count && n <= count - index;
}

bool btkXArrayImpl::_Append(const void *element) {
    if (count >= capacity && !_Reallocate(1)) {
        return false;
    }
    std::memcpy(_Elem(count), element, elementSize);
    ++count;
    return true;
}

bool btkXArrayImpl::_Insert(int index, int n, const void *elements) {
    if (n < 0 || !IsRange(index, 0) || !_Reallocate(n)) {
        return false;
    }
    char *place = static_cast<char *>(_Elem(index));
    const std::size_t bytes = static_cast<std::size_t>(n) * elementSize;
    std::memmove(place + bytes, place, static_cast<std::size_t>(count - index) * elementSize);
    if (elements != nullptr) {
        std::memcpy(place, elements, bytes);
    } else {
        std::memset(place, 0, bytes);
    }
    count += n;
    return true;
}

bool btkXArrayImpl::_Remove(int index, int n) {
    if (!IsRange(index, n)) {
        return false;
    }
    if (const int behind = count - index - n; behind != 0) {
        std::memmove(_Elem(index), _Elem(index + n),
                     static_cast<std::size_t>(behind) * elementSize);
    }
    count -= n;
    const int fit = capacity_for(count, 0);
    if (fit < capacity) {
        SetCapacity(fit); // the old storage serves as well when it cannot shrink
    }
    return true;
}

bool btkXArrayImpl::_Replace(int index, int n, const void *elements) {
    if (!IsRange(index, n)) {
        return false;
    }
    if (n != 0) {
        std::memcpy(_Elem(index), elements, static_cast<std::size_t>(n) * elementSize);
    }
    return true;
}

void btkXArrayImpl::_FreeAllElems() {
    _Remove(0, count);
}

bool btkXArrayImpl::_Reallocate(int n) {
    if (n < 0 || n > INT_MAX - count) {
        return false;
    }
    const int fit = capacity_for(count + n, capacity);
    return fit != 0 && (fit == capacity || SetCapacity(fit));
}

int btkClassXArrayImpl::Cmp_Ptrs(const void *left, const void *right) {
    if (left == right) {
        return 0;
    }
    return std::less<>{}(left, right) ? -1 : 1;
}

int btkClassXArrayImpl::Cmp_cStrings(const void *left, const void *right) {
    return std::strcmp(static_cast<const char *>(left), static_cast<const char *>(right));
}
