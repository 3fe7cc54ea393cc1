// What the steps of a build share.
#include "apps/lib_ctg/ctglists.h"

#include "coretools/ctmemmgr/getmem.h"

member_record **src_list;
sort_entry *sorted_list;
char target_dir[PFA_PATH_SIZE];

int count_members() {
    const int members = xar_count(&src_list);
    return static_cast<int>(std::count_if(src_list, src_list + members,
                                          [](const member_record *m) { return m->type >= 1; }));
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
