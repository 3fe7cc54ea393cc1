// Streams, buffered and at the descriptor, and files by name.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "test_support.h"
#include "tests/support/failing_malloc.h"

#include <sys/stat.h>

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

// A read from a directory opened as a file fails and leaves the error indicator set. A copy from
// the stream afterwards used to report that old failure as its own.
TEST(stream, a_copy_ignores_an_old_error_of_its_source) {
    scratch_dir scratch;
    stream from(scratch.file("from.prt", "ab")), to(scratch("to.prt"));
    ASSERT_EQ(from.open(true, false), 0);
    ASSERT_EQ(to.open(true, true), 0);
    std::FILE *source = pfafs_stream_of(from, &from->location_handle)->stream;
    const int descriptor = dup(fileno(source));
    ASSERT_EQ(close(fileno(source)), 0);
    EXPECT_EQ(from.call(PfaFgetc), EOF);
    ASSERT_GE(dup2(descriptor, fileno(source)), 0);
    close(descriptor);
    ASSERT_NE(std::ferror(source), 0);
    int end = -1;
    EXPECT_EQ(pfaloc_call_FLFLPP(from, PfaCopyThruCookie, to, "\xfe\x01", &end), PFA_E_NOT_FOUND);
    EXPECT_EQ(end, 1);
    EXPECT_EQ(pfa_close(to), 0);
    EXPECT_EQ(scratch.content("to.prt"), "ab");
}

// A descriptor read a full buffer and sought back over what followed the line. A FIFO cannot seek:
// the call failed, and what it had read was lost.
TEST(stream, a_fifo_is_read_line_by_line) {
    scratch_dir scratch;
    ASSERT_EQ(mkfifo(scratch("fifo").c_str(), 0600), 0);
    const int writer = open(scratch("fifo").c_str(), O_RDWR);
    ASSERT_EQ(write(writer, "one\ntwo three\n", 14), 14);
    stream file(scratch("fifo"));
    ASSERT_EQ(file.open(false, false), 0);
    close(writer);
    EXPECT_EQ(file.read(PfaFgets), "0one\n");
    EXPECT_EQ(file.read(PfaFgets, 3), "0two");
    EXPECT_EQ(file.read(PfaFgets), "0 three\n");
    EXPECT_EQ(file.read(PfaFgets), "0");
}

// A rename that the host refused used to unlink the target and try again. The second try failed
// too where a directory was to move into itself, or was not the user's to move, and the target was
// gone.
TEST(file, a_refused_rename_costs_neither_file) {
    scratch_dir scratch, elsewhere("/dev/shm");
    scratch.dir("closed");
    scratch.file("closed/from", "new");
    scratch.dir("closed", 0555);
    scratch.dir("open", 0777);
    const std::string not_ours = scratch.dir("not ours"), outer = scratch.dir("outer");
    const std::string full = scratch.dir("full");
    struct row {
        const char *name;
        void (*prepare)();
        std::string from, to;
        const char *kept;
    };
    const row rows[] = {
        {"missing source", as_before, scratch("missing"), scratch("open/to"), "open/to"},
        {"other file system", as_before, elsewhere.file("from"), scratch("open/to"), "open/to"},
        {"no right to the source", drop_rights, scratch("closed/from"), scratch("open/to"),
         "open/to"},
        {"directory not the user's", drop_rights, not_ours, scratch("open/to"), "open/to"},
        {"directory into itself", as_before, outer, scratch("outer/to"), "outer/to"},
        {"file onto directory", as_before, scratch.file("file"), full, "full/inner"},
    };
    for (const auto &[name, prepare, from, to, kept] : rows) {
        SCOPED_TRACE(name);
        scratch.file(kept, "old");
        record file(from);
        const auto rename = [&] {
            return pfaloc_call_FPP(file, PfaRenameFile, from.c_str(), to.c_str());
        };
        EXPECT_EQ(in_child(prepare, rename), PFA_E_ERROR);
        EXPECT_EQ(scratch.content(kept), "old");
    }
}

TEST(file, a_rename_replaces_the_target) {
    scratch_dir scratch;
    const std::string to = scratch.file("to", "old");
    const auto rename = [&](const std::string &from) {
        return pfaloc_call_FPP(record(from), PfaRenameFile, from.c_str(), to.c_str());
    };
    EXPECT_EQ(rename(scratch.file("from", "new")), 0);
    EXPECT_EQ(scratch.content("to"), "new");
    EXPECT_EQ(rename(scratch.dir("directory")), 0);
    EXPECT_TRUE(std::filesystem::is_directory(to));
    using entries = std::filesystem::directory_iterator;
    EXPECT_EQ(std::distance(entries(scratch.path), entries()), 1) << "the old target is left";
}

TEST(file, is_deleted_once) {
    scratch_dir scratch;
    record version(scratch.file("part.prt.3"));
    EXPECT_EQ((codes{pfaloc_call_F(version, PfaDeleteFile), pfaloc_call_F(version, PfaDeleteFile)}),
              (codes{0, PFA_E_ERROR}));
}

} // namespace
