// Names into records and back: the split, expansion, standard form, selected parts and joining.
#include "coretools/ctpfa/pfapars.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfapars_internal.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/memory_location.h"
#include "tests/coretools/ctpfa/record_state.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>

namespace {

std::string full_name(vek_file *record) {
    char name[PFA_PATH_SIZE] = "#";
    EXPECT_EQ(pfa_get_full_name_mixed_case(record, name, 0), 0);
    return name;
}

TEST(pfapars, NamesAreSplit) {
    const std::string n31(31, 'n');
    const struct {
        std::string text;
        std::string state;
    } rows[] = {
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
    for (const auto &row : rows) {
        scoped_record record;
        EXPECT_EQ(parse_to_pfa(record, 1, row.text.c_str()), 0) << row.text;
        EXPECT_EQ(state_of(record), row.state);
    }
    // Without the location types the whole text is the name.
    scoped_record record;
    EXPECT_EQ(parse_to_pfa(record, 0, "x::a\\b/c.igs"), 0);
    EXPECT_EQ(state_of(record), "|x::a\\b/c|igs|0|134");
    for (const char *text : {"-0", "-05", "", "0", "01", "-", "--1", "+1", "1a", " 1", "-32769"}) {
        EXPECT_EQ(is_vers_string(text), text[0] == '-' && text[1] == '0') << text;
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
    unsetenv("PFA_UNSET");
    const struct {
        const char *in;
        const char *out;
    } rows[] = {
        {"q\\$PFA_A\\z\\w", "q//x/$PFA_B\\y/z/w"}, // the value keeps its own separator
        {"a\\$PFA_UNSET\\$", "a\\$PFA_UNSET\\$"},
        {"$PFA_UNSET$PFA_B/$/c", "$PFA_UNSET$PFA_B/$/c"},
        {"[$PFA_NONE]", "[]"},
    };
    char out[PFA_PATH_SIZE];
    for (const auto &row : rows) {
        EXPECT_EQ(substitute_env_vars(row.in, out, sizeof out), 0) << row.in;
        EXPECT_STREQ(out, row.out);
    }
    for (const std::size_t length : {258, 259, 260}) {
        setenv("PFA_LONG", std::string(length - 4, 'v').c_str(), 1);
        EXPECT_EQ(substitute_env_vars("/$PFA_LONG/ab", out, sizeof out), length < 260 ? 0 : 9);
    }
}

// Needs a process of its own, in which HOME has not been asked for yet.
void expect_home() {
    scoped_record record;
    setenv("HOME", "~", 1);
    EXPECT_EQ(pfa_parse_to_vek_file(record, "~/x"), 9);
    setenv("HOME", "/u/me", 1);
    const std::string n252(252, 'n');
    const struct {
        std::string text;
        std::string name; // empty: refused
    } rows[] = {{"~/x", "/u/me/x"},
                {"~", "/u/me/"},
                {"~\\x", "/u/me/x"},
                {"~you/x", ""},
                {"a~/x", "a~/x"},
                {"$HOME/x", "/u/me/x"},
                {"~/" + n252 + "n", "/u/me/" + n252 + "n"},
                {"~/" + n252 + "nn", ""}};
    for (const auto &row : rows) {
        EXPECT_EQ(pfa_parse_to_vek_file(record, row.text.c_str()), row.name.empty() ? 9 : 0);
        EXPECT_TRUE(row.name.empty() || full_name(record) == row.name) << row.text;
    }
}

TEST(pfapars_death, TheHomeDirectoryStandsForATilde) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            expect_home();
            std::exit(HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(pfapars, StandardFormKnowsDirectories) {
    const scratch_tree tree;
    for (const char *name : {"lib", "Foo.PRT", "bar.prt", "x.dir"}) {
        std::filesystem::create_directory(tree.path + name);
    }
    write_text(tree.path + "bolt.prt.3", "");
    write_text(tree.path + "file.dir", "");
    std::filesystem::create_symlink("loop", tree.path + "loop");
    const struct {
        const char *text;
        int directory;
        const char *name;
        int type;
    } rows[] = {
        {"lib", -1, "lib/", -5},
        {"lib/", 0, "lib/", -5},
        {"new.prt.2", 1, "new.prt.2/", -5},
        {"Foo.PRT", -1, "foo.prt/", -5}, // names of this type are written in lower case
        {"BAR.PRT", -1, "bar.prt/", -5}, // and asked for in it too
        {"x.dir", -1, "x.dir/", -5},
        {"file.dir", -1, "file.dir", -6},
        {"Bolt.PRT.3", -1, "bolt.prt.3", 2},
    };
    for (const auto &row : rows) {
        scoped_record record;
        const std::string text = tree.path + row.text;
        EXPECT_EQ(pfa_parse_to_vek_file_private(record, nullptr, text.c_str(), row.directory), 0);
        char name[PFA_PATH_SIZE];
        EXPECT_EQ(pfa_get_full_name(record, name), 0);
        EXPECT_EQ(name, tree.path + row.name);
        EXPECT_EQ(record->type, row.type) << row.text;
        EXPECT_EQ(pfa_to_standard_form(record), PFA_E_NOT_VALID);
    }
    // What the folder test met stays in errno.
    const struct {
        const char *text;
        int error;
    } looks[] = {{"none.prt", ENOENT}, {"loop", ELOOP}, {"bolt.prt.3/x", ENOTDIR}};
    for (const auto &look : looks) {
        scoped_record record;
        parse_to_pfa(record, 1, (tree.path + look.text).c_str());
        record->type = OBJ_TYPE_NOT_YET;
        EXPECT_EQ(pfa_to_standard_form(record), 0);
        EXPECT_EQ(errno, look.error) << look.text;
    }
    // A directory whose path does not fit leaves the record to be typed again.
    scoped_record record;
    put_state(record, "/|" + std::string(256, 'n') + "||0|-4");
    const vek_file before = *record.file;
    EXPECT_NE(pfa_to_standard_form_private(record, 1), 0);
    EXPECT_TRUE(same_bytes(before, record));
}

TEST(pfapars, PartsOfAName) {
    const struct {
        const char *text;
        int type, include, result;
        const char *name;
    } rows[] = {
        {"h:/d/N.PRT.3", 2, 63, 0, "h:/d/n.prt.3"},
        {"h:/d/N.PRT.3", 2, PFA_OS_NAME, 0, "/d/n.prt.3"},
        {"h:/d/N.PRT.3", 2, PFA_DIRECTORY_NAME, 0, "/d/"},
        {"h:/d/N.PRT.3", 134, PFA_NAME_AND_VERSION, 0, "N.PRT.3"},
        {"h:/d/N.PRT.3", -6, PFA_INCLUDE_EXTENSION, 0, "./"},
        {"/////h///dev/d/n.prt", 2, PFA_OS_NAME, 0, "$dev/d/n.prt"},
        {"/////h///dev/d/n.prt", 2, PFA_INCLUDE_PATH, 0, "/d/"},
        {"n.", -6, 63, 0, "n."},
        {"/data/lib/", -5, PFA_NAME_AND_EXTENSION, 0, "lib"},
        {"mem:/d/n.prt", 2, PFA_NAME_AND_EXTENSION, 0, "n.prt"},
        {"mem:/d/n.prt", 2, PFA_OS_NAME, PFA_E_INVALID_INPUT, ""},
    };
    fresh_memory_store();
    char name[PFA_PATH_SIZE];
    for (const auto &row : rows) {
        scoped_record record;
        parse_to_pfa(record, 1, row.text);
        record->type = static_cast<std::int16_t>(row.type);
        const vek_file before = *record.file;
        EXPECT_EQ(pfa_get_file_name(record, row.include, name), row.result) << row.text;
        EXPECT_STREQ(name, row.name) << row.text << " " << row.include;
        EXPECT_TRUE(same_bytes(before, record));
    }
    // A name that doesn't fit is not cut.
    scoped_record record;
    for (const std::string version : {"1", "10", "100"}) {
        put_state(record, "|" + std::string(256, 'n') + "||" + version + "|-6");
        const bool fits = version.size() < 3;
        EXPECT_EQ(pfa_get_full_name(record, name), fits ? 0 : 1);
        EXPECT_EQ(std::strlen(name), fits ? 257 + version.size() : 0);
    }
}

TEST(pfapars, RelativeNamesAreJoinedToABase) {
    const struct {
        const char *base;
        const char *text;
        const char *name; // null: climbs above the root
    } rows[] = {
        {"/a/b/", "c/n.prt", "/a/b/c/n.prt"}, {"/a/b/", "/n.prt", "/n.prt"},
        {"/a/b/", "../../../n.prt", nullptr}, {"/a/b/", "../c/../../n.prt", "/n.prt"},
        {"/", "../n.prt", nullptr},           {"a/b/", "../../../n.prt", "../n.prt"},
        {"h:/a/", "../../n.prt", nullptr},    {"h::a/", "../../n.prt", "h:../n.prt"},
        {"$dev/a/", "../../n.prt", nullptr},  {"", "c/n.prt", "c/n.prt"},
        {"|x/", "../n.prt", "n.prt"},         {"h::|x/", "../n.prt", "h:n.prt"},
        {"mem:/a/", "../../n.prt", nullptr},  {"mem:/a/", "c/n.prt", "mem:/a/c/n.prt"},
    };
    fresh_memory_store();
    for (const auto &row : rows) {
        scoped_record base;
        scoped_record record("/old/one.prt");
        parse_to_pfa(base, 1, row.base);
        EXPECT_EQ(pfa_parse_to_vek_file_private(record, base, row.text, 0),
                  row.name != nullptr ? 0 : PFA_E_ROOT_DIR);
        EXPECT_EQ(full_name(record), row.name != nullptr ? row.name : "/old/one.prt") << row.text;
    }
    // The record may be its own base, and the output any of the two.
    scoped_record self("/a/b/");
    EXPECT_EQ(pfa_parse_to_vek_file_private(self, self, "c/", -1), 0);
    EXPECT_EQ(full_name(self), "/a/b/c/");
    scoped_record base("/a/b/");
    scoped_record relative("c/n.prt");
    EXPECT_EQ(pfa_concat_locations(base, relative, base), 0);
    EXPECT_EQ(full_name(base), "/a/b/c/n.prt");
    EXPECT_EQ(pfa_concat_locations(base, relative, base), PFA_E_NOT_VALID); // no directory now
    EXPECT_EQ(concat_pfa_paths(self, base), PFA_E_ROOT_DIR);
    EXPECT_EQ(pfa_location_append(relative, self, "x"), PFA_E_INVALID_INPUT);
    for (const std::size_t length : {255, 256}) {
        const std::string text(length, 'd');
        EXPECT_EQ(pfa_location_append(self, base, text.c_str()), PFA_E_INVALID_NAME);
        scoped_record root("/x/");
        scoped_record out;
        EXPECT_EQ(pfa_location_append(root, out, text.c_str()) == 0, length == 255);
        EXPECT_EQ(part(out, PFA_PATH), length == 255 ? "/x/" + text + "/" : "");
    }
}

TEST(pfapars, BadArgumentsAreAnswered) {
    scoped_record record("/a/b.prt");
    const vek_file before = *record.file;
    vek_file freed = before;
    freed.magic = 0;
    char out[PFA_PATH_SIZE];
    for (vek_file *bad : {static_cast<vek_file *>(nullptr), &freed}) {
        for (const int result :
             {pfa_parse_to_vek_file(bad, "x"), parse_to_pfa(bad, 1, "x"), pfa_to_standard_form(bad),
              pfa_concat_locations(bad, record, record), pfa_concat_locations(record, bad, record),
              pfa_concat_locations(record, record, bad), concat_pfa_paths(record, bad),
              pfa_location_append(bad, record, "x"), pfa_get_full_name(bad, out),
              pfa_get_file_name(bad, PFA_OS_NAME, out), pfa_get_full_name(record, nullptr)}) {
            EXPECT_EQ(result, PFA_E_NOT_VALID);
        }
    }
    const std::string text = "/" + std::string(299, 'n');
    for (const std::size_t length : {258, 259, 260, 300}) {
        const std::string start = text.substr(0, length);
        for (const int result : {pfa_parse_to_vek_file_private(record, nullptr, start.c_str(), 0),
                                 parse_to_pfa(record, 1, start.c_str())}) {
            EXPECT_EQ(result, length < 260 ? 0 : PFA_E_INVALID_INPUT) << length;
            EXPECT_EQ(full_name(record), text.substr(0, std::min<std::size_t>(length, 259)));
        }
    }
    for (const int result :
         {pfa_parse_to_vek_file(record, nullptr), parse_to_pfa(record, 1, nullptr),
          pfa_parse_to_vek_file(pfa_get_cur_dir(), "x")}) {
        EXPECT_EQ(result, PFA_E_INVALID_INPUT);
    }
}

} // namespace
