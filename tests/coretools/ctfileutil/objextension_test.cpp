// The object type table as its look-ups answer it.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <cctype>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr int LOWEST_CODE = -20;
constexpr int HIGHEST_CODE = 21000;

// Extensions of more than one type, with the type that an extension alone stands for.
const std::map<std::string, int> TIES = {
    {"PRT", 2},   {"SEC", 11},  {"INT", 124}, {"PIC", 129}, {"IGS", 134},
    {"EVS", 570}, {"MDB", 571}, {"NEU", 198}, {"WPR", 753}, {"TAB", 415},
    {"NTR", 540}, {"WRL", 557}, {"TIF", 563},
};
const std::set<int> LOWERED = {2,   10030, 1,   4,   19,  11,  7,   16,    33,
                               124, 20,    70,  37,  27,  45,  105, 111,   116,
                               121, 122,   128, 129, 302, 303, 374, 10017, 10016};
const std::set<int> WEIRD = {134, 183, 819, 832, 1002, 1006};

int expected_length(int type) {
    if (type >= 569 && type <= 577) {
        return 66;
    }
    if (type == 1002 || type == 1006 || type == 819 || type == 832) {
        return 80;
    }
    return type == 1005 ? 20 : 32;
}

std::uint32_t crc32_of(const std::string &text) {
    std::uint32_t crc = 0xffffffffu;
    for (const char character : text) {
        crc ^= static_cast<unsigned char>(character);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
        }
    }
    return ~crc;
}

std::string lower(std::string text) {
    for (char &character : text) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return text;
}

// Looks up every code, and every extension that one of them has.
void check_every_type() {
    std::string listed;
    int with_extension = 0;
    for (int type = LOWEST_CODE; type <= HIGHEST_CODE; ++type) {
        const std::string extension = type_to_extension(type);
        ASSERT_EQ(type_to_name_length(type), expected_length(type)) << type;
        ASSERT_EQ(type_to_mixed_case_OK(type), LOWERED.count(type) == 0) << type;
        ASSERT_EQ(type_to_weird_chars_OK(type), WEIRD.count(type) != 0) << type;
        if (extension.empty()) {
            continue;
        }
        ++with_extension;
        listed += std::to_string(type) + " " + extension + "\n";
        const auto tie = TIES.find(extension);
        const int expected = tie != TIES.end() ? tie->second : type;
        ASSERT_EQ(extension_to_type(extension.c_str()), expected) << extension;
        ASSERT_EQ(extension_to_type(lower(extension).c_str()), expected) << extension;
        ASSERT_EQ(extension_to_type((extension + "X").c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
    }
    EXPECT_EQ(with_extension, 205);
    EXPECT_EQ(crc32_of(listed), 0xab6757dbu); // of "code EXTENSION\n" for each, by code
}

// Without memory for the sorted tables the answers are the same, and so they are afterwards.
TEST(ObjectType, ExhaustedMemoryChangesNoAnswer) {
    const child_result child = run_in_child([] {
        init_memory(); // without its locks the memory layer ends the process
        fail_allocation(0, true);
        const int type = extension_to_type("Igs");
        const char *extension = type_to_extension(571);
        const int none = extension_to_type("");
        fail_allocation(NO_FAILURE, false);
        std::printf("%d %s %d", type, extension, none);
        check_every_type();
    });
    EXPECT_EQ(child.out, "134 MDB 821");
    EXPECT_EQ(child.status, 0);
}

TEST(ObjectType, FirstLookUpsOnManyThreads) {
    const child_result child = run_in_child([] {
        run_on_threads(8, [](int) {
            EXPECT_EQ(extension_to_type("wrl"), 557);
            EXPECT_EQ(type_to_name_length(572), 66);
        });
    });
    EXPECT_EQ(child.status, 0) << child.out;
}

TEST(ObjectType, EveryTypeBothWays) {
    check_every_type();
    EXPECT_STREQ(type_to_extension(OBJ_TYPE_DIRECTORY), "DIR");
    EXPECT_EQ(type_to_name_length(INT32_MIN) + type_to_name_length(INT32_MAX), 64);
}

TEST(ObjectType, ExtensionsThatNoTypeHas) {
    for (const char *extension : {"txt", "pr", "prtt", ".prt", "prt ", "p\xe9t", "\xff", "1"}) {
        EXPECT_EQ(extension_to_type(extension), OBJ_TYPE_UNKNOWN_EXTENSION) << extension;
    }
    for (const std::size_t length : {259u, 260u, 100000u}) {
        EXPECT_EQ(extension_to_type(std::string(length, 'p').c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
    }
    EXPECT_EQ(extension_to_type(nullptr), OBJ_TYPE_UNKNOWN_EXTENSION);
    EXPECT_EQ(extension_to_type(""), 821);
}

} // namespace
