// A record's text against a model of six strings; its directory path, its type, and its host; and
// what each call answers to bad arguments.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
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
#include <tuple>

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

TEST(pfacomponent, RandomStoresAgreeWithSixStrings) {
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
        int result = 0;
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
        ASSERT_EQ(result, fits ? 0 : PFA_E_INVALID_INPUT);
        refused += !fits;
        if (fits) {
            models[which] = changed;
        }
        ASSERT_NO_FATAL_FAILURE(expect_same(record, models[which]));

        // The readers, with room for the text and without.
        const std::string &now = models[which][index];
        std::string out(400, '#');
        std::int16_t length = below(40);
        const std::string before = out.substr(0, length);
        const int spare = below(3);
        const int capacity = length + int(now.size()) + spare;
        const bool room = spare > 0 || now.empty();
        ASSERT_EQ(pfa_append_component_lower(record, index, out.data(), &length, capacity, 0),
                  room ? 0 : 1);
        ASSERT_EQ(out.substr(0, length), room ? before + now : before);
        ASSERT_EQ(out[capacity], '#');
    }
    EXPECT_GT(refused, 1000);
}

TEST(pfacomponent, ComparesAndFindsPieces) {
    const scoped_record record("/x/Part.prt");
    const std::tuple<const char *, int, int> comparisons[] = {
        {"Part", -1, 0}, {"par", -1, 1}, {"Party", 4, 0}, {nullptr, -1, 4}, {"Part", 7, -3}};
    for (const auto &[text, length, difference] : comparisons) {
        EXPECT_EQ(pfa_component_strcmp(record, PFA_NAME, text, length), difference);
        EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, text, length), difference);
    }
    EXPECT_NE(pfa_component_strcmp(record, PFA_NAME, "part", -1), 0);
    EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, "pArt", -1), 0);
    const std::tuple<const char *, int, int> pieces[] = {
        {"a/bc/", 2, 4}, {"a/bc", 2, 4}, {"abc", 0, 3}, {"/", 0, 0},
        {"", 0, 0},      {"a//", 2, 2},  {"/a", 1, 2}};
    for (const auto &[text, from, to] : pieces) {
        std::int16_t start = 9;
        std::int16_t end = 9;
        const int length = static_cast<int>(std::strlen(text));
        EXPECT_EQ(pfa_last_delimited_range(text, 0, length, '/', &start, &end), from < to);
        EXPECT_EQ(start * 10 + end, from * 10 + to) << text;
    }
    char character = '?';
    EXPECT_EQ(pfa_component_last_char(record, PFA_PATH, &character), 0);
    EXPECT_EQ(character, '/');
    EXPECT_EQ(pfa_component_first_char(record, PFA_HOST, &character), PFA_E_NOT_FOUND);
}

TEST(pfaput, PathsAreStoredAndDisplayed) {
    const std::string d80(80, 'd');
    const std::string d258(258, 'd');
    std::string steps; // the most that can be displayed
    std::string displayed_steps;
    for (int i = 0; i < 86; ++i) {
        steps += "^/";
        displayed_steps += "../";
    }
    // The path put, stored and displayed.
    const std::string rows[][3] = {
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
        // The last that fit; what is taken back again needs no room.
        {d258, d258 + "/", d258 + "/"},
        {steps, steps, displayed_steps},
        {steps + d80 + "/^/", steps + d80 + "/^/", displayed_steps},
    };
    scoped_record record;
    char text[PFA_PATH_SIZE] = "#";
    for (const auto &[path, stored, displayed] : rows) {
        EXPECT_EQ(pfa_put_path(record, path.c_str()) + pfa_get_path(record, text), 0) << path;
        EXPECT_EQ(part(record, PFA_PATH), stored) << path;
        EXPECT_EQ(text, displayed) << path;
    }
    EXPECT_EQ(pfa_put_path(record, (steps.substr(2) + "dddd").c_str()), 0); // one more than fits
    EXPECT_EQ(pfa_get_path(record, text), PFA_E_ERROR);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(pfa_put_path(record, (d258 + "d").c_str()), PFA_E_INVALID_INPUT);
}

