// The directory cache: against an independent model, then loans, forced caching, application data,
// calls back into the layer, and traces. The directories are those of a location type of the test.
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/path_records.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <list>
#include <map>
#include <random>
#include <set>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// What the time is for this process, in seconds.
std::time_t test_clock = 1000000000;

} // namespace

extern "C" std::time_t time(std::time_t *out) noexcept {
    if (out != nullptr) {
        *out = test_clock;
    }
    return test_clock;
}

namespace {

using names = std::vector<std::string>;

constexpr int TYPE = PfaInSession;

struct directory_store {
    std::map<std::string, std::set<std::string>> directories; // the names in each, by its location
    int listings_made = 0;
    int listings_kept = 0;    // those not closed again
    std::string asked_subset; // of the last open
    // What the methods return.
    int open_status = 0;
    int eligible = 1;
    int is_virtual = 0;
    void (*when_asked)() = nullptr;  // called once by "PfaDirCacheInvalid"
    void (*when_closed)() = nullptr; // called once by "PfaDirClose"
} store;

struct open_listing {
    std::set<std::string> entries;
    std::set<std::string>::iterator next;
};

open_listing *listing_of(void **data) {
    return static_cast<open_listing *>(*data);
}

int claim(vek_file *record, const char *name, const char *, std::int16_t *rest) {
    if (name == nullptr || std::strncmp(name, "dir:/", 5) != 0) {
        return PFA_E_INVALID_INPUT;
    }
    const std::string path(name + 4);
    const std::size_t length = rest != nullptr ? path.rfind('/') + 1 : path.size();
    if (rest != nullptr) {
        *rest = static_cast<std::int16_t>(length + 4);
    }
    return pfa_put_path(record, path.substr(0, length).c_str());
}

int location_string(vek_file *record, char *out, std::int16_t *length, int capacity) {
    pfa_strcat("dir:", out, length);
    return pfa_append_component(record, PFA_PATH, out, length, capacity);
}

int open_dir(vek_file *, void **data, const char *location, const char *start) {
    if (store.open_status == PFA_E_NO_ACCESS) {
        return store.open_status;
    }
    if (*data == nullptr) {
        *data = new open_listing{store.directories[location], {}};
        ++store.listings_made;
        ++store.listings_kept;
    }
    store.asked_subset = start != nullptr ? start : "";
    listing_of(data)->next = listing_of(data)->entries.begin();
    return store.open_status;
}

int read_dir(vek_file *directory, void **data, vek_file *entry, const pfa_dir_filter *filter,
             void *argument, int) {
    open_listing *listing = listing_of(data);
    while (listing->next != listing->entries.end()) {
        const char *name = (listing->next++)->c_str();
        if (filter == nullptr || filter->by_name(directory, name, argument) == 0) {
            return parse_to_pfa(entry, 0, name);
        }
    }
    return PFA_E_QUIT;
}

void call_once(void (**function)()) {
    if (void (*call)() = std::exchange(*function, nullptr)) {
        call();
    }
}

int close_dir(vek_file *, void **data) {
    delete listing_of(data);
    --store.listings_kept;
    call_once(&store.when_closed);
    return 0;
}

int is_out_of_date(vek_file *, void **data, const char *key) {
    const bool changed = listing_of(data)->entries != store.directories[key];
    call_once(&store.when_asked);
    return changed;
}

bool register_location() {
    const scoped_record first; // the system registers its own types before
    pfa_loc_register_setup(TYPE);
    pfa_loc_method_register(TYPE, PfaPathIdx, [](vek_file *) -> int { return PFA_PATH; });
    pfa_loc_method_register(TYPE, PfaClaimLocation, claim);
    pfa_loc_method_register(TYPE, PfaGetLocationString, location_string);
    pfa_loc_method_register(TYPE, PfaDirOpen, open_dir);
    pfa_loc_method_register(TYPE, PfaDirReadNext, read_dir);
    pfa_loc_method_register(TYPE, PfaDirClose, close_dir);
    pfa_loc_method_register(TYPE, PfaDirCanOpenSubset, [](vek_file *) { return 0; });
    pfa_loc_method_register(TYPE, PfaIsVirtualFolder, [](vek_file *) { return store.is_virtual; });
    pfa_loc_method_register(TYPE, PfaDirCacheEligible,
                            [](vek_file *, const char *) { return store.eligible; });
    pfa_loc_method_register(TYPE, PfaDirCacheInvalid, is_out_of_date);
    return pfa_loc_register_setup(0) == 1;
}

void list(const char *name) {
    scoped_record directory(name);
    EXPECT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
}

// True if listing a directory makes no new listing.
bool lists_from_cache(const char *name) {
    const int made = store.listings_made;
    list(name);
    return store.listings_made == made;
}

// The index of a directory's entry, fresh or not; -1 if it is not cached.
int index_of(const char *key) {
    int index = -1;
    pfa_dir_from_cache(key, nullptr, &index, 1, nullptr, 0);
    return index;
}

// The record that owns the cached listing of a directory; null if it is not cached.
vek_file *owner_of(const char *key) {
    vek_file *donor = nullptr;
    pfa_dir_from_cache(key, &donor, nullptr, 1, nullptr, 0);
    return donor;
}

bool is_lent(const char *key) {
    const vek_file *owner = owner_of(key);
    return owner != nullptr && (owner->flags & PFA_F_LENT) != 0;
}

class DirectoryCache : public testing::Test {
  protected:
    void SetUp() override {
        static const bool registered = register_location();
        ASSERT_TRUE(registered);
        for (const auto &[key, files] : store.directories) {
            pfa_full_dir_name_update_cache(key.c_str());
        }
        store = directory_store();
    }
};

// What an entry should be; one without a key is free.
struct cached_dir {
    std::string key;
    std::time_t used = 0;
    std::set<std::string> seen;
    bool lent = false;
    bool stale = false;
};

class DirectoryCacheModel : public DirectoryCache {
  protected:
    std::mt19937 random{20240611};
    std::vector<cached_dir> slots;
    std::list<scoped_record> readers;
    int evictions = 0;

