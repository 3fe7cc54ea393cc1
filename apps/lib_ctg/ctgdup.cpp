// The report of members that the catalog cannot tell apart.
#include "apps/lib_ctg/ctgdup.h"

#include "apps/lib_ctg/ctgmsg.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctstrutil/char_case.h"

#include <cstring>

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
            static char extension[PFA_PATH_SIZE];
            convert_to_lower(type_to_extension(second.type), extension);
            report_duplicate(first, second, extension);
        }
    }
}
