// Whole runs in which one call of the C library fails, for every call in turn: each writes the
// right catalog or exits with the status of a failure.
#include "tests/tool/catalog_model.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

constexpr char OLD_CATALOG[] = "the catalog of an earlier run\n";

struct fault_result : child_result {
    int injected;
    int open_descriptors;
};

struct Faults : testing::TestWithParam<const char *> {
    void SetUp() override {
        for (int k = 0; k < 108; ++k) {
            const char *const where[] = {"", "sub/", "sub/deep/", "sub/deep/er/", "other.bak/"};
            library_.file(where[k % std::size(where)] + ("part" + std::to_string(k)) +
                          (k % 2 == 0 ? ".prt.1" : ".ASM"));
        }
        library_.files({"bolt.prt", "sub/bolt.prt"});
        library_.link("z/loop", "..");
    }

    fault_result run(const std::string &call, const std::string &at) {
        library_.file("mylib.ctg.1", OLD_CATALOG);
        // Memory that ran out while '~' was expanded was reported as a root that cannot be opened.
        const std::vector<std::string> environment = {
            "HOME=" + library_.top, "LD_PRELOAD=" VEK_FAULT_LIBRARY, "VEK_FAULT_CALL=" + call,
            "VEK_FAULT_AT=" + at};
        fault_result result{build_catalog("~/mylib", {{}, environment}), -1, -1};
        std::istringstream(result.err) >> result.injected >> result.open_descriptors;
        return result;
    }

    void expect_right_or_failed(const fault_result &fault, bool write_failed) const {
        const std::string catalog = library_.catalog(), &output = fault.out;
        const std::string warning = "Warning: No access to " + library_.path;
        const auto says = [&](const char *text) { return output.find(text) != output.npos; };
        if (says("Error initializing clump lock.")) { // the core ends the process
            EXPECT_EQ(catalog, OLD_CATALOG);
        } else if (fault.status == 1) {
            // The catalog is that of the tree less the directories that the output warns about.
            std::set<std::string> refused;
            for (const std::string &line : lines_of(output)) {
                if (line.starts_with(warning)) {
                    refused.insert(line.substr(warning.size()));
                }
            }
            EXPECT_EQ(catalog, write_failed ? "" : read_library(library_.root, refused).catalog());
        } else {
            EXPECT_EQ(fault.status, 0);
            EXPECT_TRUE(says("Error: "));
            const std::string empty = model_library({library_.root, {}, ""}).catalog();
            EXPECT_EQ(catalog, says("Error: Could not open") ? empty : OLD_CATALOG);
        }
    }

    scratch_library library_;
};

TEST_P(Faults, EveryCallInTurn) {
    const std::string call = GetParam();
    const int quiet_descriptors = run("none", "0").open_descriptors;
    for (const char *later : {"", "+"}) {
        int calls = 0;
        for (bool more = true; more; ++calls) {
            const std::string at = std::to_string(calls + 1) + later;
            SCOPED_TRACE(call + " " + at);
            const fault_result fault = run(call, at);
            ASSERT_GE(fault.status, 0);
            EXPECT_EQ(fault.open_descriptors, quiet_descriptors);
            more = fault.injected > 0;
            expect_right_or_failed(fault, call == "fwrite" && more);
            if (call == "opendir" && calls > 0) { // only warned about, as if removed meanwhile
                EXPECT_EQ(fault.status, 1);
            }
            ASSERT_FALSE(HasFailure()) << fault.out;
        }
        EXPECT_GT(calls, 1) << "nothing failed";
    }
}

INSTANTIATE_TEST_SUITE_P(Tool, Faults,
                         testing::Values("malloc", "opendir", "readdir", "stat", "fopen", "fwrite"),
                         [](const auto &test) { return std::string(test.param); });

} // namespace
