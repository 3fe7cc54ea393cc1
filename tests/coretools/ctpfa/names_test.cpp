// Names into records and back: the split, expansion, standard form, selected parts and joining.
// Records made from records, the home and the working directory, and the names of notices.
#include "coretools/ctdci/dci.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfapars_internal.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <tuple>

#include <gtest/gtest.h>

namespace {

std::string full_name(vek_file *record) {
    char name[PFA_PATH_SIZE] = "#";
    EXPECT_EQ(pfa_get_full_name_mixed_case(record, name, 0), 0);
    return name;
}

TEST(pfapars, NamesAreSplit) {
    const std::string n31(31, 'n');
    const std::string rows[][2] = {
        {"part.prt.3", "|part|prt|3|2"},
        {"part.prt.03", "|part.prt|03|0|-6"},
        {"part.prt.-7", "|part|prt|-7|2"},
        {"part.prt.-07", "|part.prt|-07|0|-6"},
        {"part.prt.32767", "|part|prt|32767|2"},
        {"part.prt.32768", "|part.prt|32768|0|-6"},
        {"part.prt.18446744073709551617", "|part.prt|18446744073709551617|0|-6"},
        {"part.3", "|part||3|-6"},
        {".x.prt.3", "|.x.prt.3||0|-6"},
        {"part..3", "|part.||3|-6"},
        {"x.dir", "|x|dir|0|-6"},
        {"we ird.prt", "|we ird|prt|0|-6"},
        {"we ird.igs", "|we ird|igs|0|134"},
        {"p\xe9.prt", "|p\xe9|prt|0|-6"},
        {n31 + ".prt", "|" + n31 + "|prt|0|2"},
        {n31 + "nn.prt", "|" + n31 + "nn|prt|0|-6"},
        {n31 + "nn.emn", "|" + n31 + "nn|emn|0|569"},
        {"/a/.", "/a/||DIR|0|-5"},
        {"/a/..", "/a/^/||DIR|0|-5"},
        {"", "||DIR|0|-5"},
    };
    scoped_record record;
    for (const auto &[text, state] : rows) {
        EXPECT_EQ(parse_to_pfa(record, 1, text.c_str()), 0) << text;
        EXPECT_EQ(state_of(record), state);
    }
    // Without the location types the whole text is the name.
    EXPECT_EQ(parse_to_pfa(record, 0, "x::a\\b/c.igs"), 0);
    EXPECT_EQ(state_of(record), "|x::a\\b/c|igs|0|134");
    for (const char *text : {"-0", "-05", "", "0", "01", "-", "--1", "+1", "1a", " 1", "-32769"}) {
        EXPECT_EQ(is_vers_string(text), text[0] == '-' && text[1] == '0') << text;
    }
    for (const std::size_t length : {259, 260}) {
        const bool fits = length < 260;
        const std::string text = "/" + std::string(length - 1, 'n');
        scoped_record expanded("/"), split("/");
        EXPECT_EQ(pfa_parse_to_vek_file_private(expanded, nullptr, text.c_str(), 0), fits ? 0 : 9);
        EXPECT_EQ(parse_to_pfa(split, 1, text.c_str()), fits ? 0 : 9);
        EXPECT_EQ(full_name(expanded) + full_name(split), fits ? text + text : "//");
    }
}

TEST(pfapars, ParsedNamesReadTheSameAgain) {
    std::mt19937 random(4711);
    const char alphabet[] = "ab.-013^~:|////...pPrRtT \xe9";
    int parsed = 0;
    int moved = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % (round % 50 == 0 ? 275 : 24), '?');
        for (char &character : text) {
            character = alphabet[random() % (sizeof alphabet - 1)];
        }
        scoped_record first;
        const vek_file before = *first.file;
        if (parse_to_pfa(first, 1, text.c_str()) != 0) {
            ASSERT_TRUE(same_bytes(before, first)) << text;
            continue;
        }
        char name[PFA_PATH_SIZE];
        if (pfa_get_full_name_mixed_case(first, name, 0) != 0) {
            ASSERT_STREQ(name, "");
            continue;
        }
        if (part(first, PFA_HOST) != "" && part(first, PFA_PATH)[0] != '/') {
            continue; // "host::name" is written as "host:name", which is a plain name
        }
        ++parsed;
        scoped_record second;
        ASSERT_EQ(parse_to_pfa(second, 1, name), 0) << text << " -> " << name;
        if (part(first, PFA_HOST) != part(second, PFA_HOST)) {
            ++moved; // steps that were taken back brought a colon to where a host may stand
            continue;
        }
        ASSERT_EQ(full_name(second), name) << text;
    }
    EXPECT_GT(parsed, 15000);
    EXPECT_LT(moved, 20);
}

