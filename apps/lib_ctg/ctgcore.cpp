// The catalog driver.
#include "apps/lib_ctg/ctgcore.h"

#include "apps/lib_ctg/ctgdup.h"
#include "apps/lib_ctg/ctgfile.h"
#include "apps/lib_ctg/ctgmsg.h"
#include "apps/lib_ctg/ctgroot.h"
#include "apps/lib_ctg/ctgscan.h"

#include <cstring>

namespace {

// A root that cannot be opened still gets an empty catalog, so that no stale one is left to
// mislead.
ctg_result build_catalog(const library_root &root) {
    src_list = xar_alloc_of<member_record *>(0, LIST_STEP);
    if (src_list == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    const ctg_result scanned = scan_dir(root.text, root.prefix_length);
    if (scanned < CTG_FAILED) {
        return scanned;
    }
    const ctg_result sorted = sort_catalog();
    if (sorted != CTG_DONE) {
        return sorted;
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

} // namespace

int make_catalog_file(char *root) {
    const std::size_t length = std::strlen(root);
    if (length > 0 && root[length - 1] == '/') {
        root[length - 1] = '\0';
    }
    library_root resolved;
    ctg_result result = resolve_root(root, &resolved);
    std::strcpy(target_dir, resolved.text);
    if (target_dir[0] == '\0') {
        report_root_empty();
        return 0;
    }
    if (result == CTG_FAILED) {
        report_root_not_opened();
        report_catalog_not_written();
        return 0;
    }
    if (result == CTG_DONE) {
        result = build_catalog(resolved);
    }
    report_shortage(result);
    release_memory_used();
    xar_free(&src_list);
    xar_free(&sorted_list);
    return result == CTG_DONE ? 1 : 0;
}
