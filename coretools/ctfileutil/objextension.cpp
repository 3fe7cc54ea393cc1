// Object types: what a file's extension says it is, and how its name may look.
#include "coretools/ctfileutil/objextension.h"

#include "coretools/ctfileutil/objextension_table.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/sort_pointers.h"
#include "coretools/ctstrutil/char_case.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

constexpr const object_row *FIRST_ROW = std::begin(object);
constexpr const object_row *DEFAULT_ROW = std::end(object) - 1;

constexpr int WEIRD_CHARS_TYPES[] = {134, 183, 819, 832, 1002, 1006};

constexpr std::size_t EXTENSION_SIZE = 260;

// An upper-case key is compared with the rows as they are.
static_assert(std::all_of(std::begin(object), std::end(object), [](const object_row &row) {
    return std::none_of(row.extension, row.extension + std::string_view(row.extension).size(),
                        [](char character) { return character >= 'a' && character <= 'z'; });
}));

using row_pointer = const object_row *;

// Derived tables, made when first needed and kept: the rows by extension (all but the default one)
// and the rows by type code, equal ones in the table's order.
std::atomic<row_pointer *> sorted_ext_table{nullptr};
std::atomic<row_pointer *> sorted_type_table{nullptr};
constexpr int sorted_ext_count = OBJECT_COUNT - 1;

// The row of the last type that was found.
std::atomic<row_pointer> remembered_row{FIRST_ROW};

} // namespace

static int in_table_order(row_pointer a, row_pointer b) {
    return a < b ? -1 : a > b;
}

static int obj_ext_cmp_exts(const void *a, const void *b) {
    const auto *row_a = static_cast<row_pointer>(a);
    const auto *row_b = static_cast<row_pointer>(b);
    const int order = std::strcmp(row_a->extension, row_b->extension);
    return order != 0 ? order : in_table_order(row_a, row_b);
}

static int obj_ext_cmp_types(const void *a, const void *b) {
    const auto *row_a = static_cast<row_pointer>(a);
    const auto *row_b = static_cast<row_pointer>(b);
    if (row_a->type != row_b->type) {
        return row_a->type < row_b->type ? -1 : 1;
    }
    return in_table_order(row_a, row_b);
}

// The first count rows, sorted; null without memory. Of two threads that make a table at once, one
// publishes its own and the other takes that one.
static const row_pointer *sorted_table(std::atomic<row_pointer *> *table, int count,
                                       sort_compare compare) {
    row_pointer *existing = table->load(std::memory_order_acquire);
    if (existing != nullptr) {
        return existing;
    }
    void *block = getmem_null(OBJECT_COUNT * static_cast<int>(sizeof(row_pointer)));
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

// The first of the rows for which order(row) is 0, or null. The derived table must be sorted by
// order; without one the rows themselves are walked.
template <class Order>
static row_pointer first_row(const row_pointer *sorted, int count, Order order) {
    if (sorted == nullptr) {
        const row_pointer end = FIRST_ROW + count;
        const row_pointer row = std::find_if(
            FIRST_ROW, end, [order](const object_row &candidate) { return order(candidate) == 0; });
        return row != end ? row : nullptr;
    }
    const row_pointer *end = sorted + count;
    const row_pointer *row = std::partition_point(
        sorted, end, [order](row_pointer candidate) { return order(*candidate) < 0; });
    return row != end && order(**row) == 0 ? *row : nullptr;
}

int extension_to_type(const char *extension) {
    if (extension == nullptr || strnlen(extension, EXTENSION_SIZE) == EXTENSION_SIZE) {
        return OBJ_TYPE_UNKNOWN_EXTENSION;
    }
    char key[EXTENSION_SIZE];
    vek_cnvrt_to_upper(extension, key);
    const row_pointer row = first_row(
        sorted_table(&sorted_ext_table, sorted_ext_count, obj_ext_cmp_exts), sorted_ext_count,
        [&key](const object_row &candidate) { return std::strcmp(candidate.extension, key); });
    return row != nullptr ? row->type : OBJ_TYPE_UNKNOWN_EXTENSION;
}

static row_pointer row_of_type(int type) {
    row_pointer row = remembered_row.load(std::memory_order_relaxed);
    if (row->type == type) {
        return row;
    }
    row = first_row(sorted_table(&sorted_type_table, OBJECT_COUNT, obj_ext_cmp_types), OBJECT_COUNT,
                    [type](const object_row &candidate) {
                        return candidate.type < type ? -1 : candidate.type > type;
                    });
    if (row == nullptr) {
        return DEFAULT_ROW;
    }
    remembered_row.store(row, std::memory_order_relaxed);
    return row;
}

const char *type_to_extension(int type) {
    return row_of_type(type)->extension;
}

int type_to_name_length(int type) {
    return row_of_type(type)->name_length;
}

int type_to_mixed_case_OK(int type) {
    return row_of_type(type)->mixed_case_OK;
}

int type_to_weird_chars_OK(int type) {
    return std::find(std::begin(WEIRD_CHARS_TYPES), std::end(WEIRD_CHARS_TYPES), type) !=
           std::end(WEIRD_CHARS_TYPES);
}
