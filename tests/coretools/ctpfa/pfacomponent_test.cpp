// The text of a record: its components against a model of six strings, and the record's own fields.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctsyscall/hostname.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/record_state.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

using model = std::array<std::string, PFA_COMPONENTS>;

std::string joined(const model &parts) {
    return std::accumulate(parts.begin(), parts.end(), std::string());
}

void expect_same(const vek_file *record, const model &parts) {
    ASSERT_EQ(std::string(record->text), joined(parts));
    int at = 0;
    for (int i = 0; i < PFA_COMPONENTS; ++i) {
        const std::string &part = parts[i];
        ASSERT_EQ(record->bounds[i].start, at);
        at += int(part.size());
        ASSERT_EQ(record->bounds[i].end, at);
        ASSERT_EQ(pfa_component_length(record, i), int(part.size()));
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
        auto &part = changed[index];
        std::string text(below(130), 'a');
        for (char &character : text) {
            character = static_cast<char>('A' + below(58));
        }
        int result = 0;
        switch (below(4)) {
        case 0:
            part = text;
            result = pfa_put_component(record, index, text.c_str());
            break;
        case 1:
            part = text.substr(0, text.size() / 2);
            result = pfa_put_component_len(record, index, text.c_str(), int(part.size()));
            break;
        case 2:
            part = models[1 - which][index];
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
        const int needed = length + int(now.size());
        const int capacity = needed + below(3);
        const bool room = needed < capacity || now.empty();
        ASSERT_EQ(pfa_append_component_lower(record, index, out.data(), &length, capacity, 0),
                  room ? 0 : 1);
        ASSERT_EQ(out.substr(0, length), room ? before + now : before);
        ASSERT_EQ(out[capacity], '#');
    }
    EXPECT_GT(refused, 1000);
}

TEST(pfacomponent, ComparesAndFindsPieces) {
    scoped_record record;
    pfa_put_component(record, PFA_PATH, "/x/");
    pfa_put_component(record, PFA_EXTENSION, "prt");
    pfa_put_component(record, PFA_NAME, "Part");
    const struct {
        const char *text;
        int length, exact, any_case;
    } rows[] = {{"Part", -1, 0, 0}, {"par", -1, 1, 1},   {"Party", 4, 0, 0},
                {"", -1, 4, 4},     {nullptr, -1, 4, 4}, {"Part", 7, -3, -3}};
    EXPECT_NE(pfa_component_strcmp(record, PFA_NAME, "part", -1), 0);
    EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, "pArt", -1), 0);
    for (const auto &row : rows) {
        EXPECT_EQ(pfa_component_strcmp(record, PFA_NAME, row.text, row.length), row.exact);
        EXPECT_EQ(pfa_component_u_strcmp(record, PFA_NAME, row.text, row.length), row.any_case);
    }
    const struct {
        std::string text;
        int found, start, end;
    } pieces[] = {{"a/bc/", 1, 2, 4}, {"a/bc", 1, 2, 4}, {"abc", 1, 0, 3}, {"/", 0, 0, 0},
                  {"", 0, 0, 0},      {"a//", 0, 2, 2},  {"/a", 1, 1, 2}};
    for (const auto &row : pieces) {
        std::int16_t start = 9;
        std::int16_t end = 9;
        const int high = static_cast<int>(row.text.size());
        EXPECT_EQ(pfa_last_delimited_range(row.text.c_str(), 0, high, '/', &start, &end),
                  row.found);
        EXPECT_EQ(start, row.start) << row.text;
        EXPECT_EQ(end, row.end) << row.text;
    }
    char character = '?';
    EXPECT_EQ(pfa_component_last_char(record, PFA_PATH, &character), 0);
    EXPECT_EQ(character, '/');
    EXPECT_EQ(pfa_component_first_char(record, PFA_HOST, &character), PFA_E_NOT_FOUND);
}

