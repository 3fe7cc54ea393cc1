// The object type table as its look-ups answer it.
#include <cstdint>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

namespace {

// Looks up every code, and every extension that one of them has.
void check_every_type() {
    std::uint32_t fingerprint = 0;
    for (int type = -20; type <= 21000; ++type) {
        const std::string extension = type_to_extension(type);
        std::ostringstream row;
        row << type << ' ' << extension << ' ' << type_to_name_length(type) << ' '
            << type_to_mixed_case_OK(type) << ' ' << type_to_weird_chars_OK(type) << ' '
            << extension_to_type(extension.c_str()) << '\n';
        for (const char character : row.str()) {
            fingerprint = fingerprint * 31 + static_cast<unsigned char>(character);
        }
        ASSERT_EQ(extension_to_type((extension + "X").c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
    }
    EXPECT_EQ(fingerprint, 4236712495u)
        << "a column, or which type stands for an extension, has changed";
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
    EXPECT_EQ(extension_to_type("SEC"), 11); // of three types the first of the table
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