TEST(pfaput, TypesChangeTheFormOfARecord) {
    const std::string n40(40, 'n');
    const std::string n252(252, 'n');
    const std::tuple<std::string, int, int, int, std::string> rows[] = {
        {"/a/|b|prt|3|2", -5, 1, 0, "/a/b.prt.3/||DIR|0|-5"},
        {"/a/|B|PRT|0|2", -5, 1, 0, "/a/b.prt/||DIR|0|-5"}, // the case of the old type
        {"/a/|B|IGS|0|134", -5, 1, 0, "/a/B.IGS/||DIR|0|-5"},
        {"|b||0|-6", -5, 1, 0, "b/||DIR|0|-5"},
        // A path of 256 characters and DIR just fit.
        {"/a/|" + n252 + "||0|-6", -5, 1, 0, "/a/" + n252 + "/||DIR|0|-5"},
        {"/a/|" + n252 + "n||0|-6", -5, 1, 9, "/a/|" + n252 + "n||0|-6"},
        {"/a/|b|prt|3|2", -6, 1, 0, "/a/|b|prt|3|-6"},
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
    for (const auto &[before, type, lower, result, after] : rows) {
        scoped_record record;
        put_state(record, before);
        EXPECT_EQ(pfa_put_obj_type_lower(record, type, lower), result) << before;
        EXPECT_EQ(state_of(record), after) << before;
    }
}

TEST(pfaput, TheTypeFollowsFromNameAndExtension) {
    // The extension, the length of the name, whether the name is invalid, and the type.
    const std::tuple<const char *, int, int, int> rows[] = {
        {"", 4, 0, -6},      {"PrT", 4, 0, 2},   {"prt", 31, 0, 2}, {"prt", 32, 0, -6},
        {"emn", 65, 0, 569}, {"emn", 66, 0, -6}, {"prt", 4, 1, -6}, {"igs", 4, 1, 134},
        {"dir", 4, 0, -6},   {"txt", 4, 0, -6},  {"tpm", 4, 0, -7}};
    scoped_record record;
    for (const auto &[extension, length, invalid, type] : rows) {
        put_state(record, std::string("||") + extension + "|0|-4");
        EXPECT_EQ(pfa_put_extension_to_type(record, length, invalid), 0);
        EXPECT_EQ(record->type, type) << extension << " " << length;
    }
    // A directory that turns out to be a file gets its name back.
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

TEST(pfainfo, ARecordIsLocalUnlessItNamesAnotherHost) {
    char own[64] = "";
    ASSERT_EQ(vek_get_hostname(own, sizeof own), 1);
    std::string upper = own;
    std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
    // The host, the location type and the answer; without a location type there is no host.
    const std::string far = "203.0.113.9";
    const std::tuple<std::string, int, int> rows[] = {{"", 1, 1},  {upper, 1, 1},
                                                      {far, 1, 0}, {far, 0, 1},
                                                      {far, 8, 1}, {std::string(32, 'h'), 1, 1}};
    for (const auto &[host, type, local] : rows) {
        scoped_record record;
        (void)pfa_put_component(record, PFA_HOST, host.c_str());
        record->location_type = type;
        EXPECT_EQ(pfa_is_local(record), local) << host << " " << type;
    }
}

void expect_all(int expected, std::initializer_list<int> results) {
    for (const int &result : results) {
        EXPECT_EQ(result, expected) << "the " << &result - results.begin() << "th";
    }
}

// Null and freed records, records of the wrong kind, null texts and numbers out of range: an
// answer, and nothing changed.
TEST(pfa, BadArgumentsAreAnswered) {
    scoped_record file("/a/b.prt"), folder("/a/");
    const vek_file file_before = *file.file, folder_before = *folder.file;
    vek_file freed = file_before;
    freed.magic = 0;
    char out[PFA_PATH_SIZE] = "";
    int number = 99;
    for (vek_file *bad : {static_cast<vek_file *>(nullptr), &freed}) {
        expect_all(PFA_E_NOT_VALID,
                   {pfa_copy_component(file, bad, PFA_NAME), pfa_copy_location(bad, file),
                    pfa_get_component(bad, PFA_NAME, out, PFA_PATH_SIZE), pfa_get_host(bad, out),
                    pfa_get_component_mapping(bad, nullptr, nullptr, nullptr),
                    pfa_get_path(bad, out), pfa_get_name(bad, out),
                    pfa_get_location(bad, out, nullptr), pfa_put_path(bad, "x"),
                    pfa_put_name(bad, "x"), pfa_put_version(bad, 1), pfa_put_encode(bad, 1)});
        expect_all(PFA_E_NOT_VALID,
                   {pfa_put_location_datum(bad, 1), pfa_put_location(bad, "/a/", -1),
                    pfa_put_obj_type(bad, 2), pfa_put_extension_to_type(bad, 1, 0),
                    pfa_parse_location(bad, "x", nullptr, -1), pfa_parse_to_vek_file(bad, "x"),
                    parse_to_pfa(bad, 1, "x"), pfa_to_standard_form(bad),
                    pfa_concat_locations(bad, file, file), pfa_concat_locations(file, bad, file),
                    pfa_concat_locations(file, file, bad), concat_pfa_paths(file, bad),
                    pfa_location_append(bad, file, "x"), pfa_get_full_name(bad, out),
                    pfa_get_file_name(bad, PFA_OS_NAME, out)});
        expect_all(PFA_E_NOT_VALID,
                   {pfa_get_file_vers(bad, 0, &number), pfa_fopen(bad, 0, "r"), pfa_close(bad),
                    pfa_write_file(bad, 1, "x"), pfa_fprintf(bad, "x"), pfa_open_dir(bad),
                    pfa_read_dir(folder, bad), pfa_make_absolute_path(bad),
                    pfa_copy_vek_file(bad, file), pfa_make_subdir(bad, "s", file),
                    pfa_make_parent(bad, file)});
        expect_all(-1, {pfa_component_strcmp(bad, PFA_NAME, "b", -1), pfa_get_obj_type(bad),
                        pfa_get_location_datum(bad), pfa_is_local(bad),
                        pfaloc_call_F(bad, PfaIsFolder)});
        expect_all(0, {pfa_component_length(bad, PFA_NAME), pfa_file_is_open(bad),
                       pfa_has_location(bad, nullptr), pfa_get_encode(bad), pfa_is_dir(bad),
                       pfa_set_mounted(bad)});
        EXPECT_EQ(pfa_put_component(bad, PFA_NAME, "x"), bad == nullptr ? 9 : 11);
        EXPECT_EQ(extract_pfa_dir(bad), nullptr);
    }
    expect_all(PFA_E_NOT_VALID,
               {pfa_fopen(folder, 0, "r"), pfa_write_file(folder, 0, ""), pfa_fprintf(folder, "x"),
                pfa_open_dir(file), pfa_make_subdir(file, "s", folder), pfa_get_name(file, nullptr),
                pfa_get_full_name(file, nullptr), pfa_alloc_vek_file(nullptr),
                pfa_free_vek_file(nullptr), pfa_recycle_vek_file(nullptr)});
    const std::string long_text(PFA_PATH_SIZE, 'n');
    const char *too_long = long_text.c_str();
    expect_all(PFA_E_INVALID_INPUT,
               {pfa_put_component(file, PFA_NAME, nullptr), pfa_put_component(file, -1, "x"),
                pfa_put_component(file, PFA_COMPONENTS, "x"), pfa_put_path(file, nullptr),
                pfa_put_component_len(file, PFA_NAME, "x", -1), pfa_put_path(file, too_long),
                pfa_put_component_len(file, PFA_NAME, "x", 2), pfa_put_name(file, too_long),
                pfa_put_name(file, nullptr), pfa_put_version(file, 32768),
                pfa_put_location_datum(file, -32769), pfa_put_location(file, nullptr, 1),
                pfa_put_location(file, too_long, 1), pfa_put_location(file, "/////host", 1),
                pfa_put_obj_type(file, OBJ_TYPE_DEFAULT), pfa_put_obj_type(file, 12345)});
    expect_all(PFA_E_INVALID_INPUT,
               {pfa_parse_to_vek_file(file, nullptr), parse_to_pfa(file, 1, nullptr),
                pfa_parse_to_vek_file(pfa_get_cur_dir(), "x"), pfa_fopen(file, 0, nullptr),
                pfa_fopen(file, 3, "w"), pfa_get_file_vers(file, 3, &number),
                pfa_get_file_vers(file, -1, &number), pfa_get_file_vers(file, 0, nullptr),
                pfa_make_subdir(folder, nullptr, file), pfa_location_append(file, folder, "x")});
    EXPECT_EQ(pfa_make_subdir(folder, too_long, file), PFA_E_INVALID_NAME);
    EXPECT_TRUE(same_bytes(file_before, file) && same_bytes(folder_before, folder));
    EXPECT_EQ(number, 99);
}

} // namespace
