// The rules of directory paths, as text.
#include "coretools/ctpfa/path_text.h"

#include <gtest/gtest.h>

namespace {

TEST(PathText, StoredForm) {
    const struct {
        const char *path;
        const char *stored;
    } rows[] = {{"", ""},          {"/", "/"},         {"a", "a/"},          {"a\\b/", "a/b/"},
                {"a//b", "a//b/"}, {"a/./b", "a/b/"},  {"a/../b", "a/^/b/"}, {"/../a", "/^/a/"},
                {"a/..", "a/../"}, {"...", ".../"},    {"./a", "a/"},        {".//a", "a/"},
                {"././\\a", "a/"}, {"a/.//b", "a//b/"}};
    path_text text;
    for (const auto &row : rows) {
        EXPECT_TRUE(path_to_stored(row.path, &text)) << row.path;
        EXPECT_EQ(text.view(), row.stored) << row.path;
    }
}

TEST(PathText, WrittenForm) {
    const struct {
        const char *stored;
        const char *written;
    } rows[] = {{"", ""},
                {"/", "/"},
                {"//a//b/", "/a/b/"},
                {"a/b/^/c/", "a/c/"},
                {"a/b/^/^/c/", "c/"},
                {"a/^/^/^/b/", "../../b/"},
                {"/^/a/", "/../a/"},
                {"a/^old/", "a/^old/"}};
    path_text text;
    for (const auto &row : rows) {
        EXPECT_TRUE(path_to_written(row.stored, &text)) << row.stored;
        EXPECT_EQ(text.view(), row.written) << row.stored;
    }
}

TEST(PathText, StepsAreTakenBackDownToTheRoot) {
    const struct {
        const char *path;
        std::size_t start;  // where the path begins, behind a host
        const char *result; // null: it climbs above its root
    } rows[] = {{"/a/b/../c", 0, "/a/c"},    {"/a/../..", 0, nullptr},
                {"/a//../..", 0, nullptr},   {"a/../../b", 0, "../b"},
                {"../a", 0, "../a"},         {"/////h/a/../b", 6, "/////h/b"},
                {"/////h/../b", 6, nullptr}, {"/////h|a/../../b", 7, "/////h|../b"}};
    for (const auto &row : rows) {
        path_text path;
        ASSERT_TRUE(path.append(row.path));
        EXPECT_EQ(take_back_steps(&path, row.start), row.result != nullptr) << row.path;
        if (row.result != nullptr) {
            EXPECT_EQ(path.view(), row.result) << row.path;
        }
    }
}

TEST(PathText, LastElementAndParent) {
    const struct {
        const char *path;
        const char *last;
        std::size_t parent;
    } rows[] = {{"/a/b/", "b", 3},        {"/a/b", "b", 3},        {"a", "a", 0},
                {"", "", NO_PARENT},      {"/", "", NO_PARENT},    {"a//", "", NO_PARENT},
                {"a/^/", "^", NO_PARENT}, {"../", "..", NO_PARENT}};
    for (const auto &row : rows) {
        EXPECT_EQ(last_element(row.path), row.last) << row.path;
        EXPECT_EQ(parent_size(row.path), row.parent) << row.path;
    }
    EXPECT_EQ(directory_part_size("/usr\\lib/x.prt"), 9u);
    EXPECT_EQ(directory_part_size("x.prt"), 0u);
}

TEST(PathText, PlainPaths) {
    for (const char *path : {"/a", "/a/b.c/...", "/.a/..b"}) {
        EXPECT_TRUE(is_plain_path(path)) << path;
    }
    for (const char *path : {"", "/", "a/b", "/a/", "/a//b", "/./a", "/a/..", "//a"}) {
        EXPECT_FALSE(is_plain_path(path)) << path;
    }
}

} // namespace
