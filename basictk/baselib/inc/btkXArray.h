// The toolkit's growable array: elements of one size in storage of the C library.
#pragma once

#include "basictk/baselib/inc/btkNew.h"

#include <type_traits>

constexpr int BTK_XARRAY_MIN_CAPACITY = 64;

// Untyped base. Elements are moved as bytes. The capacity runs through 64, 128, 256, ... elements.
// Indexes and counts are checked: an operation that is given a wrong one, or finds no memory,
// answers false and has changed nothing. Elements handed in must not lie in the array itself.
// No locking.
class btkXArrayImpl : public btkAllocated {
  public:
    explicit btkXArrayImpl(int elementSize, int initialCapacity = BTK_XARRAY_MIN_CAPACITY);
    btkXArrayImpl(const btkXArrayImpl &) = delete;
    btkXArrayImpl &operator=(const btkXArrayImpl &) = delete;

    int Count() const { return count; }
    // 0 when there was no memory for the first storage: growth then tries again.
    int Capacity() const { return capacity; }
    // The address of an element below Count(), valid until the array grows or shrinks.
    void *_Elem(int index) const { return data + static_cast<std::size_t>(index) * elementSize; }
    // Copies one element to the end.
    bool _Append(const void *element);

    // Opens room for n elements before index (up to Count()) and copies them in; null clears them.
    virtual bool _Insert(int index, int n, const void *elements);
    // Takes n elements out; the storage shrinks to the smallest capacity that holds the rest.
    virtual bool _Remove(int index, int n);
    // Overwrites n elements.
    virtual bool _Replace(int index, int n, const void *elements);
    // Takes all elements out and keeps the smallest storage.
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

// An array kept in order. The first word of each element is a pointer, the key; the comparison
// is called with two keys and answers a negative, zero or positive number.
class btkClassXArrayImpl final : public btkXArrayImpl {
  public:
    using Compare = int (*)(const void *left, const void *right);

    btkClassXArrayImpl(int element_size, Compare comparison)
        : btkXArrayImpl(element_size), compare(comparison) {}

    static int Cmp_Ptrs(const void *left, const void *right);     // by address
    static int Cmp_cStrings(const void *left, const void *right); // two texts, by strcmp

    // The index of the first element whose key is not before the given one; found tells whether
    // it is equal.
    int Find(const void *key, bool *found) const;
    // Inserts an element at its place: false also when an element of this key is there already.
    bool Add(const void *element);

  private:
    const void *KeyOf(const void *element) const;

    Compare compare;
};
