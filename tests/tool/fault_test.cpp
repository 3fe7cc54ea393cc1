// Whole runs in which one call of the C library fails, for every call in turn: each ends in the
// right catalog or in a status that says otherwise.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/tool/catalog_model.h"
#include "tests/tool/tool_run.h"

namespace {

constexpr char OLD_CATALOG[] = "the catalog of an earlier run\n";

struct fault_result {
    tool_result result;
    int injected;
    int open_descriptors;
};

class Faults : public testing::Test {
  protected:
    void SetUp() override {
#ifdef VEK_SANITIZED
        GTEST_SKIP() << "the sanitizers have an allocator of their own";
#endif
        int parts = 0;
        for (int k = 0; k < 18; ++k) {
            for (const char *where :
                 {"", "sub/", "sub/deep/", "sub/deep/er/", "other.bak/", "z/"}) {
                const std::string number = std::to_string(parts++);
                library_.file(where + ("part" + number) + (k % 2 == 0 ? ".prt.1" : ".ASM"));
            }
        }
        library_.file("sub/bolt.prt");
        library_.file("bolt.prt");
        library_.file("readme.txt");
        library_.link("z/loop", "..");
    }

    fault_result run(const std::string &call, int at, bool sticky, const std::string &rename = "") {
        library_.file("mylib.ctg.1", OLD_CATALOG);
        const std::string report = library_.top() + "/report";
        tool_run run;
        run.environment = {"LD_PRELOAD=" VEK_FAULT_LIBRARY,
                           "VEK_FAULT_CALL=" + call,
                           "VEK_FAULT_AT=" + std::to_string(at),
                           "VEK_FAULT_STICKY=" + std::to_string(sticky ? 1 : 0),
                           "VEK_FAULT_RENAME=" + rename,
                           "VEK_FAULT_REPORT=" + report};
        fault_result result{build_catalog(library_.root(), run), -1, -1};
        std::istringstream(read_file(report)) >> result.injected >> result.open_descriptors;
        std::filesystem::remove(report);
        return result;
    }

    // The directories that the warnings of a run name, relative to the root.
    std::set<std::string> refused(const std::string &output) const {
        const std::string mark = "Warning: No access to " + library_.root() + "/";
        std::set<std::string> names;
        std::istringstream lines(output);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(mark)) {
                std::string name = line.substr(mark.size());
                name.erase(name.find_last_not_of('/') + 1);
                names.insert(name);
            }
        }
        return names;
    }

    void expect_right_or_failed(const fault_result &fault, bool writes_may_fail) const {
        const std::string &output = fault.result.output;
        const std::string catalog = library_.catalog();
        if (output.starts_with("Error initializing clump lock.")) { // the core ends the process
            EXPECT_EQ(catalog, OLD_CATALOG);
        } else if (fault.result.status == 1) {
            const bool right = catalog == read_library(library_.root(), refused(output)).catalog();
            EXPECT_TRUE(right || writes_may_fail) << catalog;
        } else {
            EXPECT_EQ(fault.result.status, 0);
            EXPECT_NE(output.find("Error: "), std::string::npos);
            const bool root_not_opened = output.find("Error: Could not open") != output.npos;
            EXPECT_EQ(catalog, root_not_opened ? model_library({library_.root(), {}}).catalog()
                                               : OLD_CATALOG);
        }
    }

    void fail_every_call(const std::string &call) {
        const int quiet_descriptors = run("none", 0, false).open_descriptors;
        for (const bool sticky : {false, true}) {
            for (int at = 1;; ++at) {
                SCOPED_TRACE(call + " " + std::to_string(at) + (sticky ? " and later" : ""));
                const fault_result fault = run(call, at, sticky);
                ASSERT_LT(fault.result.status, 1000);
                EXPECT_EQ(fault.open_descriptors, quiet_descriptors);
                expect_right_or_failed(fault, call == "fwrite");
                if (HasFailure()) {
                    FAIL() << fault.result.output;
                }
                if (fault.injected == 0) {
                    EXPECT_GT(at, 1);
                    break;
                }
            }
        }
    }

    scratch_library library_;
};

TEST_F(Faults, Memory) {
    fail_every_call("malloc");
}

TEST_F(Faults, Opendir) {
    fail_every_call("opendir");
}

TEST_F(Faults, Readdir) {
    fail_every_call("readdir");
}

TEST_F(Faults, Stat) {
    fail_every_call("stat");
}

TEST_F(Faults, Fopen) {
    fail_every_call("fopen");
}

TEST_F(Faults, Fwrite) {
    fail_every_call("fwrite");
}

// A directory that goes away just before it is opened costs a warning and its own members.
TEST_F(Faults, DirectoryRemovedWhileScanning) {
    for (int at = 2; at <= 6; ++at) {
        const fault_result fault = run("opendir", at, false, library_.path("sub"));
        std::filesystem::rename(library_.path("sub.gone"), library_.path("sub"));
        expect_right_or_failed(fault, false);
        EXPECT_EQ(fault.result.status, 1);
    }
}

} // namespace
