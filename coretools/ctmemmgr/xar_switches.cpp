// The per-thread debugging switches of the extensible arrays.
#include "coretools/ctmemmgr/thread_block_internal.h"
#include "coretools/ctmemmgr/xar.h"

namespace {

// What a thread reads until it sets its own value.
constexpr int force_ext_noTSDStaticData = 0;
constexpr int force_ignore_reloc_cntTSDStaticData = 0;

struct thread_switch {
    std::atomic<thrLocalObject *> object;
    int process_default;
};

thread_switch force_ext_no{nullptr, force_ext_noTSDStaticData};
thread_switch force_ignore_reloc_cnt{nullptr, force_ignore_reloc_cntTSDStaticData};

// Reading needs no memory: a thread that never set the switch has no value of its own.
int read_switch(const thread_switch &from) {
    const thrLocalObject *object = from.object.load(std::memory_order_acquire);
    const void *own = object == nullptr ? nullptr : thrLocalObject_GetData(object);
    return own == nullptr ? from.process_default : *static_cast<const int *>(own);
}

// Without memory the switch stays as it was.
void write_switch(thread_switch &to, int value) {
    if (read_switch(to) == value) {
        return;
    }
    auto *own = static_cast<int *>(thread_block(to.object, sizeof(int)));
    if (own != nullptr) {
        *own = value;
    }
}

} // namespace

int get_force_ext_no() {
    return read_switch(force_ext_no);
}

void set_force_ext_no(int value) {
    write_switch(force_ext_no, value);
}

int get_force_ignore_reloc_cnt() {
    return read_switch(force_ignore_reloc_cnt);
}

void set_force_ignore_reloc_cnt(int value) {
    write_switch(force_ignore_reloc_cnt, value);
}
