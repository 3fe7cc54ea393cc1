// Whole runs on roots that cannot be cataloged and on hostile trees: nothing outside the root is
// read or written, nothing is lost without a warning, and no run ends early.
#include "tests/tool/catalog_model.h"

#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

child_result not_opened(const std::string &root) {
    return {0,
            "Error: Could not open " + root + "\n       Please make sure directory is readable.\n"};
}

child_result not_written(const std::string &root) {
    return {0, "Error: No write permission to " + root + "\n       catalog file not generated.\n"};
}

TEST(BadRoot, IsReportedAndNothingIsWritten) {
    scratch_library library;
    library.file("file.prt");
    library.dir("^");
    library.dir("back\\slash");
    const auto expect_refused = [&](const std::string &root, const std::string &reported) {
        EXPECT_EQ(build_catalog(root, {{}, {}, library.root}),
                  (child_result{0, not_opened(reported).out + not_written(reported).out}));
    };
    for (const std::string &root :
         {library("missing"), library("file.prt"), library("^"), library("back\\slash"),
          "/" + std::string(258, 'x'), std::string("C:/lib"), std::string("C:lib"),
          std::string("///dev1/lib"), std::string("~nobody/lib"), std::string("stdio://out")}) {
        expect_refused(root, root);
    }
    // In the top directory ":" became the empty text, which is the top directory itself.
    EXPECT_EQ(build_catalog(":").out, not_opened(":").out + not_written(":").out);
    expect_refused("missing/lib", library("missing/lib"));
    EXPECT_EQ(build_catalog(std::string(260, 'x')),
              (child_result{0, "Error: VEK_LIBRARY_DIR has more than 259 characters.\n"}));
    for (const auto &entry : std::filesystem::recursive_directory_iterator(library.top)) {
        EXPECT_EQ(entry.path().string().find(".ctg"), std::string::npos) << entry.path();
    }
}

TEST(Rights, ToDirectoriesAndToTheRoot) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to own a tree that the tool's user does not";
    }
    const tool_run run{.prepare = drop_rights};
    scratch_library library;
    library.files({"open/bolt.prt", "shut/bolt.prt", "listed/bolt.prt", "listed/sub/bolt.prt"});
    chmod(library.root.c_str(), 0755);
    EXPECT_EQ(build_catalog(library.root, run), not_written(library.root));
    chmod(library.root.c_str(), 0333); // may be written to, not read
    EXPECT_EQ(build_catalog(library.root, run), not_opened(library.root));
    EXPECT_EQ(library.catalog(), model_library({library.root, {}, ""}).catalog());
    chmod(library.root.c_str(), 0777);
    library.link("listed/linked.prt", "bolt.prt");
    library.link("listed/link", "sub");
    chmod(library("shut").c_str(), 0);
    chmod(library("listed").c_str(), 0744); // can be listed, its entries cannot be looked up
    expect_catalog(library, {"shut/", "listed/sub/", "listed/link", "listed/linked.prt"}, run);
}

// A run waited for a reader of the FIFO that never came; one overwrote what the link led to.
TEST(BadCatalog, IsNotARegularFile) {
    const scratch_library directory, fifo, link;
    directory.dir("mylib.ctg.1");
    EXPECT_EQ(build_catalog(directory.root), not_written(directory.root));
    mkfifo(fifo.catalog_path().c_str(), 0600);
    EXPECT_EQ(build_catalog(fifo.root), not_written(fifo.root));
    link.file("precious", "kept");
    link.link("mylib.ctg.1", "precious");
    EXPECT_EQ(build_catalog(link.root), not_written(link.root));
    EXPECT_EQ(read_file(link("precious")), "kept");
}

// "$A.B" names no variable. Its catalog "$A_B.ctg.1" does, and would be written elsewhere.
TEST(BadCatalog, NameIsReadAsAVariable) {
    const scratch_library library("$A.B");
    library.dir("../elsewhere");
    EXPECT_EQ(build_catalog(library.root, {{}, {"A_B=../elsewhere/x"}}), not_written(library.root));
    EXPECT_TRUE(std::filesystem::is_empty(library.top + "/elsewhere"));
}

