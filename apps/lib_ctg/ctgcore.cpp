// The catalog driver: one build from the root to the duplicate report.
#include "apps/lib_ctg/ctgcore.h"

#include "apps/lib_ctg/ctgdup.h"
#include "apps/lib_ctg/ctgfile.h"
#include "apps/lib_ctg/ctgroot.h"
#include "apps/lib_ctg/ctgscan.h"
#include "coretools/ctmemmgr/getmem.h"

#include <cstdio>
#include <cstring>

member_record **src_list;
sort_entry *sorted_list;
char target_dir[PFA_PATH_SIZE];

namespace {

// A root that cannot be opened still gets an empty catalog, so that no stale one is left to
// mislead.
ctg_result build_catalog(int root_prefix_length) {
    const ctg_result scanned = scan_dir(target_dir, root_prefix_length);
    if (scanned < CTG_FAILED) {
        return scanned;
    }
    if (sort_catalog() != CTG_DONE) {
        return CTG_OUT_OF_MEMORY;
    }
    const char *name = form_catalog_file();
    if (name == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    const ctg_result written = write_list(name);
    if (written == CTG_DONE && scanned == CTG_DONE) {
        check_duplicates();
        return CTG_DONE;
    }
    return std::min(written, CTG_FAILED);
}

void report_shortage(ctg_result result) {
    if (result == CTG_OUT_OF_MEMORY) {
        std::printf("Error: Out of memory, catalog file not generated.\n");
    } else if (result == CTG_TOO_MANY) {
        std::printf("Error: More than %d members, catalog file not generated.\n", MEMBER_LIMIT);
    }
}

} // namespace

int make_catalog_file(char *root) {
    const std::size_t length = std::strlen(root);
    if (length > 0 && root[length - 1] == '/') {
        root[length - 1] = '\0';
    }
    int root_prefix_length = 0;
    ctg_result result = CTG_DONE;
    if (root[0] == '\0') {
        target_dir[0] = '\0';
    } else {
        result = resolve_root(root, target_dir, &root_prefix_length);
    }
    if (target_dir[0] == '\0') {
        std::printf("Error: VEK_LIBRARY_DIR is set as null string\n");
        return 0;
    }
    if (result == CTG_FAILED) {
        report_root_not_opened();
        report_catalog_not_written();
        return 0;
    }
    if (result == CTG_DONE) {
        src_list = xar_alloc_of<member_record *>(0, LIST_STEP);
        result = src_list == nullptr ? CTG_OUT_OF_MEMORY : build_catalog(root_prefix_length);
    }
    report_shortage(result);
    release_memory_used();
    xar_free(&src_list);
    xar_free(&sorted_list);
    return result == CTG_DONE ? 1 : 0;
}

void release_memory_used() {
    const int members = xar_count(&src_list);
    for (int k = 0; k < members; ++k) {
        rlsmem(src_list[k]);
    }
    const int entries = xar_count(&sorted_list);
    for (int k = 0; k < entries; ++k) {
        rlsmem(sorted_list[k].name);
        rlsmem(sorted_list[k].path);
    }
}
