// Checks the layout of an extensible array.
#pragma once

#include <algorithm>

#include <gtest/gtest.h>

#include "coretools/ctmemmgr/xar_layout.h"

inline int xar_capacity(const void *elements) {
    xar_header *header = xar_header_of(elements);
    return xar_element_bytes(header) / header->element_size;
}

// Header and trailer, the count, and zero bytes behind the elements in use.
inline void check_xar(const void *elements) {
    ASSERT_TRUE(xar_is_valid(elements));
    xar_header *header = xar_header_of(elements);
    const int count = xar_trailer_of(header)->count;
    ASSERT_TRUE(count >= 0 && count <= xar_capacity(elements));
    const char *bytes = static_cast<const char *>(elements);
    EXPECT_TRUE(std::all_of(bytes + count * header->element_size, bytes + xar_element_bytes(header),
                            [](char c) { return c == 0; }));
}
