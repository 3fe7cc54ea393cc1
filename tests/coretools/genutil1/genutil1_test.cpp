// Text copies with a limit, and the plain name alphabet.
#include "coretools/ctwcfun/wstr_ret.h"
#include "coretools/genutil1/bounded_text.h"
#include "coretools/genutil1/invstr.h"
#include "coretools/genutil1/text_copy.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(BoundedText, TakesAllOrNothing) {
    bounded_text<6> text;
    EXPECT_TRUE(text.append("abc"));
    EXPECT_FALSE(text.append("def"));
    EXPECT_STREQ(text.c_str(), "abc");
    EXPECT_TRUE(text.append("de"));
    EXPECT_FALSE(text.append('f'));
    EXPECT_EQ(text.view(), "abcde");
    text.shrink(1);
    EXPECT_STREQ(text.c_str(), "a");
}

TEST(TextCopy, NeverWritesBeyondItsLimit) {
    const struct {
        const char *source;
        int size, result;
        const char *written;
    } rows[] = {
        {"abc", 4, 0, "abc"}, {"abcd", 4, 1, ""},  {"", 1, 0, ""},
        {"a", 1, 1, ""},      {nullptr, 4, 1, ""}, {"a", 0, 1, "?????"},
    };
    for (const auto &[source, size, result, written] : rows) {
        char destination[] = "?????";
        EXPECT_EQ(strcpy_limit(source, size, destination), result);
        EXPECT_STREQ(destination, written);
        EXPECT_EQ(destination[size], '?');
    }
}

TEST(NameAlphabet, FirstCharacterThatBreaksIt) {
    const struct {
        const char *name;
        int index, invalid;
    } rows[] = {
        {"", 0, 0},        {"part_01", 7, 0},   {"a-b", 3, 0}, {"9AZaz", 5, 0}, {"-part", 0, 1},
        {"bolt 01", 4, 1}, {"a\xe9\xa1", 1, 1}, {"a[", 1, 1},  {"a`", 1, 1},    {"a{", 1, 1},
        {"a@", 1, 1},      {"a/", 1, 1},        {"a:", 1, 1},
    };
    for (const auto &[name, index, invalid] : rows) {
        EXPECT_EQ(invalid_name_idx(wstr_ret(name)), index) << name;
        EXPECT_EQ(invalid_string(wstr_ret(name)), invalid) << name;
        EXPECT_EQ(is_invalid_name(name), invalid != 0) << name;
    }
    // Half a character at the end of a name once counted as its second byte, here a valid letter.
    EXPECT_EQ(invalid_string(wstr_ret("a\x8f\x62")), 1);
    // A name gets the same result widened and as bytes.
    for (int code = 0; code < 1 << 24; code += 37) {
        const char name[] = {char(code >> 16), char(code >> 8), char(code), '\0'};
        ASSERT_EQ(is_invalid_name(name), invalid_string(wstr_ret(name)) != 0) << code;
    }
    EXPECT_EQ(is_valid_wc(0x141), 0); // 'A' in its low byte
}

} // namespace
