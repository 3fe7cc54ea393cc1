// Object types: look-ups by extension and by type code.
#include "coretools/ctfileutil/objextension.h"

#include "coretools/ctfileutil/objextension_table_internal.h"
#include "coretools/ctstrutil/ascii.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <iterator>

namespace {

constexpr const object_row *FIRST_ROW = std::begin(object);
constexpr const object_row *DEFAULT_ROW = std::end(object) - 1;
static_assert(DEFAULT_ROW->type == OBJ_TYPE_DEFAULT);

// An extension in upper case as a number, ordered as the texts are. False if it is too long.
constexpr bool make_key(const char *extension, std::uint64_t *key) {
    *key = 0;
    for (std::size_t i = 0; i < sizeof *key; ++i) {
        *key = *key << 8 | static_cast<unsigned char>(to_upper_letter(*extension));
        extension += *extension != '\0' ? 1 : 0;
    }
    return *extension == '\0';
}

static_assert(std::all_of(std::begin(object), std::end(object), [](const object_row &row) {
    std::uint64_t key = 0;
    return make_key(row.extension, &key);
}));

constexpr auto EXTENSION_KEYS = [] {
    std::array<std::uint64_t, OBJECT_COUNT> keys{};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        make_key(object[i].extension, &keys[i]);
    }
    return keys;
}();

constexpr std::uint64_t key_of(const object_row &row) {
    return EXTENSION_KEYS[static_cast<std::size_t>(&row - object)];
}

constexpr int type_of(const object_row &row) {
    return row.type;
}

using row_pointer = const object_row *;

// The first COUNT rows ordered by a key, equal ones as in the table.
template <auto key_of_row, std::size_t COUNT>
constexpr std::array<row_pointer, COUNT> sorted_rows() {
    std::array<row_pointer, COUNT> rows{};
    for (std::size_t i = 0; i < COUNT; ++i) {
        rows[i] = &object[i];
    }
    std::sort(rows.begin(), rows.end(), [](row_pointer left, row_pointer right) {
        const auto left_key = key_of_row(*left);
        const auto right_key = key_of_row(*right);
        return left_key != right_key ? left_key < right_key : left < right;
    });
    return rows;
}

// All but the default row by extension, and all by type code.
constexpr auto sorted_ext_table = sorted_rows<key_of, OBJECT_COUNT - 1>();
constexpr auto sorted_type_table = sorted_rows<type_of, OBJECT_COUNT>();

// The first row with the key, or null.
template <auto key_of_row, class Rows, class Key>
row_pointer first_row(const Rows &sorted, Key key) {
    const auto row = std::partition_point(sorted.begin(), sorted.end(),
                                          [key](row_pointer at) { return key_of_row(*at) < key; });
    return row != sorted.end() && key_of_row(**row) == key ? *row : nullptr;
}

// The rows of the last type and of the last extension that were found.
std::atomic<row_pointer> remembered_row{FIRST_ROW};
std::atomic<row_pointer> remembered_extension{FIRST_ROW};

row_pointer row_of_type(int type) {
    row_pointer row = remembered_row.load(std::memory_order_relaxed);
    if (row->type == type) {
        return row;
    }
    row = first_row<type_of>(sorted_type_table, type);
    if (row == nullptr) {
        return DEFAULT_ROW;
    }
    remembered_row.store(row, std::memory_order_relaxed);
    return row;
}

} // namespace

int extension_to_type(const char *extension) {
    std::uint64_t key = 0;
    if (extension == nullptr || !make_key(extension, &key)) {
        return OBJ_TYPE_UNKNOWN_EXTENSION;
    }
    row_pointer row = remembered_extension.load(std::memory_order_relaxed);
    if (key_of(*row) == key) {
        return row->type;
    }
    row = first_row<key_of>(sorted_ext_table, key);
    if (row == nullptr) {
        return OBJ_TYPE_UNKNOWN_EXTENSION;
    }
    remembered_extension.store(row, std::memory_order_relaxed);
    return row->type;
}

const char *type_to_extension(int type) {
    return row_of_type(type)->extension;
}

int type_to_name_length(int type) {
    return row_of_type(type)->name_length;
}

int type_to_mixed_case_OK(int type) {
    return (row_of_type(type)->name_rules & LOWERED) == 0 ? 1 : 0;
}

int type_to_weird_chars_OK(int type) {
    return (row_of_type(type)->name_rules & WEIRD) != 0 ? 1 : 0;
}
