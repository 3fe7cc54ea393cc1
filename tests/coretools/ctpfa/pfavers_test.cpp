// The search for the versions of a file.
#include "coretools/ctpfa/pfavers.h"

#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfapars.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/memory_location.h"

#include <gtest/gtest.h>

namespace {

TEST(pfavers, TheHighestVersionAndTheNext) {
    const struct {
        const char *note;
        std::vector<std::string> files;
        const char *name;
        int latest; // -1: no such file
        int next;
    } rows[] = {
        {"several", {"a.prt.1", "a.prt.7", "a.prt.12"}, "a.prt", 12, 13},
        {"no version", {"a.prt"}, "a.prt", 0, 2},
        {"nothing", {}, "a.prt", -1, 1},
        {"no versions at all",
         {"a.prt.01", "a.prt.x", "a.prt.99999", "a.prtx.3", "aa.prt.4", "a.prt.3.5"},
         "a.prt",
         -1,
         1},
        {"negative", {"a.prt.-4"}, "a.prt", -1, 1},
        {"the highest there is", {"a.prt.32767"}, "a.prt", 32767, 32768},
        {"stored in lower case", {"a.prt.3"}, "A.PRT", 3, 4},
        {"other case is another file", {"A.PRT.9", "a.prt.3"}, "a.prt", 3, 4},
        {"of these types it is not", {"A.IGS.9", "a.igs.3"}, "a.igs", 9, 10},
        {"the exact one may be higher", {"A.IGS.2", "a.igs.3"}, "a.igs", 3, 4},
        {"nor of no type", {"README.TXT.2"}, "readme.txt", 2, 3},
        {"no extension", {"readme.2"}, "readme", 2, 3},
    };
    for (const auto &row : rows) {
        const scratch_tree tree;
        for (const std::string &file : row.files) {
            write_text(tree.path + file, "");
        }
        scoped_record record(tree.path + row.name);
        int version = 99;
        EXPECT_EQ(pfa_get_file_vers(record, 1, &version), row.latest < 0 ? PFA_E_NOT_FOUND : 0)
            << row.note;
        EXPECT_EQ(version, row.latest < 0 ? 99 : row.latest) << row.note;
        EXPECT_EQ(pfa_get_file_vers(record, 2, &version), 0) << row.note;
        EXPECT_EQ(version, row.next) << row.note;
        EXPECT_EQ(pfa_get_file_vers(record, 0, &version), 0);
        EXPECT_EQ(version, record->version);
    }
}

TEST(pfavers, ADirectoryThatCannotBeOpenedAndBadArguments) {
    const scratch_tree tree;
    scoped_record record(tree.path + "gone/a.prt");
    int version = 99;
    EXPECT_EQ(pfa_get_file_vers(record, 1, &version), PFA_E_NO_ACCESS);
    EXPECT_EQ(pfa_get_file_vers(record, 3, &version), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_get_file_vers(record, -1, &version), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_get_file_vers(record, 0, nullptr), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_get_file_vers(nullptr, 0, &version), PFA_E_NOT_VALID);
    EXPECT_EQ(version, 99);
}

} // namespace
