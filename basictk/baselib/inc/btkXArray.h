// The toolkit's growable array, in storage from malloc.
#pragma once

#include "basictk/baselib/inc/btkNew.h"

#include <type_traits>

constexpr int BTK_XARRAY_MIN_CAPACITY = 64;

// Untyped base. Elements are moved as bytes. The capacity is 64, 128, 256, ... elements. An
// operation returns false, and changes nothing, if an index or a count is out of range or there is
// no memory. Elements passed in must not lie in the array itself. Not locked.
class btkXArrayImpl : public btkAllocated {
  public:
    explicit btkXArrayImpl(int elementSize, int initialCapacity = BTK_XARRAY_MIN_CAPACITY);
    btkXArrayImpl(const btkXArrayImpl &) = delete;
    btkXArrayImpl &operator=(const btkXArrayImpl &) = delete;

    int Count() const { return count; }
    // In elements. 0 if there was no memory for the first storage; growth then tries again.
    int Capacity() const { return capacity; }
    // Returns the address of an element below Count(), valid until the array grows or shrinks.
    void *_Elem(int index) const { return data + static_cast<std::size_t>(index) * elementSize; }
    // Copies one element to the end.
    bool _Append(const void *element);

    // Inserts n elements before `index` (0 to Count()): copies, or zero bytes for null.
    virtual bool _Insert(int index, int n, const void *elements);
    // Removes n elements. The storage shrinks to the smallest capacity that holds the rest.
    virtual bool _Remove(int index, int n);
    // Overwrites n elements.
    virtual bool _Replace(int index, int n, const void *elements);
    // Removes all elements and keeps the smallest storage.
    virtual void _FreeAllElems();
    // Doubles the capacity until n more elements fit.
    virtual bool _Reallocate(int n);

  protected:
    ~btkXArrayImpl();

  private:
    bool SetCapacity(int newCapacity);
    bool IsRange(int index, int n) const;

    std::size_t elementSize;
    char *data = nullptr;
    int capacity = 0;
    int count = 0;
};

// An array of values that may be copied as bytes.
template <typename Element>
class btkXArray final : public btkXArrayImpl {
    static_assert(std::is_trivially_copyable_v<Element>);

  public:
    explicit btkXArray(int initialCapacity = BTK_XARRAY_MIN_CAPACITY)
        : btkXArrayImpl(static_cast<int>(sizeof(Element)), initialCapacity) {}

    Element &operator[](int index) { return static_cast<Element *>(_Elem(0))[index]; }
    const Element &operator[](int index) const { return static_cast<Element *>(_Elem(0))[index]; }
    bool Append(Element element) { return _Append(&element); }
};

// An array for elements whose first word is a pointer, their key, and how two keys compare: less,
// equal or greater as the result is negative, zero or positive.
class btkClassXArrayImpl final : public btkXArrayImpl {
  public:
    using Compare = int (*)(const void *left, const void *right);

    btkClassXArrayImpl(int element_size, Compare comparison)
        : btkXArrayImpl(element_size), compare(comparison) {}

    static int Cmp_Ptrs(const void *left, const void *right);     // by address
    static int Cmp_cStrings(const void *left, const void *right); // two texts, by strcmp

    const Compare compare;
};
