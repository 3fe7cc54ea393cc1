// Directory paths and object types of a record.
#include "coretools/ctpfa/pfaput.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfaget.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/record_state.h"

#include <gtest/gtest.h>

namespace {

std::string repeated(const std::string &text, int count) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

std::string displayed(vek_file *record) {
    char text[PFA_PATH_SIZE] = "#";
    return pfa_get_path(record, text) == 0 ? text : "does not fit" + std::string(text);
}

TEST(pfaput, PathsAreStoredAndDisplayed) {
    const struct {
        std::string path, stored, displayed;
    } rows[] = {
        {"", "", ""},
        {"a\\b\\..\\c", "a/b/^/c/", "a/c/"},
        {"././b", "b/", "b/"},
        {"a/../b", "a/^/b/", "b/"},
        {"a/../../b", "a/^/^/b/", "../b/"},
        {"a/b/../../c/", "a/b/^/^/c/", "c/"},
        {"/a/../../b/", "/a/^/^/b/", "/../b/"},
        {"..", "../", "../"},
        {"a/..", "a/../", "a/../"},
        {"//a///c", "//a///c/", "/a/c/"},
        {"a//../b", "a//^/b/", "b/"},
        {".../.x/..y/z..", ".../.x/..y/z../", ".../.x/..y/z../"},
        // Only a whole segment steps up.
        {"^old/rev^2/x^/", "^old/rev^2/x^/", "^old/rev^2/x^/"},
        {"a/^/", "a/^/", ""},
        {"^", "^/", "../"},
        // The last that fit. Parent steps grow when they are displayed; what is taken back again
        // needs no room.
        {repeated("d", 258), repeated("d", 258) + "/", repeated("d", 258) + "/"},
        {repeated("^/", 86), repeated("^/", 86), repeated("../", 86)},
        {repeated("^/", 87), repeated("^/", 87), "does not fit"},
        {repeated("^/", 86) + repeated("d", 80) + "/^/",
         repeated("^/", 86) + repeated("d", 80) + "/^/", repeated("../", 86)},
    };
    for (const auto &row : rows) {
        scoped_record record;
        EXPECT_EQ(pfa_put_path(record, row.path.c_str()), 0) << row.path;
        EXPECT_EQ(part(record, PFA_PATH), row.stored) << row.path;
        EXPECT_EQ(displayed(record), row.displayed) << row.path;
    }
    scoped_record record;
    EXPECT_EQ(pfa_put_path(record, repeated("d", 259).c_str()), PFA_E_INVALID_INPUT);
}

TEST(pfaput, TypesChangeTheFormOfARecord) {
    const std::string n40(40, 'n');
    const std::string n252(252, 'n');
    const struct {
        std::string before;
        int type, lower, result;
        std::string after;
    } rows[] = {
        {"/a/|b|prt|3|2", -5, 1, 0, "/a/b.prt.3/||DIR|0|-5"},
        {"/a/|B|PRT|0|2", -5, 1, 0, "/a/b.prt/||DIR|0|-5"}, // the case of the old type
        {"/a/|B|IGS|0|134", -5, 1, 0, "/a/B.IGS/||DIR|0|-5"},
        {"|b||0|-6", -5, 1, 0, "b/||DIR|0|-5"},
        // A path of 256 characters and DIR just fit.
        {"/a/|" + n252 + "||0|-6", -5, 1, 0, "/a/" + n252 + "/||DIR|0|-5"},
        {"/a/|" + n252 + "n||0|-6", -5, 1, 9, "/a/|" + n252 + "n||0|-6"},
        {"/a/|b|prt|3|2", -6, 1, 0, "/a/|b|prt|3|-6"},
        {"/a/b/||DIR|0|-5", -6, 1, 0, "/a/b/||DIR|0|-6"},
        {"/a/|b|x|0|-6", -4, 1, 0, "/a/|b|x|0|-4"},
        {"/a/|b|prt|0|2", -4, 1, 9, "/a/|b|prt|0|2"},
        {"/a/b/||DIR|0|-5", -4, 1, 0, "/a/|b||0|-4"},
        {"/a/|b|prt|3|2", 4, 0, 0, "/a/|b|DRW|3|4"},
        {"/a/b/||DIR|0|-5", 2, 1, 0, "/a/|b|prt|0|2"},
        {"b/||DIR|0|-5", 2, 1, 0, "|b|prt|0|2"},
        {"/" + n40 + "/||DIR|0|-5", 2, 1, 0, "/" + n40 + "/||prt|0|2"}, // too long for a name
        {"/" + n40 + "/||DIR|0|-5", -4, 1, 0, "/|" + n40 + "||0|-4"},
        {"/a/b/||DIR|0|-5", 821, 1, 9, "/a/b/||DIR|0|-5"}, // a type without extension
        {"/a/|b|xyz|1|2", 2, 1, 0, "/a/|b|xyz|1|2"},
    };
    for (const auto &row : rows) {
        scoped_record record;
        put_state(record, row.before);
        EXPECT_EQ(pfa_put_obj_type_lower(record, row.type, row.lower), row.result) << row.before;
        EXPECT_EQ(state_of(record), row.after) << row.before;
    }
}

TEST(pfaput, TheTypeFollowsFromNameAndExtension) {
    const struct {
        const char *extension;
        int name_length, name_invalid;
        int type;
    } rows[] = {{"", 4, 0, -6},      {"PrT", 4, 0, 2},   {"prt", 31, 0, 2}, {"prt", 32, 0, -6},
                {"emn", 65, 0, 569}, {"emn", 66, 0, -6}, {"prt", 4, 1, -6}, {"igs", 4, 1, 134},
                {"dir", 4, 0, -6},   {"txt", 4, 0, -6},  {"tpm", 4, 0, -7}};
    for (const auto &row : rows) {
        scoped_record record;
        pfa_put_component(record, PFA_EXTENSION, row.extension);
        EXPECT_EQ(pfa_put_extension_to_type(record, row.name_length, row.name_invalid), 0);
        EXPECT_EQ(record->type, row.type) << row.extension << " " << row.name_length;
    }
    // A directory that turns out to be a file gets its name back.
    scoped_record record;
    put_state(record, "/a/b/||prt|0|-5");
    EXPECT_EQ(pfa_put_extension_to_type(record, 1, 0), 0);
    EXPECT_EQ(state_of(record), "/a/|b|prt|0|2");

    put_state(record, "|||0|2");
    EXPECT_EQ(pfa_put_name(record, "part_01-b"), 0);
    EXPECT_EQ(state_of(record), "|part_01-b||0|2");
    EXPECT_EQ(pfa_put_name(record, "part.01"), 0);
    EXPECT_EQ(state_of(record), "|part.01||0|-6");
    record->type = 2;
    EXPECT_EQ(pfa_put_name(record, std::string(32, 'n').c_str()), 0);
    EXPECT_EQ(record->type, OBJ_TYPE_NO_MEMBER);
}

} // namespace
