// Streams, buffered and at the descriptor, and files by name.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaput.h"
#include "test_support.h"
#include "tests/support/failing_malloc.h"

#include <fcntl.h>

namespace {

enum stream_kind { BUFFERED, DESCRIPTOR };

struct stream : record {
    using record::scoped_record;

    // Opens by the method of the kind, and like pfa_fopen marks the record as open.
    int open(stream_kind kind, bool write, int version = 0) {
        char name[PFA_PATH_SIZE] = "";
        const int flags = write ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY;
        const int result = kind == BUFFERED
                               ? pfaloc_call_FLPPI(file, PfaFopen, name, write ? "w" : "r", version)
                               : pfaloc_call_FLPIII(file, PfaOpen, name, flags, 0644, version);
        file->flags |= result == 0 ? PFA_F_OPEN : pfa_flag(0);
        return result;
    }
    int call(int method) { return pfaloc_call_FL(file, method); }
    int call(int method, const void *with) { return pfaloc_call_FLP(file, method, with); }
    int seek(int to) { return call(PfaSetFilePosition, &to); }
    int tell() {
        int position = -7;
        return call(PfaGetFilePosition, &position) == 0 ? position : -8;
    }
    int write(const char *bytes, int size, int sync = 0) {
        return pfaloc_call_FLPII(file, PfaWriteFile, bytes, size, sync);
    }
    // The status, and what was read.
    std::string read(int method, int size = 16) {
        char buffer[17] = "";
        int length = 0;
        const int result = pfaloc_call_FLPPI(file, method, buffer, &length, size);
        return std::to_string(result) + std::string(buffer, static_cast<std::size_t>(length));
    }
};

struct each_stream : testing::TestWithParam<stream_kind> {
    scratch_dir scratch;
    const stream_kind kind = GetParam();
    const bool buffered = kind == BUFFERED;
};
INSTANTIATE_TEST_SUITE_P(stream, each_stream, testing::Values(BUFFERED, DESCRIPTOR));

TEST_P(each_stream, writes_what_it_is_given) {
    stream file(scratch("part.prt"));
    EXPECT_EQ((codes{file.open(kind, true), file.open(kind, true)}), (codes{0, PFA_E_CANT_OPEN}));
    EXPECT_EQ((codes{file.write("ab\0c", 4), file.write("d", 1, 1), file.write("x", -1)}),
              (codes{0, 0, PFA_E_INVALID_INPUT}));
    EXPECT_EQ(file.write("", 0), buffered ? PFA_E_ERROR : 0);
    EXPECT_EQ((codes{file.call(PfaFputs, "\xff\n"), file.call(PfaFlushFile)}), (codes{0, 0}));
    const auto show = [&] { file.call(PfaDbgShowStream), std::fflush(stdout); };
    EXPECT_EQ(run_in_child(show).out.rfind(buffered ? "fid:  -1\nstream:  " : "fid:  ", 0), 0u);
    EXPECT_EQ(scratch.content("part.prt"), std::string("ab\0cd\xff\n", 7));
    const int length = 2, wrong = -1;
    EXPECT_EQ(file.call(PfaTruncateFile, &length), 0);
    EXPECT_EQ(file.call(PfaTruncateFile, &wrong), PFA_E_ERROR);
    EXPECT_EQ(scratch.content("part.prt"), "ab");
    EXPECT_EQ((codes{file.call(PfaCloseFile), file.call(PfaCloseFile)}), (codes{0, 9}));
}

TEST_P(each_stream, reads_from_where_it_stands) {
    stream file(scratch.file("part.prt", "one\n\nthree"));
    EXPECT_EQ((codes{file.open(kind, false), file.call(PfaSetbuf, nullptr)}), (codes{0, 0}));
    EXPECT_EQ((texts{file.read(PfaFgets), file.read(PfaFgets), file.read(PfaFgets),
                     file.read(PfaFgets), file.read(PfaReadFile)}),
              (texts{"0one\n", "0\n", "0three", buffered ? "5" : "0", "5"}));
    EXPECT_EQ((codes{file.call(PfaFgetc), file.seek(0), file.call(PfaFgetc)}), (codes{-1, 0, 'o'}));
    EXPECT_EQ(pfaloc_call_FLI(file, PfaUngetc, 'o'), 'o');
    EXPECT_EQ(file.read(PfaReadFile, 3), "0one");
    EXPECT_EQ((codes{file.tell(), file.seek(-1), file.seek(5)}), (codes{3, PFA_E_ERROR, 0}));
    EXPECT_EQ(file.read(PfaReadFile), "0three");
    EXPECT_EQ((codes{file.call(PfaRewindFile), file.tell(), file.call(PfaUnwindFile), file.tell()}),
              (codes{0, 0, 0, 10}));
    EXPECT_EQ(pfaloc_call_FLPIII(file, PfaFseek, nullptr, -5, 0, 0), buffered ? 0 : PFA_E_ERROR);
    EXPECT_EQ((codes{file.tell(), file.seek(0)}), (codes{buffered ? 5 : 10, 0}));
    // A line that fills a descriptor's buffer has no terminating zero.
    char line[] = "######";
    int length = 0;
    EXPECT_EQ(pfaloc_call_FLPPI(file, PfaFgets, line, &length, 4), 0);
    EXPECT_EQ(std::string(line, 6), buffered ? std::string("one\0##", 6) : "one\n##");
    // Positions up to what an int can hold, and beyond.
    std::filesystem::resize_file(scratch("part.prt"), std::uintmax_t(3) << 30);
    for (const int target : {5000000, 5000001, 5000001, 2000000000}) {
        EXPECT_EQ((codes{file.seek(target), file.tell()}), (codes{0, target}));
    }
    EXPECT_EQ((codes{file.call(PfaUnwindFile), file.tell()}), (codes{0, -8}));
}

TEST_P(each_stream, is_closed_on_a_record_that_became_a_directory) {
    stream file(scratch("part.prt"));
    record entry;
    EXPECT_EQ((codes{file.open(kind, true), file.write("ab", 2), pfa_put_obj_type(file, -5),
                     pfaloc_call_FLPP(file, PfaDirOpen, "/", nullptr), pfa_read_dir(file, entry),
                     file.call(PfaFlushFile), pfa_close(file)}),
              (codes{0, 0, 0, 9, 9, 9, 0}));
    EXPECT_EQ(scratch.content("part.prt"), "ab");
}

TEST_P(each_stream, opening_fails_by_the_reason) {
    scratch.dir("sub");
    scratch.file("none", "", 0);
    scratch.file("fixed", "", 0444);
    scratch.file("kept", "content");
    const auto open = [&](void (*prepare)(), const char *name, bool write) {
        stream file;
        EXPECT_EQ(parse_to_pfa(file, 1, scratch(name).c_str()), 0);
        return in_child(prepare, [&, as = kind] { return file.open(as, write); });
    };
    EXPECT_EQ(open(as_before, "missing", false), PFA_E_ERROR);
    EXPECT_EQ(open(as_before, "sub", true), PFA_E_ERROR);
    EXPECT_EQ(open(drop_rights, "none", false), PFA_E_ERROR);
    EXPECT_EQ(open(drop_rights, "fixed", true), PFA_E_ERROR);
    EXPECT_EQ(open(drop_rights, "fixed", false), 0);
    EXPECT_EQ(open(use_up_descriptors, "kept", true), PFA_E_TOO_MANY_OPEN);
    EXPECT_EQ(open([] { fail_allocation(0, true); }, "kept", true), PFA_E_OUT_OF_MEMORY);
    EXPECT_EQ(scratch.content("kept"), "content") << "want of memory cost a file its contents";
    // A stored '^' is written as "..", which makes this name too long to be built.
    stream file;
    ASSERT_EQ(pfa_put_component(file, PFA_PATH, "^/^/^/^/"), 0);
    ASSERT_EQ(pfa_put_component(file, PFA_NAME, std::string(250, 'n').c_str()), 0);
    EXPECT_EQ((codes{file.open(kind, true), pfaloc_call_F(file, PfaDeleteFile)}), (codes{4, 4}));
}

TEST_P(each_stream, version_1_may_lie_on_the_disk_without_a_version) {
    scratch.file("bolt.prt", "bolt");
    scratch.file("no.member");
    scratch.file("link.prt", "kept");
    std::filesystem::create_symlink("none/x", scratch("link.prt.1"));
    // The status and the version of the opened file.
    const auto open = [&](const char *name, bool write) {
        stream file(scratch(name));
        const int result = file.open(kind, write, file->version);
        return result * 10 + file->version;
    };
    EXPECT_EQ((codes{open("bolt.prt.1", false), open("bolt.prt.2", false)}), (codes{0, 12}));
    EXPECT_EQ((codes{open("no.member.1", false), open("link.prt.1", true)}), (codes{11, 11}));
    EXPECT_EQ(open("bolt.prt.1", true), 1);
    EXPECT_EQ(scratch.content("bolt.prt") + scratch.content("link.prt"), "boltkept");
}

TEST(stream, methods_refuse_what_is_no_stream) {
    scratch_dir scratch;
    stream closed(scratch("part.prt")), listing(scratch());
    ASSERT_EQ(pfaloc_call_FLPP(listing, PfaDirOpen, "/none/", nullptr), PFA_E_NOT_CACHABLE);
    for (stream *file : {&closed, &listing}) {
        for (const int method : {PfaCloseFile, PfaRewindFile, PfaUnwindFile, PfaFlushFile}) {
            EXPECT_EQ(file->call(method), PFA_E_INVALID_INPUT) << method;
        }
        for (const int method : {PfaSetbuf, PfaFputs, PfaTruncateFile}) {
            EXPECT_EQ(file->call(method, "1234"), PFA_E_INVALID_INPUT) << method;
        }
        EXPECT_EQ(file->read(PfaReadFile) + file->read(PfaFgets), "99");
        EXPECT_EQ((codes{file->tell(), file->seek(1), file->write("x", 1), file->call(PfaFgetc)}),
                  (codes{-8, 9, 9, -1}));
        EXPECT_EQ((codes{file->call(PfaDbgShowStream), pfaloc_call_FLI(*file, PfaUngetc, 'x')}),
                  (codes{0, -1}));
    }
    EXPECT_EQ((codes{listing.open(BUFFERED, false), listing.call(PfaDirClose)}), (codes{9, 0}));
}

TEST(stream, copies_up_to_the_cookie) {
    scratch_dir scratch;
    // The status, whether the source ended, and what was copied.
    const auto copy = [&](const std::string &source) {
        stream from(scratch.file("from.prt", source)), to(scratch("to.prt"));
        EXPECT_EQ(from.open(BUFFERED, false) + to.open(BUFFERED, true), 0);
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
    scratch_dir scratch, elsewhere("/dev/shm/ctpfafs.XXXXXX");
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
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch("open")), {}), 1);
    record version(scratch.file("part.prt.3"));
    EXPECT_EQ(pfaloc_call_F(version, PfaDeleteFile), 0);
    EXPECT_EQ(pfaloc_call_F(version, PfaDeleteFile), PFA_E_ERROR);
}

} // namespace
