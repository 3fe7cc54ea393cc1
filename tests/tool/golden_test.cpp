// Whole runs on ordinary libraries: the catalog and the messages, byte for byte.
#include "tests/support/object_types.h"
#include "tests/tool/catalog_model.h"

#include <cstring>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string blanks(int count) {
    return std::string(count, ' ');
}

// Written out by hand, independent of the model.
TEST(Golden, ThreeParts) {
    scratch_library library;
    expect_catalog(library);
    library.files({"bolt.prt", "sub/bolt.prt", "sub/engine.asm", "readme.txt"});
    const std::string header = "mylib" + blanks(27) + "3" + blanks(27) + "260 \n";
    const std::string catalog = header + "1   engine" + blanks(26) + "sub" + blanks(221) +
                                "\n2   bolt" + blanks(28 + 224) + "\n2   bolt" + blanks(28) +
                                "sub" + blanks(221) + "\n" + header;
    const std::string report =
        "Warning: Found duplicate filenames, bolt of type prt,\n"
        "Duplicate file 1: " +
        library("bolt.prt\n") + "Duplicate file 2: " + library("sub/bolt.prt\n") +
        "Please rename either one of these files and regenerate the catalog again.\n";
    EXPECT_EQ(build_catalog(library.root + "/"), (child_result{1, report}));
    EXPECT_EQ(library.catalog(), catalog);
    expect_catalog(library);
}

TEST(Golden, CommandLine) {
    const scratch_library library;
    const std::string variable = "VEK_LIBRARY_DIR=" + library.root;
    const child_result null{0, "Error: VEK_LIBRARY_DIR is set as null string\n"};
    EXPECT_EQ(run_tool({{"-verify", "extra"}, {variable}}),
              (child_result{0, "vek_build_librar_ctg " VEK_VERSION "\n"}));
    EXPECT_EQ(run_tool({{"-Verify"}}), (child_result{1, "Error: VEK_LIBRARY_DIR not set.\n"}));
    EXPECT_EQ(run_tool({{"foo", "-verify"}, {variable}}), (child_result{1, ""}));
    EXPECT_EQ(build_catalog(""), null);
    EXPECT_EQ(build_catalog("/.."), null);
}

TEST(Golden, WhichNamesAreMembers) {
    const std::string n31(31, 'n'), n32(32, 'n'), n65(65, 'n'), n66(66, 'n'), n79(79, 'n');
    scratch_library library;
    // A name of more than 32 characters pushes the path to the right.
    library.files({"Bolt.PRT.3", "bolt.prt.32767", "screw.prt.-2", "nut-_9.prt", "any name+.igs",
                   "a.b.igs", "n\xc3\xa9.model", n31 + ".prt", n65 + ".emn", n79 + ".exp"},
                  "members/");
    library.files({"nut.prt.32768", "nut.prt.03", "nut.prt.", "any name+.prt", "n\xc3\xa9.prt",
                   "a.b.prt", "-nut.prt", ".prt", ".hidden.prt", "nut", "nut..prt", "nut.dir",
                   "nut.ctg.1", n32 + ".prt", n66 + ".emn"},
                  "others/");
    expect_catalog(library);
    EXPECT_TRUE(library.catalog().starts_with("mylib" + blanks(27) + "10 "));
    EXPECT_EQ(library.catalog().find("others"), std::string::npos);
    for (const type_row &row : type_table) {
        library.file("valid/PART." + row.extension);
        library.file("other/any name+." + row.extension);
    }
    expect_catalog(library);
}

TEST(Golden, MixedTree) {
    // The catalog's name is cut at 31 characters.
    scratch_library library("twelve.chars.twelve.chars.twelv.cut-off");
    library.files({"bolt.prt.1", "bolt.prt.2", "Bolt.PRT", "BOLT.prt", "a/bolt.asm", "a/b/bolt.prt",
                   "a-/nut.prt", "a/.hidden/nut.prt", "models.bak/nut.drw", "odd.3/nut.prt",
                   "tpl.txt", "deep/er/and/deeper/still/part_01.SEC", "e\xe9\xe8/x y\t/nut.lay",
                   "-start/nut.frm"});
    library.dir("empty.prt");
    library.link("linked.prt", "bolt.prt.1");
    library.link("null.prt", "/dev/null");
    library.link("dangling.prt", "nowhere");
    library.link("also", "a/b");
    mkfifo(library("pipe.prt").c_str(), 0600);
    EXPECT_EQ(mknod(library("socket.prt").c_str(), S_IFSOCK | 0600, 0), 0);
    expect_catalog(library);
    EXPECT_TRUE(library.catalog().starts_with("twelve_chars_twelve_chars_twelv 19 "));
}

// The same library from several working directories and by several forms of its root. A relative
// root that begins like a variable was refused as a device; "./$NOSUCH" worked.
TEST(Golden, RootForms) {
    scratch_library library("$NOSUCH");
    library.files({"bolt.prt", "sub/dir/bolt.prt"});
    model_library model = read_library(library.root);
    const std::string top = library.top;
    const auto expect_built = [&](const std::string &directory, const std::string &root) {
        SCOPED_TRACE(root);
        unlink(library.catalog_path().c_str());
        const tool_run run{{}, {"HOME=" + top, "TOP=" + top, "LIB=" + library.root}, directory};
        EXPECT_EQ(build_catalog(root, run), (child_result{1, model.duplicate_report()}));
        EXPECT_EQ(library.catalog(), model.catalog());
    };
    expect_built(library.root, "./");
    expect_built(library("sub"), "..");
    expect_built(library("sub/dir"), "../..");
    expect_built(top, "$NOSUCH");
    expect_built(top, "./$NOSUCH/sub/..");
    for (const std::string &root :
         {top + "/./$NOSUCH", top + "//$NOSUCH", top + "/$NOSUCH//", top + "/$NOSUCH/.",
          top + "/$NOSUCH/sub/../../$NOSUCH", "/" + top + "/$NOSUCH", "///" + top + "/$NOSUCH",
          "/../.." + top + "/$NOSUCH", std::string("~/$NOSUCH"), std::string("$TOP/$NOSUCH"),
          std::string("$LIB")}) {
        expect_built("/", root);
    }
    EXPECT_EQ(build_catalog("$NOSUCH.", {{}, {}, library.root}).status, 0);
    char host[64];
    gethostname(host, sizeof host);
    if (std::strlen(host) < 32) { // the messages keep the host's name
        for (const std::string &before : {host + std::string(":"), std::string("/////") + host}) {
            model.root = before + library.root;
            expect_built("/", model.root);
        }
        EXPECT_EQ(build_catalog(host + (":/x/.." + library.root)).status, 0);
    }
}

} // namespace
