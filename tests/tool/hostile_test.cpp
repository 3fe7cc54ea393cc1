// Whole runs on roots that cannot work and on trees that nobody should have: nothing outside the
// root is read, nothing is lost without a word, and no run ends early.
#include <algorithm>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/tool/catalog_model.h"
#include "tests/tool/tool_run.h"

namespace {

std::string not_opened(const std::string &root) {
    return "Error: Could not open " + root + "\n       Please make sure directory is readable.\n";
}

std::string not_written(const std::string &root) {
    return "Error: No write permission to " + root + "\n       catalog file not generated.\n";
}

// Runs the tool on a tree of which some directories (relative) are refused with a warning.
void expect_catalog(const scratch_library &library, const std::string &warnings,
                    const std::set<std::string> &refused, tool_run run = {}) {
    const tool_result result = build_catalog(library.root(), std::move(run));
    const model_library model = read_library(library.root(), refused);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(sorted_lines(result.output), sorted_lines(warnings + model.duplicate_report()));
    EXPECT_EQ(library.catalog(), model.catalog());
}

TEST(BadRoot, IsAnsweredAndLeavesNothing) {
    scratch_library library;
    library.file("file.prt");
    library.directory("^");
    library.directory("back\\slash");
    const std::string missing = "/" + std::string(258, 'x');
    for (const std::string &root :
         {library.path("missing"), library.path("file.prt"), library.path("^"), missing,
          library.path("back\\slash"), std::string("C:/lib"), std::string("C:lib"),
          std::string("///dev1/lib"), std::string("~nobody/lib"), std::string("stdio://out")}) {
        tool_run run;
        run.directory = library.root();
        EXPECT_EQ(build_catalog(root, run), (tool_result{0, not_opened(root) + not_written(root)}));
    }
    EXPECT_EQ(build_catalog("missing/lib", {{}, {}, library.root(), false, ""}).output,
              not_opened(library.path("missing/lib")) + not_written(library.path("missing/lib")));
    EXPECT_EQ(build_catalog(std::string(260, 'x')),
              (tool_result{0, "Error: VEK_LIBRARY_DIR has more than 259 characters.\n"}));
    for (const auto &entry : std::filesystem::recursive_directory_iterator(library.top())) {
        EXPECT_EQ(entry.path().string().find(".ctg"), std::string::npos) << entry.path();
    }
}

TEST(BadRoot, WithoutRights) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to own a tree that the tool's user does not";
    }
    tool_run run;
    run.ordinary_user = true;
    scratch_library library;
    library.file("bolt.prt");
    chmod(library.root().c_str(), 0755);
    EXPECT_EQ(build_catalog(library.root(), run), (tool_result{0, not_written(library.root())}));
    chmod(library.root().c_str(), 0333); // may be written to, not read
    EXPECT_EQ(build_catalog(library.root(), run), (tool_result{0, not_opened(library.root())}));
    EXPECT_EQ(library.catalog(), model_library({library.root(), {}}).catalog());
}

TEST(BadRoot, CatalogThatCannotBeAFile) {
    scratch_library library;
    library.file("mylib.ctg.1/bolt.prt");
    EXPECT_EQ(build_catalog(library.root()), (tool_result{0, not_written(library.root())}));
    // A FIFO under the catalog's name held the run for ever; a device took the catalog and kept it.
    std::filesystem::remove_all(library.catalog_path());
    mkfifo(library.catalog_path().c_str(), 0600);
    EXPECT_EQ(build_catalog(library.root()), (tool_result{0, not_written(library.root())}));
    unlink(library.catalog_path().c_str());
    library.link("mylib.ctg.1", "/dev/null");
    EXPECT_EQ(build_catalog(library.root()), (tool_result{0, not_written(library.root())}));

    // The root fits in a path and its catalog does not.
    std::string root = library.path("deep");
    while (root.size() < 190) {
        root += "/" + std::string(30, 'd');
    }
    root += "/" + std::string(31, 'd');
    std::filesystem::create_directories(root);
    EXPECT_EQ(build_catalog(root), (tool_result{0, not_written(root)}));
}

TEST(Output, NeverMattersToTheCatalog) {
    scratch_library library;
    for (int k = 0; k < 60; ++k) { // the report is longer than any buffer of the stream
        library.file("sub" + std::to_string(k) + "/bolt.prt");
    }
    const model_library model = read_library(library.root());
    EXPECT_GT(model.duplicate_report().size(), 100000u);
    for (const char *output : {"closed", "/dev/full", "unread"}) {
        unlink(library.catalog_path().c_str());
        tool_run run;
        run.standard_output = output;
        EXPECT_EQ(build_catalog(library.root(), run).status, 1) << output;
        EXPECT_EQ(library.catalog(), model.catalog()) << output;
    }
}

