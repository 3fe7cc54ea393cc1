// Streams: buffered, at the descriptor, and the standard ones.
#include "test_support.h"
#include "tests/support/failing_malloc.h"

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

struct EachStream : testing::TestWithParam<bool> {
    const scratch_tree tree;
    const bool buffered = GetParam(); // else at the descriptor
};
INSTANTIATE_TEST_SUITE_P(Streams, EachStream, testing::Bool(), [](const auto &test) {
    return std::string(test.param ? "Buffered" : "Descriptor");
});

TEST_P(EachStream, WritesWhatItIsGiven) {
    stream file(tree("part.prt"));
    ASSERT_EQ(file.open(buffered, true), PFA_E_NO_ERROR);
    EXPECT_EQ(file.open(buffered, true), PFA_E_CANT_OPEN) << "the open stream would be lost";
    EXPECT_EQ(file.write("ab\0c", 4), PFA_E_NO_ERROR);
    EXPECT_EQ(file.write("d", 1, 1), PFA_E_NO_ERROR);
    EXPECT_EQ(file.write("", 0), buffered ? PFA_E_ERROR : PFA_E_NO_ERROR);
    EXPECT_EQ(file.call(PfaFputs, "\xff\n"), PFA_E_NO_ERROR);
    EXPECT_EQ(file.call(PfaFlushFile), PFA_E_NO_ERROR);
    EXPECT_EQ(tree.content("part.prt"), std::string("ab\0cd\xff\n", 7));
    const int length = 2;
    EXPECT_EQ(file.call(PfaTruncateFile, &length), PFA_E_NO_ERROR);
    EXPECT_EQ(tree.content("part.prt"), "ab");
    EXPECT_EQ(pfaloc_call_F(file, PfaDeleteFile), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_F(file, PfaDeleteFile), PFA_E_ERROR);
    EXPECT_EQ(file.call(PfaTruncateFile, &length), PFA_E_ERROR);
}

TEST_P(EachStream, ReadsLines) {
    stream file(tree.file("part.prt", "one\n\nthree"));
    ASSERT_EQ(file.open(buffered, false), PFA_E_NO_ERROR);
    EXPECT_EQ(file.call(PfaSetbuf, nullptr), PFA_E_NO_ERROR);
    EXPECT_EQ(file.read(PfaFgets), "one\n");
    EXPECT_EQ(file.read(PfaFgets), "\n");
    EXPECT_EQ(file.read(PfaFgets), "three");
    EXPECT_EQ(file.read(PfaFgets), buffered ? "PFA_E_QUIT" : "") << "at the end";
    EXPECT_EQ(file.read(PfaReadFile), "PFA_E_QUIT");
    // A line that fills a descriptor's buffer has no terminating zero.
    char line[] = "#####";
    int length = 0;
    EXPECT_EQ(file.seek(0), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_FLPPI(file, PfaFgets, line, &length, 4), PFA_E_NO_ERROR);
    EXPECT_STREQ(line, buffered ? "one" : "one\n#");
}

TEST_P(EachStream, ReadsFromItsPosition) {
    stream file(tree.file("part.prt", "one\n\nthree"));
    ASSERT_EQ(file.open(buffered, false), PFA_E_NO_ERROR);
    EXPECT_EQ(file.call(PfaFgetc), 'o');
    EXPECT_EQ(pfaloc_call_FLI(file, PfaUngetc, 'o'), 'o');
    EXPECT_EQ(file.read(PfaReadFile, 3), "one");
    EXPECT_EQ(file.tell(), 3);
    EXPECT_EQ(file.seek(-1), PFA_E_ERROR);
    EXPECT_EQ(file.seek(5), PFA_E_NO_ERROR);
    EXPECT_EQ(file.read(PfaReadFile), "three");
    EXPECT_EQ(file.call(PfaRewindFile), PFA_E_NO_ERROR);
    EXPECT_EQ(file.tell(), 0);
    EXPECT_EQ(file.call(PfaUnwindFile), PFA_E_NO_ERROR);
    EXPECT_EQ(file.tell(), 10);
    EXPECT_EQ(pfaloc_call_FLPIII(file, PfaFseek, nullptr, -5, 0, 0),
              buffered ? PFA_E_NO_ERROR : PFA_E_ERROR);
    EXPECT_EQ(file.tell(), buffered ? 5 : 10);
    // Positions up to what an int can hold, and beyond.
    std::filesystem::resize_file(tree("part.prt"), std::uintmax_t(3) << 30);
    for (const int target : {5000001, 5000001, 2000000000}) {
        EXPECT_EQ(file.seek(target), PFA_E_NO_ERROR);
        EXPECT_EQ(file.tell(), target);
    }
    EXPECT_EQ(file.call(PfaUnwindFile), PFA_E_NO_ERROR);
    EXPECT_EQ(file.tell(), stream::UNKNOWN_POSITION);
}

