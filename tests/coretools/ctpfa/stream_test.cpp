// Streams on the host's files: which version they open, what they refuse, what they write.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

#include <iterator>
#include <tuple>

#include <gtest/gtest.h>

namespace {

using names = std::vector<std::string>;

TEST(pfavers, TheHighestVersionAndTheNext) {
    // What it is about, the files, the one asked for, its highest version (-1: none) and the next.
    const std::tuple<const char *, names, const char *, int, int> rows[] = {
        {"several", {"a.prt.1", "a.prt.7", "a.prt.12"}, "a.prt", 12, 13},
        {"no version", {"a.prt"}, "a.prt", 0, 2},
        {"none at all", {"a.prt.01", "a.prt.x", "a.prtx.3", "aa.prt.4"}, "a.prt", -1, 1},
        {"out of range", {"a.prt.99999", "a.prt.3.5"}, "a.prt", -1, 1},
        {"negative", {"a.prt.-4"}, "a.prt", -1, 1},
        {"the highest there is", {"a.prt.32767"}, "a.prt", 32767, 32768},
        {"stored in lower case", {"a.prt.3"}, "A.PRT", 3, 4},
        {"other case is another file", {"A.PRT.9", "a.prt.3"}, "a.prt", 3, 4},
        {"of these types it is not", {"A.IGS.9", "a.igs.3"}, "a.igs", 9, 10},
        {"the exact one may be higher", {"A.IGS.2", "a.igs.3"}, "a.igs", 3, 4},
        {"nor of no type", {"README.2"}, "readme", 2, 3},
    };
    for (const auto &[note, files, name, latest, next] : rows) {
        const scratch_tree tree;
        for (const std::string &file : files) {
            write_file(tree.path + file, "");
        }
        scoped_record record(tree.path + name);
        int version = 99;
        EXPECT_EQ(pfa_get_file_vers(record, 0, &version), 0);
        EXPECT_EQ(version, record->version);
        version = -1;
        EXPECT_EQ(pfa_get_file_vers(record, 1, &version), latest < 0 ? PFA_E_NOT_FOUND : 0) << note;
        EXPECT_EQ(version, latest) << note;
        EXPECT_EQ(pfa_get_file_vers(record, 2, &version), 0) << note;
        EXPECT_EQ(version, next) << note;
    }
}

TEST(pfastream, RefusesWhatItsStateForbidsAndChangesNothing) {
    scratch_tree tree;
    scoped_record directory(tree.path), closed(tree.path + "a.prt"), open(tree.path + "b.prt");
    scoped_record last(tree.path + "c.prt.32767"), next(tree.path + "c.prt");
    scoped_record lost(tree.path + "gone/a.prt");
    last->location_type = NoLocation;
    const vek_file before = *closed;
    const std::pair<int, int> rows[] = {
        {pfa_fopen(open, 0, binary_mode("w")), PFA_E_NO_ERROR},
        {pfa_fopen(last, 0, "w"), PFA_E_NO_ERROR},
        {pfa_fopen(closed, 2, "r"), PFA_E_CANT_OPEN},
        {pfa_fopen(closed, 1, "r"), PFA_E_NOT_FOUND},
        {pfa_fopen(next, 2, "w"), PFA_E_CANT_OPEN}, // no version after the last
        {pfa_fopen(lost, 1, "r"), PFA_E_NO_ACCESS},
        {pfa_fopen(open, 0, "w"), PFA_E_CANT_OPEN},
        {pfa_close(closed), PFA_E_INACTIVE},
        {pfa_write_file(closed, 0, nullptr), PFA_E_NO_ERROR},
        {pfa_write_file(open, -1, "x"), PFA_E_INVALID_INPUT},
        {pfa_write_file(open, 1, nullptr), PFA_E_INVALID_INPUT},
        {pfa_put_encode(last, 4), PFA_E_NO_ERROR},
        {pfa_write_file(last, 1, "x"), PFA_E_INVALID_INPUT},
        {pfa_fprintf(closed, "x"), PFA_E_INACTIVE},
        {pfa_fprintf(open, nullptr), PFA_E_ERROR},
        {pfa_read_dir(directory, closed), PFA_E_INACTIVE},
        {pfa_open_dir(directory), PFA_E_NO_ERROR},
        {pfa_open_dir(directory), PFA_E_CANT_OPEN},
        {pfa_read_dir(directory, open), PFA_E_NOT_ALLOWED},
        {pfa_close(open), PFA_E_NO_ERROR},
        {pfa_close(open), PFA_E_INACTIVE},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.first, row.second) << "row " << &row - rows;
    }
    EXPECT_TRUE(same_bytes(before, closed));
    EXPECT_EQ(last->location_type, PfaStdFilesystem);
    EXPECT_EQ(read_file(tree.path + "b.prt") + read_file(tree.path + "c.prt.32767"), "");
    EXPECT_EQ(read_names(directory), names({"b.prt", "c.prt.32767"}));
}

// Some Japanese with ASCII between, many chunks long.
TEST(pfastream, WritesTheCodesOfTheEncodeWord) {
    // By encode word: the text, its wide codes, JIS X 0208 and the shifted code; with a half-width
    // letter, whose code is shorter than its text.
    const std::string characters[] = {"-\xb0\xa1\x8e\xb1\xf4\xa6",
                                      std::string("-\xb0\xa1\0\xb1\xf4\xa6", 7), "-0!\xb1t&",
                                      "-\x88\x9f\xb1\xea\xa4"};
    // At the end a half-width letter, then half a character.
    const std::string ends[] = {"\x8e\xb1\xb0", std::string("\0\xb1", 2), "\xb1", "\xb1"};
    for (int encode = 0; encode < 4; ++encode) {
        std::string text, expected;
        for (int i = 0; i < 2000; ++i) {
            text += characters[0];
            expected += characters[encode];
        }
        scratch_tree tree;
        scoped_record record(tree.path + "a.txt");
        ASSERT_EQ(pfa_fopen(record, 0, "w") + pfa_put_encode(record, encode), 0);
        EXPECT_EQ(pfa_fprintf(record, "%s", (text + ends[0]).c_str()),
                  encode == 0 ? PFA_E_NO_ERROR : PFA_E_INVALID_INPUT);
        EXPECT_EQ(pfa_close(record), 0);
        EXPECT_TRUE(read_file(tree.path + "a.txt") == expected + ends[encode]) << encode;
    }
}

} // namespace
