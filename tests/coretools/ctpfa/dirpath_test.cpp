// Directories of records: parent and own directory, the current and the home directory, and the
// cached listings that a notice concerns.
#include "coretools/ctdci/dci.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

namespace {

TEST(DirPath, ParentAndOwnDirectory) {
    const std::string here = location_of(pfa_get_cur_dir());
    const struct {
        std::string name;
        std::string parent; // empty: there is none
        std::string directory;
    } rows[] = {
        {"/a/b/", "/a/", "/a/b/"},
        {"/a/", "/", "/a/"},
        {"/", "", "/"},
        {"//", "", "/"},
        {"/a//", "/", "/a/"},
        {"/a/../", "", "/"},
        {"/a/b/p.prt.3", "/a/b/", "/a/b/"},
        {"p.prt", here, ""},
        {"x/", here, "x/"},
    };
    for (const auto &row : rows) {
        scoped_record record, parent;
        ASSERT_EQ(parse_to_pfa(record, 1, row.name.c_str()), PFA_E_NO_ERROR);
        vek_file *directory = extract_pfa_dir(record);
        ASSERT_NE(directory, nullptr) << row.name;
        EXPECT_EQ(location_of(directory), row.directory);
        (void)pfa_free_vek_file(&directory);

        const vek_file before = *record.file;
        if (row.parent.empty()) {
            EXPECT_EQ(pfa_make_parent(record, record), PFA_E_ROOT_DIR) << row.name;
            EXPECT_TRUE(same_bytes(before, record)) << row.name;
            continue;
        }
        EXPECT_EQ(pfa_make_parent(record, parent), PFA_E_NO_ERROR) << row.name;
        EXPECT_EQ(location_of(parent), row.parent) << row.name;
        EXPECT_EQ(parent->type, OBJ_TYPE_DIRECTORY);
        EXPECT_EQ(parent->version, 0);
        EXPECT_EQ(pfa_make_parent(record, record), PFA_E_NO_ERROR) << row.name;
        EXPECT_EQ(location_of(record), row.parent) << row.name;
    }
}

void expect_home_once() {
    scoped_record record;
    unsetenv("HOME");
    EXPECT_EQ(pfa_get_home_dir(record), PFA_E_ERROR);
    for (const std::string &bad : {std::string("~"), std::string("~/x"), std::string(300, 'h')}) {
        setenv("HOME", bad.c_str(), 1);
        EXPECT_EQ(pfa_get_home_dir(record), PFA_E_ERROR);
        EXPECT_EQ(pfa_parse_to_vek_file(record, "~/x"), PFA_E_INVALID_INPUT);
    }
    setenv("HOME", "/u/me.prt.2", 1);
    EXPECT_EQ(pfa_get_home_dir(nullptr), PFA_E_NOT_VALID);
    setenv("HOME", "/later", 1);
    EXPECT_EQ(pfa_get_home_dir(record), PFA_E_NO_ERROR);
    EXPECT_EQ(state_of(record), "/u/me.prt.2/||DIR|0|-5");

    const std::string n246(246, 'n');
    const struct {
        std::string text;
        std::string name;
    } rows[] = {
        {"~/x", "/u/me.prt.2/x"},  {"~", "/u/me.prt.2/"},
        {"~\\x", "/u/me.prt.2/x"}, {"a~/x", "a~/x"},
        {"$HOME/x", "/later/x"},   {"~/" + n246 + "n", "/u/me.prt.2/" + n246 + "n"},
    };
    for (const auto &row : rows) {
        char name[PFA_PATH_SIZE];
        EXPECT_EQ(pfa_parse_to_vek_file(record, row.text.c_str()), PFA_E_NO_ERROR) << row.text;
        EXPECT_EQ(pfa_get_full_name(record, name), PFA_E_NO_ERROR);
        EXPECT_EQ(name, row.name);
    }
    EXPECT_EQ(pfa_parse_to_vek_file(record, ("~/" + n246 + "nn").c_str()), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_parse_to_vek_file(record, "~you/x"), PFA_E_INVALID_INPUT);
}

TEST(CurDirDeathTest, HomeIsReadOnce) {
    expect_in_own_process(expect_home_once);
}

void expect_working_directory_once() {
    const scratch_tree tree;
    EXPECT_EQ(get_Cur_Dir(), nullptr);
    std::filesystem::current_path(tree.path);
    vek_file *current = pfa_get_cur_dir();
    std::filesystem::current_path("/");
    EXPECT_EQ(pfa_get_cur_dir(), current);
    EXPECT_EQ(get_Cur_Dir(), current);
    EXPECT_EQ(location_of(current), tree.path);
    scoped_record relative("x/"), absolute(tree.path);
    load_pfa_cur_dir(relative); // no place: reads that of the process
    EXPECT_EQ(location_of(current), "/");
    EXPECT_EQ(pfa_open_dir(current), PFA_E_NO_ERROR);
    load_pfa_cur_dir(absolute);
    EXPECT_EQ(location_of(current), tree.path);
    EXPECT_EQ(current->flags, 0u) << "the listing is closed";
    EXPECT_EQ(pfa_make_absolute_path(relative), PFA_E_NO_ERROR);
    EXPECT_EQ(location_of(relative), tree.path + "x/");

    // A working directory whose name reads as another is not taken for that one.
    std::filesystem::current_path(tree.dir("a\\b"));
    load_pfa_cur_dir(nullptr);
    EXPECT_EQ(location_of(current), "");
    // Nor is one that exists no more.
    std::filesystem::remove_all(tree.path);
    load_pfa_cur_dir(absolute);
    load_pfa_cur_dir(nullptr);
    EXPECT_EQ(location_of(current), "");
    EXPECT_EQ(pfa_make_parent(current, absolute), PFA_E_ROOT_DIR);
    EXPECT_EQ(pfa_open_dir(scoped_record("y/")), PFA_E_INVALID_NAME);
}

TEST(CurDirDeathTest, TheWorkingDirectoryIsReadOnce) {
    expect_in_own_process(expect_working_directory_once);
}

// Without memory for '~' the name counted as one that cannot be expanded, and without memory for a
// listing the directory as one that may not be read.
void expect_out_of_memory_is_told() {
    const scratch_tree tree;
    setenv("HOME", tree.path.c_str(), 1);
    scoped_record record;
    const auto first_other_result = [](const auto &operation) {
        for (long allocation = 0;; ++allocation) {
            fail_allocation(allocation, true);
            const pfa_status result = operation();
            fail_allocation(NO_FAILURE, false);
            if (result != PFA_E_OUT_OF_MEMORY) {
                return result;
            }
        }
    };
    EXPECT_EQ(first_other_result([&] { return pfa_parse_to_vek_file(record, "~/bolt.prt"); }),
              PFA_E_NO_ERROR);
    int version = 0;
    EXPECT_EQ(
        first_other_result([&] { return pfa_get_file_vers(record, PFA_NEXT_VERSION, &version); }),
        PFA_E_NO_ERROR);
    EXPECT_EQ(version, 1);
}

TEST(CurDirDeathTest, OutOfMemoryIsTold) {
    expect_in_own_process(expect_out_of_memory_is_told);
}

bool is_cached(const std::string &key) {
    return pfa_dir_from_cache(key.c_str(), nullptr, nullptr, 1, nullptr, 0) != 0;
}

void file_changed(const char *name) {
    EXPECT_EQ(pfa_file_name_update_dir_cache(name), 0);
}

void directory_changed(const char *name) {
    EXPECT_EQ(pfa_dir_name_update_cache(name), 0);
}

void record_changed(const char *name) {
    EXPECT_EQ(pfa_dir_cache_update(scoped_record(name)), 0);
}

void move_nothing(const char *name) {
    EXPECT_EQ(dci_rename("/no/such/file", name), -1);
}

void create_file(const char *name) {
    scoped_record record(name);
    EXPECT_EQ(pfa_fopen(record, 0, "w"), PFA_E_NO_ERROR);
    errno = ENOENT; // not a notice: errno is its own
}

// Whatever the form of the name, the listing is found, nothing is expanded and errno is kept.
TEST(Notice, DropsTheListingThatItConcerns) {
    const scratch_tree tree;
    tree.dir("sub/$HOME");
    const std::string sub = tree("sub/");
    const std::string here = std::filesystem::current_path().string() + "/";
    const std::string from_here = std::filesystem::relative(sub, here).string();
    const struct {
        std::string key;
        void (*notice)(const char *name);
        std::string name;
    } rows[] = {
        {sub + "$HOME/", file_changed, sub + "$HOME/x"},
        {sub, file_changed, sub + "../sub//x"},
        {sub, file_changed, from_here + "/x"},
        {here, file_changed, "x.prt"},
        {sub, directory_changed, sub},
        {sub, directory_changed, from_here},
        {here, directory_changed, ""},
        {here, directory_changed, ".\\"},
        {tree.path, record_changed, sub},
        {sub, move_nothing, sub + "x"},
        {sub, create_file, sub + "x"},
    };
    for (const auto &row : rows) {
        scoped_record opened;
        ASSERT_EQ(parse_to_pfa(opened, 1, row.key.c_str()), PFA_E_NO_ERROR);
        ASSERT_EQ(pfa_open_dir(opened), PFA_E_NO_ERROR) << row.key;
        ASSERT_EQ(pfa_close(opened), PFA_E_NO_ERROR);
        ASSERT_TRUE(is_cached(row.key));
        errno = ENOENT;
        row.notice(row.name.c_str());
        EXPECT_EQ(errno, ENOENT) << row.name;
        EXPECT_FALSE(is_cached(row.key)) << row.name;
    }
}

} // namespace
