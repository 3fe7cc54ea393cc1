// The components, path, type and host of a record, and calls with bad arguments.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "coretools/ctsyscall/hostname.h"
#include "tests/support/path_records.h"

#include <algorithm>
#include <array>
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
        std::string text(below(200), 'a');
        std::generate(text.begin(), text.end(), [&] { return char('A' + below(58)); });
        pfa_status result = PFA_E_NO_ERROR;
        switch (below(3)) {
        case 0:
            changed[index] = text.substr(0, text.size() / 2);
            result = pfa_put_component_len(record, index, text.c_str(), int(text.size() / 2));
            break;
        case 1:
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

        const std::string &now = models[which][index];
        char out[400];
        std::int16_t length = below(40);
        const std::string before(length, '#');
        before.copy(out, before.size());
        const int spare = below(3);
        const bool room = spare > 0 || now.empty();
        ASSERT_EQ(pfa_append_component(record, index, out, &length,
                                       int(before.size() + now.size()) + spare),
                  room ? PFA_E_NO_ERROR : PFA_E_ERROR);
        ASSERT_EQ(std::string(out, length), room ? before + now : before);
    }
    EXPECT_GT(refused, 1000);
}

TEST(Component, Compares) {
    const scoped_record record("/x/Part.prt");
    EXPECT_EQ(pfa_component_strcmp(record, PFA_NAME, "par", -1), 1) << "the difference in length";
    EXPECT_EQ(pfa_component_strcmp(record, PFA_NAME, "Party", 4), 0);
    EXPECT_EQ(pfa_component_strcmp(record, PFA_NAME, nullptr, -1), 4);
    EXPECT_LT(pfa_component_strcmp(record, PFA_NAME, "part", -1), 0);
    EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, "pArt", -1), 0);
}

TEST(Component, FindsTheLastPieceBetweenSeparators) {
    std::int16_t start = 0, end = 0;
    for (const int high : {5, 4}) { // with and without a separator that closes the range
        EXPECT_EQ(pfa_last_delimited_range("a/bc/d", 1, high, '/', &start, &end), 1);
        EXPECT_EQ(start, 2);
        EXPECT_EQ(end, 4);
    }
    EXPECT_EQ(pfa_last_delimited_range("a/bc/d", 2, 2, '/', &start, &end), 0);
    EXPECT_EQ(start, 2) << "where the empty range begins";
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
    EXPECT_EQ(pfa_get_path(record, displayed), PFA_E_NO_ERROR) << "no room for what is taken back";
    EXPECT_EQ(std::string(displayed).size(), 86u * 3);
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
        std::string after; // empty: the type cannot be set
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
        {"/" + n40 + "/||DIR|0|-5", 2, 1, "/" + n40 + "/||prt|0|2"}, // too long for a name
        {"/" + n40 + "/||DIR|0|-5", OBJ_TYPE_NOT_YET, 1, "/|" + n40 + "||0|-4"},
        {"/a/|" + n252 + "n||0|-6", OBJ_TYPE_DIRECTORY, 1, ""}, // no room for DIR
        {"/a/b/||DIR|0|-5", 821, 1, ""},                        // has no extension
    };
    for (const auto &row : rows) {
        scoped_record record;
        put_state(record, row.before);
        EXPECT_EQ(pfa_put_obj_type_lower(record, row.type, row.lower),
                  row.after.empty() ? PFA_E_INVALID_INPUT : PFA_E_NO_ERROR)
            << row.before;
        EXPECT_EQ(state_of(record), row.after.empty() ? row.before : row.after);
    }
}

TEST(ObjectType, OfADirectoryThatTurnsOutToBeAFile) {
    scoped_record record;
    put_state(record, "/a/b/||prt|0|-5");
    EXPECT_EQ(pfa_put_extension_to_type(record, 1, 0), PFA_E_NO_ERROR);
    EXPECT_EQ(state_of(record), "/a/|b|prt|0|2");
}

TEST(ObjectType, OfANameThatNoMemberHas) {
    scoped_record record;
    for (const std::string &name : {std::string("part.01"), std::string(32, 'n')}) {
        put_state(record, "|part||0|2");
        EXPECT_EQ(pfa_put_name(record, name.c_str()), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "|" + name + "||0|-6");
    }
}

TEST(Host, ARecordIsLocalUnlessItNamesAnotherHost) {
    scoped_record record;
    const auto is_local = [&](const std::string &host, int location_type) {
        EXPECT_EQ(pfa_put_component(record, PFA_HOST, host.c_str()), PFA_E_NO_ERROR);
        record->location_type = location_type;
        return pfa_is_local(record);
    };
    std::string own(64, '\0');
    ASSERT_EQ(vek_get_hostname(own.data(), int(own.size())), 1);
    std::transform(own.begin(), own.end(), own.begin(), ::toupper);
    EXPECT_EQ(is_local(own, PfaStdFilesystem), 1);
    EXPECT_EQ(is_local("203.0.113.9", PfaStdFilesystem), 0);
    EXPECT_EQ(is_local("203.0.113.9", PfaStdio), 1);
    EXPECT_EQ(is_local(std::string(PFA_HOST_SIZE, 'h'), PfaStdFilesystem), 1) << "no host fits";
}

TEST(BadArguments, NullAndFreedRecordsAreRefused) {
    scoped_record file("/a/b.prt"), folder("/a/");
    vek_file freed = *file.file;
    freed.magic = 0;
    char out[PFA_PATH_SIZE] = "";
    int number = 0;
    for (vek_file *bad : {static_cast<vek_file *>(nullptr), &freed}) {
        EXPECT_EQ(pfa_copy_location(bad, file), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_get_path(bad, out), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_get_component(bad, PFA_NAME, out, PFA_PATH_SIZE), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_get_location(bad, out, nullptr), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_get_file_name(bad, PFA_OS_NAME, out), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_get_full_name(bad, out), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_get_file_vers(bad, PFA_OWN_VERSION, &number), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_put_path(bad, "x"), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_put_version(bad, 1), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_put_location(bad, "/a/", PFA_ALL_LOCATIONS), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_put_obj_type(bad, 2), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_parse_to_vek_file(bad, "x"), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_to_standard_form(bad), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_location_append(bad, file, "x"), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_make_subdir(bad, "x", file), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_make_parent(bad, file), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_make_absolute_path(bad), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_fopen(bad, PFA_OWN_VERSION, "r"), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_write_file(bad, 1, "x"), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_open_dir(bad), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_read_dir(folder, bad), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_close(bad), PFA_E_NOT_VALID);
        EXPECT_EQ(pfa_is_local(bad), -1);
        EXPECT_EQ(pfa_path_is_absolute(bad), 0);
    }
}

TEST(BadArguments, TextsAndNumbersAreRefused) {
    scoped_record file("/a/b.prt"), folder("/a/");
    const vek_file before = *file.file;
    const std::string too_long(PFA_PATH_SIZE, 'n');
    int number = 0;
    EXPECT_EQ(pfa_parse_to_vek_file(file, too_long.c_str()), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_put_component(file, PFA_COMPONENTS, "x"), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_put_component_len(file, PFA_NAME, "x", 2), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_put_version(file, 32768), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_put_location(file, "/////host", PfaStdFilesystem), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_fopen(file, PFA_NEXT_VERSION + 1, "w"), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_get_file_vers(file, -1, &number), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_get_file_vers(file, PFA_OWN_VERSION, nullptr), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_location_append(file, folder, "x"), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_open_dir(file), PFA_E_NOT_VALID) << "not a directory";
    EXPECT_TRUE(same_bytes(before, file));
}

} // namespace
