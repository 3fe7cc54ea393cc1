// Wide text from and to EUC bytes, and the types of network file systems.
#include "coretools/ctplatform/ctplatform.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// Buffers of exactly the promised size, so that the address sanitizer sees any step outside.
std::vector<vek_wchar> widened(const std::string &text) {
    const std::vector<char> source(text.c_str(), text.c_str() + text.size() + 1);
    std::vector<vek_wchar> wide(text.size() + 1);
    strtows(wide.data(), source.data());
    wide.resize(static_cast<std::size_t>(wslen(wide.data())));
    return wide;
}

std::string narrowed(std::vector<vek_wchar> wide) {
    std::vector<char> text(3 * wide.size() + 1);
    wide.push_back(0);
    return wstostr(text.data(), wide.data());
}

TEST(WideText, EveryKindOfCharacterAndEveryTruncation) {
    struct {
        std::string text;
        std::vector<vek_wchar> wide;
    } const rows[] = {
        {"a\x7f", {'a', 0x7f}},     {"\xb0\xa1z", {0xb0a1, 'z'}},
        {"\x8e\xb1z", {0xb1, 'z'}}, {"\x8f\xb0\xa1z", {0xb021, 'z'}},
        {"x\xb0", {'x', 0xb0}},     {"x\x8e", {'x', 0x8e}},
        {"x\x8f", {'x', 0x8f}},     {"x\x8f\xb0", {'x', 0x8f, 0xb0}},
        {"\xb0z", {0xb0fa}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(widened(row.text), row.wide) << row.text;
    }
    EXPECT_EQ(narrowed({-1, 0x3021, 0x8ea1, 0x10000, 'a'}), "????a");
}

// What was read once reads the same again; well-formed characters come back byte for byte.
TEST(WideText, AllCharactersAreStable) {
    for (int lead = 1; lead < 256; ++lead) {
        for (int second = 1; second < 256; ++second) {
            for (const int third : {0, 1, 0x7f, 0x80, 0xa1, 0xfe}) {
                const int bytes[] = {lead, second, third, 0};
                const std::string text = std::string(bytes, bytes + 4).c_str();
                const std::vector<vek_wchar> wide = widened(text);
                ASSERT_EQ(widened(narrowed(wide)), wide);
                const bool triple = lead == 0x8f && third >= 0xa1;
                const bool pair = third == 0 && (lead == 0x8e || lead >= 0xa1);
                if (second >= 0xa1 && (pair || triple)) {
                    ASSERT_EQ(narrowed(wide), text);
                }
            }
        }
    }
}

TEST(FileSystem, OnlyNetworkTypesAreNotLocal) {
    EXPECT_TRUE(ctp_is_network_type(0x6969));     // NFS
    EXPECT_TRUE(ctp_is_network_type(0xff534d42)); // CIFS
    EXPECT_TRUE(ctp_is_network_type(-11317950));  // the same as a 32-bit host gives it
    EXPECT_FALSE(ctp_is_network_type(0xef53));
    EXPECT_FALSE(ctp_is_network_path("/proc"));
}

} // namespace
