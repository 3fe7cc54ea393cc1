// The directory cache, with directories in memory: against an independent model, then rule by rule.
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctdci/dci.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "examples/memory_location/memory_location.h"
#include "tests/support/child_process.h"
#include "tests/support/path_records.h"
#include "tests/support/report_capture.h"

#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <list>
#include <random>
#include <utility>

#include <gtest/gtest.h>

namespace {

std::time_t test_clock = 1000000000; // what time() returns

// A location type of the test's own, asked before the one that it inherits from.
constexpr int TYPE = PfaKelmLink;

struct location_state {
    int listings_kept = 0; // those not closed again
    // What the methods return.
    pfa_status open_status = PFA_E_NO_ERROR;
    int eligible = 1;
    int is_virtual = 0;
    void (*call_back)() = nullptr; // for the next "PfaDirCacheInvalid" or "PfaDirClose" to call
} location;

template <int METHOD>
auto inherited(pfa_method_constant<METHOD>) {
    using function = pfa_method_function<METHOD>;
    return reinterpret_cast<function>(pfaloc_find(MEMORY_LOCATION, METHOD, &plm_tag_of<function>));
}

int open_dir(vek_file *directory, void **handle, const char *key, const char *subset) {
    if (location.open_status == PFA_E_NO_ACCESS) {
        return location.open_status;
    }
    location.listings_kept += *handle == nullptr;
    memory_directories[key]; // exists from now on
    EXPECT_EQ(inherited(PfaDirOpen)(directory, handle, key, subset), PFA_E_NO_ERROR);
    return location.open_status;
}

void call_back() {
    if (void (*function)() = std::exchange(location.call_back, nullptr)) {
        function();
    }
}

int close_dir(vek_file *directory, void **handle) {
    --location.listings_kept;
    inherited(PfaDirClose)(directory, handle);
    call_back();
    return 0;
}

int is_out_of_date(vek_file *directory, void **handle, const char *key) {
    const int changed = inherited(PfaDirCacheInvalid)(directory, handle, key);
    call_back();
    return changed;
}

bool register_location() {
    register_memory_location();
    pfa_loc_register_setup(TYPE);
    for (int method = 0; method < PFA_METHODS; ++method) {
        pfa_loc_type_inherit_method(TYPE, MEMORY_LOCATION, method);
    }
    pfa_loc_method_register(TYPE, PfaDirOpen, open_dir);
    pfa_loc_method_register(TYPE, PfaDirClose, close_dir);
    pfa_loc_method_register(TYPE, PfaDirCacheInvalid, is_out_of_date);
    pfa_loc_method_register(TYPE, PfaDirCanOpenSubset, [](vek_file *) { return 0; });
    pfa_loc_method_register(TYPE, PfaIsVirtualFolder,
                            [](vek_file *) { return location.is_virtual; });
    pfa_loc_method_register(TYPE, PfaDirCacheEligible,
                            [](vek_file *, const char *) { return location.eligible; });
    return pfa_loc_register_setup(NoLocation) == 1;
}

// The index of a directory's entry, fresh or not; -1 if it is not cached.
int index_of(const char *key) {
    int index = -1;
    pfa_dir_from_cache(key, nullptr, &index, 1, nullptr, 0);
    return index;
}

vek_file *owner_of(const char *key) {
    vek_file *owner = nullptr;
    pfa_dir_from_cache(key, &owner, nullptr, 1, nullptr, 0);
    return owner;
}

bool is_lent(const char *key) {
    const vek_file *owner = owner_of(key);
    return owner != nullptr && (owner->flags & PFA_F_LENT) != 0;
}

struct DirectoryCache : testing::Test {
    void SetUp() override {
        static const bool registered = register_location();
        ASSERT_TRUE(registered);
        for (const auto &[key, files] : memory_directories) {
            pfa_full_dir_name_update_cache(key.c_str());
        }
        memory_directories.clear();
        location = location_state();
    }
};

// What an entry should be; one without a key is free.
struct cached_dir {
    std::string key;
    std::time_t used = 0;
    memory_directory seen;
    bool lent = false;
    bool stale = false;
};

struct DirectoryCacheModel : DirectoryCache {
    std::mt19937 random{20240611};
    std::vector<cached_dir> slots;
    std::list<scoped_record> readers;

    std::size_t below(std::size_t count) { return random() % count; }

    cached_dir *cached(const std::string &key) {
        const auto slot = std::ranges::find(slots, key, &cached_dir::key);
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
        return *oldest;
    }

