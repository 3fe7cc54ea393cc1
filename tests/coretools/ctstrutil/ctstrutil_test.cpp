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

// The corners of the code: each half of a lead byte, the gaps that Shift-JIS leaves out, no row.
TEST(EucCodes, FromEucOverJisToShiftJis) {
    EXPECT_EQ(wc_euc2jis(0xb0a1), 0x3021);
    EXPECT_EQ(wc_euc2jis(0xff), 0xff);
    const int rows[][2] = {{0x3021, 0x889f}, {0x3121, 0x8940}, {0x315f, 0x897e}, {0x3160, 0x8980},
                           {0x317e, 0x899e}, {0x327e, 0x89fc}, {0x5e7e, 0x9ffc}, {0x5f21, 0xe040},
                           {0x7426, 0xeaa4}, {0x0021, 0x0021}};
    for (const auto &[jis, shift_jis] : rows) {
        auto first = static_cast<unsigned char>(jis >> 8);
        auto second = static_cast<unsigned char>(jis);
        jis2sjis(&first, &second);
        EXPECT_EQ(first << 8 | second, shift_jis) << std::hex << jis;
    }
}

} // namespace