// Null and freed records, null texts and bad indexes: an answer, and nothing changed or read.
TEST(pfacomponent, BadArgumentsAreAnswered) {
    scoped_record good("/a/b.prt");
    const vek_file before = *good.file;
    vek_file freed = before;
    freed.magic = 0;
    char out[PFA_PATH_SIZE];
    for (vek_file *bad : {static_cast<vek_file *>(nullptr), &freed}) {
        EXPECT_EQ(pfa_put_component(bad, PFA_NAME, "x"), bad == nullptr ? 9 : 11);
        EXPECT_EQ(pfa_component_strcmp(bad, PFA_NAME, "b", -1), -1);
        EXPECT_EQ(pfa_get_obj_type(bad), -1);
        EXPECT_EQ(pfa_get_location_datum(bad), -1);
        EXPECT_EQ(pfa_is_local(bad), -1);
        for (const int neutral : {pfa_component_length(bad, PFA_NAME), pfa_file_is_open(bad),
                                  pfa_has_location(bad, nullptr), pfa_get_encode(bad),
                                  pfa_is_dir(bad), pfa_set_mounted(bad)}) {
            EXPECT_EQ(neutral, 0);
        }
        for (const int result :
             {pfa_copy_component(good, bad, PFA_NAME), pfa_copy_location(bad, good),
              pfa_get_component(bad, PFA_NAME, out, PFA_PATH_SIZE), pfa_get_host(bad, out),
              pfa_get_component_mapping(bad, nullptr, nullptr, nullptr), pfa_get_path(bad, out),
              pfa_get_name(bad, out), pfa_get_location(bad, out, nullptr), pfa_put_path(bad, "x"),
              pfa_put_name(bad, "x"), pfa_put_version(bad, 1), pfa_put_encode(bad, 1),
              pfa_put_location_datum(bad, 1), pfa_put_location(bad, "/a/", -1),
              pfa_put_obj_type(bad, 2), pfa_put_extension_to_type(bad, 1, 0),
              pfa_get_name(good, nullptr)}) {
            EXPECT_EQ(result, PFA_E_NOT_VALID);
        }
    }
    const std::string long_text(PFA_PATH_SIZE, 'n');
    for (const int result :
         {pfa_put_component(good, PFA_NAME, nullptr), pfa_put_component(good, -1, "x"),
          pfa_put_component(good, PFA_COMPONENTS, "x"), pfa_put_path(good, nullptr),
          pfa_put_component_len(good, PFA_NAME, "x", -1), pfa_put_path(good, long_text.c_str()),
          pfa_put_component_len(good, PFA_NAME, "x", 2), pfa_put_name(good, long_text.c_str()),
          pfa_put_name(good, nullptr), pfa_put_version(good, 32768),
          pfa_put_location_datum(good, -32769), pfa_put_location(good, nullptr, 1),
          pfa_put_location(good, long_text.c_str(), 1), pfa_put_location(good, "/////host", 1),
          pfa_put_obj_type(good, OBJ_TYPE_DEFAULT), pfa_put_obj_type(good, 12345)}) {
        EXPECT_EQ(result, PFA_E_INVALID_INPUT);
    }
    EXPECT_TRUE(same_bytes(before, good));
}

TEST(pfainfo, ARecordIsLocalUnlessItNamesAnotherHost) {
    char own[64] = "";
    ASSERT_EQ(vek_get_hostname(own, sizeof own), 1);
    std::string upper = own;
    std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
    const struct {
        std::string host;
        int type, local;
    } rows[] = {{"", 1, 1},
                {upper, 1, 1},
                {"203.0.113.9", 1, 0},
                {"203.0.113.9", 0, 1}, // without a location type there is no host
                {"203.0.113.9", 8, 1},
                {std::string(32, 'h'), 1, 1}};
    for (const auto &row : rows) {
        scoped_record record;
        pfa_put_component(record, PFA_HOST, row.host.c_str());
        record->location_type = row.type;
        EXPECT_EQ(pfa_is_local(record), row.local) << row.host << " " << row.type;
    }
}

} // namespace