TEST_P(EachStream, OpeningFailsByTheReason) {
    stream missing(tree("missing")), directory(tree()), kept(tree.file("kept", "content"));
    EXPECT_EQ(missing.open(buffered, false), PFA_E_ERROR);
    EXPECT_EQ(directory.open(buffered, false), PFA_E_INVALID_INPUT);
    const auto open = [&] { return kept.open(buffered, true); };
    const auto leave_no_descriptor = [] {
        const rlimit none{3, 3};
        setrlimit(RLIMIT_NOFILE, &none);
    };
    EXPECT_EQ(in_child(leave_no_descriptor, open), PFA_E_TOO_MANY_OPEN);
    EXPECT_EQ(in_child([] { fail_allocation(0, true); }, open), PFA_E_OUT_OF_MEMORY);
    EXPECT_EQ(tree.content("kept"), "content") << "not truncated when memory ran out";
    // A stored '^' is written as "..", which makes this name too long to be built.
    stream file;
    ASSERT_EQ(pfa_put_component(file, PFA_PATH, "^/^/^/^/"), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_put_component(file, PFA_NAME, std::string(250, 'n').c_str()), PFA_E_NO_ERROR);
    EXPECT_EQ(file.open(buffered, true), PFA_E_INVALID_NAME);
}

TEST_P(EachStream, Version1MayBeOnDiskWithoutAVersion) {
    const struct {
        const char *name;
        bool write;
        int expected, version;
    } rows[] = {
        {"bolt.prt.1", false, PFA_E_NO_ERROR, 0}, {"bolt.prt.2", false, PFA_E_ERROR, 2},
        {"no.member.1", false, PFA_E_ERROR, 1},   {"link.prt.1", true, PFA_E_ERROR, 1},
        {"bolt.prt.1", true, PFA_E_NO_ERROR, 1},
    };
    tree.file("bolt.prt", "bolt");
    tree.file("no.member");
    tree.file("link.prt", "kept");
    tree.link("link.prt.1", "none/x");
    for (const auto &[name, write, expected, version] : rows) {
        SCOPED_TRACE(name);
        stream file(tree(name));
        EXPECT_EQ(file.open(buffered, write, file->version), expected);
        EXPECT_EQ(file->version, version);
    }
    EXPECT_EQ(tree.content("bolt.prt"), "bolt");
    EXPECT_EQ(tree.content("link.prt"), "kept");
}

// An error of the source before the copy used to be reported as the copy's own.
TEST(Streams, AreCopiedUpToTheCookie) {
    const struct {
        std::string source;
        int result, at_end;
        std::string copied;
    } rows[] = {
        {"", PFA_E_NOT_FOUND, 1, ""},
        {"ab\xfe", PFA_E_NOT_FOUND, 1, "ab\xfe"},
        {"\xfe\x01", PFA_E_NO_ERROR, 0, ""},
        {"a\xfe\xfe\x01z", PFA_E_NO_ERROR, 0, "a\xfe"},
        {std::string("abc\0d", 5), PFA_E_NO_ERROR, 0, "ab"},
    };
    const scratch_tree tree;
    for (const auto &[source, result, at_end, copied] : rows) {
        SCOPED_TRACE(source);
        stream from(tree.file("from.prt", source)), to(tree("to.prt"));
        ASSERT_EQ(from.open(true, false), PFA_E_NO_ERROR);
        ASSERT_EQ(to.open(true, true), PFA_E_NO_ERROR);
        EXPECT_EQ(from.write("x", 1), PFA_E_ERROR) << "sets the error indicator";
        int end = -1;
        EXPECT_EQ(pfaloc_call_FLFLPP(from, PfaCopyThruCookie, to, "\xfe\x01", &end), result);
        EXPECT_EQ(end, at_end);
        EXPECT_EQ(pfa_close(to), PFA_E_NO_ERROR);
        EXPECT_EQ(tree.content("to.prt"), copied);
    }
}

