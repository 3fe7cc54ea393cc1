// Names into path records and back: the split, expansion, standard form, selected parts and joins.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfapars_internal.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

namespace {

std::string full_name(const vek_file *record) {
    char name[PFA_PATH_SIZE] = "#";
    EXPECT_EQ(pfa_get_full_name_mixed_case(record, name, 0), PFA_E_NO_ERROR);
    return name;
}

TEST(Split, NameExtensionVersionAndTypeGuess) {
    const struct {
        const char *name;
        const char *state; // path|name|extension|version|type
    } rows[] = {
        {"part.prt.03", "|part.prt|03|0|-6"},
        {"part.prt.-7", "|part|prt|-7|2"},
        {"part.3", "|part||3|-6"},
        {".x.prt.3", "|.x.prt.3||0|-6"},
        {"part..3", "|part.||3|-6"},
        {"we ird.igs", "|we ird|igs|0|134"},
        {"/a/..", "/a/^/||DIR|0|-5"},
    };
    scoped_record record;
    for (const auto &row : rows) {
        EXPECT_EQ(parse_to_pfa(record, 1, row.name), PFA_E_NO_ERROR) << row.name;
        EXPECT_EQ(state_of(record), row.state);
        EXPECT_EQ(pfa_parse_to_vek_file_private(record, nullptr, row.name, PFA_NO_DIRECTORY),
                  PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), row.state) << "the standard form";
    }
}

// Whatever can be parsed is written as a name that parses to the same record.
TEST(Split, RandomNamesReadTheSameAgain) {
    std::mt19937 random(4711);
    const char alphabet[] = "ab.-013^~:|////...pPrRtT \xe9";
    int same = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % (round % 50 == 0 ? 275 : 24), '?');
        for (char &character : text) {
            character = alphabet[random() % (sizeof alphabet - 1)];
        }
        scoped_record first, second;
        if (parse_to_pfa(first, 1, text.c_str()) != PFA_E_NO_ERROR) {
            ASSERT_TRUE(same_bytes(*second.file, first)) << text;
            continue;
        }
        char name[PFA_PATH_SIZE];
        if (pfa_get_full_name_mixed_case(first, name, 0) != PFA_E_NO_ERROR) {
            ASSERT_STREQ(name, "");
            continue;
        }
        ASSERT_EQ(parse_to_pfa(second, 1, name), PFA_E_NO_ERROR) << text << " -> " << name;
        // A "host::name" is written as "host:name", which is a plain name, and steps that were
        // taken back can bring a colon to where a host may stand.
        const bool host_moves =
            !part(first, PFA_HOST).empty() && !part(first, PFA_PATH).starts_with('/');
        if (!host_moves && part(first, PFA_HOST) == part(second, PFA_HOST)) {
            ASSERT_EQ(full_name(second), name) << text;
            ++same;
        }
    }
    EXPECT_GT(same, 15000);
}

TEST(Expansion, VariablesAreExpandedOnce) {
    setenv("PFA_A", "/x/$PFA_B\\y", 1);
    setenv("PFA_B", "bb", 1);
    char out[PFA_PATH_SIZE];
    EXPECT_EQ(substitute_env_vars("q\\$PFA_A\\z\\w", out, sizeof out), PFA_E_NO_ERROR);
    EXPECT_STREQ(out, "q//x/$PFA_B\\y/z/w") << "the value keeps its own separator";
    EXPECT_EQ(substitute_env_vars("a\\$PFA_UNSET\\$", out, sizeof out), PFA_E_NO_ERROR);
    EXPECT_STREQ(out, "a\\$PFA_UNSET\\$");
    setenv("PFA_LONG", std::string(PFA_PATH_SIZE - 5, 'v').c_str(), 1);
    EXPECT_EQ(substitute_env_vars("/$PFA_LONG/ab", out, sizeof out), PFA_E_NO_ERROR);
    EXPECT_EQ(substitute_env_vars("/$PFA_LONG/abc", out, sizeof out), PFA_E_INVALID_INPUT);
}

TEST(StandardForm, TypesFilesAndKnowsDirectories) {
    const scratch_tree tree;
    for (const char *name : {"lib", "Foo.PRT", "bar.prt"}) {
        tree.dir(name);
    }
    tree.file("bolt.prt.3");
    const struct {
        const char *name;
        int directory;
        const char *full_name;
        int type;
    } rows[] = {
        {"lib", PFA_ASK_LOCATION, "lib/", OBJ_TYPE_DIRECTORY},
        {"lib/", PFA_NO_DIRECTORY, "lib/", OBJ_TYPE_DIRECTORY},
        {"new.prt.2", PFA_DIRECTORY, "new.prt.2/", OBJ_TYPE_DIRECTORY},
        {"Foo.PRT", PFA_ASK_LOCATION, "foo.prt/", OBJ_TYPE_DIRECTORY}, // written in lower case
        {"BAR.PRT", PFA_ASK_LOCATION, "bar.prt/", OBJ_TYPE_DIRECTORY}, // and asked for in it too
        {"Bolt.PRT.3", PFA_ASK_LOCATION, "bolt.prt.3", 2},
    };
    scoped_record record;
    for (const auto &row : rows) {
        EXPECT_EQ(
            pfa_parse_to_vek_file_private(record, nullptr, tree(row.name).c_str(), row.directory),
            PFA_E_NO_ERROR);
        char name[PFA_PATH_SIZE];
        EXPECT_EQ(pfa_get_full_name(record, name), PFA_E_NO_ERROR);
        EXPECT_EQ(name, tree(row.full_name));
        EXPECT_EQ(record->type, row.type) << row.name;
    }
}

