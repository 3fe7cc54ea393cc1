// The components, path, type and host of a record, and what the calls make of bad arguments.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "coretools/ctsyscall/hostname.h"
#include "tests/support/path_records.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <random>

#include <gtest/gtest.h>

namespace {

using model = std::array<std::string, PFA_COMPONENTS>;

std::string joined(const model &parts) {
    return std::accumulate(parts.begin(), parts.end(), std::string());
}

void expect_same(const vek_file *record, const model &parts) {
    ASSERT_EQ(std::string(record->text), joined(parts));
    int at = 0;
    for (int i = 0; i < PFA_COMPONENTS; ++i) {
        ASSERT_EQ(record->bounds[i].start, at);
        at += pfa_component_length(record, i);
        ASSERT_EQ(record->bounds[i].end, at);
        ASSERT_EQ(part(record, i), parts[i]);
    }
}

TEST(Component, RandomStoresAgreeWithSixStrings) {
    std::mt19937 random(20260);
    const auto below = [&random](int limit) { return static_cast<int>(random() % limit); };
    scoped_record records[2];
    model models[2];
    int refused = 0;
    for (int step = 0; step < 20000; ++step) {
        const int which = below(2);
        vek_file *record = records[which];
        model changed = models[which];
        const int index = below(PFA_COMPONENTS);
        std::string text(below(130), 'a');
        std::generate(text.begin(), text.end(), [&] { return char('A' + below(58)); });
        pfa_status result = PFA_E_NO_ERROR;
        switch (below(4)) {
        case 0:
            changed[index] = text;
            result = pfa_put_component(record, index, text.c_str());
            break;
        case 1:
            changed[index] = text.substr(0, text.size() / 2);
            result = pfa_put_component_len(record, index, text.c_str(), int(text.size() / 2));
            break;
        case 2:
            changed[index] = models[1 - which][index];
            result = pfa_copy_component(records[1 - which], record, index);
            break;
        default:
            std::copy_n(models[1 - which].begin(), 3, changed.begin());
            result = pfa_copy_location(records[1 - which], record);
            break;
        }
        const bool fits = joined(changed).size() < PFA_PATH_SIZE;
        ASSERT_EQ(result, fits ? PFA_E_NO_ERROR : PFA_E_INVALID_INPUT);
        refused += !fits;
        if (fits) {
            models[which] = changed;
        }
        ASSERT_NO_FATAL_FAILURE(expect_same(record, models[which]));

        // Appending it, with room for the text and without.
        const std::string &now = models[which][index];
        std::string out(400, '#');
        std::int16_t length = below(40);
        const std::string before = out.substr(0, length);
        const int spare = below(3);
        const int capacity = length + int(now.size()) + spare;
        const bool room = spare > 0 || now.empty();
        ASSERT_EQ(pfa_append_component_lower(record, index, out.data(), &length, capacity, 0),
                  room ? PFA_E_NO_ERROR : PFA_E_ERROR);
        ASSERT_EQ(out.substr(0, length), room ? before + now : before);
        ASSERT_EQ(out[capacity], '#');
    }
    EXPECT_GT(refused, 1000);
}

TEST(Component, Compares) {
    const scoped_record record("/x/Part.prt");
    const struct {
        const char *text;
        int length;
        int difference;
    } rows[] = {
        {"Part", -1, 0}, {"par", -1, 1}, {"Party", 4, 0}, {nullptr, -1, 4}, {"Party", 5, -1}};
    for (const auto &row : rows) {
        EXPECT_EQ(pfa_component_strcmp(record, PFA_NAME, row.text, row.length), row.difference);
        EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, row.text, row.length), row.difference);
    }
    EXPECT_LT(pfa_component_strcmp(record, PFA_NAME, "part", -1), 0);
    EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, "pArt", -1), 0);
}

TEST(Component, FirstAndLastCharacter) {
    const scoped_record record("/x/Part.prt");
    char character = '?';
    EXPECT_EQ(pfa_component_last_char(record, PFA_PATH, &character), PFA_E_NO_ERROR);
    EXPECT_EQ(character, '/');
    EXPECT_EQ(pfa_component_first_char(record, PFA_NAME, &character), PFA_E_NO_ERROR);
    EXPECT_EQ(character, 'P');
    EXPECT_EQ(pfa_component_first_char(record, PFA_HOST, &character), PFA_E_NOT_FOUND);
}

