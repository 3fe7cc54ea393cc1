// Object types: look-ups by extension and by type code.
#include "coretools/ctfileutil/objextension.h"

#include "coretools/ctfileutil/objextension_table_internal.h"
#include "coretools/ctstrutil/ascii.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <compare>
#include <cstdint>
#include <iterator>

namespace {

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

constexpr std::uint64_t extension_key(const object_row &row) {
    std::uint64_t key = 0;
    make_key(row.extension, &key);
    return key;
}

constexpr int type_code(const object_row &row) {
    return row.type;
}

// Ordered by key, rows with equal keys as they are in the table.
template <class Key>
struct keyed_row {
    Key key;
    const object_row *row;
    auto operator<=>(const keyed_row &) const = default;
};

// The first COUNT rows of the table, sorted.
template <std::size_t COUNT, class Key>
constexpr auto sorted_rows(Key (*key_of)(const object_row &)) {
    std::array<keyed_row<Key>, COUNT> rows{};
    for (std::size_t i = 0; i < COUNT; ++i) {
        rows[i] = {key_of(object[i]), &object[i]};
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

// All but the default row by extension, and all by type code.
constexpr auto sorted_ext_table = sorted_rows<OBJECT_COUNT - 1>(extension_key);
constexpr auto sorted_type_table = sorted_rows<OBJECT_COUNT>(type_code);

// The first row with the key, or null. The row that was found last is tried first.
template <const auto &SORTED, class Key>
const object_row *find_row(Key key) {
    static constinit std::atomic<const keyed_row<Key> *> last{SORTED.data()};
    const keyed_row<Key> *found = last.load(std::memory_order_relaxed);
    if (found->key != key) {
        found = std::partition_point(SORTED.begin(), SORTED.end(),
                                     [key](const keyed_row<Key> &at) { return at.key < key; });
        if (found == SORTED.end() || found->key != key) {
            return nullptr;
        }
        last.store(found, std::memory_order_relaxed);
    }
    return found->row;
}

const object_row *row_of_type(int type) {
    const object_row *row = find_row<sorted_type_table>(type);
    return row != nullptr ? row : DEFAULT_ROW;
}

} // namespace

int extension_to_type(const char *extension) {
    std::uint64_t key = 0;
    if (extension == nullptr || !make_key(extension, &key)) {
        return OBJ_TYPE_UNKNOWN_EXTENSION;
    }
    const object_row *row = find_row<sorted_ext_table>(key);
    return row != nullptr ? row->type : OBJ_TYPE_UNKNOWN_EXTENSION;
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
