// The sorted list and the catalog file.
#include "apps/lib_ctg/ctgfile.h"

#include "apps/lib_ctg/ctgmsg.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "coretools/ctwcfun/vek_vsprintf.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

namespace {

constexpr char HEADER_LINE[] = "%-32s%-28d%-4d\n";
constexpr char MEMBER_LINE[] = "%-4d%-32s%-224s\n";
constexpr int MEMBER_LINE_LENGTH = 4 + 32 + 224;
constexpr std::size_t CATALOG_NAME_LENGTH = 31;

// A member's place in the order, beside the list. Most comparisons end at the first bytes and need
// not follow a pointer into a member's block.
struct sort_key {
    std::uint64_t first_bytes; // of the name, behind what all names begin with; big-endian
    std::int32_t type;
    std::int32_t member; // index into src_list
};

// Length of what the names of all members begin with.
std::size_t shared_prefix_length(int members) {
    const char *first = src_list[0]->name;
    const char *end = first + std::strlen(first);
    for (int k = 1; k < members; ++k) {
        end = std::mismatch(first, end, src_list[k]->name).first;
    }
    return static_cast<std::size_t>(end - first);
}

std::uint64_t first_bytes_of(const char *text) {
    std::uint64_t number = 0;
    for (int shift = 56; shift >= 0 && *text != '\0'; shift -= 8, ++text) {
        number |= std::uint64_t{static_cast<unsigned char>(*text)} << shift;
    }
    return number;
}

sort_entry entry_of(int member) {
    member_record *record = src_list[member];
    return {record->type, record->name, record->path};
}

bool comes_before(const sort_key &first, const sort_key &second) {
    if (first.type != second.type) {
        return first.type < second.type;
    }
    if (first.first_bytes != second.first_bytes) {
        return first.first_bytes < second.first_bytes;
    }
    const sort_entry a = entry_of(first.member);
    const sort_entry b = entry_of(second.member);
    return comp_func(&a, &b) < 0;
}

// Fills sorted_list, which has an element for each member, in order. The entries still borrow the
// members' texts. False without memory. The keys are released before the texts are copied, when a
// run needs most memory.
bool fill_in_order(int members) {
    auto *keys = static_cast<sort_key *>(getmem(members * static_cast<int>(sizeof(sort_key))));
    if (keys == nullptr) {
        return false;
    }
    const std::size_t prefix = shared_prefix_length(members);
    for (int k = 0; k < members; ++k) {
        keys[k] = {first_bytes_of(src_list[k]->name + prefix), src_list[k]->type, k};
    }
    std::sort(keys, keys + members, comes_before);
    for (int k = 0; k < members; ++k) {
        sorted_list[k] = entry_of(keys[k].member);
    }
    rlsmem(keys);
    return true;
}

char *copy_text(const char *text) {
    auto *block = static_cast<char *>(getmem(PFA_PATH_SIZE));
    if (block != nullptr) {
        std::strcpy(block, text);
    }
    return block;
}

// Gives the entries texts of their own, which then lie in memory in the order in which they are
// written and released. False without memory: the list then ends behind the entry that failed.
bool copy_texts(int members) {
    for (int k = 0; k < members; ++k) {
        sort_entry &entry = sorted_list[k];
        entry = {entry.type, copy_text(entry.name), copy_text(entry.path)};
        if (entry.name == nullptr || entry.path == nullptr) {
            xar_shrink(&sorted_list, members - k - 1);
            return false;
        }
    }
    return true;
}

constexpr int BLOCK_SIZE = 65536;
constexpr int LONGEST_LINE = 11 + 2 * PFA_PATH_SIZE; // a number, two texts and the line feed

// The open catalog, written in large blocks: a network file system forces every write to its store.
struct catalog_stream {
    vek_file *record;
    int used; // bytes of block
    char block[BLOCK_SIZE + LONGEST_LINE];
};

void write_block(catalog_stream *catalog) {
    (void)pfa_write_file(catalog->record, catalog->used, catalog->block);
    catalog->used = 0;
}

void add_line(catalog_stream *catalog, const char *format, ...) {
    char *line = catalog->block + catalog->used;
    std::va_list arguments;
    va_start(arguments, format);
    if (vek_vsprintf(line, format, arguments) != nullptr) {
        catalog->used += static_cast<int>(std::strlen(line));
    }
    va_end(arguments);
    if (catalog->used >= BLOCK_SIZE) {
        write_block(catalog);
    }
}

// The formatting engine keeps its buffer: once it has held the longest line no later line can fail
// for lack of memory, when half of the catalog may be written.
bool make_room_for_lines(catalog_stream *catalog) {
    char longest[PFA_PATH_SIZE];
    std::memset(longest, 'x', sizeof longest - 1);
    longest[sizeof longest - 1] = '\0';
    add_line(catalog, MEMBER_LINE, INT_MIN, longest, longest);
    const bool has_room = catalog->used > 0;
    catalog->used = 0;
    return has_room;
}

void write_lines(catalog_stream *catalog, const char *name) {
    const int members = count_members();
    const int entries = xar_count(&sorted_list);
    add_line(catalog, HEADER_LINE, name, members, MEMBER_LINE_LENGTH);
    for (int k = 0; k < entries; ++k) {
        const sort_entry &entry = sorted_list[k];
        if (entry.type > 0) {
            add_line(catalog, MEMBER_LINE, entry.type, entry.name, entry.path);
        }
    }
    add_line(catalog, HEADER_LINE, name, members, MEMBER_LINE_LENGTH);
    write_block(catalog);
}

// What has the catalog's name must be a plain file: opening a FIFO would wait for a reader, a
// device would swallow the catalog, and a symbolic link would write to a file outside the root.
bool may_be_written(vek_file *record) {
    char name[PFA_PATH_SIZE];
    struct stat status;
    return pfa_get_file_name(record, PFA_OS_NAME, name) == PFA_E_NO_ERROR &&
           (lstat(name, &status) != 0 || S_ISREG(status.st_mode));
}

pfa_status open_catalog(vek_file *record, const char *name) {
    static char catalog_path[PFA_PATH_SIZE];
    const int length =
        std::snprintf(catalog_path, sizeof catalog_path, "%s/%s.ctg.1", target_dir, name);
    if (length < 0 || length >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_NAME;
    }
    const pfa_status status = pfa_parse_to_vek_file(record, catalog_path);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    // No method tells how long the location in front of a path was: text with a host is left to the
    // layer.
    const bool has_host = catalog_path[0] != '/' || catalog_path[1] == '/';
    if ((!has_host && !pfa_is_named(record, catalog_path)) || !may_be_written(record)) {
        return PFA_E_INVALID_NAME;
    }
    const pfa_status opened = pfa_fopen(record, PFA_OWN_VERSION, binary_mode("w"));
    if (opened == PFA_E_NO_ERROR) {
        // A buffer in the stream would cut the blocks up.
        pfaloc_call_FLP(record, PfaSetbuf, nullptr);
    }
    return opened;
}

} // namespace