// A descriptor read a full buffer and sought back over what followed the line. A FIFO cannot seek:
// the call failed, and what it had read was lost.
TEST(Streams, AFifoIsReadLineByLine) {
    const scratch_tree tree;
    ASSERT_EQ(mkfifo(tree("fifo").c_str(), 0600), 0);
    const int writer = open(tree("fifo").c_str(), O_RDWR);
    ASSERT_EQ(write(writer, "one\ntwo three\n", 14), 14);
    stream file(tree("fifo"));
    ASSERT_EQ(file.open(false, false), PFA_E_NO_ERROR);
    close(writer);
    EXPECT_EQ(file.read(PfaFgets), "one\n");
    EXPECT_EQ(file.read(PfaFgets, 3), "two");
    EXPECT_EQ(file.read(PfaFgets), " three\n");
    EXPECT_EQ(file.read(PfaFgets), "");
}

// The process's standard streams by name.
TEST(StdioLocation, ClaimsThreeNamesAndWritesThemBack) {
    for (const std::string name : {"stdio://in", "stdio://out", "stdio://err"}) {
        record file(name);
        EXPECT_EQ(file->location_type, PfaStdio) << name;
        EXPECT_EQ(location_of(file) + part(file, PFA_NAME), name);
    }
    for (const char *name : {"stdio://x", "stdio://inn", "stdio:/err", "xstdio://in", "stdio"}) {
        EXPECT_EQ(record(name)->location_type, PfaStdFilesystem) << name;
    }
}

TEST(StdioLocation, OpensEachStreamInItsOwnDirection) {
    for (const std::string name : {"stdio://in", "stdio://out", "stdio://err"}) {
        SCOPED_TRACE(name);
        const bool reads = name == "stdio://in";
        const int if_reads = reads ? PFA_E_NO_ERROR : PFA_E_CANT_OPEN;
        const int if_writes = reads ? PFA_E_CANT_OPEN : PFA_E_NO_ERROR;
        EXPECT_EQ(stream(name).call(PfaCloseFile), PFA_E_INVALID_INPUT) << "not open";
        EXPECT_EQ(stream(name).open(true, false), if_reads);
        EXPECT_EQ(stream(name).open(true, true), if_writes);
        EXPECT_EQ(stream(name).open(false, false), PFA_E_NO_ERROR);
        EXPECT_EQ(stream(name).open(false, true), if_writes);
        EXPECT_EQ(pfaloc_call_FII(stream(name), PfaAccess, R_OK, 0), reads);
        EXPECT_EQ(pfaloc_call_FII(stream(name), PfaAccess, W_OK, 0), !reads);
    }
}

TEST(StdioLocation, LendsTheStreamAndLeavesItOpen) {
    const scratch_tree tree;
    tree.file("in", "first\nab\xff\xff\ncd\nrest");
    const auto use_both = [&] {
        ASSERT_NE(std::freopen(tree("in").c_str(), "r", stdin), nullptr);
        ASSERT_NE(std::freopen(tree("out").c_str(), "w", stdout), nullptr);
        stream in("stdio://in"), out("stdio://out");
        EXPECT_EQ(in.open(true, false), PFA_E_NO_ERROR);
        EXPECT_EQ(out.open(true, true), PFA_E_NO_ERROR);
        EXPECT_EQ(in.read(PfaFgets), "first\n");
        EXPECT_EQ(out.call(PfaFputs, "first "), PFA_E_NO_ERROR);
        int end = -1;
        EXPECT_EQ(pfaloc_call_FLFLPP(in, PfaCopyThruCookie, out, "\xff\xff", &end), PFA_E_NO_ERROR);
        EXPECT_EQ(in.read(PfaReadFile, 5), "\ncd\nr");
        EXPECT_EQ(out.write(" then", 5), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_close(in), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_close(out), PFA_E_NO_ERROR);
        EXPECT_EQ(std::getchar(), 'e');
        std::printf(" still open\n");
    };
    EXPECT_EQ(run_in_child(use_both).status, 0);
    EXPECT_EQ(tree.content("out"), "first ab then still open\n");
}

} // namespace