TEST(Path, IsDisplayedWithItsParentStepsTakenBack) {
    const scoped_record record;
    char displayed[PFA_PATH_SIZE];
    EXPECT_EQ(pfa_put_path(record, "a\\b\\..\\c"), PFA_E_NO_ERROR);
    EXPECT_EQ(part(record, PFA_PATH), "a/b/^/c/");
    EXPECT_EQ(pfa_get_path(record, displayed), PFA_E_NO_ERROR);
    EXPECT_STREQ(displayed, "a/c/");
}

// A parent step is longer as it is displayed than as it is stored.
TEST(Path, TheLongestThatCanBeStoredAndDisplayed) {
    scoped_record record;
    const std::string longest(PFA_PATH_SIZE - 2, 'd');
    EXPECT_EQ(pfa_put_path(record, longest.c_str()), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_put_path(record, (longest + "d").c_str()), PFA_E_INVALID_INPUT);
    EXPECT_EQ(part(record, PFA_PATH), longest + "/");

    std::string steps;
    for (int i = 0; i < 86; ++i) {
        steps += "^/";
    }
    char displayed[PFA_PATH_SIZE];
    EXPECT_EQ(pfa_put_path(record, (steps + std::string(80, 'd') + "/^/").c_str()), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_get_path(record, displayed), PFA_E_NO_ERROR)
        << "what is taken back needs no room";
    EXPECT_EQ(std::strlen(displayed), 86u * 3);
    EXPECT_EQ(pfa_put_path(record, (steps + "^/").c_str()), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_get_path(record, displayed), PFA_E_ERROR);
    EXPECT_STREQ(displayed, "");
}

TEST(ObjectType, ChangesTheFormOfARecord) {
    const std::string n40(40, 'n');
    const std::string n252(252, 'n');
    const struct {
        std::string before; // path|name|extension|version|type
        int type;
        int lower;
        std::string after;
    } rows[] = {
        {"/a/|b|prt|3|2", OBJ_TYPE_DIRECTORY, 1, "/a/b.prt.3/||DIR|0|-5"},
        {"/a/|B|PRT|0|2", OBJ_TYPE_DIRECTORY, 1, "/a/b.prt/||DIR|0|-5"}, // the old type's case
        {"/a/|B|IGS|0|134", OBJ_TYPE_DIRECTORY, 1, "/a/B.IGS/||DIR|0|-5"},
        {"|b||0|-6", OBJ_TYPE_DIRECTORY, 1, "b/||DIR|0|-5"},
        {"/a/|" + n252 + "||0|-6", OBJ_TYPE_DIRECTORY, 1, "/a/" + n252 + "/||DIR|0|-5"},
        {"/a/|b|prt|3|2", OBJ_TYPE_NO_MEMBER, 1, "/a/|b|prt|3|-6"},
        {"/a/|b|x|0|-6", OBJ_TYPE_NOT_YET, 1, "/a/|b|x|0|-4"},
        {"/a/b/||DIR|0|-5", OBJ_TYPE_NOT_YET, 1, "/a/|b||0|-4"},
        {"/a/|b|prt|3|2", 4, 0, "/a/|b|DRW|3|4"},
        {"/a/b/||DIR|0|-5", 2, 1, "/a/|b|prt|0|2"},
        {"b/||DIR|0|-5", 2, 1, "|b|prt|0|2"},
        {"/" + n40 + "/||DIR|0|-5", 2, 1, "/" + n40 + "/||prt|0|2"}, // too long for a name
        {"/" + n40 + "/||DIR|0|-5", OBJ_TYPE_NOT_YET, 1, "/|" + n40 + "||0|-4"},
        {"/a/|b|xyz|1|2", 2, 1, "/a/|b|xyz|1|2"},
    };
    for (const auto &row : rows) {
        scoped_record record;
        put_state(record, row.before);
        EXPECT_EQ(pfa_put_obj_type_lower(record, row.type, row.lower), PFA_E_NO_ERROR)
            << row.before;
        EXPECT_EQ(state_of(record), row.after) << row.before;
    }
}