TEST(pfapars, VariablesAreExpandedOnce) {
    setenv("PFA_A", "/x/$PFA_B\\y", 1);
    setenv("PFA_B", "bb", 1);
    setenv("PFA_NONE", "", 1);
    const char *const rows[][2] = {
        {"q\\$PFA_A\\z\\w", "q//x/$PFA_B\\y/z/w"}, // the value keeps its own separator
        {"a\\$PFA_UNSET\\$", "a\\$PFA_UNSET\\$"},
        {"$PFA_UNSET$PFA_B/$/c", "$PFA_UNSET$PFA_B/$/c"},
        {"[$PFA_NONE]", "[]"},
    };
    char out[PFA_PATH_SIZE];
    for (const auto &[in, expanded] : rows) {
        EXPECT_EQ(substitute_env_vars(in, out, sizeof out), 0) << in;
        EXPECT_STREQ(out, expanded);
    }
    for (const std::size_t length : {259, 260}) {
        setenv("PFA_LONG", std::string(length - 4, 'v').c_str(), 1);
        EXPECT_EQ(substitute_env_vars("/$PFA_LONG/ab", out, sizeof out), length < 260 ? 0 : 9);
    }
}

TEST(pfapars, StandardFormKnowsDirectories) {
    const scratch_tree tree;
    for (const char *name : {"lib", "Foo.PRT", "bar.prt", "x.dir"}) {
        std::filesystem::create_directory(tree.path + name);
    }
    write_file(tree.path + "bolt.prt.3", "");
    write_file(tree.path + "file.dir", "");
    const std::tuple<const char *, int, const char *, int> rows[] = {
        {"lib", -1, "lib/", -5},
        {"lib/", 0, "lib/", -5},
        {"new.prt.2", 1, "new.prt.2/", -5},
        {"Foo.PRT", -1, "foo.prt/", -5}, // names of this type are written in lower case
        {"BAR.PRT", -1, "bar.prt/", -5}, // and asked for in it too
        {"x.dir", -1, "x.dir/", -5},
        {"file.dir", -1, "file.dir", -6},
        {"Bolt.PRT.3", -1, "bolt.prt.3", 2},
    };
    scoped_record record;
    for (const auto &[in, directory, out, type] : rows) {
        const std::string text = tree.path + in;
        EXPECT_EQ(pfa_parse_to_vek_file_private(record, nullptr, text.c_str(), directory), 0);
        char name[PFA_PATH_SIZE];
        EXPECT_EQ(pfa_get_full_name(record, name), 0);
        EXPECT_EQ(name, tree.path + out);
        EXPECT_EQ(record->type, type) << text;
        EXPECT_EQ(pfa_to_standard_form(record), PFA_E_NOT_VALID);
    }
    // A directory whose path does not fit leaves the record to be typed again.
    scoped_record longest;
    put_state(longest, "/|" + std::string(256, 'n') + "||0|-4");
    const vek_file before = *longest.file;
    EXPECT_NE(pfa_to_standard_form_private(longest, 1), 0);
    EXPECT_TRUE(same_bytes(before, longest));
}

TEST(pfapars, PartsOfAName) {
    const std::tuple<const char *, int, int, const char *> rows[] = {
        {"h:/d/N.PRT.3", 2, 63, "h:/d/n.prt.3"},
        {"h:/d/N.PRT.3", 2, PFA_OS_NAME, "/d/n.prt.3"},
        {"h:/d/N.PRT.3", 2, PFA_DIRECTORY_NAME, "/d/"},
        {"h:/d/N.PRT.3", 134, PFA_NAME_AND_VERSION, "N.PRT.3"},
        {"h:/d/N.PRT.3", -6, PFA_INCLUDE_EXTENSION, "./"},
        {"/////h///dev/d/n.prt", 2, PFA_OS_NAME, "$dev/d/n.prt"},
        {"/////h///dev/d/n.prt", 2, PFA_INCLUDE_PATH, "/d/"},
        {"n.", -6, 63, "n."},
        {"/data/lib/", -5, PFA_NAME_AND_EXTENSION, "lib"},
    };
    scoped_record record;
    char name[PFA_PATH_SIZE];
    for (const auto &[text, type, include, expected] : rows) {
        (void)parse_to_pfa(record, 1, text);
        record->type = static_cast<std::int16_t>(type);
        const vek_file before = *record.file;
        EXPECT_EQ(pfa_get_file_name(record, include, name), 0) << text;
        EXPECT_STREQ(name, expected) << text << " " << include;
        EXPECT_TRUE(same_bytes(before, record));
    }
    // A name that doesn't fit is not cut.
    for (const std::string version : {"1", "10", "100"}) {
        scoped_record longest;
        put_state(longest, "|" + std::string(256, 'n') + "||" + version + "|-6");
        const bool fits = version.size() < 3;
        EXPECT_EQ(pfa_get_full_name(longest, name), fits ? 0 : 1);
        EXPECT_EQ(std::string(name).size(), fits ? 257 + version.size() : 0);
    }
}