    void open(const std::string &key, bool refuse) {
        const memory_directory real = memory_directories[key];
        cached_dir *entry = cached(key);
        const bool lent = entry != nullptr && entry->lent;
        const bool good = entry != nullptr && !entry->stale && entry->seen == real;
        if (good) {
            entry->used = test_clock;
        } else {
            discard(key);
        }
        vek_file *record = readers.emplace_back(key);
        location.open_status = refuse ? PFA_E_NO_ACCESS : PFA_E_NO_ERROR;
        ASSERT_EQ(pfa_open_dir(record), location.open_status) << key;
        if (refuse) {
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
        ASSERT_EQ(read_names(record).size(), real.size());
    }

    void close(std::size_t index) {
        const auto reader = std::next(readers.begin(), static_cast<int>(index));
        vek_file *record = *reader;
        if ((record->flags & PFA_F_BORROWED) != 0) {
            cached_dir *entry = cached(location_of(record));
            entry->lent = false;
            entry->used = test_clock;
        }
        readers.erase(reader);
    }

    // One of four files comes or goes.
    void change(const std::string &key, bool notice) {
        const std::string file = "file" + std::to_string(below(4));
        if (memory_directories[key].erase(file) == 0) {
            memory_directories[key][file];
        }
        if (notice) {
            pfa_file_name_update_dir_cache((key + file).c_str());
            discard(key);
        }
    }

    // Every key is cached where the model has it, and no listing is lost.
    void check() {
        int listings = 0;
        for (const auto &[key, files] : memory_directories) {
            const cached_dir *entry = cached(key);
            ASSERT_EQ(index_of(key.c_str()), entry == nullptr ? -1 : entry - slots.data()) << key;
            listings += entry != nullptr;
        }
        for (const scoped_record &reader : readers) {
            listings += (reader->flags & PFA_F_BORROWED) == 0;
        }
        ASSERT_EQ(location.listings_kept, listings);
    }
};

TEST_F(DirectoryCacheModel, AgreesAfterEveryStep) {
    const auto key_of = [](std::size_t number) {
        return "mem:/" + std::to_string(number % 16) + "/" + std::to_string(number) + "/";
    };
    open(key_of(399), false);                 // the oldest of all, and lent
    for (int round = 0; round < 2; ++round) { // fill the table and evict, then grow past its bound
        for (std::size_t i = 0; i < 320; ++i) {
            test_clock += round == 0;
            open(key_of(i), false);
            close(1);
        }
    }
    check();
    for (int step = 0; step < 6000 && !HasFatalFailure(); ++step) {
        const std::string key = key_of(below(400));
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
}

TEST_F(DirectoryCache, LendsAListingOnce) {
    scoped_record directory("mem:/d/"), copy;
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_copy_vek_file(directory, copy), PFA_E_NO_ERROR);
    EXPECT_EQ(copy->location_handle, nullptr);
    EXPECT_EQ(pfa_open_dir(copy), PFA_E_NO_ERROR);
    EXPECT_EQ(copy->flags, 0u + PFA_F_OPEN) << "a listing of its own";
}

TEST_F(DirectoryCache, GetsALoanBackWhateverBecameOfTheBorrower) {
    scoped_record moved("mem:/d/"), refused("mem:/e/");
    list("mem:/");
    ASSERT_EQ(pfa_open_dir(moved), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_put_path(moved, "/"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_close(moved), PFA_E_NO_ERROR);
    EXPECT_FALSE(is_lent("mem:/d/"));
    ASSERT_EQ(pfa_open_dir(refused), PFA_E_NO_ERROR);
    location.eligible = 0;
    EXPECT_EQ(pfa_close(refused), PFA_E_NO_ERROR);
    EXPECT_FALSE(is_lent("mem:/e/"));
}

TEST_F(DirectoryCache, DoesNotCloseAListingOnLoan) {
    expect_in_own_process([] { // which survives the report
        scoped_record borrower("mem:/d/");
        ASSERT_EQ(pfa_open_dir(borrower), PFA_E_NO_ERROR);
        report_capture reports;
        vek_file *owner = owner_of("mem:/d/");
        EXPECT_EQ(pfa_close(owner), PFA_E_NO_ACCESS);
        EXPECT_EQ(reports.take(), "can't close mem:/d/ with borrowed stream");
        EXPECT_EQ(pfa_file_is_open(owner), 1);
        EXPECT_EQ(owner->location_handle, borrower->location_handle);
    });
}

TEST_F(DirectoryCache, KeepsWholeListingsOnly) {
    scoped_record part("mem:/d/"), whole("/");
    ASSERT_EQ(pfa_open_dir_subset(part, "b"), PFA_E_NO_ERROR);
    EXPECT_FALSE(is_cached("mem:/d/"));
    ASSERT_EQ(pfa_open_dir_subset(whole, "b"), PFA_E_NO_ERROR);
    EXPECT_TRUE(is_lent("/")) << "of a type that lists no part";
}

TEST_F(DirectoryCache, KeepsWhatIsNotCachableOnlyIfForced) {
    location.open_status = PFA_E_NOT_CACHABLE;
    EXPECT_EQ(pfa_add_forced_cache_dir(std::string(260, 'k').c_str()), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_add_forced_cache_dir("mem:/d/"), PFA_E_NO_ERROR);
    list("mem:/d/");
    EXPECT_FALSE(is_cached("mem:/d/")) << "no virtual folder";
    location.is_virtual = 1;
    list("mem:/d/");
    memory_directories["mem:/d/"]["new"];
    EXPECT_EQ(list("mem:/d/").size(), 0u) << "out of date, but the location is not asked";
    pfa_clear_forced_cache_dirs();
    pfa_set_autocache(1);
    EXPECT_EQ(list("mem:/d/").size(), 0u);
    pfa_set_autocache(0);
    EXPECT_EQ(list("mem:/d/").size(), 1u);
    EXPECT_FALSE(is_cached("mem:/d/"));
}

// The release function calls back into the layer.
TEST_F(DirectoryCache, ReleasesApplicationDataWithTheListing) {
    const auto release = [](void *data) {
        ++*static_cast<int *>(data);
        list("mem:/e/");
        pfa_dir_name_update_cache("mem:/d/");
    };
    EXPECT_EQ(pfa_register_dir_appdata(DIR_CACHE_APPDATA_TYPES, release), PFA_E_INVALID_INPUT);
    ASSERT_EQ(pfa_register_dir_appdata(3, release), PFA_E_NO_ERROR);
    scoped_record directory("mem:/d/");
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    const int index = index_of("mem:/d/");
    int first = 0, second = 0;
    EXPECT_EQ(pfa_attach_dir_appdata(index, 4, &first), PFA_E_NO_ERROR) << "nothing releases these";
    EXPECT_EQ(pfa_attach_dir_appdata(index, 3, &first), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_attach_dir_appdata(index, 3, &second), PFA_E_NO_ERROR);
    EXPECT_EQ(first, 1) << "replaced";
    EXPECT_EQ(pfa_get_dir_appdata(index, 3), &second) << "the listing is still being read";
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
    list("mem:/d/");
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

// A look-up held the address of its entry while a method or a release function ran. One that called
// back into the layer made it read released memory or drop the listing of another directory.
TEST_F(DirectoryCache, AMethodMayCallBackWhenAskedForFreshness) {
    list("mem:/d/");
    memory_directories["mem:/d/"]["new"];
    location.call_back = [] {
        pfa_dir_name_update_cache("mem:/d/");
        for (char name[] = "mem:/e/"; name[5] <= 'z'; ++name[5]) {
            list(name); // the first takes the entry of the other, the last makes the table move
        }
    };
    list("mem:/d/");
    EXPECT_TRUE(is_cached("mem:/e/")) << "dropped in place of the other";
    EXPECT_TRUE(is_cached("mem:/d/"));
}

TEST_F(DirectoryCache, AMethodMayCallBackWhenItClosesAListing) {
    list("mem:/d/");
    location.call_back = [] {
        EXPECT_FALSE(is_cached("mem:/d/")) << "its listing is being closed";
        list("mem:/d/");
    };
    pfa_dir_name_update_cache("mem:/d/");
    EXPECT_TRUE(is_cached("mem:/d/"));
}

// A call that opens a file gives a notice before it returns the stream. When memory ran out in the
// notice, the jump to a trap frame lost the stream.
TEST_F(DirectoryCache, ANoticeDoesNotJumpWhenMemoryRunsOut) {
    list("mem:/d/");
    location.call_back = [] { trp_execute(TRP_CLASS_MEMORY); }; // as when memory runs out
    std::jmp_buf context;
    ASSERT_EQ(trp_push_frame(TRP_CLASS_MEMORY, &context), 1);
    if (setjmp(context) != 0) {
        FAIL() << "jumped";
    }
    pfa_file_name_update_dir_cache("mem:/d/file");
    trp_pop_frame();
    EXPECT_EQ(location.listings_kept, 0);
}

// A report that is written during a notice opens its file, std.out.
TEST_F(DirectoryCache, ANoticeIsNotGivenForTheReportOfANotice) {
    const std::string here = std::filesystem::current_path().string() + "/";
    list(here);
    list("mem:/d/");
    location.call_back = [] { EXPECT_EQ(dci_fopen("std.out", "no mode"), nullptr); };
    EXPECT_EQ(dci_fopen("mem:/d/file", "no mode"), nullptr);
    EXPECT_TRUE(is_cached(here));
    EXPECT_EQ(dci_fopen("std.out", "no mode"), nullptr);
    EXPECT_FALSE(is_cached(here));
}

TEST_F(DirectoryCache, IsTracedWhenTheSwitchIsOn) {
    expect_in_own_process([] { // which reads the switch once
        setenv("___DIR_CACHE_DEBUG", "1", 1);
        testing::internal::CaptureStdout();
        list("mem:/d/");
        list("mem:/d/");
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "dir_cache> opening mem:/d/ the hard way \n  [B] mem:/d/\n\n\n"
                  "dir_cache> opening mem:/d/ from cache\n");
    });
}

} // namespace

extern "C" std::time_t time(std::time_t *out) noexcept {
    if (out != nullptr) {
        *out = test_clock;
    }
    return test_clock;
}
