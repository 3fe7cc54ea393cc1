#include "tests/coretools/ctpfa/memory_location.h"

#include <cstring>

#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "tests/coretools/ctpfa/directory_test_util.h"

namespace {

constexpr int TYPE = PfaInSession;

memory_store store;

struct memory_listing {
    std::vector<std::string> names;
    std::size_t next;
};

memory_listing *listing_of(void **data) {
    return static_cast<memory_listing *>(*data);
}

int claim(vek_file *record, plm_ptr name_in, plm_ptr, plm_ptr rest) {
    const char *name = name_in.as<const char>();
    if (name == nullptr || std::strncmp(name, "mem:/", 5) != 0) {
        return PFA_E_INVALID_INPUT;
    }
    const std::string path(name + 4);
    const std::size_t length = rest.as<void>() ? path.rfind('/') + 1 : path.size();
    if (rest.as<void>() != nullptr) {
        *rest.as<std::int16_t>() = static_cast<std::int16_t>(length + 4);
    }
    return pfa_put_path(record, path.substr(0, length).c_str());
}

int location_string(vek_file *record, plm_ptr out, plm_ptr length_in, int capacity) {
    auto *length = length_in.as<std::int16_t>();
    pfa_strcat("mem:", out.as<char>(), length);
    return pfa_append_component(record, PFA_PATH, out.as<char>(), length, capacity);
}

int open_file(vek_file *record, void **, plm_ptr, plm_ptr, int) {
    char name[PFA_PATH_SIZE];
    pfa_get_full_name(record, name);
    store.files.insert(name);
    return 0;
}

int close_file(vek_file *, void **) {
    return store.close_status;
}

int open_dir(vek_file *, void **data, plm_ptr location, plm_ptr start) {
    if (store.open_status == PFA_E_NO_ACCESS) {
        return store.open_status;
    }
    if (*data == nullptr) {
        const char *prefix = start.as<void>() != nullptr ? start.as<const char>() : "";
        *data = new memory_listing{store.names_in(location.as<const char>(), prefix), 0};
        ++store.listings_made;
        ++store.listings_kept;
    }
    listing_of(data)->next = 0;
    return store.open_status;
}

int read_dir(vek_file *directory, void **data, plm_ptr out, plm_ptr filter_in, plm_ptr argument,
             int) {
    const auto *filter = filter_in.as<const pfa_dir_filter>();
    memory_listing *listing = listing_of(data);
    while (listing->next < listing->names.size()) {
        const char *name = listing->names[listing->next++].c_str();
        if (filter == nullptr || filter->by_name(directory, name, argument.as<void>()) == 0) {
            return parse_to_pfa(out.as<vek_file>(), 0, name);
        }
    }
    return PFA_E_QUIT;
}

int close_dir(vek_file *, void **data) {
    delete listing_of(data);
    --store.listings_kept;
    return 0;
}

bool register_memory_location() {
    const scoped_record first; // the system registers its own types before
    pfa_loc_register_setup(TYPE);
    pfa_loc_method_register<PfaPathIdx>(
        TYPE, +[](vek_file *) -> int { return PFA_PATH; });
    pfa_loc_method_register<PfaClaimLocation>(TYPE, claim);
    pfa_loc_method_register<PfaGetLocationString>(TYPE, location_string);
    pfa_loc_method_register<PfaGetNeutralLocation>(TYPE, location_string);
    pfa_loc_method_register<PfaFopen>(TYPE, open_file);
    pfa_loc_method_register<PfaCloseFile>(TYPE, close_file);
    pfa_loc_method_register<PfaDirOpen>(TYPE, open_dir);
    pfa_loc_method_register<PfaDirReadNext>(TYPE, read_dir);
    pfa_loc_method_register<PfaDirClose>(TYPE, close_dir);
    pfa_loc_method_register<PfaDirCanOpenSubset>(
        TYPE, +[](vek_file *) { return 0; });
    pfa_loc_method_register<PfaIsVirtualFolder>(
        TYPE, +[](vek_file *) { return store.is_virtual; });
    pfa_loc_method_register<PfaDirCacheEligible>(
        TYPE, +[](vek_file *, plm_ptr) { return store.eligible; });
    pfa_loc_method_register<PfaDirCacheInvalid>(
        TYPE, +[](vek_file *, void **data, plm_ptr key) -> int {
            return listing_of(data)->names != store.names_in(key.as<const char>());
        });
    pfa_loc_method_register<PfaMakeParent>(
        TYPE,
        +[](vek_file *record, vek_file *parent) { return pfa_copy_vek_file(record, parent); });
    return pfa_loc_register_setup(0) == 1;
}

} // namespace

std::vector<std::string> memory_store::names_in(const std::string &directory,
                                                const std::string &start) const {
    std::set<std::string> names;
    for (auto at = files.lower_bound(directory + start);
         at != files.end() && at->rfind(directory + start, 0) == 0; ++at) {
        const std::string rest = at->substr(directory.size());
        names.insert(rest.substr(0, rest.find('/')));
    }
    return {names.begin(), names.end()};
}

memory_store &fresh_memory_store() {
    static const bool registered = register_memory_location();
    for (int i = 0; registered && i < xar_count(&dir_cache); ++i) {
        pfa_full_dir_name_update_cache(dir_cache[i].name);
    }
    return store = memory_store();
}
