// What the layer does for the host's files it does for a store that it knows by registration
// alone; and what the directory cache does for any: loans, forced caching, application data,
// traces.
#include <gtest/gtest.h>

#include <cstdlib>

#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/memory_location.h"

namespace {

using names = std::vector<std::string>;

// The cache's record of a directory, or null; asks nothing about its freshness.
vek_file *cached(const std::string &key) {
    vek_file *donor = nullptr;
    pfa_dir_from_cache(key.c_str(), &donor, nullptr, 1, nullptr, 0);
    return donor;
}

bool is_lent(const char *key) {
    return cached(key) != nullptr && (cached(key)->flags & PFA_F_LENT) != 0;
}

class memory_location : public testing::Test {
  protected:
    memory_store &store = fresh_memory_store();
    scoped_record directory{"mem:/d/"};

    void SetUp() override { store.files = {{"mem:/d/a.prt", ""}, {"mem:/d/b.prt", ""}}; }

    // Whether listing the directory went without a new listing of the location.
    bool lists_from_cache() {
        const int made = store.listings_made;
        EXPECT_EQ(pfa_open_dir(directory) + pfa_close(directory), 0);
        return store.listings_made == made;
    }
};

TEST_F(memory_location, ReadsWritesAndListsThroughTheSameCalls) {
    store.files["mem:/lib/bolt.prt.3"] = "three";
    scoped_record file("mem:/lib/bolt.prt"), root("mem:/"), lib("mem:/lib/"), parent;
    ASSERT_EQ(pfa_fopen(file, 2, "w"), 0);
    EXPECT_EQ(pfa_fprintf(file, "%s", "four"), 0);
    store.close_status = PFA_E_NET_TROUBLE;
    EXPECT_EQ(pfa_close(file), PFA_E_NET_TROUBLE);
    EXPECT_EQ(pfa_close(file), PFA_E_INACTIVE);
    ASSERT_EQ(pfa_fopen(file, 1, "r"), 0);
    EXPECT_EQ(file->version, 4);
    char text[8] = "";
    int count = 0;
    EXPECT_EQ(pfaloc_call_FLPPI(file, PfaReadFile, text, &count, sizeof text), 0);
    EXPECT_STREQ(text, "four");
    EXPECT_EQ(pfa_open_dir(root) + pfa_open_dir(lib), 0);
    EXPECT_EQ(read_names(root), names({"d", "lib"}));
    EXPECT_EQ(read_names(lib), names({"bolt.prt.3", "bolt.prt.4"}));
    EXPECT_EQ(pfa_make_parent(lib, parent) + pfa_make_parent(parent, parent), 0);
    EXPECT_EQ(location_of(parent), "mem:/");
}

TEST_F(memory_location, GetsBackWhatItLentAndNoMore) {
    ASSERT_EQ(pfa_open_dir(directory), 0);
    scoped_record copy, root("mem:/"), part("mem:/d/");
    EXPECT_EQ(pfa_copy_vek_file(directory, copy), 0);
    EXPECT_EQ(copy->location_handle, nullptr);
    EXPECT_EQ(pfa_open_dir(copy), 0);
    EXPECT_EQ(copy->flags, 0u + PFA_F_OPEN); // not those that it was copied with
    EXPECT_EQ(pfa_close(cached("mem:/d/")), PFA_E_NO_ACCESS);
    // A record whose path changed while it was open gives back what it has borrowed.
    ASSERT_EQ(pfa_open_dir(root) + pfa_close(root), 0);
    pfa_put_path(directory, "/");
    EXPECT_EQ(pfa_close(directory), 0);
    EXPECT_FALSE(is_lent("mem:/d/") || is_lent("mem:/"));
    ASSERT_EQ(pfa_open_dir(root), 0);
    store.eligible = 0; // the location has changed its mind
    EXPECT_EQ(pfa_close(root), 0);
    EXPECT_FALSE(is_lent("mem:/"));
    ASSERT_EQ(pfa_open_dir_subset(part, "b"), 0);
    EXPECT_EQ(part->flags, 0u + PFA_F_OPEN); // a part of a listing is not for the cache
    EXPECT_EQ(read_names(part), names({"b.prt"}));
}

TEST_F(memory_location, IsCachedAgainstItsWordOnlyWhenForced) {
    store.open_status = PFA_E_NOT_CACHABLE;
    EXPECT_FALSE(lists_from_cache() || lists_from_cache());
    EXPECT_EQ(pfa_add_forced_cache_dir(std::string(260, 'k').c_str()), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_add_forced_cache_dir("mem:/d/"), 0);
    EXPECT_FALSE(lists_from_cache() || lists_from_cache()); // no virtual folder
    store.is_virtual = 1;
    EXPECT_FALSE(lists_from_cache());
    store.files.clear();
    EXPECT_TRUE(lists_from_cache()); // stale, but the location is not asked
    pfa_clear_forced_cache_dirs();
    pfa_set_autocache(1);
    EXPECT_TRUE(lists_from_cache());
    pfa_set_autocache(0);
    EXPECT_FALSE(lists_from_cache());
}

TEST_F(memory_location, LosesApplicationDataWithTheListing) {
    int released[2] = {};
    int index = -1;
    EXPECT_EQ(pfa_register_dir_appdata(3, [](void *data) { ++*static_cast<int *>(data); }), 0);
    ASSERT_EQ(pfa_open_dir(directory), 0);
    ASSERT_EQ(pfa_dir_from_cache("mem:/d/", nullptr, &index, 0, nullptr, 0), 1);
    EXPECT_EQ(pfa_attach_dir_appdata(index, DIR_CACHE_APPDATA_TYPES, nullptr), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_attach_dir_appdata(100000, 3, nullptr), PFA_E_NOT_FOUND);
    EXPECT_EQ(pfa_attach_dir_appdata(index, 3, &released[0]), 0);
    EXPECT_EQ(pfa_attach_dir_appdata(index, 4, &released[0]), 0); // a type that nothing releases
    EXPECT_EQ(pfa_attach_dir_appdata(index, 3, &released[1]), 0); // in place of the first
    pfa_dir_name_update_cache("mem:/d/");
    EXPECT_EQ(pfa_get_dir_appdata(index, 3), &released[1]); // the listing is still being read
    EXPECT_EQ(pfa_close(directory), 0);
    EXPECT_EQ(pfa_dir_from_cache("mem:/d/", nullptr, nullptr, 0, nullptr, 0), 0);
    EXPECT_EQ(released[0] * 10 + released[1], 11);
}

TEST_F(memory_location, IsTracedWhenTheSwitchIsOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the switch is read once in a process
    const auto trace = [this](const char *value) {
        value == nullptr ? unsetenv("___DIR_CACHE_DEBUG") : setenv("___DIR_CACHE_DEBUG", value, 1);
        testing::internal::CaptureStdout();
        lists_from_cache();
        lists_from_cache();
        scoped_record other("mem:/e/");
        pfa_open_dir_subset(other, "b");
        pfa_file_name_update_dir_cache("mem:/d/x");
        std::fputs(testing::internal::GetCapturedStdout().c_str(), stderr);
        _exit(0);
    };
    for (const char *on : {"1", ""}) {
        EXPECT_EXIT(trace(on), testing::ExitedWithCode(0),
                    "^dir_cache> opening mem:/d/ the hard way \n.*\\[B\\] mem:/d/\n\n\n"
                    "dir_cache> opening mem:/d/ from cache\n"
                    "dir_cache> opening mem:/e/ the hard way looking for b\n"
                    "dir_cache> nuked mem:/d/\n$");
    }
    for (const char *off : {static_cast<const char *>(nullptr), "false", "Foo"}) {
        EXPECT_EXIT(trace(off), testing::ExitedWithCode(0), "^$");
    }
}

} // namespace