TEST(pfapars, RelativeNamesAreJoinedToABase) {
    // Base, relative name and joined name; null where that climbs above the root.
    const char *const rows[][3] = {
        {"/a/b/", "c/n.prt", "/a/b/c/n.prt"}, {"/a/b/", "/n.prt", "/n.prt"},
        {"/a/b/", "../../../n.prt", nullptr}, {"/a/b/", "../c/../../n.prt", "/n.prt"},
        {"/", "../n.prt", nullptr},           {"a/b/", "../../../n.prt", "../n.prt"},
        {"/a/b/", ".//c", "/a/b/c"},          {"/a/b/", "././/c/", "/a/b/c/"},
        {"/a/b/", ".\\/c", "/a/b/c"},         {"", ".///c", "c"},
        {"h:/a/", "../../n.prt", nullptr},    {"h::a/", "../../n.prt", "h:../n.prt"},
        {"$dev/a/", "../../n.prt", nullptr},  {"", "c/n.prt", "c/n.prt"},
        {"|x/", "../n.prt", "n.prt"},         {"h::|x/", "../n.prt", "h:n.prt"},
    };
    for (const auto &[at, text, joined] : rows) {
        scoped_record base, record("/old/one.prt");
        (void)parse_to_pfa(base, 1, at);
        EXPECT_EQ(pfa_parse_to_vek_file_private(record, base, text, 0),
                  joined != nullptr ? 0 : PFA_E_ROOT_DIR);
        EXPECT_EQ(full_name(record), joined != nullptr ? joined : "/old/one.prt") << text;
    }
    // The record may be its own base, and the output any of the two.
    scoped_record self("/a/b/"), base("/a/b/"), relative("c/n.prt");
    EXPECT_EQ(pfa_parse_to_vek_file_private(self, self, "c/", -1), 0);
    EXPECT_EQ(full_name(self), "/a/b/c/");
    EXPECT_EQ(pfa_concat_locations(base, relative, base), 0);
    EXPECT_EQ(full_name(base), "/a/b/c/n.prt");
    EXPECT_EQ(pfa_concat_locations(base, relative, base), PFA_E_NOT_VALID); // no directory now
    EXPECT_EQ(concat_pfa_paths(self, base), PFA_E_ROOT_DIR);
    for (const std::size_t length : {255, 256}) {
        const std::string text(length, 'd');
        EXPECT_EQ(pfa_location_append(self, base, text.c_str()), PFA_E_INVALID_NAME);
        scoped_record root("/x/"), out;
        EXPECT_EQ(pfa_location_append(root, out, text.c_str()) == 0, length == 255);
        EXPECT_EQ(part(out, PFA_PATH), length == 255 ? "/x/" + text + "/" : "");
    }
}

TEST(pfadirpath, MakesParentAndDirectory) {
    const std::string here = location_of(pfa_get_cur_dir());
    // Name, parent (empty: there is none) and own directory.
    const std::string rows[][3] = {
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
    for (const auto &[name, parent, directory] : rows) {
        scoped_record record, made;
        (void)parse_to_pfa(record, 1, name.c_str());
        const vek_file before = *record.file;
        vek_file *extracted = extract_pfa_dir(record);
        ASSERT_NE(extracted, nullptr) << name;
        EXPECT_EQ(location_of(extracted), directory);
        (void)pfa_free_vek_file(&extracted);
        for (vek_file *out : {made.file, record.file}) {
            EXPECT_EQ(pfa_make_parent(record, out), parent.empty() ? PFA_E_ROOT_DIR : 0) << name;
            if (!parent.empty()) {
                EXPECT_EQ(location_of(out), parent) << name;
                EXPECT_EQ(out->type * 10 + out->version, -50);
            }
        }
        EXPECT_TRUE(!parent.empty() || same_bytes(before, record)) << name;
    }
}

// HOME and the working directory are read at the first use.
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
    EXPECT_EQ(pfa_get_home_dir(record), 0);
    EXPECT_EQ(state_of(record), "/u/me.prt.2/||DIR|0|-5");
    const std::string n246(246, 'n');
    const std::string rows[][2] = {{"~/x", "/u/me.prt.2/x"},
                                   {"~", "/u/me.prt.2/"},
                                   {"~\\x", "/u/me.prt.2/x"},
                                   {"~you/x", ""},
                                   {"a~/x", "a~/x"},
                                   {"$HOME/x", "/later/x"},
                                   {"~/" + n246 + "n", "/u/me.prt.2/" + n246 + "n"},
                                   {"~/" + n246 + "nn", ""}};
    for (const auto &[text, name] : rows) { // without a name: refused
        EXPECT_EQ(pfa_parse_to_vek_file(record, text.c_str()), name.empty() ? 9 : 0);
        EXPECT_TRUE(name.empty() || full_name(record) == name) << text;
    }
}

