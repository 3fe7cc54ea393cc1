// Look-ups of object types, beside the list of types that the tests of the tool use too.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <cctype>
#include <cstdint>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr int LOWEST_CODE = -20;
constexpr int HIGHEST_CODE = 21000;

const std::set<int> LOWERED = {2,   10030, 1,   4,   19,  11,  7,   16,    33,
                               124, 20,    70,  37,  27,  45,  105, 111,   116,
                               121, 122,   128, 129, 302, 303, 374, 10017, 10016};
const std::set<int> WEIRD = {134, 183, 819, 832, 1002, 1006};

struct listed_type {
    std::string extension;
    int name_length;
};

struct type_list {
    std::map<int, listed_type> by_code;
    std::map<std::string, int> first_code; // by extension
};

type_list read_type_list() {
    type_list list;
    std::ifstream file(VEK_TYPE_TABLE);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        int code = 0;
        listed_type type;
        if (fields >> code >> type.extension >> type.name_length) {
            type.extension = type.extension == "-" ? "" : type.extension;
            list.by_code[code] = type;
            list.first_code.emplace(type.extension, code);
        }
    }
    EXPECT_EQ(list.by_code.size(), 215U); // all but the default row
    return list;
}

std::string lower(std::string text) {
    for (char &character : text) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return text;
}

void check_every_type() {
    const type_list list = read_type_list();
    for (int code = LOWEST_CODE; code <= HIGHEST_CODE; ++code) {
        const auto found = list.by_code.find(code);
        const listed_type type = found != list.by_code.end() ? found->second : listed_type{"", 32};
        ASSERT_EQ(type_to_extension(code), type.extension) << code;
        ASSERT_EQ(type_to_name_length(code), type.name_length) << code;
        ASSERT_EQ(type_to_mixed_case_OK(code), LOWERED.count(code) == 0) << code;
        ASSERT_EQ(type_to_weird_chars_OK(code), WEIRD.count(code) != 0) << code;
    }
    for (const auto &[extension, code] : list.first_code) {
        ASSERT_EQ(extension_to_type(extension.c_str()), code) << extension;
        ASSERT_EQ(extension_to_type(lower(extension).c_str()), code) << extension;
        ASSERT_EQ(extension_to_type((extension + "#").c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
    }
}

TEST(ObjectType, EveryTypeBothWays) {
    check_every_type();
    EXPECT_EQ(type_to_name_length(INT32_MIN), 32);
    EXPECT_EQ(type_to_name_length(INT32_MAX), 32);
}

TEST(ObjectType, WithoutMemoryForTheSortedTables) {
    const child_result child = run_in_child([] {
        init_memory(); // without its locks the memory layer ends the process
        fail_allocation(0, true);
        EXPECT_EQ(extension_to_type("Igs"), 134);
        EXPECT_STREQ(type_to_extension(571), "MDB");
        EXPECT_EQ(extension_to_type(""), 821);
        fail_allocation(NO_FAILURE, false);
        check_every_type();
    });
    EXPECT_EQ(child.status, 0) << child.out;
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

TEST(ObjectType, ExtensionsThatNoTypeHas) {
    for (const char *extension :
         {"txt", "pr", "prtt", ".prt", "prt ", "p\xe9t", "\xff", "1", "sessions", "sessionss"}) {
        EXPECT_EQ(extension_to_type(extension), OBJ_TYPE_UNKNOWN_EXTENSION) << extension;
    }
    EXPECT_EQ(extension_to_type(std::string(100000, 'p').c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
    EXPECT_EQ(extension_to_type(nullptr), OBJ_TYPE_UNKNOWN_EXTENSION);
}

} // namespace
