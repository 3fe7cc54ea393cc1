// The sorted list and the catalog file.
#include "apps/lib_ctg/ctgfile.h"

#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctwcfun/vek_vsprintf.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>

namespace {

constexpr char HEADER_LINE[] = "%-32s%-28d%-4d\n";
constexpr char MEMBER_LINE[] = "%-4d%-32s%-224s\n";
constexpr int MEMBER_LINE_LENGTH = 4 + 32 + 224;
constexpr std::size_t CATALOG_NAME_LENGTH = 31;

char *copy_text(const char *text) {
    auto *block = static_cast<char *>(getmem(PFA_PATH_SIZE));
    if (block != nullptr) {
        std::strcpy(block, text);
    }
    return block;
}

char *format_text(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    char *text = vek_vsprintf(nullptr, format, arguments);
    va_end(arguments);
    return text;
}

// The formatting engine keeps its buffer, so once it has held the longest line no later line can
// fail for want of memory, when half of the catalog may be written.
bool make_room_for_lines() {
    char longest[PFA_PATH_SIZE];
    std::memset(longest, 'x', sizeof longest - 1);
    longest[sizeof longest - 1] = '\0';
    return format_text(MEMBER_LINE, INT_MIN, longest, longest) != nullptr;
}

// Whether the record names path itself. Text with a host before the path is left to the layer.
bool is_named_by(vek_file *record, const char *path) {
    char name[PFA_PATH_SIZE];
    return path[0] != '/' || path[1] == '/' ||
           (pfa_get_full_name_mixed_case(record, name, 0) == PFA_E_NO_ERROR &&
            std::strcmp(name, path) == 0);
}

// What has the catalog's name must be a plain file: opening a FIFO would wait for a reader, a
// device would swallow the catalog, and a symbolic link would write to a file outside the root.
bool may_be_written(vek_file *record) {
    char name[PFA_PATH_SIZE];
    struct stat status;
    return pfa_get_file_name(record, PFA_OS_NAME, name) == PFA_E_NO_ERROR &&
           (lstat(name, &status) != 0 || S_ISREG(status.st_mode));
}

int open_catalog(vek_file *record, const char *name) {
    static char catalog_path[PFA_PATH_SIZE];
    const int length =
        std::snprintf(catalog_path, sizeof catalog_path, "%s/%s.ctg.1", target_dir, name);
    if (length < 0 || length >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_NAME;
    }
    const int status = pfa_parse_to_vek_file(record, catalog_path);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    if (!is_named_by(record, catalog_path) || !may_be_written(record)) {
        return PFA_E_INVALID_NAME;
    }
    return pfa_fopen(record, 0, binary_mode("w"));
}

void write_lines(vek_file *record, const char *name) {
    const int members = count_members();
    const int entries = xar_count(&sorted_list);
    (void)pfa_fprintf(record, HEADER_LINE, name, members, MEMBER_LINE_LENGTH);
    for (int k = 0; k < entries; ++k) {
        const sort_entry &entry = sorted_list[k];
        if (entry.type > 0) {
            (void)pfa_fprintf(record, MEMBER_LINE, entry.type, entry.name, entry.path);
        }
    }
    (void)pfa_fprintf(record, HEADER_LINE, name, members, MEMBER_LINE_LENGTH);
}

} // namespace

// The entries borrow the members' texts until they are sorted: copied then, the texts lie in memory
// in the order in which they are written and released.
ctg_result sort_catalog() {
    const int members = xar_count(&src_list);
    sorted_list = xar_alloc_of<sort_entry>(0, LIST_STEP);
    if (sorted_list == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    if (members == 0) {
        return CTG_DONE;
    }
    if (xar_extend(&sorted_list, members) == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    for (int k = 0; k < members; ++k) {
        sorted_list[k] = {src_list[k]->type, src_list[k]->name, src_list[k]->path};
    }
    std::qsort(sorted_list, members, sizeof(sort_entry), comp_func);
    for (int k = 0; k < members; ++k) {
        sort_entry &entry = sorted_list[k];
        entry.name = copy_text(entry.name);
        entry.path = copy_text(entry.path);
        if (entry.name == nullptr || entry.path == nullptr) {
            rlsmem(entry.name);
            rlsmem(entry.path);
            xar_shrink(&sorted_list, members - k);
            return CTG_OUT_OF_MEMORY;
        }
    }
    return CTG_DONE;
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
    int status = pfa_parse_to_vek_file(root, target_dir);
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

int count_members() {
    const int members = xar_count(&src_list);
    return static_cast<int>(std::count_if(src_list, src_list + members,
                                          [](const member_record *m) { return m->type >= 1; }));
}

ctg_result write_list(const char *name) {
    vek_file *record = nullptr;
    if (!make_room_for_lines() || pfa_alloc_vek_file(&record) != PFA_E_NO_ERROR) {
        return CTG_OUT_OF_MEMORY;
    }
    ctg_result result = CTG_DONE;
    const int status = open_catalog(record, name);
    if (status == PFA_E_NO_ERROR) {
        write_lines(record, name);
    } else if (status == PFA_E_OUT_OF_MEMORY) {
        result = CTG_OUT_OF_MEMORY;
    } else {
        report_catalog_not_written();
        result = CTG_FAILED;
    }
    (void)pfa_close(record);
    (void)pfa_free_vek_file(&record);
    return result;
}

void report_catalog_not_written() {
    std::printf("Error: No write permission to %s\n", target_dir);
    std::printf("       catalog file not generated.\n");
}
