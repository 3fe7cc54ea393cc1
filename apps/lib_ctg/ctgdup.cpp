// The report of members that the catalog cannot tell apart.
#include "apps/lib_ctg/ctgdup.h"

#include "apps/lib_ctg/ctgcore.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctstrutil/char_case.h"

#include <cstdio>
#include <cstring>

namespace {

void print_file(int number, const sort_entry &entry, const char *extension) {
    std::printf("Duplicate file %d: %s/%s%s%s.%s\n", number, target_dir, entry.path,
                entry.path[0] == '\0' ? "" : "/", entry.name, extension);
}

void report_pair(const sort_entry &first, const sort_entry &second) {
    static char extension[PFA_PATH_SIZE];
    convert_to_lower(type_to_extension(second.type), extension);
    std::printf("Warning: Found duplicate filenames, %s of type %s,\n", second.name, extension);
    print_file(1, first, extension);
    print_file(2, second, extension);
    std::printf("Please rename either one of these files and regenerate the catalog again.\n");
}

} // namespace

// The list is sorted, so an entry's equals follow it directly.
void check_duplicates() {
    const int entries = xar_count(&sorted_list);
    for (int i = 0; i < entries; ++i) {
        const sort_entry &first = sorted_list[i];
        if (first.type <= 0) {
            continue;
        }
        for (int j = i + 1; j < entries; ++j) {
            const sort_entry &second = sorted_list[j];
            if (second.type != first.type || std::strcmp(second.name, first.name) != 0) {
                break;
            }
            report_pair(first, second);
        }
    }
}
