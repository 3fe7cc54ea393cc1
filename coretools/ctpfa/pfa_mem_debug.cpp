// The debugging registry of path records: which are allocated, and what was freed twice.
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfamem_internal.h"
#include "coretools/genutil1/text_copy.h"

#include <cstdio>
#include <cstring>

namespace {

// One address at which a record was seen. Addresses come back from the pool, so there are never
// more entries than records lived at once.
struct entry {
    const vek_file *record;
    char *freed_text; // the record's text when it was freed; null before
    bool live;
};

entry *entries = nullptr;
int live_count = 0;
int entry_count = -1; // -1 while the registry is off

constexpr const char *NAME = "pfa_mem_debug";

entry *find(const vek_file *record) {
    for (int i = entry_count - 1; i >= 0; --i) {
        if (entries[i].record == record) {
            return &entries[i];
        }
    }
    return nullptr;
}

int note_allocation(const vek_file *record) {
    entry *known = find(record);
    if (known == nullptr) {
        known =
            entries == nullptr ? (entries = xar_alloc_of<entry>(1, 100)) : xar_extend(&entries, 1);
        if (known == nullptr) {
            return PFA_E_OUT_OF_MEMORY;
        }
        known->record = record;
        entry_count++;
    } else if (known->live) {
        dbg_err_crash(NAME, "double allocation at %x", pfa_trace_address(record));
        return PFA_E_NO_ERROR;
    }
    if (known->freed_text != nullptr) {
        relmem(&known->freed_text);
    }
    known->live = true;
    live_count++;
    return PFA_E_NO_ERROR;
}

int note_release(const vek_file *record) {
    entry *known = find(record);
    if (known == nullptr) {
        dbg_err_crash(NAME, "freeing unknown pfa at %x", pfa_trace_address(record));
        return PFA_E_NO_ERROR;
    }
    // A record freed before may no longer end its text.
    char text[PFA_PATH_SIZE];
    const std::size_t length = strnlen(record->text, sizeof text - 1);
    std::memcpy(text, record->text, length);
    text[length] = '\0';
    if (!known->live) {
        dbg_err_crash(NAME, "freeing %s, now %s, at %x twice",
                      known->freed_text != nullptr ? known->freed_text : "", text,
                      pfa_trace_address(record));
        return PFA_E_NO_ERROR;
    }
    known->live = false;
    live_count--;
    known->freed_text = make_scopy(text);
    return known->freed_text != nullptr ? PFA_E_NO_ERROR : PFA_E_OUT_OF_MEMORY;
}

void list_live() {
    std::printf("%d allocated pfas", live_count);
    for (int i = 0; i < entry_count; ++i) {
        if (entries[i].live) {
            std::printf("%d, at %p, %s\n", i, static_cast<const void *>(entries[i].record),
                        entries[i].record->text);
        }
    }
}

} // namespace

int pfa_mem_debug(vek_file *record, int allocating) {
    if (entry_count == -1) {
        return PFA_E_NO_ERROR;
    }
    if (record != nullptr) {
        return allocating != 0 ? note_allocation(record) : note_release(record);
    }
    if (allocating != 0) {
        list_live();
    } else {
        std::printf("total of %d pfas, %d entries", live_count, entry_count);
    }
    return PFA_E_NO_ERROR;
}

void pfa_set_mem_debug(int on) {
    if (on != 0) {
        entry_count = entry_count == -1 ? 0 : entry_count;
        return;
    }
    for (int i = 0; i < entry_count; ++i) {
        if (entries[i].freed_text != nullptr) {
            relmem(&entries[i].freed_text);
        }
    }
    xar_free(&entries);
    live_count = 0;
    entry_count = -1;
}