ctg_result sort_catalog() {
    const int members = xar_count(&src_list);
    sorted_list = xar_alloc_of<sort_entry>(members, LIST_STEP);
    if (sorted_list == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    if (members == 0) {
        return CTG_DONE;
    }
    return fill_in_order(members) && copy_texts(members) ? CTG_DONE : CTG_OUT_OF_MEMORY;
}

int comp_func(const void *first, const void *second) {
    const auto *a = static_cast<const sort_entry *>(first);
    const auto *b = static_cast<const sort_entry *>(second);
    if (a->type != b->type) {
        const std::int64_t difference = std::int64_t{a->type} - b->type;
        return static_cast<int>(std::clamp<std::int64_t>(difference, INT_MIN, INT_MAX));
    }
    const int order = std::strcmp(a->name, b->name);
    return order != 0 ? order : std::strcmp(a->path, b->path);
}

const char *form_catalog_file() {
    static char name[PFA_PATH_SIZE];
    name[0] = '\0';
    vek_file *root = nullptr;
    if (pfa_alloc_vek_file(&root) != PFA_E_NO_ERROR) {
        return nullptr;
    }
    pfa_status status = pfa_parse_to_vek_file(root, target_dir);
    if (status == PFA_E_NO_ERROR) {
        status = pfa_get_file_name(root, PFA_NAME_AND_EXTENSION, name);
    }
    (void)pfa_free_vek_file(&root);
    if (status == PFA_E_OUT_OF_MEMORY) {
        return nullptr;
    }
    name[std::min(std::strlen(name), CATALOG_NAME_LENGTH)] = '\0';
    std::replace(name, name + std::strlen(name), '.', '_');
    return name;
}

ctg_result write_list(const char *name) {
    catalog_stream catalog;
    catalog.record = nullptr;
    catalog.used = 0;
    if (!make_room_for_lines(&catalog) || pfa_alloc_vek_file(&catalog.record) != PFA_E_NO_ERROR) {
        return CTG_OUT_OF_MEMORY;
    }
    ctg_result result = CTG_DONE;
    const pfa_status status = open_catalog(catalog.record, name);
    if (status == PFA_E_NO_ERROR) {
        write_lines(&catalog, name);
    } else if (status == PFA_E_OUT_OF_MEMORY) {
        result = CTG_OUT_OF_MEMORY;
    } else {
        report_catalog_not_written();
        result = CTG_FAILED;
    }
    (void)pfa_close(catalog.record);
    (void)pfa_free_vek_file(&catalog.record);
    return result;
}
