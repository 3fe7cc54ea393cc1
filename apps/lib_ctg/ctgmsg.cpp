// The messages of a build.
#include "apps/lib_ctg/ctgmsg.h"

#include <cstdio>

namespace {

void print_duplicate(int number, const sort_entry &entry, const char *extension) {
    std::printf("Duplicate file %d: %s/%s%s%s.%s\n", number, target_dir, entry.path,
                entry.path[0] == '\0' ? "" : "/", entry.name, extension);
}

} // namespace

void report_root_not_set() {
    std::printf("Error: VEK_LIBRARY_DIR not set.\n");
}

void report_root_too_long() {
    std::printf("Error: VEK_LIBRARY_DIR has more than %d characters.\n", PFA_PATH_SIZE - 1);
}

void report_root_empty() {
    std::printf("Error: VEK_LIBRARY_DIR is set as null string\n");
}

void report_root_not_opened() {
    std::printf("Error: Could not open %s\n", target_dir);
    std::printf("       Please make sure directory is readable.\n");
}

void report_catalog_not_written() {
    std::printf("Error: No write permission to %s\n", target_dir);
    std::printf("       catalog file not generated.\n");
}

void report_no_access(const char *path) {
    std::printf("Warning: No access to %s\n", path);
}

void report_directory_loop(const char *path) {
    std::printf("Warning: Directory loop at %s\n", path);
}

void report_unreadable_entry(const char *directory) {
    std::printf("Warning: Could not read an entry of %s\n", directory);
}

void report_path_too_long(const char *directory, const char *name) {
    std::printf("Warning: Path too long: %s%s\n", directory, name);
}

void report_shortage(ctg_result result) {
    if (result == CTG_OUT_OF_MEMORY) {
        std::printf("Error: Out of memory, catalog file not generated.\n");
    } else if (result == CTG_TOO_MANY) {
        std::printf("Error: More than %d members, catalog file not generated.\n", MEMBER_LIMIT);
    }
}

void report_duplicate(const sort_entry &first, const sort_entry &second, const char *extension) {
    std::printf("Warning: Found duplicate filenames, %s of type %s,\n", second.name, extension);
    print_duplicate(1, first, extension);
    print_duplicate(2, second, extension);
    std::printf("Please rename either one of these files and regenerate the catalog again.\n");
}
