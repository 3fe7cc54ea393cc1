// Directories of records: parent and own directory, the current and the home directory, and the
// cached listings that a notice concerns.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaloc_tables.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "tests/support/child_process.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

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
        {"/", "", "/"},
        {"/a//", "/", "/a/"},
        {"/a/../", "", "/"},
        {"/a/b/p.prt.3", "/a/b/", "/a/b/"},
        {"p.prt", here, ""},
        {"x/", here, "x/"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        scoped_record record;
        ASSERT_EQ(parse_to_pfa(record, 1, row.name.c_str()), PFA_E_NO_ERROR);
        vek_file *directory = extract_pfa_dir(record);
        EXPECT_EQ(location_of(directory), row.directory);
        EXPECT_EQ(pfa_free_vek_file(&directory), PFA_E_NO_ERROR);

        scoped_record parent;
        parent->location_type = PfaStdio;
        const vek_file before = *parent.file;
        if (row.parent.empty()) {
            EXPECT_EQ(pfa_make_parent(record, parent), PFA_E_ROOT_DIR);
            EXPECT_TRUE(same_bytes(before, parent));
        } else {
            EXPECT_EQ(pfa_make_parent(record, record), PFA_E_NO_ERROR);
            EXPECT_EQ(pfa_put_component(record, PFA_NAME, "n"), PFA_E_NO_ERROR);
            EXPECT_EQ(record->text, row.parent + "n") << "what follows the path is empty";
            EXPECT_EQ(record->type, OBJ_TYPE_DIRECTORY);
            EXPECT_EQ(record->version, 0);
        }
    }
}

TEST(CurDir, HomeIsReadOnce) {
    expect_in_own_process([] {
        scoped_record record;
        unsetenv("HOME");
        EXPECT_EQ(pfa_get_home_dir(record), PFA_E_ERROR);
        for (const std::string &bad : {std::string("~/x"), std::string(300, 'h')}) {
            setenv("HOME", bad.c_str(), 1);
            EXPECT_EQ(pfa_get_home_dir(record), PFA_E_ERROR);
            EXPECT_EQ(pfa_parse_to_vek_file(record, "~/x"), PFA_E_INVALID_INPUT);
        }
        setenv("HOME", "/u/me.prt.2", 1);
        EXPECT_EQ(pfa_get_home_dir(record), PFA_E_NO_ERROR);
        setenv("HOME", "/later", 1);
        EXPECT_EQ(pfa_get_home_dir(record), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "/u/me.prt.2/||DIR|0|-5");

        EXPECT_EQ(pfa_parse_to_vek_file(record, "~\\x"), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "/u/me.prt.2/|x||0|-6");
        EXPECT_EQ(pfa_parse_to_vek_file(record, "$HOME/x"), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "/later/|x||0|-6");
        EXPECT_EQ(pfa_parse_to_vek_file(record, "~you/x"), PFA_E_INVALID_INPUT);
        const std::string too_long = "~/" + std::string(PFA_PATH_SIZE - 12, 'n');
        EXPECT_EQ(pfa_parse_to_vek_file(record, too_long.c_str()), PFA_E_INVALID_INPUT);
    });
}

TEST(CurDir, TheWorkingDirectoryIsReadOnce) {
    expect_in_own_process([] {
        const scratch_tree tree;
        EXPECT_EQ(get_Cur_Dir(), nullptr);
        std::filesystem::current_path(tree.path);
        vek_file *current = pfa_get_cur_dir();
        std::filesystem::current_path("/");
        EXPECT_EQ(pfa_get_cur_dir(), current);
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
    });
}

TEST(ReadDir, NothingIsReadFromAClosedDirectoryOrIntoAnOpenEntry) {
    const scratch_tree tree;
    scoped_record directory(tree.path), entry(tree.file("a.prt"));
    EXPECT_EQ(pfa_read_dir(directory, entry), PFA_E_INACTIVE);
    ASSERT_EQ(pfa_open_dir(directory), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_fopen(entry, PFA_OWN_VERSION, "r"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_read_dir(directory, entry), PFA_E_NOT_ALLOWED);
    EXPECT_EQ(read_names(directory), std::vector<std::string>{"a.prt"});
}

// Whatever the form of the name, the listing is found, and nothing is expanded.
TEST(Notice, DropsTheListingThatItConcerns) {
    const scratch_tree tree;
    tree.dir("sub/$HOME");
    const std::string sub = tree("sub/");
    const std::string here = std::filesystem::current_path().string() + "/";
    const std::string from_here = std::filesystem::relative(sub, here).string();
    const struct {
        std::string key;
        int (*notice)(const char *name);
        std::string name;
    } rows[] = {
        {sub + "$HOME/", pfa_file_name_update_dir_cache, sub + "$HOME/x"},
        {sub, pfa_file_name_update_dir_cache, sub + "../sub//x"},
        {sub, pfa_file_name_update_dir_cache, from_here + "/x"},
        {sub, pfa_dir_name_update_cache, from_here},
        {here, pfa_dir_name_update_cache, ""},
        {here, pfa_dir_name_update_cache, ".\\"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        scoped_record opened;
        ASSERT_EQ(parse_to_pfa(opened, 1, row.key.c_str()), PFA_E_NO_ERROR);
        ASSERT_EQ(pfa_open_dir(opened), PFA_E_NO_ERROR);
        ASSERT_EQ(pfa_close(opened), PFA_E_NO_ERROR);
        EXPECT_EQ(row.notice(row.name.c_str()), 0);
        EXPECT_FALSE(is_cached(row.key));
    }
}

} // namespace