void expect_working_directory_once() {
    scratch_tree tree;
    EXPECT_EQ(get_Cur_Dir(), nullptr);
    std::filesystem::current_path(tree.path);
    vek_file *current = pfa_get_cur_dir();
    std::filesystem::current_path("/");
    EXPECT_EQ(location_of(current), tree.path);
    EXPECT_TRUE(pfa_get_cur_dir() == current && get_Cur_Dir() == current);
    scoped_record relative("x/"), absolute(tree.path);
    load_pfa_cur_dir(relative); // is no place: that of the process
    EXPECT_EQ(location_of(current), "/");
    EXPECT_EQ(pfa_open_dir(current), 0);
    load_pfa_cur_dir(absolute);
    EXPECT_EQ(location_of(current), tree.path);
    EXPECT_EQ(current->flags, 0u);
    EXPECT_EQ(pfa_make_absolute_path(relative), 0);
    EXPECT_EQ(location_of(relative), tree.path + "x/");
    // A working directory whose name reads as another, then one that exists no more.
    std::filesystem::create_directory(tree.path + "a\\b");
    std::filesystem::current_path(tree.path + "a\\b");
    load_pfa_cur_dir(nullptr); // must not be that of tree.path + "a/b/"
    EXPECT_EQ(location_of(current), "");
    std::filesystem::remove_all(tree.path);
    load_pfa_cur_dir(absolute);
    load_pfa_cur_dir(nullptr);
    EXPECT_EQ(location_of(current), "");
    EXPECT_EQ(pfa_make_parent(current, absolute), PFA_E_ROOT_DIR);
    EXPECT_EQ(pfa_open_dir(scoped_record("y/")), PFA_E_INVALID_NAME);
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
    EXPECT_EQ(first_other_result([&] { return pfa_parse_to_vek_file(record, "~/bolt.prt"); }), 0);
    int version = 0;
    EXPECT_EQ(first_other_result([&] { return pfa_get_file_vers(record, 2, &version); }), 0);
    EXPECT_EQ(version, 1);
}

TEST(pfacurdir_death, HomeAndTheWorkingDirectoryAreReadOnce) {
    expect_in_own_process(expect_home_once);
    expect_in_own_process(expect_out_of_memory_is_told);
    expect_in_own_process(expect_working_directory_once);
}

bool is_cached(const std::string &key) {
    return pfa_dir_from_cache(key.c_str(), nullptr, nullptr, 1, nullptr, 0) != 0;
}

int record_changed(const char *name) {
    return pfa_dir_cache_update(scoped_record(name));
}

int write_file(const char *name) {
    scoped_record record(name);
    return pfa_fopen(record, 0, "w");
}

int move_nothing(const char *name) {
    return dci_rename("/no/such/file", name) + 1;
}

// Whatever the form of the name, the listing is found, nothing expanded and errno kept.
TEST(pfadircache_update, FindsTheListingThatANoticeConcerns) {
    scratch_tree tree;
    std::filesystem::create_directories(tree.path + "sub/$HOME");
    const std::string sub = tree.path + "sub/";
    const std::string here = std::filesystem::current_path().string() + "/";
    const std::string from_here = std::filesystem::relative(sub, here).string();
    const auto file_changed = pfa_file_name_update_dir_cache;
    const auto directory_changed = pfa_dir_name_update_cache;
    const std::tuple<std::string, int (*)(const char *), std::string> rows[] = {
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
        {sub, write_file, sub + "x"},
    };
    for (const auto &[key, notice, name] : rows) {
        scoped_record opened;
        (void)parse_to_pfa(opened, 1, key.c_str());
        ASSERT_EQ(pfa_open_dir(opened) + pfa_close(opened), 0) << key;
        ASSERT_TRUE(is_cached(key));
        errno = ENOENT;
        EXPECT_EQ(notice(name.c_str()), 0);
        EXPECT_TRUE(errno == ENOENT || notice == write_file);
        EXPECT_FALSE(is_cached(key)) << name;
    }
}

} // namespace
