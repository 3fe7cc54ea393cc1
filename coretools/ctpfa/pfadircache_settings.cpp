// The settings of the directory cache, and the application data of its entries.
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"

#include <cstring>

namespace {

struct forced_cache_dir {
    char name[PFA_PATH_SIZE];
};

int pfa_autocache = 0;
forced_cache_dir *forced_cache_dirs = nullptr;
dir_cache_free_func dc_appdata_free_funcs[DIR_CACHE_APPDATA_TYPES] = {};

bool is_appdata_type(int type) {
    return type >= 0 && type < DIR_CACHE_APPDATA_TYPES;
}

dir_cache_entry *entry_in_use(int index) {
    if (index < 0 || index >= xar_count(&dir_cache) || dir_cache[index].state == PFA_E_INACTIVE) {
        return nullptr;
    }
    return &dir_cache[index];
}

dir_cache_appdata *find_appdata(const dir_cache_entry *entry, int type) {
    const int count = xar_count(&entry->appdata);
    for (int i = 0; i < count; ++i) {
        if (entry->appdata[i].type == type) {
            return &entry->appdata[i];
        }
    }
    return nullptr;
}

void release_appdata(dir_cache_appdata pair) {
    const dir_cache_free_func function = dc_appdata_free_funcs[pair.type];
    if (function != nullptr) {
        function(pair.data);
    }
}

} // namespace

void pfa_set_autocache(int on) {
    pfa_autocache = on;
}

int pfa_get_autocache() {
    return pfa_autocache;
}

pfa_status pfa_add_forced_cache_dir(const char *key) {
    const std::size_t length = key == nullptr ? PFA_PATH_SIZE : std::strlen(key);
    if (length >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    if (is_name_forced_cache(key)) {
        return PFA_E_NO_ERROR;
    }
    if (forced_cache_dirs == nullptr) {
        forced_cache_dirs = xar_alloc_of<forced_cache_dir>(0, 8);
    }
    forced_cache_dir *added =
        forced_cache_dirs == nullptr ? nullptr : pfadc_append(&forced_cache_dirs);
    if (added == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    std::memcpy(added->name, key, length + 1);
    return PFA_E_NO_ERROR;
}

void pfa_clear_forced_cache_dirs() {
    xar_free(&forced_cache_dirs);
}

int is_name_forced_cache(const char *name) {
    const int count = xar_count(&forced_cache_dirs);
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(forced_cache_dirs[i].name, name) == 0) {
            return 1;
        }
    }
    return 0;
}

pfa_status pfa_register_dir_appdata(int type, dir_cache_free_func function) {
    if (!is_appdata_type(type)) {
        return PFA_E_INVALID_INPUT;
    }
    dc_appdata_free_funcs[type] = function;
    return PFA_E_NO_ERROR;
}

pfa_status pfa_attach_dir_appdata(int index, int type, void *data) {
    if (!is_appdata_type(type)) {
        return PFA_E_INVALID_INPUT;
    }
    dir_cache_entry *entry = entry_in_use(index);
    if (entry == nullptr) {
        return PFA_E_NOT_FOUND;
    }
    dir_cache_appdata *pair = find_appdata(entry, type);
    if (pair != nullptr) {
        if (pair->data != data) {
            release_appdata(*pair);
            pair->data = data;
        }
        return PFA_E_NO_ERROR;
    }
    if (entry->appdata == nullptr) {
        entry->appdata = xar_alloc_of<dir_cache_appdata>(0, 2);
    }
    pair = entry->appdata == nullptr ? nullptr : pfadc_append(&entry->appdata);
    if (pair == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    *pair = {type, data};
    return PFA_E_NO_ERROR;
}

void *pfa_get_dir_appdata(int index, int type) {
    const dir_cache_entry *entry = entry_in_use(index);
    const dir_cache_appdata *pair = entry == nullptr ? nullptr : find_appdata(entry, type);
    return pair == nullptr ? nullptr : pair->data;
}

void pfadc_free_appdata(dir_cache_entry *entry) {
    const int count = xar_count(&entry->appdata);
    for (int i = 0; i < count; ++i) {
        release_appdata(entry->appdata[i]);
    }
    xar_free(&entry->appdata);
}