    std::size_t below(std::size_t count) { return random() % count; }

    cached_dir *cached(const std::string &key) {
        const auto slot = std::find_if(slots.begin(), slots.end(),
                                       [&key](const cached_dir &one) { return one.key == key; });
        return slot == slots.end() ? nullptr : &*slot;
    }

    void discard(const std::string &key) {
        cached_dir *entry = cached(key);
        if (entry != nullptr && entry->lent) {
            entry->stale = true;
        } else if (entry != nullptr) {
            *entry = cached_dir();
        }
    }

    // The first free entry, else a new one, but from 256 on the one unused for longest if any was
    // not used in this second.
    cached_dir &slot_for_new() {
        if (cached_dir *free = cached("")) {
            return *free;
        }
        cached_dir *oldest = nullptr;
        for (cached_dir &slot : slots) {
            if (!slot.lent && slot.used < (oldest ? oldest->used : test_clock)) {
                oldest = &slot;
            }
        }
        if (slots.size() < 256 || oldest == nullptr) {
            return slots.emplace_back();
        }
        ++evictions;
        return *oldest;
    }

    void open(const std::string &key, bool refuse) {
        const std::set<std::string> &real = store.directories[key];
        cached_dir *entry = cached(key);
        const bool lent = entry != nullptr && entry->lent;
        const bool good = entry != nullptr && !entry->stale && entry->seen == real;
        if (good) {
            entry->used = test_clock;
        } else {
            discard(key);
        }
        vek_file *record = readers.emplace_back(key);
        store.open_status = refuse ? PFA_E_NO_ACCESS : 0;
        ASSERT_EQ(pfa_open_dir(record), store.open_status) << key;
        if (refuse) {
            ASSERT_EQ(record->flags, 0u);
            ASSERT_EQ(record->location_handle, nullptr);
            readers.pop_back();
            return;
        }
        if (good) {
            entry->lent = true;
        } else if (!lent) {
            slot_for_new() = {key, test_clock, real, true};
        }
        ASSERT_EQ(record->flags, PFA_F_OPEN | (lent ? 0u : PFA_F_BORROWED));
        ASSERT_EQ(read_names(record), names(real.begin(), real.end()));
    }