// Too large a file ended the run by a signal instead of failing its writes.
TEST(Output, LimitOnTheSizeOfFiles) {
    scratch_library library;
    library.file("bolt.prt");
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{100, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const tool_result result = build_catalog(library.root());
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(result, (tool_result{1, ""}));
}

TEST(Names, ThatTheLayerReadsInItsOwnWay) {
    scratch_library library;
    const std::set<std::string> refused = {"^",    "a\\b",     "q:",      "x::y",
                                           "$TOP", "Part.PRT", "$TOP.bak"};
    std::string warnings;
    for (const std::string &name : refused) {
        library.file(name + "/lost.prt");
        warnings += "Warning: No access to " + library.path(name) + "/\n";
    }
    for (const char *name :
         {"..^", "^old", "rev^2", "~", "~root", "$NOSUCH", "$", "line\nfeed", "part.PRT.x", "c.prt",
          "a deep place for colons/q:", "a deep place for colons/x::y", "...", "dots.", "-", "|"}) {
        library.file(std::string(name) + "/kept.prt");
    }
    for (const char *name : {"a\\b.igs", "x::y.igs", "q:.prt", "^.prt", "^.igs", "$TOP.igs",
                             "~.igs", "line\nfeed.igs", "%s%n.igs"}) {
        library.file(name);
    }
    tool_run run;
    run.environment = {"TOP=" + library.top()};
    // Names of the same kind beside the library, where a name taken the wrong way would lead.
    std::filesystem::create_directories(library.top() + "/outside");
    expect_catalog(library, warnings, refused, run);
}

TEST(Links, LoopsEndAndSiblingsAreEntered) {
    scratch_library library;
    library.file("a/b/bolt.prt");
    library.file("c/nut.asm");
    library.link("a/b/up", "../..");
    library.link("a/self", ".");
    library.link("c/other", "../a");
    library.link("a/b/other", "../../c");
    library.link("dangling", "nowhere");
    library.link("round", "round");
    std::string warnings;
    for (const char *loop : {"a/b/up/", "a/self/", "a/b/other/other/", "c/other/self/",
                             "c/other/b/up/", "c/other/b/other/"}) {
        warnings += "Warning: Directory loop at " + library.path(loop) + "\n";
    }
    expect_catalog(library, warnings, {});
}

TEST(Links, FortyLevels) {
    scratch_library library;
    library.file("level0/bolt.prt");
    for (int level = 1; level <= 45; ++level) { // past what the host follows
        library.link("level" + std::to_string(level), "level" + std::to_string(level - 1));
    }
    expect_catalog(library, "", {});
}

TEST(Entries, OfEveryKind) {
    scratch_library library;
    mkfifo(library.path("pipe.prt").c_str(), 0600);
    mkfifo(library.path("pipe").c_str(), 0600);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    snprintf(address.sun_path, sizeof address.sun_path, "%s", library.path("socket.prt").c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(fd);
    library.link("dangling.prt", "nowhere");
    library.link("null.prt", "/dev/null");
    expect_catalog(library, "", {});
    EXPECT_EQ(read_library(library.root()).members.size(), 4u);
}

// Builds directories and names of such lengths that whole paths come to given lengths.
TEST(LongPaths, LastLengthThatFitsIsUsed) {
    scratch_library library;
    std::string below = "d";
    while (library.path(below).size() < 240) {
        below += "/dd";
    }
    const std::string warning = "Warning: Path too long: ";
    std::string warnings;
    for (int length = 255; length <= 263; ++length) {
        const std::string stem = below + "/" + std::to_string(length) + "_";
        const std::string fill(length - library.path(stem).size() - 4, 'n');
        library.file(stem + fill + ".prt");
        if (length > 259) {
            warnings += warning + library.path(stem + fill + ".prt") + "\n";
        }
    }
    for (int length = 251; length <= 260; ++length) { // a directory's record takes four more
        const std::string stem = below + "/" + std::to_string(length) + "-";
        const std::string name = stem + std::string(length - library.path(stem).size(), 'd');
        library.directory(name);
        if (length > 255) {
            warnings += warning + library.path(name) + "\n";
        }
    }
    library.file("wide_" + std::string(246, 'w') + ".prt");
    warnings += warning + library.path("wide_" + std::string(246, 'w') + ".prt") + "\n";
    const tool_result result = build_catalog(library.root());
    model_library model = read_library(library.root());
    std::erase_if(model.members, [&](const model_member &member) {
        const std::string path = member.path + "/" + member.name + "." + member.extension;
        return library.path(path).size() > 259;
    });
    EXPECT_EQ(model.members.size(), 5u);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(sorted_lines(result.output), sorted_lines(warnings));
    EXPECT_EQ(library.catalog(), model.catalog());
}

TEST(LongPaths, DeepTree) {
    // Made step by step: the host cannot name the whole path either in one go when it is longer.
    scratch_library library;
    int at = open(library.root().c_str(), O_DIRECTORY);
    for (int depth = 0; depth < 400; ++depth) {
        const std::string part = "p" + std::to_string(100 + depth) + ".prt";
        close(openat(at, part.c_str(), O_CREAT | O_WRONLY, 0644));
        ASSERT_EQ(mkdirat(at, "d", 0755), 0);
        const int next = openat(at, "d", O_DIRECTORY);
        close(at);
        at = next;
    }
    close(at);
    // Each level takes two characters, "p100.prt" nine; one directory more may be left unentered.
    const int last = (259 - 9 - static_cast<int>(library.root().size())) / 2;
    const tool_result result = build_catalog(library.root());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 3);
    const std::string catalog = library.catalog();
    const int members = std::stoi(catalog.substr(32, 28));
    EXPECT_EQ(members, last + 1);
    EXPECT_EQ(catalog.size(), 130u + 261u * members);
}

} // namespace
