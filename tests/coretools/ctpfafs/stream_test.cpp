// Streams, buffered and at the descriptor, and files by name.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaput.h"
#include "test_support.h"
#include "tests/support/failing_malloc.h"

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

TEST_P(EachStream, IsNotLostOnARecordThatBecameADirectory) {
    stream file(tree("part.prt"));
    record entry;
    ASSERT_EQ(file.open(buffered, true), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_put_obj_type(file, OBJ_TYPE_DIRECTORY), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_FLPP(file, PfaDirOpen, "/", nullptr), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_read_dir(file, entry), PFA_E_INVALID_INPUT);
    EXPECT_EQ(file.call(PfaFlushFile), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfa_close(file), PFA_E_NO_ERROR);
}

TEST_P(EachStream, ReadsLines) {
    stream file(tree.file("part.prt", "one\n\nthree"));
    ASSERT_EQ(file.open(buffered, false), PFA_E_NO_ERROR);
    EXPECT_EQ(file.call(PfaSetbuf, nullptr), PFA_E_NO_ERROR);
    EXPECT_EQ(file.read(PfaFgets), "0one\n");
    EXPECT_EQ(file.read(PfaFgets), "0\n");
    EXPECT_EQ(file.read(PfaFgets), "0three");
    EXPECT_EQ(file.read(PfaFgets), buffered ? "5" : "0") << "at the end";
    EXPECT_EQ(file.read(PfaReadFile), "5");
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
    EXPECT_EQ(file.read(PfaReadFile, 3), "0one");
    EXPECT_EQ(file.tell(), 3);
    EXPECT_EQ(file.seek(-1), PFA_E_ERROR);
    EXPECT_EQ(file.seek(5), PFA_E_NO_ERROR);
    EXPECT_EQ(file.read(PfaReadFile), "0three");
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
    EXPECT_EQ(in_child(use_up_descriptors, open), PFA_E_TOO_MANY_OPEN);
    EXPECT_EQ(in_child([] { fail_allocation(0, true); }, open), PFA_E_OUT_OF_MEMORY);
    EXPECT_EQ(tree.content("kept"), "content") << "not truncated when memory ran out";
    // A stored '^' is written as "..", which makes this name too long to be built.
    stream file;
    ASSERT_EQ(pfa_put_component(file, PFA_PATH, "^/^/^/^/"), PFA_E_NO_ERROR);
    ASSERT_EQ(pfa_put_component(file, PFA_NAME, std::string(250, 'n').c_str()), PFA_E_NO_ERROR);
    EXPECT_EQ(file.open(buffered, true), PFA_E_INVALID_NAME);
}

TEST_P(EachStream, IsRefusedWithoutTheFileOrTheOutput) {
    stream file(tree("part.prt"));
    const int methods[] = {PfaGetFilePosition, PfaSetFilePosition, PfaTruncateFile, PfaFputs};
    const int position = 0;
    for (const int method : methods) {
        EXPECT_EQ(file.call(method, &position), PFA_E_INVALID_INPUT) << method << " not open";
    }
    ASSERT_EQ(file.open(buffered, true), PFA_E_NO_ERROR);
    for (const int method : methods) {
        EXPECT_EQ(file.call(method, nullptr), PFA_E_INVALID_INPUT) << method << " null";
    }
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
    EXPECT_EQ(file.read(PfaFgets), "0one\n");
    EXPECT_EQ(file.read(PfaFgets, 3), "0two");
    EXPECT_EQ(file.read(PfaFgets), "0 three\n");
    EXPECT_EQ(file.read(PfaFgets), "0");
}

// A rename that the host refused used to unlink the target and try again. The second try failed
// too where a directory was to move into itself, or was not the user's to move, and the target was
// gone.
TEST(Files, ARefusedRenameKeepsBoth) {
    const scratch_tree tree, elsewhere("/dev/shm");
    tree.dir("open", 0777);
    tree.dir("outer");
    // Its parents may be written, so only the second try finds that it may not be moved.
    tree.dir("open/fixed", 0555);
    const struct {
        const char *name;
        void (*prepare)();
        std::string from, to;
        const char *kept;
    } rows[] = {
        {"other file system", as_before, elsewhere.file("from"), tree("open/to"), "open/to"},
        {"directory may not be moved", drop_rights, tree("open/fixed"), tree("new/to"), "new/to"},
        {"directory into itself", as_before, tree("outer"), tree("outer/to"), "outer/to"},
        {"file onto directory", as_before, tree.file("file"), tree("full"), "full/inner"},
    };
    tree.dir("new", 0777);
    for (const auto &[name, prepare, from, to, kept] : rows) {
        SCOPED_TRACE(name);
        tree.file(kept, "old");
        record file(from);
        const auto rename = [&, from = from, to = to] {
            return pfaloc_call_FPP(file, PfaRenameFile, from.c_str(), to.c_str());
        };
        EXPECT_EQ(in_child(prepare, rename), PFA_E_ERROR);
        EXPECT_EQ(tree.content(kept), "old");
    }
}

TEST(Files, ARenameReplacesTheTarget) {
    const scratch_tree tree;
    // As long as a name can be: nothing that a rename tries on the way may be longer.
    const std::string to = tree.file(std::string(255, 't'), "old");
    const auto rename = [&](const std::string &from) {
        return pfaloc_call_FPP(record(from), PfaRenameFile, from.c_str(), to.c_str());
    };
    EXPECT_EQ(rename(tree.file("from", "new")), PFA_E_NO_ERROR);
    EXPECT_EQ(read_file(to), "new");
    EXPECT_EQ(rename(tree.dir("directory")), PFA_E_NO_ERROR);
    EXPECT_TRUE(std::filesystem::is_directory(to));
    using entries = std::filesystem::directory_iterator;
    EXPECT_EQ(std::distance(entries(tree.path), entries()), 1) << "the old target is left";
}

} // namespace
