// Whole runs in which one call of the C library fails, for every call in turn: each writes the
// right catalog or exits with the status of a failure.
#include "tests/tool/catalog_model.h"

#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

namespace {

constexpr char OLD_CATALOG[] = "the catalog of an earlier run\n";

struct fault_result : tool_result {
    int injected;
    int open_descriptors;
};

class Faults : public testing::TestWithParam<const char *> {
  protected:
    void SetUp() override {
        for (int k = 0; k < 108; ++k) {
            const char *const where[] = {"", "sub/", "sub/deep/", "sub/deep/er/", "other.bak/"};
            library_.file(where[k % std::size(where)] + ("part" + std::to_string(k)) +
                          (k % 2 == 0 ? ".prt.1" : ".ASM"));
        }
        library_.file("sub/bolt.prt");
        library_.file("bolt.prt");
        library_.link("z/loop", "..");
    }

    fault_result run(const std::string &call, int at, bool sticky) {
        library_.file("mylib.ctg.1", OLD_CATALOG);
        const std::string report = library_.top + "/report";
        // Memory that ran out while '~' was expanded was reported as a root that cannot be opened.
        const std::vector<std::string> environment = {"HOME=" + library_.top,
                                                      "LD_PRELOAD=" VEK_FAULT_LIBRARY,
                                                      "VEK_FAULT_CALL=" + call,
                                                      "VEK_FAULT_AT=" + std::to_string(at),
                                                      "VEK_FAULT_STICKY=" + std::to_string(sticky),
                                                      "VEK_FAULT_REPORT=" + report};
        fault_result result{build_catalog("~/mylib", {{}, environment}), -1, -1};
        std::istringstream(read_file(report)) >> result.injected >> result.open_descriptors;
        std::filesystem::remove(report);
        return result;
    }

    // The catalog of the tree less the directories that the output warns about.
    std::string catalog_without_refused(const std::string &output) const {
        const std::string mark = "Warning: No access to " + library_.root + "/";
        std::set<std::string> refused;
        for (const std::string &line : lines_of(output)) {
            if (line.starts_with(mark)) {
                refused.insert(line.substr(mark.size()));
            }
        }
        return read_library(library_.root, refused).catalog();
    }

    void expect_right_or_failed(const fault_result &fault, bool write_failed) const {
        const std::string catalog = library_.catalog(), &output = fault.output;
        const auto says = [&](const char *text) { return output.find(text) != output.npos; };
        if (says("Error initializing clump lock.")) { // the core ends the process
            EXPECT_EQ(catalog, OLD_CATALOG);
        } else if (fault.status == 1) {
            EXPECT_EQ(catalog, write_failed ? "" : catalog_without_refused(output));
        } else {
            EXPECT_EQ(fault.status, 0);
            EXPECT_TRUE(says("Error: "));
            const model_library empty{library_.root, {}, ""};
            EXPECT_EQ(catalog, says("Error: Could not open") ? empty.catalog() : OLD_CATALOG);
        }
    }

    scratch_library library_;
};

TEST_P(Faults, EveryCallInTurn) {
    const std::string call = GetParam();
    const int quiet_descriptors = run("none", 0, false).open_descriptors;
    for (const bool sticky : {false, true}) {
        int calls = 0;
        for (bool more = true; more; ++calls) {
            SCOPED_TRACE(call + " " + std::to_string(calls) + (sticky ? " and later" : ""));
            const fault_result fault = run(call, calls + 1, sticky);
            ASSERT_GE(fault.status, 0);
            EXPECT_EQ(fault.open_descriptors, quiet_descriptors);
            more = fault.injected > 0;
            expect_right_or_failed(fault, call == "fwrite" && more);
            if (call == "opendir" && calls > 0) { // only warned about, as if removed meanwhile
                EXPECT_EQ(fault.status, 1);
            }
            ASSERT_FALSE(HasFailure()) << fault.output;
        }
        EXPECT_GT(calls, 1) << "nothing failed";
    }
}

INSTANTIATE_TEST_SUITE_P(Tool, Faults,
                         testing::Values("malloc", "opendir", "readdir", "stat", "fopen", "fwrite"),
                         [](const auto &test) { return std::string(test.param); });

} // namespace