TEST(BadCatalog, OnlyTheCatalogPathIsTooLong) {
    const scratch_library library;
    std::string root = "deep";
    for (int depth = 0; depth < 7; ++depth) {
        root += "/" + std::string(30, 'd');
    }
    root = library.dir(root + "d");
    EXPECT_EQ(build_catalog(root), not_written(root));
}

TEST(Output, FailuresDoNotChangeTheCatalog) {
    scratch_library library;
    for (int k = 0; k < 60; ++k) { // the report is longer than any buffer of the stream
        library.file("sub" + std::to_string(k) + "/bolt.prt");
    }
    const auto leave_unread = [] {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        close(ends[0]);
        dup2(ends[1], 1);
    };
    const std::pair<const char *, void (*)()> rows[] = {
        {"closed", [] { close(1); }},
        {"full", [] { dup2(open("/dev/full", O_WRONLY), 1); }},
        {"unread", leave_unread},
    };
    for (const auto &[name, prepare] : rows) {
        SCOPED_TRACE(name);
        unlink(library.catalog_path().c_str());
        EXPECT_EQ(build_catalog(library.root, {.prepare = prepare}), (child_result{1, ""}));
        EXPECT_EQ(library.catalog(), read_library(library.root).catalog());
    }
    // Too large a file ended the run by a signal instead of failing its writes.
    const auto limit_files = [] {
        const rlimit small{100, 100};
        setrlimit(RLIMIT_FSIZE, &small);
    };
    EXPECT_EQ(build_catalog(library.root, {.prepare = limit_files}).status, 1);
}

TEST(Names, ReadAsSyntaxOfPathsOrNumbers) {
    scratch_library library;
    const std::set<std::string> refused = {"^/",    "a\\b/",     "q:/",      "x::y/",
                                           "$TOP/", "Part.PRT/", "$TOP.bak/"};
    for (const std::string &name : refused) {
        library.file(name + "lost.prt");
    }
    library.files({"..^", "^old", "rev^2", "~", "~root", "$NOSUCH", "$", "line\nfeed", "part.PRT.x",
                   "c.prt", "a deep place for colons/q:", "a deep place for colons/x::y", "...",
                   "dots.", "-", "|"},
                  "", "/kept.prt");
    library.files({"a\\b.igs", "x::y.igs", "q:.prt", "^.prt", "^.igs", "$TOP.igs", "~.igs",
                   "line\nfeed.igs", "%s%n.igs",
                   // A number too long for a version was taken for a failed stat.
                   "u.20231231235959123456", "x.20231231235959", "bolt.prt.9223372036854775808",
                   "bolt.prt.-9223372036854775809"});
    library.file("../outside.prt"); // where "^" leads if it is read as the parent
    expect_catalog(library, refused, {{}, {"TOP=" + library.top}});
}

TEST(Links, LoopsEndAndSiblingsAreEntered) {
    scratch_library library;
    library.file("a/b/bolt.prt");
    library.file("c/nut.asm");
    library.link("a/b/up", "../..");
    library.link("c/other", "../a");
    library.link("a/b/other", "../../c");
    library.link("dangling", "nowhere");
    library.link("round", "round");
    library.file("level0/bolt.prt");
    for (int level = 1; level <= 45; ++level) { // more than the host follows
        library.link("level" + std::to_string(level), "level" + std::to_string(level - 1));
    }
    expect_catalog(library);
}

// Paths of files and directories on both sides of the limits, and a chain far beyond them.
TEST(LongPaths, UpToTheLimitAreUsed) {
    scratch_library library;
    std::string below = "d";
    while (library(below).size() < 240) {
        below += "/dd";
    }
    for (int length = 251; length <= 263; ++length) {
        const std::string stem = below + "/" + std::to_string(length);
        const std::string fill(length - library(stem).size() - 4, 'n');
        library.file(stem + fill + ".prt");
        library.file(stem + fill + ".facet");
        library.dir(stem + fill + "-dir");
    }
    library.file("wide_" + std::string(246, 'w') + ".prt");
    std::string chain;
    for (int depth = 0; depth < 200; ++depth) {
        library.file(chain + "p" + std::to_string(depth) + ".prt");
        chain += "c/";
    }
    expect_catalog(library);
    EXPECT_NE(library.catalog().find("\n2   259n"), std::string::npos);
    EXPECT_EQ(library.catalog().find("\n2   260n"), std::string::npos);
}

} // namespace
