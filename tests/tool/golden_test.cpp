// Whole runs on libraries as people have them: the catalog and the messages, byte for byte.
#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/tool/catalog_model.h"
#include "tests/tool/tool_run.h"

namespace {

std::string blanks(int count) {
    return std::string(count, ' ');
}

void expect_catalog_of_tree(const scratch_library &library) {
    const model_library model = read_library(library.root());
    const tool_result expected{1, model.duplicate_report()};
    EXPECT_EQ(build_catalog(library.root()), expected);
    EXPECT_EQ(library.catalog(), model.catalog());
}

TEST(Golden, ThreeParts) {
    scratch_library library;
    for (const char *name : {"bolt.prt", "sub/bolt.prt", "sub/engine.asm", "readme.txt"}) {
        library.file(name);
    }
    const std::string header = "mylib" + blanks(27) + "3" + blanks(27) + "260 \n";
    const std::string catalog = header + "1   engine" + blanks(26) + "sub" + blanks(221) +
                                "\n2   bolt" + blanks(28 + 224) + "\n2   bolt" + blanks(28) +
                                "sub" + blanks(221) + "\n" + header;
    const tool_result expected{
        1, "Warning: Found duplicate filenames, bolt of type prt,\n"
           "Duplicate file 1: " +
               library.root() +
               "/bolt.prt\n"
               "Duplicate file 2: " +
               library.root() +
               "/sub/bolt.prt\n"
               "Please rename either one of these files and regenerate the catalog again.\n"};
    for (const std::string &root : {library.root(), library.root() + "/"}) {
        EXPECT_EQ(build_catalog(root), expected);
        EXPECT_EQ(library.catalog(), catalog);
    }
    EXPECT_EQ(catalog.size(), 913u);
}

TEST(Golden, EmptyLibrary) {
    scratch_library library;
    EXPECT_EQ(build_catalog(library.root()), (tool_result{1, ""}));
    const std::string line = "mylib" + blanks(27) + "0" + blanks(27) + "260 \n";
    EXPECT_EQ(library.catalog(), line + line);
}

TEST(Golden, CommandLine) {
    scratch_library library;
    const std::string variable = "VEK_LIBRARY_DIR=" + library.root();
    const struct {
        std::vector<std::string> arguments;
        std::vector<std::string> environment;
        tool_result expected;
    } rows[] = {
        {{"-verify"}, {}, {0, "vek_build_librar_ctg J-01-32\n"}},
        {{"-verify", "extra"}, {variable}, {0, "vek_build_librar_ctg J-01-32\n"}},
        {{}, {}, {1, "Error: VEK_LIBRARY_DIR not set.\n"}},
        {{"-Verify"}, {}, {1, "Error: VEK_LIBRARY_DIR not set.\n"}},
        {{}, {"VEK_LIBRARY_DIR="}, {0, "Error: VEK_LIBRARY_DIR is set as null string\n"}},
        {{}, {"VEK_LIBRARY_DIR=/"}, {0, "Error: VEK_LIBRARY_DIR is set as null string\n"}},
        {{}, {"VEK_LIBRARY_DIR=/.."}, {0, "Error: VEK_LIBRARY_DIR is set as null string\n"}},
        {{"foo", "-verify"}, {variable}, {1, ""}},
    };
    for (const auto &row : rows) {
        tool_run run;
        run.arguments = row.arguments;
        run.environment = row.environment;
        EXPECT_EQ(run_tool(run), row.expected);
    }
}

// Every extension that names a type, in both cases and with a version.
TEST(Golden, EveryExtension) {
    scratch_library library;
    std::ifstream table(VEK_TYPE_TABLE);
    std::string line;
    std::getline(table, line);
    int rows = 0;
    while (std::getline(table, line)) {
        ++rows;
        const std::string extension =
            line.substr(line.find(' ') + 1, line.rfind(' ') - line.find(' ') - 1);
        library.file("upper/PART." + extension);
        std::string lower;
        for (const char c : extension) {
            lower += static_cast<char>(tolower(c));
        }
        library.file("lower/part." + lower + ".12");
    }
    EXPECT_EQ(rows, 215);
    EXPECT_GT(read_library(library.root()).members.size(), 370u);
    expect_catalog_of_tree(library);
}

TEST(Golden, WhichNamesAreMembers) {
    const std::string n31(31, 'n'), n32(32, 'n'), n65(65, 'n'), n66(66, 'n'), n79(79, 'n');
    const struct {
        std::string file;
        const char *member; // "type name", empty for none
    } rows[] = {
        {"bolt.prt", "2 bolt"},
        {"Bolt.PRT.3", "2 Bolt"},
        {"bolt.prt.32767", "2 bolt"},
        {"nut.prt.32768", ""},
        {"nut.prt.03", ""},
        {"nut.prt.x3", ""},
        {"screw.prt.-2", "2 screw"},
        {"screw.prt.-02", ""},
        {"model.mdb", "571 model"},
        {"drawing.igs", "134 drawing"},
        {"any name+.igs", "134 any name+"},
        {"any name+.prt", ""},
        {"-nut.prt", ""},
        {"nut-_9.prt", "2 nut-_9"},
        {"n\xc3\xa9.prt", ""},
        {"n\xc3\xa9.model", "819 n\xc3\xa9"},
        {".prt", ""},
        {".hidden.prt", ""},
        {"a.b.prt", ""},
        {"a.b.igs", "134 a.b"},
        {"nut.prt.", ""},
        {"nut..prt", ""},
        {"nut", ""},
        {"nut.3", ""},
        {"nut.dir", ""},
        {"nut.tpm", ""},
        {"nut.txt", ""},
        {"nut.ctg.1", ""},
        {n31 + ".prt", "2 nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn"},
        {n32 + ".prt", ""},
        {n66 + ".emn", ""},
        {"tab\there.igs", "134 tab\there"},
    };
    for (const auto &row : rows) {
        scratch_library library;
        library.file(row.file);
        ASSERT_EQ(build_catalog(library.root()), (tool_result{1, ""})) << row.file;
        const std::string catalog = library.catalog();
        std::string member;
        if (catalog.size() > 130) {
            std::string name = catalog.substr(69, 32);
            name.erase(name.find_last_not_of(' ') + 1);
            member = std::to_string(std::stoi(catalog.substr(65, 4))) + " " + name;
        }
        EXPECT_EQ(member, row.member) << row.file;
        EXPECT_EQ(catalog, read_library(library.root()).catalog()) << row.file;
    }
    // A longer name pushes the path to the right.
    scratch_library library;
    library.file("sub/" + n65 + ".emn");
    library.file("sub/" + n79 + ".exp");
    ASSERT_EQ(build_catalog(library.root()), (tool_result{1, ""}));
    EXPECT_NE(library.catalog().find("569 " + n65 + "sub" + blanks(221) + "\n832 " + n79 + "sub"),
              std::string::npos);
}

TEST(Golden, MixedTree) {
    scratch_library library("my.lib");
    for (const char *name :
         {"bolt.prt.1", "bolt.prt.2", "Bolt.PRT", "BOLT.prt", "a/bolt.asm", "a/b/bolt.prt",
          "a-/nut.prt", "a/.hidden/nut.prt", "models.bak/nut.drw", "odd.3/nut.prt", "tpl.txt",
          "deep/er/and/deeper/still/part_01.SEC", "e\xe9\xe8/x y\t/nut.lay", "-start/nut.frm"}) {
        library.file(name);
    }
    library.directory("empty.prt");
    library.link("linked.prt", "bolt.prt.1");
    library.link("dangling.prt", "nowhere");
    library.link("also", "a/b");
    expect_catalog_of_tree(library);
    EXPECT_EQ(library.catalog().substr(0, 32), "my_lib" + blanks(26));
}

TEST(Golden, LongCatalogName) {
    // The cut at 31 characters comes before '.' is replaced.
    scratch_library library("twelve.chars.twelve.chars.twelv.cut-off");
    library.file("bolt.prt");
    expect_catalog_of_tree(library);
    EXPECT_TRUE(library.catalog().starts_with("twelve_chars_twelve_chars_twelv 1"));
}

TEST(Golden, UnreadableDirectory) {
    scratch_library library;
    library.file("open/bolt.prt");
    library.file("shut/bolt.prt");
    library.file("listed/bolt.prt");
    library.file("listed/sub/bolt.prt");
    library.link("listed/linked.prt", "bolt.prt");
    library.link("listed/link", "sub");
    chmod(library.path("shut").c_str(), 0);
    chmod(library.path("listed").c_str(), 0744); // its names can be read, its files not looked at
    tool_run run;
    run.ordinary_user = true;
    const tool_result result = build_catalog(library.root(), run);
    chmod(library.path("shut").c_str(), 0755);
    chmod(library.path("listed").c_str(), 0755);
    if (geteuid() == 0) {
        const model_library model =
            read_library(library.root(), {"shut", "listed/sub", "listed/link"});
        const std::string no_access = "Warning: No access to " + library.root();
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(sorted_lines(result.output),
                  sorted_lines(no_access + "/shut/\n" + no_access + "/listed/sub/\n" + no_access +
                               "/listed/link\n" + no_access + "/listed/linked.prt\n" +
                               model.duplicate_report()));
        EXPECT_EQ(library.catalog(), model.catalog());
    }
}

// The tool may be started from anywhere and be told the root in any way.
TEST(Golden, RootForms) {
    scratch_library library;
    library.file("bolt.prt");
    library.file("sub/dir/bolt.prt");
    const model_library model = read_library(library.root());
    const std::string top = library.top();
    const struct {
        std::string directory;
        std::string root;
    } rows[] = {
        {library.root(), "."},
        {library.root(), "./"},
        {library.path("sub"), ".."},
        {library.path("sub/dir"), "../.."},
        {top, "mylib"},
        {top, "./mylib"},
        {top, "mylib/sub/.."},
        {"/", top + "/./mylib"},
        {"/", top + "//mylib"},
        {"/", top + "/mylib//"},
        {"/", top + "/mylib/."},
        {"/", top + "/mylib/sub/../../mylib"},
        {"/", "/" + top + "/mylib"},
        {"/", "///" + top + "/mylib"},
        {"/", "/../.." + top + "/mylib"},
        {"/", "~/mylib"},
        {"/", "$TOP/mylib"},
        {"/", "$LIB"},
        {library.root(), "$NOSUCH."},
    };
    for (const auto &row : rows) {
        tool_run run;
        run.directory = row.directory;
        run.environment = {"HOME=" + top, "TOP=" + top, "LIB=" + library.root()};
        unlink(library.catalog_path().c_str());
        const tool_result result = build_catalog(row.root, run);
        if (row.root == "$NOSUCH.") {
            EXPECT_EQ(result.status, 0);
            continue;
        }
        EXPECT_EQ(result, (tool_result{1, model.duplicate_report()})) << row.root;
        EXPECT_EQ(library.catalog(), model.catalog()) << row.root;
    }
}

TEST(Golden, RootOnThisHostByName) {
    char host[64];
    gethostname(host, sizeof host);
    if (std::strlen(host) >= 32) {
        GTEST_SKIP() << "the host's name is too long for a root";
    }
    scratch_library library;
    library.file("bolt.prt");
    library.file("sub/dir/bolt.prt");
    for (const std::string &before : {host + std::string(":"), std::string("/////") + host}) {
        const model_library model{before + library.root(), read_library(library.root()).members};
        unlink(library.catalog_path().c_str());
        EXPECT_EQ(build_catalog(model.root), (tool_result{1, model.duplicate_report()}));
        EXPECT_EQ(library.catalog(), model.catalog());
    }
}

} // namespace