TEST(FullName, SelectedParts) {
    constexpr int ALL = PFA_INCLUDE_HOST | PFA_OS_NAME;
    const struct {
        const char *name;
        int type;
        int include;
        const char *written;
    } rows[] = {
        {"h:/d/N.PRT.3", 2, ALL, "h:/d/n.prt.3"},
        {"h:/d/N.PRT.3", 2, PFA_OS_NAME, "/d/n.prt.3"},
        {"h:/d/N.PRT.3", 2, PFA_DIRECTORY_NAME, "/d/"},
        {"h:/d/N.PRT.3", 134, PFA_NAME_AND_VERSION, "N.PRT.3"},
        {"/////h///dev/d/n.prt", 2, PFA_OS_NAME, "$dev/d/n.prt"},
        {"/data/lib/", OBJ_TYPE_DIRECTORY, PFA_NAME_AND_EXTENSION, "lib"},
    };
    scoped_record record;
    for (const auto &row : rows) {
        ASSERT_EQ(parse_to_pfa(record, 1, row.name), PFA_E_NO_ERROR);
        record->type = static_cast<std::int16_t>(row.type);
        char name[PFA_PATH_SIZE];
        EXPECT_EQ(pfa_get_file_name(record, row.include, name), PFA_E_NO_ERROR) << row.name;
        EXPECT_STREQ(name, row.written) << row.name << " " << row.include;
    }
}

TEST(Join, RelativeNamesAreReadBelowTheirBase) {
    const struct {
        const char *base;
        const char *name;
        const char *joined; // null: it climbs above the root
    } rows[] = {
        {"/a/b/", "c/n.prt", "/a/b/c/n.prt"},   {"/a/b/", "../c/../../n.prt", "/n.prt"},
        {"/a/b/", "../../../n.prt", nullptr},   {"a/b/", "../../../n.prt", "../n.prt"},
        {"h::a/", "../../n.prt", "h:../n.prt"}, {"$dev/a/", "../../n.prt", nullptr},
        {"|x/", "../n.prt", "n.prt"},           {"/a/b/", ".\\/c", "/a/b/c"}}; // read as "/c" once
    for (const auto &row : rows) {
        scoped_record base, record("/old/one.prt");
        ASSERT_EQ(parse_to_pfa(base, 1, row.base), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_parse_to_vek_file_private(record, base, row.name, PFA_NO_DIRECTORY),
                  row.joined != nullptr ? PFA_E_NO_ERROR : PFA_E_ROOT_DIR)
            << row.name;
        EXPECT_EQ(full_name(record), row.joined != nullptr ? row.joined : "/old/one.prt");
    }
}

// Called directly: parsing has a roll-back of its own, which would hide one that is missing here.
TEST(Join, AFailureLeavesTheOutputAsItWas) {
    scoped_record base("/a/"), climbing("../../x"), pathless("/////h|"), out("/old/one.prt");
    const vek_file before = *out.file;
    EXPECT_EQ(pfa_concat_locations(base, climbing, out), PFA_E_ROOT_DIR);
    EXPECT_TRUE(same_bytes(before, out));
    EXPECT_EQ(pfa_make_subdir(base, "../../", out), PFA_E_ROOT_DIR);
    EXPECT_TRUE(same_bytes(before, out));
    const std::string too_long(PFA_PATH_SIZE - 2, 'n');
    EXPECT_EQ(pfa_location_append(pathless, out, too_long.c_str()), PFA_E_INVALID_INPUT);
    EXPECT_TRUE(same_bytes(before, out));
}

TEST(Join, TheOutputMayBeAnInput) {
    scoped_record self("/a/b/"), base("/a/b/"), relative("c/n.prt");
    EXPECT_EQ(pfa_parse_to_vek_file_private(self, self, "c/", PFA_ASK_LOCATION), PFA_E_NO_ERROR);
    EXPECT_EQ(full_name(self), "/a/b/c/");
    EXPECT_EQ(pfa_concat_locations(base, relative, base), PFA_E_NO_ERROR);
    EXPECT_EQ(full_name(base), "/a/b/c/n.prt");
}

} // namespace