TEST(ObjectType, ThatCannotBeSetLeavesTheRecord) {
    const struct {
        std::string state;
        int type;
    } rows[] = {
        {"/a/|" + std::string(253, 'n') + "||0|-6", OBJ_TYPE_DIRECTORY}, // no room for DIR
        {"/a/|b|prt|0|2", OBJ_TYPE_NOT_YET},
        {"/a/b/||DIR|0|-5", 821}, // has no extension
    };
    for (const auto &row : rows) {
        scoped_record record;
        put_state(record, row.state);
        EXPECT_EQ(pfa_put_obj_type(record, row.type), PFA_E_INVALID_INPUT) << row.state;
        EXPECT_EQ(state_of(record), row.state);
    }
}

TEST(ObjectType, FollowsFromNameAndExtension) {
    const struct {
        const char *extension;
        int name_length;
        int name_invalid;
        int type;
    } rows[] = {
        {"", 4, 0, OBJ_TYPE_NO_MEMBER},     {"PrT", 4, 0, 2},    {"prt", 31, 0, 2},
        {"prt", 32, 0, OBJ_TYPE_NO_MEMBER}, {"emn", 65, 0, 569}, {"emn", 66, 0, OBJ_TYPE_NO_MEMBER},
        {"prt", 4, 1, OBJ_TYPE_NO_MEMBER},  {"igs", 4, 1, 134},  {"dir", 4, 0, OBJ_TYPE_NO_MEMBER},
        {"txt", 4, 0, OBJ_TYPE_NO_MEMBER},  {"tpm", 4, 0, -7},
    };
    scoped_record record;
    for (const auto &row : rows) {
        put_state(record, std::string("||") + row.extension + "|0|-4");
        EXPECT_EQ(pfa_put_extension_to_type(record, row.name_length, row.name_invalid),
                  PFA_E_NO_ERROR);
        EXPECT_EQ(record->type, row.type) << row.extension << " " << row.name_length;
    }
    // A directory that turns out to be a file gets its name back.
    put_state(record, "/a/b/||prt|0|-5");
    EXPECT_EQ(pfa_put_extension_to_type(record, 1, 0), PFA_E_NO_ERROR);
    EXPECT_EQ(state_of(record), "/a/|b|prt|0|2");
}

TEST(ObjectType, OfANameThatNoMemberHas) {
    scoped_record record;
    for (const std::string &name : {std::string("part.01"), std::string(32, 'n')}) {
        put_state(record, "|||0|2");
        EXPECT_EQ(pfa_put_name(record, "part_01-b"), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "|part_01-b||0|2");
        EXPECT_EQ(pfa_put_name(record, name.c_str()), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "|" + name + "||0|-6");
    }
}

TEST(Host, ARecordIsLocalUnlessItNamesAnotherHost) {
    char own[64] = "";
    ASSERT_EQ(vek_get_hostname(own, sizeof own), 1);
    std::string upper = own;
    std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
    const std::string far = "203.0.113.9";
    const struct {
        std::string host;
        int location_type;
        int local;
    } rows[] = {
        {"", PfaStdFilesystem, 1},  {upper, PfaStdFilesystem, 1},
        {far, PfaStdFilesystem, 0}, {far, NoLocation, 1},
        {far, PfaStdio, 1},         {std::string(32, 'h'), PfaStdFilesystem, 1},
    };
    for (const auto &row : rows) {
        scoped_record record;
        EXPECT_EQ(pfa_put_component(record, PFA_HOST, row.host.c_str()), PFA_E_NO_ERROR);
        record->location_type = row.location_type;
        EXPECT_EQ(pfa_is_local(record), row.local) << row.host << " " << row.location_type;
    }
}

struct named_result {
    const char *call;
    int result;
};
#define CALL(call) named_result({#call, call})

void expect_all(int expected, std::initializer_list<named_result> results) {
    for (const named_result &row : results) {
        EXPECT_EQ(row.result, expected) << row.call;
    }
}

