// Object types: look-ups by extension and by type code.
#include "coretools/ctfileutil/objextension.h"

#include "coretools/ctfileutil/objextension_table_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/sort_pointers.h"
#include "coretools/ctstrutil/ascii.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
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

std::uint64_t key_of(const object_row &row) {
    return EXTENSION_KEYS[static_cast<std::size_t>(&row - object)];
}

int type_of(const object_row &row) {
    return row.type;
}

using row_pointer = const object_row *;

// Derived tables, made on first use and kept: the rows by extension (all but the default one) and
// by type code, equal ones in the table's order.
std::atomic<row_pointer *> sorted_ext_table{nullptr};
std::atomic<row_pointer *> sorted_type_table{nullptr};
constexpr int sorted_ext_count = OBJECT_COUNT - 1;

// The rows of the last type and of the last extension that were found.
std::atomic<row_pointer> remembered_row{FIRST_ROW};
std::atomic<row_pointer> remembered_extension{FIRST_ROW};

// Orders two rows by a key, equal ones by their places in the table.
template <auto key_of_row>
int compare_rows(const void *a, const void *b) {
    const auto *left = static_cast<row_pointer>(a);
    const auto *right = static_cast<row_pointer>(b);
    if (key_of_row(*left) != key_of_row(*right)) {
        return key_of_row(*left) < key_of_row(*right) ? -1 : 1;
    }
    return left < right ? -1 : static_cast<int>(left > right);
}

constexpr sort_compare obj_ext_cmp_exts = compare_rows<key_of>;
constexpr sort_compare obj_ext_cmp_types = compare_rows<type_of>;

// The first `count` rows, sorted; null without memory. Of two threads that make a table at once,
// one publishes its own and the other takes that one.
const row_pointer *sorted_table(std::atomic<row_pointer *> *table, int count,
                                sort_compare compare) {
    row_pointer *existing = table->load(std::memory_order_acquire);
    if (existing != nullptr) {
        return existing;
    }
    void *block = getmem_null(OBJECT_COUNT * static_cast<int>(sizeof(void *)));
    if (block == nullptr) {
        return nullptr;
    }
    const auto **pointers = static_cast<const void **>(block);
    for (int i = 0; i < count; ++i) {
        pointers[i] = &object[i];
    }
    sort_pointers(count, compare, pointers);
    auto *sorted = static_cast<row_pointer *>(block);
    if (!table->compare_exchange_strong(existing, sorted, std::memory_order_acq_rel)) {
        rlsmem(block);
        return existing;
    }
    return sorted;
}

// The first row with the key, or null. Without a sorted table the rows themselves are searched.
template <auto key_of_row, class Key>
row_pointer first_row(const row_pointer *sorted, int count, Key key) {
    if (sorted == nullptr) {
        const row_pointer end = FIRST_ROW + count;
        const row_pointer row = std::find_if(
            FIRST_ROW, end, [key](const object_row &at) { return key_of_row(at) == key; });
        return row != end ? row : nullptr;
    }
    const row_pointer *end = sorted + count;
    const row_pointer *row =
        std::partition_point(sorted, end, [key](row_pointer at) { return key_of_row(*at) < key; });
    return row != end && key_of_row(**row) == key ? *row : nullptr;
}

row_pointer row_of_type(int type) {
    row_pointer row = remembered_row.load(std::memory_order_relaxed);
    if (row->type == type) {
        return row;
    }
    row = first_row<type_of>(sorted_table(&sorted_type_table, OBJECT_COUNT, obj_ext_cmp_types),
                             OBJECT_COUNT, type);
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
    row = first_row<key_of>(sorted_table(&sorted_ext_table, sorted_ext_count, obj_ext_cmp_exts),
                            sorted_ext_count, key);
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
