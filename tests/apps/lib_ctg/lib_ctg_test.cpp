// The catalog builder from inside one process; tests/tool runs it as a program.
#include "apps/lib_ctg/ctgcore.h"
#include "apps/lib_ctg/ctgfile.h"
#include "apps/lib_ctg/ctgroot.h"
#include "apps/lib_ctg/ctgscan.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/scratch_tree.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

int sign(int value) {
    return (value > 0) - (value < 0);
}

sort_entry entry_of(int type, const char *name, const char *path) {
    return {type, const_cast<char *>(name), const_cast<char *>(path)};
}

TEST(CompFunc, TypeThenNameThenPath) {
    const sort_entry ascending[] = {
        entry_of(INT_MIN, "b", ""),  entry_of(-7, "b", ""),    entry_of(1, "z", "z"),
        entry_of(2, "Bolt", ""),     entry_of(2, "bolt", ""),  entry_of(2, "bolt", "a"),
        entry_of(2, "bolt", "\xe9"), entry_of(2, "bolt_", ""), entry_of(INT_MAX, "a", ""),
    };
    constexpr int COUNT = static_cast<int>(std::size(ascending));
    for (int i = 0; i < COUNT; ++i) {
        for (int j = 0; j < COUNT; ++j) {
            EXPECT_EQ(sign(comp_func(&ascending[i], &ascending[j])), sign(i - j)) << i << " " << j;
        }
    }
}

// Names that begin alike, end inside the bytes that a key holds, or differ only behind them.
TEST(SortCatalog, KeysKeepTheOrderOfCompFunc) {
    std::mt19937 random(1);
    const auto pick = [&random](const auto &texts) { return texts[random() % std::size(texts)]; };
    constexpr const char *STARTS[] = {"part", "part_", "part_longer_than_a_key", "part\xe9"};
    constexpr const char *ENDS[] = {"", "1", "10", "9", "_a", "A"};
    src_list = xar_alloc_of<member_record *>(0, LIST_STEP);
    for (int k = 0; k < 500; ++k) {
        auto *member = static_cast<member_record *>(getmem(sizeof(member_record)));
        member->type = static_cast<int>(random() % 4) - 1;
        std::strcat(std::strcpy(member->name, pick(STARTS)), pick(ENDS));
        std::strcpy(member->path, pick(ENDS));
        xar_append(&src_list, 1, &member);
    }
    EXPECT_EQ(sort_catalog(), CTG_DONE);
    ASSERT_EQ(xar_count(&sorted_list), 500);
    for (int k = 1; k < 500; ++k) {
        EXPECT_LE(comp_func(&sorted_list[k - 1], &sorted_list[k]), 0) << k;
    }
    release_memory_used();
    xar_free(&src_list);
    xar_free(&sorted_list);
}

class Library : public testing::Test {
  protected:
    // The member count of the catalog after a build, -1 after a build that failed.
    int members_built() const {
        char root[PFA_PATH_SIZE];
        std::snprintf(root, sizeof root, "%s/", root_.c_str());
        if (make_catalog_file(root) != 1) {
            return -1;
        }
        EXPECT_EQ(src_list, nullptr);
        EXPECT_EQ(sorted_list, nullptr);
        std::ifstream catalog(root_ + root_.substr(root_.rfind('/')) + ".ctg.1");
        std::string name;
        int members = -1;
        catalog >> name >> members;
        return members;
    }

    scratch_tree tree_;
    std::string root_ = tree_.path.substr(0, tree_.path.size() - 1);
};

// The listing that the first build left in the cache must not serve the second one.
TEST_F(Library, BuiltTwiceInOneProcess) {
    tree_.file("bolt.prt");
    EXPECT_EQ(members_built(), 1);
    tree_.file("nut.prt");
    EXPECT_EQ(members_built(), 2);
    std::filesystem::remove(root_ + "/bolt.prt");
    EXPECT_EQ(members_built(), 1);
}

TEST_F(Library, StopsAtTheMostMembersThatTheListsHold) {
    tree_.file("bolt.prt");
    src_list = xar_alloc_of<member_record *>(MEMBER_LIMIT - 1, LIST_STEP);
    std::strcpy(target_dir, root_.c_str());
    const int prefix = static_cast<int>(root_.size()) + 1;
    EXPECT_EQ(scan_dir(target_dir, prefix), CTG_DONE);
    EXPECT_EQ(xar_count(&src_list), MEMBER_LIMIT);
    EXPECT_EQ(scan_dir(target_dir, prefix), CTG_TOO_MANY);
    EXPECT_EQ(xar_count(&src_list), MEMBER_LIMIT);
    release_memory_used();
    xar_free(&src_list);
}

// A caller that scanned another directory than the root got the root's error when it could not be
// opened; only the text of target_dir is the root.
TEST_F(Library, ScanOfAnotherDirectoryWarns) {
    std::strcpy(target_dir, root_.c_str());
    const std::string missing = root_ + "/missing/";
    testing::internal::CaptureStdout();
    EXPECT_EQ(scan_dir(missing.c_str(), static_cast<int>(root_.size()) + 1), CTG_FAILED);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Warning: No access to " + missing + "\n");
}

// The catalog's name was a symbolic link that somebody had put there, and the run overwrote the
// file that it pointed to.
TEST_F(Library, CatalogNameThatIsALinkIsRefused) {
    tree_.file("precious");
    const std::string precious = root_ + "/precious";
    std::ofstream(precious) << "kept";
    std::filesystem::create_symlink(precious, root_ + root_.substr(root_.rfind('/')) + ".ctg.1");
    EXPECT_EQ(members_built(), -1);
    EXPECT_EQ(std::filesystem::file_size(precious), 4u);
}

TEST(ResolveRoot, PrefixCountsThePathOnly) {
    const struct {
        const char *root;
        ctg_result result;
        int prefix;
    } rows[] = {
        {"/usr/lib", CTG_DONE, 9},         {"C:/lib", CTG_DONE, 5},
        {"otherhost:/lib/x", CTG_DONE, 7}, {"/////otherhost/lib/x", CTG_DONE, 7},
        {"otherhost::lib", CTG_FAILED, 0}, {"otherhost:/lib/^", CTG_FAILED, 0},
    };
    for (const auto &row : rows) {
        library_root root;
        EXPECT_EQ(resolve_root(row.root, &root), row.result) << row.root;
        EXPECT_STREQ(root.text, row.root);
        EXPECT_EQ(root.prefix_length, row.prefix) << row.root;
    }
}

} // namespace
