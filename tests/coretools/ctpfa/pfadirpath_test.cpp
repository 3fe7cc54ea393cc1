// Records made from records, the current and home directory, and the names of notices.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/coretools/ctpfa/directory_test_util.h"

namespace {

TEST(pfadirpath, MakesParentAndDirectory) {
    const std::string here = location_of(pfa_get_cur_dir());
    const struct {
        std::string name;
        std::string parent;    // pfa_make_parent; empty: PFA_E_ROOT_DIR
        std::string directory; // extract_pfa_dir
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
        parse_to_pfa(record, 1, row.name.c_str());
        const int status = row.parent.empty() ? PFA_E_ROOT_DIR : PFA_E_NO_ERROR;
        vek_file *directory = extract_pfa_dir(record);
        ASSERT_NE(directory, nullptr) << row.name;
        EXPECT_EQ(location_of(directory), row.directory);
        pfa_free_vek_file(&directory);
        EXPECT_EQ(pfa_make_parent(record, parent), status) << row.name;
        EXPECT_EQ(pfa_make_parent(record, record), status) << row.name;
        for (vek_file *made : {parent.file, record.file}) {
            if (status == PFA_E_NO_ERROR) {
                EXPECT_EQ(location_of(made), row.parent) << row.name;
                EXPECT_EQ(made->type * 10 + made->version, -50);
            }
        }
    }
}

// HOME and the working directory are read at the first use: each case has a process of its own,
// whose exit code counts what went wrong.
TEST(pfacurdir, ReadsHomeOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        scoped_record home;
        int wrong = unsetenv("HOME") != 0 || pfa_get_home_dir(home) != PFA_E_ERROR;
        for (const std::string &bad :
             {std::string("~"), std::string("~/x"), std::string(300, 'h')}) {
            setenv("HOME", bad.c_str(), 1);
            wrong += pfa_get_home_dir(home) != PFA_E_ERROR;
        }
        setenv("HOME", "/no/such.prt.2", 1);
        wrong += pfa_get_home_dir(nullptr) != PFA_E_NOT_VALID;
        setenv("HOME", "/later", 1);
        wrong += pfa_get_home_dir(home) != 0 || home->type != -5;
        _exit(wrong + (location_of(home) != "/no/such.prt.2/"));
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(pfacurdir, ReadsTheWorkingDirectoryOnce) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        scratch_tree tree;
        int wrong = get_Cur_Dir() != nullptr || chdir(tree.path.c_str()) != 0;
        vek_file *current = pfa_get_cur_dir();
        wrong += chdir("/") != 0 || location_of(current) != tree.path;
        wrong += pfa_get_cur_dir() != current || get_Cur_Dir() != current;
        scoped_record relative("x/"), absolute(tree.path);
        load_pfa_cur_dir(relative);
        wrong += location_of(current) != "/" || pfa_open_dir(current) != 0;
        load_pfa_cur_dir(absolute);
        wrong += location_of(current) != tree.path || current->flags != 0;
        wrong += pfa_make_absolute_path(relative) != 0 || location_of(relative) != tree.path + "x/";
        // A working directory whose name reads as another, then one that exists no more.
        const std::string odd = tree.path + "a\\b";
        wrong += mkdir(odd.c_str(), 0777) != 0 || chdir(odd.c_str()) != 0;
        load_pfa_cur_dir(nullptr); // must not be that of tree.path + "a/b/"
        wrong += location_of(current) != "" || rmdir(odd.c_str()) + rmdir(tree.path.c_str()) != 0;
        load_pfa_cur_dir(absolute);
        load_pfa_cur_dir(nullptr);
        wrong += location_of(current) != "" || pfa_make_parent(current, absolute) != PFA_E_ROOT_DIR;
        scoped_record unlocated("y/");
        _exit(wrong + (pfa_open_dir(unlocated) != PFA_E_INVALID_NAME));
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

bool is_cached(const std::string &key) {
    return pfa_dir_from_cache(key.c_str(), nullptr, nullptr, 1, nullptr, 0) != 0;
}

// Whatever the form of the name, the listing is found, nothing expanded and errno kept.
TEST(pfadircache_update, FindsTheListingThatANoticeConcerns) {
    scratch_tree tree;
    std::filesystem::create_directories(tree.path + "sub/$HOME");
    const std::string sub = tree.path + "sub/";
    const std::string here = std::filesystem::current_path().string() + "/";
    const std::string from_here = std::filesystem::relative(sub, here).string();
    const struct {
        std::string key;
        char notice; // of a file, a directory or a record
        std::string name;
    } rows[] = {
        {sub + "$HOME/", 'f', sub + "$HOME/x"},
        {sub, 'f', sub + "../sub//x"},
        {sub, 'f', from_here + "/x"},
        {here, 'f', "x.prt"},
        {sub, 'd', sub},
        {sub, 'd', from_here},
        {here, 'd', ""},
        {here, 'd', ".\\"},
        {tree.path, 'r', sub},
    };
    for (const auto &row : rows) {
        scoped_record opened;
        parse_to_pfa(opened, 1, row.key.c_str());
        ASSERT_EQ(pfa_open_dir(opened) + pfa_close(opened), 0) << row.key;
        ASSERT_TRUE(is_cached(row.key));
        errno = ENOENT;
        EXPECT_EQ(row.notice == 'f'   ? pfa_file_name_update_dir_cache(row.name.c_str())
                  : row.notice == 'd' ? pfa_dir_name_update_cache(row.name.c_str())
                                      : pfa_dir_cache_update(scoped_record(row.name)),
                  0);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_FALSE(is_cached(row.key)) << row.name;
    }
}

} // namespace
