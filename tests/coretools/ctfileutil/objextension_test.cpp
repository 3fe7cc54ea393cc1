// Look-ups of object types, beside the list of types that the tests of the tool use too.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctstrutil/char_case.h"
#include "tests/support/object_types.h"
#include "tests/support/threads.h"

#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

const std::set<int> LOWERED = {2,   10030, 1,   4,   19,  11,  7,   16,    33,
                               124, 20,    70,  37,  27,  45,  105, 111,   116,
                               121, 122,   128, 129, 302, 303, 374, 10017, 10016};

TEST(ObjectType, EveryTypeBothWaysOnManyThreads) {
    std::map<int, type_row> types;
    std::map<std::string, int> first_codes; // by extension
    for (const type_row &type : type_table) {
        types[type.code] = type;
        first_codes.emplace(type.extension, type.code);
    }
    EXPECT_EQ(types.size(), 215U); // all but the default row
    run_on_threads(4, [&](int) {
        for (int code = -20; code <= 21000; ++code) {
            const auto found = types.find(code);
            const type_row type = found != types.end() ? found->second : type_row();
            ASSERT_EQ(type_to_extension(code), type.extension) << code;
            ASSERT_EQ(type_to_name_length(code), type.name_length) << code;
            ASSERT_EQ(type_to_mixed_case_OK(code), !LOWERED.contains(code)) << code;
            ASSERT_EQ(type_to_weird_chars_OK(code), types_with_any_name.contains(code)) << code;
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
