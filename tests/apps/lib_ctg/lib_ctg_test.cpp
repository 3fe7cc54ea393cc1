// The catalog builder from inside one process; tests/tool runs it as a program.
#include "apps/lib_ctg/ctgcore.h"
#include "apps/lib_ctg/ctgfile.h"
#include "apps/lib_ctg/ctgscan.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/scratch_tree.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

namespace {

// Names that begin alike, end inside the bytes that a key holds, or differ only behind them.
TEST(SortCatalog, ByTypeThenNameThenPath) {
    const auto key = [](const sort_entry &entry) {
        return std::tuple<int, std::string, std::string>(entry.type, entry.name, entry.path);
    };
    std::mt19937 random(1);
    const auto pick = [&random](const auto &texts) { return texts[random() % std::size(texts)]; };
    constexpr int TYPES[] = {INT_MIN, -7, 2, INT_MAX};
    constexpr const char *STARTS[] = {"part", "part_", "part_longer_than_a_key", "part\xe9"};
    constexpr const char *ENDS[] = {"", "1", "10", "\xe9", "_a", "A"};
    src_list = xar_alloc_of<member_record *>(0, LIST_STEP);
    for (int k = 0; k < 500; ++k) {
        auto *member = static_cast<member_record *>(getmem(sizeof(member_record)));
        member->type = pick(TYPES);
        std::strcat(std::strcpy(member->name, pick(STARTS)), pick(ENDS));
        std::strcpy(member->path, pick(ENDS));
        xar_append(&src_list, 1, &member);
    }
    EXPECT_EQ(sort_catalog(), CTG_DONE);
    ASSERT_EQ(xar_count(&sorted_list), 500);
    for (int k = 1; k < 500; ++k) {
        EXPECT_LE(key(sorted_list[k - 1]), key(sorted_list[k])) << k;
        EXPECT_LE(comp_func(&sorted_list[k - 1], &sorted_list[k]), 0) << k;
    }
    EXPECT_GT(comp_func(&sorted_list[499], &sorted_list[0]), 0);
    release_memory_used();
    xar_free(&src_list);
    xar_free(&sorted_list);
}

class Library : public testing::Test {
  protected:
    void expect_built(int members) const {
        EXPECT_EQ(make_catalog_file(std::string(root_).data()), 1);
        EXPECT_EQ(src_list, nullptr);
        EXPECT_EQ(sorted_list, nullptr);
        const std::string catalog = read_file(root_ + root_.substr(root_.rfind('/')) + ".ctg.1");
        EXPECT_EQ(catalog.substr(32, 28), std::to_string(members) + std::string(27, ' '));
    }

    scratch_tree tree_;
    const std::string root_ = tree_.top;
};

// The listing that the first build left in the cache must not serve the second one.
TEST_F(Library, BuiltTwiceInOneProcess) {
    tree_.file("bolt.prt");
    expect_built(1);
    tree_.file("nut.prt");
    expect_built(2);
    std::filesystem::remove(root_ + "/bolt.prt");
    expect_built(1);
    const std::int64_t blocks = get_memory_statistics().num_blocks;
    expect_built(1);
    EXPECT_EQ(get_memory_statistics().num_blocks, blocks);
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

} // namespace