TEST(BadArguments, NullAndFreedRecordsAreRefused) {
    scoped_record file("/a/b.prt"), folder("/a/");
    const vek_file before = *file.file;
    vek_file freed = before;
    freed.magic = 0;
    char out[PFA_PATH_SIZE] = "";
    int number = 0;
    for (vek_file *bad : {static_cast<vek_file *>(nullptr), &freed}) {
        expect_all(PFA_E_NOT_VALID, {CALL(pfa_copy_location(bad, file)),
                                     CALL(pfa_get_path(bad, out)),
                                     CALL(pfa_get_component(bad, PFA_NAME, out, PFA_PATH_SIZE)),
                                     CALL(pfa_get_location(bad, out, nullptr)),
                                     CALL(pfa_put_path(bad, "x")),
                                     CALL(pfa_put_version(bad, 1)),
                                     CALL(pfa_put_location(bad, "/a/", -1)),
                                     CALL(pfa_put_obj_type(bad, 2)),
                                     CALL(pfa_parse_to_vek_file(bad, "x")),
                                     CALL(pfa_to_standard_form(bad)),
                                     CALL(pfa_concat_locations(file, bad, file)),
                                     CALL(pfa_location_append(bad, file, "x")),
                                     CALL(pfa_get_file_name(bad, PFA_OS_NAME, out)),
                                     CALL(pfa_get_file_vers(bad, PFA_OWN_VERSION, &number)),
                                     CALL(pfa_fopen(bad, 0, "r")),
                                     CALL(pfa_close(bad)),
                                     CALL(pfa_open_dir(bad)),
                                     CALL(pfa_read_dir(folder, bad)),
                                     CALL(pfa_write_file(bad, 1, "x")),
                                     CALL(pfa_make_absolute_path(bad)),
                                     CALL(pfa_make_parent(bad, file))});
        expect_all(-1, {CALL(pfa_component_strcmp(bad, PFA_NAME, "b", -1)),
                        CALL(pfa_get_obj_type(bad)), CALL(pfa_is_local(bad))});
        expect_all(0, {CALL(pfa_component_length(bad, PFA_NAME)), CALL(pfa_file_is_open(bad)),
                       CALL(pfa_has_location(bad, nullptr)), CALL(pfa_is_dir(bad)),
                       CALL(pfa_path_is_absolute(bad))});
        EXPECT_EQ(extract_pfa_dir(bad), nullptr);
    }
    EXPECT_TRUE(same_bytes(before, file));
}

TEST(BadArguments, TextsAndNumbersAreRefused) {
    scoped_record file("/a/b.prt"), folder("/a/");
    const vek_file file_before = *file.file, folder_before = *folder.file;
    const std::string long_text(PFA_PATH_SIZE, 'n');
    const char *too_long = long_text.c_str();
    int number = 0;
    expect_all(PFA_E_INVALID_INPUT,
               {CALL(pfa_put_component(file, PFA_NAME, nullptr)),
                CALL(pfa_put_component(file, PFA_COMPONENTS, "x")),
                CALL(pfa_put_component_len(file, PFA_NAME, "x", -1)),
                CALL(pfa_put_component_len(file, PFA_NAME, "x", 2)),
                CALL(pfa_put_path(file, too_long)), CALL(pfa_put_name(file, too_long)),
                CALL(pfa_put_version(file, 32768)), CALL(pfa_put_location_datum(file, -32769)),
                CALL(pfa_put_location(file, too_long, PfaStdFilesystem)),
                CALL(pfa_put_location(file, "/////host", PfaStdFilesystem)),
                CALL(pfa_put_obj_type(file, 12345)), CALL(pfa_parse_to_vek_file(file, nullptr)),
                CALL(pfa_parse_to_vek_file(pfa_get_cur_dir(), "x")), CALL(pfa_fopen(file, 3, "w")),
                CALL(pfa_get_file_vers(file, 3, &number)),
                CALL(pfa_get_file_vers(file, PFA_OWN_VERSION, nullptr)),
                CALL(pfa_location_append(file, folder, "x"))});
    EXPECT_EQ(pfa_make_subdir(folder, too_long, file), PFA_E_INVALID_NAME);
    EXPECT_EQ(pfa_make_subdir(file, "s", folder), PFA_E_NOT_VALID);
    EXPECT_EQ(pfa_open_dir(file), PFA_E_NOT_VALID);
    EXPECT_TRUE(same_bytes(file_before, file));
    EXPECT_TRUE(same_bytes(folder_before, folder));
}

} // namespace
