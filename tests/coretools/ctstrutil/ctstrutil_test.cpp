// Case mapping, and EUC, JIS and Shift-JIS codes.
#include "coretools/ctstrutil/char_case.h"
#include "coretools/ctstrutil/euc_codes.h"

#include <cctype>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(CharCase, OnlyAsciiLettersChange) {
    for (int c = -300; c < 600; ++c) {
        const int byte = c & 0xff;
        EXPECT_EQ(uppercase(c), byte < 0x80 ? std::toupper(byte) : byte);
        EXPECT_EQ(lowercase(c), byte < 0x80 ? std::tolower(byte) : byte);
    }
    char text[] = "a_b.prt\xe4Z";
    vek_cnvrt_to_upper(text, text);
    EXPECT_STREQ(text, "A_B.PRT\xe4Z");
    char copy[sizeof text];
    convert_to_lower(text, copy);
    EXPECT_STREQ(copy, "a_b.prt\xe4z");
}

TEST(EucCodes, NothingIsReadBeyondTheCount) {
    for (const std::string text : {"A", "\xb0\xa1", "\x8e\xb1", "\x8f\xb0\xa1"}) {
        const int length = static_cast<int>(text.size());
        for (int count = 0; count <= 4; ++count) {
            vek_wchar wide = -7;
            EXPECT_EQ(euc_mb2wc(&wide, text.c_str(), count), count < length ? 0 : length);
            EXPECT_EQ(wide == -7, count < length);
        }
    }
}

// The corners of the code: each half of a lead byte, the gaps that Shift-JIS leaves out.
TEST(EucCodes, FromEucOverJisToShiftJis) {
    const struct {
        const char *euc;
        unsigned char first, second;
    } rows[] = {
        {"\xb0\xa1", 0x88, 0x9f}, {"\xb1\xa1", 0x89, 0x40}, {"\xb1\xdf", 0x89, 0x7e},
        {"\xb1\xe0", 0x89, 0x80}, {"\xb1\xfe", 0x89, 0x9e}, {"\xb2\xfe", 0x89, 0xfc},
        {"\xde\xfe", 0x9f, 0xfc}, {"\xdf\xa1", 0xe0, 0x40}, {"\xf4\xa6", 0xea, 0xa4},
    };
    for (const auto &[euc, first, second] : rows) {
        vek_wchar wide = 0;
        ASSERT_EQ(euc_mb2wc(&wide, euc, 2), 2);
        auto jis_first = static_cast<unsigned char>(wc_euc2jis(wide) >> 8);
        auto jis_second = static_cast<unsigned char>(wc_euc2jis(wide));
        jis2sjis(&jis_first, &jis_second);
        EXPECT_EQ(jis_first, first) << euc;
        EXPECT_EQ(jis_second, second) << euc;
    }
    unsigned char no_row = 0;
    unsigned char cell = 0x21;
    jis2sjis(&no_row, &cell);
    EXPECT_EQ(no_row, 0);
    EXPECT_EQ(cell, 0x21);
    EXPECT_EQ(wc_euc2jis(0xff), 0xff);
}

} // namespace
