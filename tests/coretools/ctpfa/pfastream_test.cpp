// Streams on the host's files: what they refuse, which version they open, what they write.
#include <gtest/gtest.h>

#include <fstream>
#include <iconv.h>
#include <iterator>

#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/record_state.h"

namespace {

std::string text_of(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string convert(iconv_t converter, const std::string &text) {
    char out[64];
    char *in = const_cast<char *>(text.data());
    char *end = out;
    std::size_t in_left = text.size(), out_left = sizeof out;
    const bool done = iconv(converter, &in, &in_left, &end, &out_left) == 0 &&
                      iconv(converter, nullptr, nullptr, &end, &out_left) == 0;
    return done ? std::string(out, end) : "";
}

TEST(pfastream, AnswersBadArgumentsAndChangesNothing) {
    scratch_tree tree;
    vek_file freed = {};
    scoped_record directory(tree.path), closed(tree.path + "a.prt"), open(tree.path + "b.prt");
    scoped_record last(tree.path + "c.prt.32767"), next(tree.path + "c.prt"), out, top("/a/../");
    last->location_type = NoLocation;
    const vek_file before[] = {*closed, *out, *top};
    const struct {
        int status;
        int expected;
    } rows[] = {
        {pfa_fopen(open, 0, binary_mode("w")), PFA_E_NO_ERROR},
        {pfa_fopen(last, 0, "w"), PFA_E_NO_ERROR},
        {pfa_fopen(&freed, 0, "r"), PFA_E_NOT_VALID},
        {pfa_fopen(directory, 0, "r"), PFA_E_NOT_VALID},
        {pfa_fopen(closed, 0, nullptr), PFA_E_INVALID_INPUT},
        {pfa_fopen(closed, 3, "w"), PFA_E_INVALID_INPUT},
        {pfa_fopen(closed, 2, "r"), PFA_E_CANT_OPEN},
        {pfa_fopen(closed, 1, "r"), PFA_E_NOT_FOUND},
        {pfa_fopen(next, 2, "w"), PFA_E_CANT_OPEN},
        {pfa_fopen(open, 0, "w"), PFA_E_CANT_OPEN},
        {pfa_close(&freed), PFA_E_NOT_VALID},
        {pfa_close(closed), PFA_E_INACTIVE},
        {pfa_write_file(directory, 0, ""), PFA_E_NOT_VALID},
        {pfa_write_file(closed, 0, nullptr), PFA_E_NO_ERROR},
        {pfa_write_file(open, -1, "x"), PFA_E_INVALID_INPUT},
        {pfa_write_file(open, 1, nullptr), PFA_E_INVALID_INPUT},
        {pfa_put_encode(last, 4), PFA_E_NO_ERROR},
        {pfa_write_file(last, 1, "x"), PFA_E_INVALID_INPUT},
        {pfa_fprintf(directory, "x"), PFA_E_NOT_VALID},
        {pfa_fprintf(closed, "x"), PFA_E_INACTIVE},
        {pfa_fprintf(open, nullptr), PFA_E_ERROR},
        {pfa_open_dir(closed), PFA_E_NOT_VALID},
        {pfa_read_dir(directory, out), PFA_E_INACTIVE},
        {pfa_open_dir(directory), PFA_E_NO_ERROR},
        {pfa_open_dir(directory), PFA_E_CANT_OPEN},
        {pfa_read_dir(directory, &freed), PFA_E_NOT_VALID},
        {pfa_read_dir(directory, open), PFA_E_NOT_ALLOWED},
        {pfa_make_absolute_path(&freed), PFA_E_NOT_VALID},
        {pfa_copy_vek_file(&freed, out), PFA_E_NOT_VALID},
        {pfa_make_subdir(closed, "s", out), PFA_E_NOT_VALID},
        {pfa_make_subdir(directory, nullptr, out), PFA_E_INVALID_INPUT},
        {pfa_make_subdir(directory, std::string(260, 's').c_str(), out), PFA_E_INVALID_NAME},
        {pfa_make_parent(&freed, out), PFA_E_NOT_VALID},
        {pfa_make_parent(top, top), PFA_E_ROOT_DIR},
        {pfa_close(open), PFA_E_NO_ERROR},
        {pfa_close(open), PFA_E_INACTIVE},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.status, row.expected) << "row " << &row - rows;
    }
    EXPECT_TRUE(same_bytes(before[0], closed) && same_bytes(before[1], out) &&
                same_bytes(before[2], top));
    EXPECT_EQ(extract_pfa_dir(&freed), nullptr);
    EXPECT_EQ(last->location_type, PfaStdFilesystem);
    EXPECT_EQ(text_of(tree.path + "b.prt") + text_of(tree.path + "c.prt.32767"), "");
    EXPECT_EQ(read_names(directory), std::vector<std::string>({"b.prt", "c.prt.32767"}));
}

// All of JIS X 0208 with ASCII between, many chunks long, as the host's own converters code it.
TEST(pfastream, WritesTheCodesOfTheEncodeWord) {
    const iconv_t to_jis = iconv_open("ISO-2022-JP", "EUC-JP");
    const iconv_t to_sjis = iconv_open("SHIFT_JIS", "EUC-JP");
    std::string expected[4]; // by encode word; 0 is the text
    for (int code = 0xa1a1; code <= 0xf4fe; ++code) {
        const std::string euc = {static_cast<char>(code >> 8), static_cast<char>(code)};
        const std::string jis = convert(to_jis, euc); // between an escape there and one back
        const std::string sjis = convert(to_sjis, euc);
        if (jis.size() == 8 && sjis.size() == 2) {
            expected[0] += "-" + euc;
            expected[1] += "-" + euc; // the wide code of the pair
            expected[2] += "-" + jis.substr(3, 2);
            expected[3] += "-" + sjis;
        }
    }
    iconv_close(to_jis);
    iconv_close(to_sjis);
    ASSERT_GT(expected[0].size(), 6000u * 3);
    expected[0] += "\x8e\xb1\xb0"; // a half-width letter, then half a character
    expected[1] += std::string("\0\xb1", 2);
    expected[2] += "\xb1";
    expected[3] += "\xb1";
    for (int encode = 0; encode < 4; ++encode) {
        scratch_tree tree;
        scoped_record record(tree.path + "a.txt");
        ASSERT_EQ(pfa_fopen(record, 0, "w") + pfa_put_encode(record, encode), 0);
        EXPECT_EQ(pfa_fprintf(record, "%s", expected[0].c_str()),
                  encode == 0 ? PFA_E_NO_ERROR : PFA_E_INVALID_INPUT);
        EXPECT_EQ(pfa_close(record), 0);
        EXPECT_TRUE(text_of(tree.path + "a.txt") == expected[encode]) << encode;
    }
}

} // namespace
