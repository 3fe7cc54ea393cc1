// The object type table as its look-ups answer it.
#include <cstdint>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

namespace {

constexpr int LOWEST_CODE = -20;
constexpr int HIGHEST_CODE = 21000;

// Extensions of more than one type, with the type that an extension alone stands for.
const std::map<std::string, int> TIES = {
    {"PRT", 2},   {"SEC", 11},  {"INT", 124}, {"PIC", 129}, {"IGS", 134},
    {"EVS", 570}, {"MDB", 571}, {"NEU", 198}, {"WPR", 753}, {"TAB", 415},
    {"NTR", 540}, {"WRL", 557}, {"TIF", 563},
};

// Looks up every code, and every extension that one of them has.
void check_every_type() {
    std::uint32_t fingerprint = 0;
    for (int type = LOWEST_CODE; type <= HIGHEST_CODE; ++type) {
        const std::string extension = type_to_extension(type);
        std::ostringstream row;
        row << type << ' ' << extension << ' ' << type_to_name_length(type) << ' '
            << type_to_mixed_case_OK(type) << ' ' << type_to_weird_chars_OK(type) << '\n';
        for (const char character : row.str()) {
            fingerprint = fingerprint * 31 + static_cast<unsigned char>(character);
        }
        if (extension.empty()) {
            continue;
        }
        const auto tie = TIES.find(extension);
        const int expected = tie != TIES.end() ? tie->second : type;
        ASSERT_EQ(extension_to_type(extension.c_str()), expected) << extension;
        ASSERT_EQ(extension_to_type((extension + "X").c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
    }
    EXPECT_EQ(fingerprint, 2589031077u) << "a column of the table has changed";
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
        std::printf("%s", ::testing::Test::HasFailure() ? " wrong afterwards" : "");
    });
    EXPECT_EQ(child.out, "134 MDB 821");
}

TEST(ObjectType, FirstLookUpsOnManyThreads) {
    const child_result child = run_in_child([] {
        run_on_threads(8, [](int) {
            if (extension_to_type("wrl") != 557 || type_to_name_length(572) != 66) {
                std::printf("wrong\n");
            }
        });
    });
    EXPECT_EQ(child.out + child.err, "");
}

TEST(ObjectType, EveryTypeBothWays) {
    check_every_type();
    EXPECT_STREQ(type_to_extension(OBJ_TYPE_DIRECTORY), "DIR");
    EXPECT_STREQ(type_to_extension(-7), "TPM");
    EXPECT_STREQ(type_to_extension(820), "_PS");
    EXPECT_STREQ(type_to_extension(12345), "");
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