    void close(std::size_t index) {
        const auto reader = std::next(readers.begin(), static_cast<int>(index));
        vek_file *record = *reader;
        if ((record->flags & PFA_F_BORROWED) != 0) {
            cached_dir *entry = cached(location_of(record));
            entry->lent = false;
            entry->used = test_clock;
        }
        ASSERT_EQ(pfa_close(record), PFA_E_NO_ERROR);
        readers.erase(reader);
    }

    // One of four files comes or goes.
    void change(const std::string &key, bool notice) {
        const std::string file = "file" + std::to_string(below(4));
        if (store.directories[key].erase(file) == 0) {
            store.directories[key].insert(file);
        }
        if (notice) {
            pfa_file_name_update_dir_cache((key + file).c_str());
            discard(key);
        }
    }

    // Every key is cached where the model has it, and no listing is lost.
    void check() {
        int listings = 0;
        for (const auto &[key, files] : store.directories) {
            const cached_dir *entry = cached(key);
            ASSERT_EQ(index_of(key.c_str()), entry == nullptr ? -1 : entry - slots.data()) << key;
            listings += entry != nullptr;
        }
        for (const scoped_record &reader : readers) {
            listings += (reader->flags & PFA_F_BORROWED) == 0;
        }
        ASSERT_EQ(store.listings_kept, listings);
    }
};

TEST_F(DirectoryCacheModel, AgreesAfterEveryStep) {
    std::vector<std::string> keys;
    for (int i = 0; i < 400; ++i) {
        keys.push_back("dir:/" + std::to_string(i % 16) + "/" + std::to_string(i) + "/");
    }
    open(keys.back(), false);                 // the oldest of all, and lent
    for (int round = 0; round < 2; ++round) { // fill the table and evict, then grow past its bound
        for (int i = 0; i < 320; ++i) {
            test_clock += round == 0;
            open(keys[i], false);
            close(1);
        }
    }
    check();
    for (int step = 0; step < 6000 && !HasFatalFailure(); ++step) {
        const std::string &key = keys[below(keys.size())];
        const std::size_t what = below(20);
        if (what < 9 || readers.empty()) {
            open(key, what == 0);
        } else if (what < 13 || readers.size() > 40) {
            close(below(readers.size()));
        } else if (what < 19) {
            change(key, what < 16);
        } else {
            ++test_clock;
        }
        check();
    }
    EXPECT_GT(evictions, 100);
}

TEST_F(DirectoryCache, LendsAListingOnce) {
    scoped_record directory("dir:/d/"), copy;
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    EXPECT_TRUE(is_lent("dir:/d/"));
    EXPECT_EQ(pfa_close(owner_of("dir:/d/")), PFA_E_NO_ACCESS);
    EXPECT_EQ(pfa_copy_vek_file(directory, copy), PFA_E_NO_ERROR);
    EXPECT_EQ(copy->location_handle, nullptr);
    EXPECT_EQ(pfa_open_dir(copy), PFA_E_NO_ERROR);
    EXPECT_EQ(copy->flags, 0u + PFA_F_OPEN) << "a listing of its own";
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
    EXPECT_FALSE(is_lent("dir:/d/"));
}

TEST_F(DirectoryCache, GetsALoanBackFromARecordWhosePathChanged) {
    scoped_record directory("dir:/d/");
    list("dir:/");
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_put_path(directory, "/"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
    EXPECT_FALSE(is_lent("dir:/d/"));
    EXPECT_FALSE(is_lent("dir:/"));
}

TEST_F(DirectoryCache, GetsALoanBackFromALocationThatIsNoLongerEligible) {
    scoped_record directory("dir:/d/");
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    store.eligible = 0;
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
    EXPECT_FALSE(is_lent("dir:/d/"));
}

TEST_F(DirectoryCache, DoesNotKeepAPartOfAListing) {
    scoped_record directory("dir:/d/");
    ASSERT_EQ(pfa_open_dir_subset(directory, "b"), PFA_E_NO_ERROR);
    EXPECT_EQ(store.asked_subset, "b");
    EXPECT_EQ(directory->flags, 0u + PFA_F_OPEN);
    EXPECT_EQ(index_of("dir:/d/"), -1);
}

TEST_F(DirectoryCache, KeepsWhatIsNotCachableOnlyIfForced) {
    store.open_status = PFA_E_NOT_CACHABLE;
    list("dir:/d/");
    EXPECT_FALSE(lists_from_cache("dir:/d/"));
    EXPECT_EQ(pfa_add_forced_cache_dir(std::string(260, 'k').c_str()), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_add_forced_cache_dir("dir:/d/"), PFA_E_NO_ERROR);
    list("dir:/d/");
    EXPECT_FALSE(lists_from_cache("dir:/d/")) << "no virtual folder";
    store.is_virtual = 1;
    list("dir:/d/");
    store.directories["dir:/d/"] = {"new"};
    EXPECT_TRUE(lists_from_cache("dir:/d/")) << "out of date, but the location is not asked";
    pfa_clear_forced_cache_dirs();
    pfa_set_autocache(1);
    EXPECT_TRUE(lists_from_cache("dir:/d/"));
    pfa_set_autocache(0);
    EXPECT_FALSE(lists_from_cache("dir:/d/"));
}

TEST_F(DirectoryCache, ReleasesApplicationDataWithTheListing) {
    const auto count = [](void *data) { ++*static_cast<int *>(data); };
    ASSERT_EQ(pfa_register_dir_appdata(3, count), PFA_E_NO_ERROR);
    scoped_record directory("dir:/d/");
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    const int index = index_of("dir:/d/");
    int first = 0, second = 0;
    EXPECT_EQ(pfa_attach_dir_appdata(index, DIR_CACHE_APPDATA_TYPES, &first), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_attach_dir_appdata(100000, 3, &first), PFA_E_NOT_FOUND);
    EXPECT_EQ(pfa_attach_dir_appdata(index, 4, &first), PFA_E_NO_ERROR) << "nothing releases these";
    EXPECT_EQ(pfa_attach_dir_appdata(index, 3, &first), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_attach_dir_appdata(index, 3, &second), PFA_E_NO_ERROR);
    EXPECT_EQ(first, 1) << "replaced";
    pfa_dir_name_update_cache("dir:/d/");
    EXPECT_EQ(pfa_get_dir_appdata(index, 3), &second) << "the listing is still being read";
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
    EXPECT_FALSE(lists_from_cache("dir:/d/"));
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

// A look-up held the address of its entry, and the entry's node of the index, while a method or a
// release function ran. One that called back into the layer made it read released memory, drop the
// listing of another directory, or leave a node without an entry.
TEST_F(DirectoryCache, AMethodMayCallBackWhenAskedForFreshness) {
    list("dir:/d/");
    store.directories["dir:/d/"] = {"new"};
    store.when_asked = [] {
        pfa_dir_name_update_cache("dir:/d/");
        list("dir:/e/"); // takes the entry of the other
    };
    list("dir:/d/");
    EXPECT_GE(index_of("dir:/e/"), 0) << "dropped in place of the other";
    store.when_asked = [] {
        for (char name[] = "dir:/a/"; name[5] <= 'z'; ++name[5]) { // the table moves
            list(name);
        }
    };
    list("dir:/d/");
    EXPECT_GE(index_of("dir:/d/"), 0);
    store.when_asked = [] { owner_of("dir:/d/")->location_type = PfaStdio; };
    EXPECT_FALSE(lists_from_cache("dir:/d/")) << "the listing of another location type by now";
    owner_of("dir:/d/")->location_type = TYPE;
}

TEST_F(DirectoryCache, AMethodMayCallBackWhenItClosesAListing) {
    list("dir:/d/");
    store.when_closed = [] {
        EXPECT_EQ(index_of("dir:/d/"), -1) << "its listing is being closed";
        list("dir:/d/");
        list("dir:/e/");
    };
    pfa_dir_name_update_cache("dir:/d/");
    EXPECT_GE(index_of("dir:/d/"), 0);
    EXPECT_GE(index_of("dir:/e/"), 0);
    EXPECT_EQ(store.listings_kept, 2);
}

TEST_F(DirectoryCache, AReleaseFunctionMayCallBack) {
    list("dir:/d/");
    const int index = index_of("dir:/d/");
    int first = 0;
    int second = 0;
    const auto release = [](void *data) {
        ++*static_cast<int *>(data);
        list("dir:/e/");
        pfa_dir_name_update_cache("dir:/d/");
    };
    ASSERT_EQ(pfa_register_dir_appdata(5, release), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_attach_dir_appdata(index, 5, &first), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_attach_dir_appdata(index, 5, &second), PFA_E_NO_ERROR);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1) << "released with its listing";
    EXPECT_EQ(index_of("dir:/d/"), -1);
    EXPECT_GE(index_of("dir:/e/"), 0);
}

// A call that opens a file gives a notice before it returns the stream. When memory ran out in the
// notice, the jump to a trap frame lost the stream.
TEST_F(DirectoryCache, ANoticeDoesNotJumpWhenMemoryRunsOut) {
    list("dir:/d/");
    const auto exhaust = [](void *released) {
        *static_cast<bool *>(released) = true;
        fail_allocation(0, true);
        rlsmem(getmem(1 << 20));
    };
    bool released = false;
    ASSERT_EQ(pfa_register_dir_appdata(6, exhaust), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_attach_dir_appdata(index_of("dir:/d/"), 6, &released), PFA_E_NO_ERROR);
    std::jmp_buf context;
    ASSERT_EQ(trp_push_frame(TRP_CLASS_MEMORY, &context), 1);
    if (setjmp(context) == 0) {
        pfa_file_name_update_dir_cache("dir:/d/file");
    } else {
        ADD_FAILURE() << "jumped";
    }
    trp_pop_frame();
    fail_allocation(NO_FAILURE, false);
    EXPECT_TRUE(released);
}

TEST_F(DirectoryCache, IsTracedWhenTheSwitchIsOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the switch is read once in a process
    const std::pair<const char *, bool> rows[] = {
        {"1", true}, {"", true}, {nullptr, false}, {"false", false}, {"Foo", false}};
    const auto trace = [](const char *value) {
        value == nullptr ? unsetenv("___DIR_CACHE_DEBUG") : setenv("___DIR_CACHE_DEBUG", value, 1);
        std::fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        list("dir:/d/");
        list("dir:/d/");
        scoped_record other("dir:/e/");
        (void)pfa_open_dir_subset(other, "b");
        pfa_file_name_update_dir_cache("dir:/d/x");
        std::exit(0);
    };
    for (const auto &[value, on] : rows) {
        EXPECT_EXIT(trace(value), testing::ExitedWithCode(0),
                    on ? "^dir_cache> opening dir:/d/ the hard way \n.*\\[B\\] dir:/d/\n\n\n"
                         "dir_cache> opening dir:/d/ from cache\n"
                         "dir_cache> opening dir:/e/ the hard way looking for b\n"
                         "dir_cache> nuked dir:/d/\n$"
                       : "^$");
    }
}

} // namespace
