// Look-ups of object types, beside the list of types that the tests of the tool use too.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctstrutil/char_case.h"
#include "tests/support/threads.h"

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

const std::set<int> LOWERED = {2,   10030, 1,   4,   19,  11,  7,   16,    33,
                               124, 20,    70,  37,  27,  45,  105, 111,   116,
                               121, 122,   128, 129, 302, 303, 374, 10017, 10016};
const std::set<int> WEIRD = {134, 183, 819, 832, 1002, 1006};

struct listed_type {
    std::string extension;
    int name_length = 32;
};

TEST(ObjectType, EveryTypeBothWaysOnManyThreads) {
    run_on_threads(4, [](int) {
        std::map<int, listed_type> types;
        std::map<std::string, int> first_codes; // by extension
        std::ifstream file(VEK_TYPE_TABLE);
        for (std::string line; std::getline(file, line);) {
            std::istringstream fields(line);
            int code = 0;
            listed_type type;
            if (fields >> code >> type.extension >> type.name_length) {
                type.extension = type.extension == "-" ? "" : type.extension;
                types[code] = type;
                first_codes.emplace(type.extension, code);
            }
        }
        EXPECT_EQ(types.size(), 215U); // all but the default row
        for (int code = -20; code <= 21000; ++code) {
            const auto found = types.find(code);
            const listed_type type = found != types.end() ? found->second : listed_type();
            ASSERT_EQ(type_to_extension(code), type.extension) << code;
            ASSERT_EQ(type_to_name_length(code), type.name_length) << code;
            ASSERT_EQ(type_to_mixed_case_OK(code), LOWERED.count(code) == 0) << code;
            ASSERT_EQ(type_to_weird_chars_OK(code), WEIRD.count(code) != 0) << code;
        }
        for (const auto &[extension, code] : first_codes) {
            std::string lower = extension;
            convert_to_lower(extension.c_str(), lower.data());
            ASSERT_EQ(extension_to_type(extension.c_str()), code) << extension;
            ASSERT_EQ(extension_to_type(lower.c_str()), code) << extension;
            ASSERT_EQ(extension_to_type((extension + "#").c_str()), OBJ_TYPE_UNKNOWN_EXTENSION);
        }
    });
}

TEST(ObjectType, ExtensionsThatNoTypeHas) {
    for (const char *extension : {"txt", "pr", ".prt", "prt ", "p\xe9t", "sessions", "sessionss"}) {
        EXPECT_EQ(extension_to_type(extension), OBJ_TYPE_UNKNOWN_EXTENSION) << extension;
    }
    EXPECT_EQ(extension_to_type(nullptr), OBJ_TYPE_UNKNOWN_EXTENSION);
}

} // namespace
