// Case mapping, and EUC codes against the conversions of the C library.
#include "coretools/ctstrutil/char_case.h"
#include "coretools/ctstrutil/euc_codes.h"

#include <cctype>
#include <string>

#include <gtest/gtest.h>
#include <iconv.h>

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

// Every JIS X 0208 character that the C library knows in both codes.
TEST(EucCodes, WholeTableAgreesWithTheCLibrary) {
    const iconv_t to_sjis = iconv_open("SHIFT_JIS", "EUC-JP");
    if (to_sjis == iconv_t(-1)) {
        GTEST_SKIP() << "no Japanese code tables on this machine";
    }
    int compared = 0;
    for (int code = 0xa1a1; code <= 0xfefe; ++code) {
        char euc[] = {static_cast<char>(code >> 8), static_cast<char>(code)};
        char sjis[2];
        char *in = euc;
        char *out = sjis;
        std::size_t in_left = sizeof euc;
        std::size_t out_left = sizeof sjis;
        iconv(to_sjis, nullptr, nullptr, nullptr, nullptr);
        if (iconv(to_sjis, &in, &in_left, &out, &out_left) != 0 || out_left != 0) {
            continue;
        }
        vek_wchar wide = 0;
        ASSERT_EQ(euc_mb2wc(&wide, euc, 2), 2);
        auto first = static_cast<unsigned char>(wc_euc2jis(wide) >> 8);
        auto second = static_cast<unsigned char>(wc_euc2jis(wide));
        jis2sjis(&first, &second);
        EXPECT_EQ(std::string(sjis, 2), std::string({char(first), char(second)})) << code;
        ++compared;
    }
    iconv_close(to_sjis);
    EXPECT_GT(compared, 6800);
    unsigned char no_row = 0;
    unsigned char cell = 0x21;
    jis2sjis(&no_row, &cell);
    EXPECT_EQ(no_row, 0);
    EXPECT_EQ(cell, 0x21);
}

} // namespace
