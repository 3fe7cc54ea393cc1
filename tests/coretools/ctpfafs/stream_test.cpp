// Streams, buffered and at the descriptor, and files by name.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaput.h"
#include "test_support.h"
#include "tests/support/failing_malloc.h"

namespace {

struct each_stream : testing::TestWithParam<bool> {
    scratch_dir scratch;
    const bool buffered = GetParam(); // or at the descriptor
};
INSTANTIATE_TEST_SUITE_P(stream, each_stream, testing::Bool());

TEST_P(each_stream, writes_what_it_is_given) {
    stream file(scratch("part.prt"));
    EXPECT_EQ((codes{file.open(buffered, true), file.open(buffered, true), file.write("ab\0c", 4),
                     file.write("d", 1, 1), file.write("x", -1), file.write("", 0),
                     file.call(PfaFputs, "\xff\n"), file.call(PfaFlushFile)}),
              (codes{0, PFA_E_CANT_OPEN, 0, 0, PFA_E_INVALID_INPUT, buffered, 0, 0}));
    const auto show = [&] { file.call(PfaDbgShowStream), std::fflush(stdout); };
    EXPECT_EQ(run_in_child(show).out.rfind(buffered ? "fid:  -1\nstream:  " : "fid:  ", 0), 0u);
    EXPECT_EQ(scratch.content("part.prt"), std::string("ab\0cd\xff\n", 7));
    const int length = 2, wrong = -1;
    EXPECT_EQ((codes{file.call(PfaTruncateFile, &length), file.call(PfaTruncateFile, &wrong)}),
              (codes{0, PFA_E_ERROR}));
    EXPECT_EQ(scratch.content("part.prt"), "ab");
    // Not even on a record that became a directory is the stream lost.
    record entry;
    EXPECT_EQ((codes{pfa_put_obj_type(file, -5), pfaloc_call_FLPP(file, PfaDirOpen, "/", nullptr),
                     pfa_read_dir(file, entry), file.call(PfaFlushFile), pfa_close(file)}),
              (codes{0, 9, 9, 9, 0}));
}

TEST_P(each_stream, reads_from_where_it_stands) {
    stream file(scratch.file("part.prt", "one\n\nthree"));
    EXPECT_EQ((codes{file.open(buffered, false), file.call(PfaSetbuf, nullptr)}), (codes{0, 0}));
    EXPECT_EQ((texts{file.read(PfaFgets), file.read(PfaFgets), file.read(PfaFgets),
                     file.read(PfaFgets), file.read(PfaReadFile)}),
              (texts{"0one\n", "0\n", "0three", buffered ? "5" : "0", "5"}));
    EXPECT_EQ((codes{file.call(PfaFgetc), file.seek(0), file.call(PfaFgetc),
                     pfaloc_call_FLI(file, PfaUngetc, 'o')}),
              (codes{-1, 0, 'o', 'o'}));
    EXPECT_EQ(file.read(PfaReadFile, 3), "0one");
    EXPECT_EQ((codes{file.tell(), file.seek(-1), file.seek(5)}), (codes{3, PFA_E_ERROR, 0}));
    EXPECT_EQ(file.read(PfaReadFile), "0three");
    EXPECT_EQ((codes{file.call(PfaRewindFile), file.tell(), file.call(PfaUnwindFile), file.tell()}),
              (codes{0, 0, 0, 10}));
    EXPECT_EQ((codes{pfaloc_call_FLPIII(file, PfaFseek, nullptr, -5, 0, 0), file.tell()}),
              (buffered ? codes{0, 5} : codes{PFA_E_ERROR, 10}));
    // A line that fills a descriptor's buffer has no terminating zero.
    char line[] = "######";
    int length = 0;
    EXPECT_EQ(file.seek(0) + pfaloc_call_FLPPI(file, PfaFgets, line, &length, 4), 0);
    EXPECT_EQ(std::string(line, 6), buffered ? std::string("one\0##", 6) : "one\n##");
    // Positions up to what an int can hold, and beyond.
    std::filesystem::resize_file(scratch("part.prt"), std::uintmax_t(3) << 30);
    for (const int target : {5000000, 5000001, 5000001, 2000000000}) {
        EXPECT_EQ((codes{file.seek(target), file.tell()}), (codes{0, target}));
    }
    EXPECT_EQ((codes{file.call(PfaUnwindFile), file.tell(), file.call(PfaCloseFile)}),
              (codes{0, -8, 0}));
}

TEST_P(each_stream, opening_fails_by_the_reason) {
    stream missing(scratch("missing")), directory(scratch()), kept(scratch.file("kept", "content"));
    EXPECT_EQ((codes{missing.open(buffered, false), directory.open(buffered, false),
                     directory.call(PfaCloseFile)}),
              (codes{PFA_E_ERROR, PFA_E_INVALID_INPUT, PFA_E_INVALID_INPUT}));
    const auto open = [&] { return kept.open(buffered, true); };
    EXPECT_EQ(in_child(use_up_descriptors, open), PFA_E_TOO_MANY_OPEN);
    EXPECT_EQ(in_child([] { fail_allocation(0, true); }, open), PFA_E_OUT_OF_MEMORY);
    EXPECT_EQ(scratch.content("kept"), "content") << "want of memory cost a file its contents";
    // A stored '^' is written as "..", which makes this name too long to be built.
    stream file;
    ASSERT_EQ(pfa_put_component(file, PFA_PATH, "^/^/^/^/"), 0);
    ASSERT_EQ(pfa_put_component(file, PFA_NAME, std::string(250, 'n').c_str()), 0);
    EXPECT_EQ((codes{file.open(buffered, true), pfaloc_call_F(file, PfaDeleteFile)}),
              (codes{4, 4}));
}

TEST_P(each_stream, version_1_may_lie_on_the_disk_without_a_version) {
    scratch.file("bolt.prt", "bolt");
    scratch.file("no.member");
    scratch.file("link.prt", "kept");
    std::filesystem::create_symlink("none/x", scratch("link.prt.1"));
    // The status and the version of the opened file.
    const auto open = [&](const char *name, bool write) {
        stream file(scratch(name));
        const int result = file.open(buffered, write, file->version);
        return result * 10 + file->version;
    };
    EXPECT_EQ(
        (codes{open("bolt.prt.1", false), open("bolt.prt.2", false), open("no.member.1", false),
               open("link.prt.1", true), open("bolt.prt.1", true)}),
        (codes{0, 12, 11, 11, 1}));
    EXPECT_EQ(scratch.content("bolt.prt") + scratch.content("link.prt"), "boltkept");
}

TEST(stream, methods_refuse_what_is_no_stream) {
    stream closed("/part.prt");
    EXPECT_EQ((codes{closed.call(PfaCloseFile), closed.call(PfaRewindFile),
                     closed.call(PfaUnwindFile), closed.call(PfaFlushFile), closed.seek(0),
                     closed.call(PfaSetbuf, nullptr), closed.call(PfaFputs, "x"),
                     closed.call(PfaTruncateFile, "1234"), closed.write("x", 1)}),
              codes(9, PFA_E_INVALID_INPUT));
    EXPECT_EQ(closed.read(PfaReadFile) + closed.read(PfaFgets), "99");
    EXPECT_EQ((codes{closed.tell(), closed.call(PfaFgetc), pfaloc_call_FLI(closed, PfaUngetc, 'x'),
                     closed.call(PfaDbgShowStream)}),
              (codes{-8, -1, -1, 0}));
}

TEST(stream, copies_up_to_the_cookie) {
    scratch_dir scratch;
    // The status, whether the source ended, and what was copied.
    const auto copy = [&](const std::string &source) {
        stream from(scratch.file("from.prt", source)), to(scratch("to.prt"));
        EXPECT_EQ(from.open(true, false) + to.open(true, true), 0);
        int end = -1;
        const int result = pfaloc_call_FLFLPP(from, PfaCopyThruCookie, to, "\xfe\x01", &end);
        EXPECT_EQ(pfa_close(to), 0);
        return std::to_string(result) + std::to_string(end) + scratch.content("to.prt");
    };
    EXPECT_EQ((texts{copy(""), copy("a"), copy("ab\xfe")}), (texts{"21", "21a", "21ab\xfe"}));
    EXPECT_EQ((texts{copy("\xfe\x01"), copy("a\xfe\xfe\x01z"), copy(std::string("abc\0d", 5))}),
              (texts{"00", "00a\xfe", "00ab"}));
}

// The host may refuse a rename for want of a source or of rights: no reason to lose the target.
TEST(file, a_rename_costs_neither_file) {
    scratch_dir scratch, elsewhere("/dev/shm");
    scratch.dir("locked");
    scratch.file("locked/from", "new");
    scratch.dir("locked", 0555);
    scratch.dir("open", 0777);
    // The status, and what the target then holds.
    const auto rename = [&](void (*prepare)(), const std::string &from) {
        const std::string to = scratch.file("open/to", "old");
        record file(from);
        const auto call = [&] {
            return pfaloc_call_FPP(file, PfaRenameFile, from.c_str(), to.c_str());
        };
        const int result = in_child(prepare, call);
        const bool is_dir = std::filesystem::is_directory(to);
        return std::to_string(result) + (is_dir ? "directory" : scratch.content("open/to"));
    };
    EXPECT_EQ(rename(as_before, scratch("missing")), "1old");
    EXPECT_EQ(rename(as_before, elsewhere.file("from")), "1old");
    EXPECT_EQ(rename(drop_rights, scratch("locked/from")), "1old");
    EXPECT_EQ(rename(as_before, scratch.file("from", "new")), "0new");
    // A file gives way to a directory only when it has been removed.
    EXPECT_EQ(rename(as_before, scratch.dir("directory")), "0directory");
    record version(scratch.file("part.prt.3"));
    EXPECT_EQ((codes{pfaloc_call_F(version, PfaDeleteFile), pfaloc_call_F(version, PfaDeleteFile)}),
              (codes{0, PFA_E_ERROR}));
}

} // namespace
