// Directories: snapshots, listings, their freshness, and the notices that drop them from the cache.
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctdci/dci.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "test_support.h"
#include "tests/support/failing_malloc.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <map>

namespace {

using kinds = std::map<std::string, int>;

// Results of a child process beside the status codes.
constexpr int JUMPED = 254;
constexpr int DESCRIPTOR_LEFT_OPEN = 255;

struct directory : record {
    using record::scoped_record;

    // By the method, and like pfa_open_dir it marks the record as open. A listing that may not be
    // cached is as good as any other.
    int open() {
        const int result = pfaloc_call_FLPP(file, PfaDirOpen, "/no/such/place/", nullptr);
        file->flags |= result == PFA_E_NOT_CACHABLE ? PFA_F_OPEN : pfa_flag(0);
        return result == PFA_E_NOT_CACHABLE ? 0 : result;
    }
    int close() { return pfaloc_call_FL(file, PfaDirClose); }
    int is_stale(const std::string &at) {
        return pfaloc_call_FLP(file, PfaDirCacheInvalid, at.c_str());
    }
    int next(vek_file *out, const pfa_dir_filter *filter = nullptr, kinds *seen = nullptr) {
        return pfaloc_call_FLPPPI(file, PfaDirReadNext, out, filter, seen, seen != nullptr);
    }
};

TEST(dir, lists_every_name_unchanged_and_again_from_the_start) {
    scratch_dir scratch;
    texts expected(1, std::string(230, 'n'));
    for (const char *odd : {"a\\b.igs", "x::p.prt", "stdio:", "$HOME", "~", "^", ".hidden",
                            "line\nfeed", "\t blank .prt.7", "\xff\x80.asm", "no extension."}) {
        expected.emplace_back(odd);
    }
    for (int i = 0; i < 3000; ++i) {
        expected.push_back("part" + std::to_string(i) + ".prt");
    }
    for (const std::string &name : expected) {
        scratch.file(name);
    }
    std::sort(expected.begin(), expected.end());
    directory listed(scratch());
    EXPECT_EQ(listed.open(), 0);
    EXPECT_EQ(read_names(listed), expected);
    EXPECT_EQ(read_names(listed), texts{}) << "the end comes again";
    scratch.file("later");
    EXPECT_EQ(listed.open(), 0);
    EXPECT_EQ(read_names(listed), expected) << "a second open only rewinds";
    EXPECT_EQ((codes{listed.close(), listed.close()}), (codes{0, PFA_E_INVALID_INPUT}));
}

// A listing that is not the cache's was lost when its record became a file before the close, which
// closed streams only.
TEST(dir, an_own_listing_is_released_from_a_record_that_became_a_file) {
    scratch_dir scratch;
    directory listed(scratch());
    ASSERT_EQ(listed.open(), 0);
    listed->type = OBJ_TYPE_NOT_YET;
    EXPECT_EQ(pfa_close(listed), 0);
}

TEST(dir, a_borrowed_listing_goes_back_from_a_record_that_became_a_file) {
    scratch_dir scratch;
    record listed(scratch());
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(pfa_open_dir(listed), 0);
        EXPECT_NE(listed->flags & PFA_F_BORROWED, 0u);
        listed->type = OBJ_TYPE_NOT_YET;
        EXPECT_EQ((codes{pfaloc_call_FL(listed, PfaFlushFile), pfa_close(listed)}), (codes{9, 0}));
        listed->type = OBJ_TYPE_DIRECTORY;
    }
}

int take_sub(vek_file *, const char *name, void *) {
    return std::string(name) != "sub";
}

int note_kind(vek_file *, const char *name, int is_dir, void *argument) {
    (*static_cast<kinds *>(argument))[name] = is_dir;
    return 1;
}

TEST(dir, a_filter_takes_entries_or_visits_them_all) {
    scratch_dir scratch;
    kinds expected = {{"sub", 1}};
    for (int i = 0; i < 9; ++i) { // in whatever order, kinds follow each other
        const std::string name = std::to_string(i);
        i % 2 == 0 ? scratch.file(name) : scratch.dir(name);
        expected[name] = i % 2;
    }
    std::filesystem::create_symlink("1", scratch("sub"));
    directory listed(scratch());
    record entry;
    const pfa_dir_filter filter{take_sub, note_kind};
    EXPECT_EQ((codes{listed.open(), listed.next(entry, &filter), listed.next(entry, &filter),
                     listed.open(), listed.next(nullptr, &filter)}),
              (codes{0, 0, PFA_E_QUIT, 0, 9}));
    EXPECT_EQ(component(entry, PFA_NAME), "sub");
    for (int round = 0; round < 2; ++round) {
        kinds seen;
        EXPECT_EQ((codes{listed.open(), listed.next(nullptr, &filter, &seen)}), (codes{0, 5}));
        EXPECT_EQ(seen, expected);
        std::filesystem::remove(scratch("1")); // an entry is asked for once in a listing's life
    }
    EXPECT_EQ(listed.close(), 0);
}

TEST(dir, opening_fails_by_the_reason) {
    scratch_dir scratch;
    directory whole(scratch()), missing(scratch("missing/")), closed(scratch.dir("closed", 0311));
    directory file(scratch.file("file")), remote("no-such-host.invalid:/dir/");
    EXPECT_EQ(in_child(drop_rights, [&] { return closed.open() * 10 + whole.open(); }), 30);
    EXPECT_EQ(in_child(use_up_descriptors, [&] { return whole.open(); }), PFA_E_CANT_OPEN);
    EXPECT_EQ((codes{missing.open(), remote.open(), file.open()}), (codes{3, 3, 9}));
}

// Half a directory must not pass for the whole one. And when the memory for the last part of a
// listing ran out, the jump to a trap frame lost all that had been read before it.
TEST(dir, is_opened_whole_or_not_at_all) {
    scratch_dir scratch;
    for (const char c : {'a', 'b', 'c', 'd', 'e'}) {
        scratch.file(std::string(250, c));
    }
    directory whole(scratch());
    const auto open_with_failure = [&](int nth) {
        std::jmp_buf context;
        if (trp_push_frame(TRP_CLASS_MEMORY, &context) == 0 || setjmp(context) != 0) {
            return JUMPED;
        }
        const int next_descriptor = dup(0);
        close(next_descriptor);
        fail_allocation(nth, false);
        const int result = whole.open();
        fail_allocation(NO_FAILURE, false);
        return dup(0) == next_descriptor ? result : DESCRIPTOR_LEFT_OPEN;
    };
    int nth = 0;
    int result = PFA_E_OUT_OF_MEMORY;
    while (result == PFA_E_OUT_OF_MEMORY) {
        result = in_child(as_before, [&] { return open_with_failure(nth); });
        ++nth;
    }
    EXPECT_EQ(result, PFA_E_NO_ERROR);
    EXPECT_GT(nth, 4);
}

TEST(dir, a_listing_is_stale_when_the_directory_may_have_changed) {
    scratch_dir scratch;
    directory listed(scratch.dir("listed"));
    // The times are those of the location text, so that reading one directory leaves the access
    // time of the other alone.
    const std::string timed = scratch("timed");
    const auto is_stale = [&](int atime, int mtime_now, unsigned mode_now) {
        const timespec then[] = {{atime, 0}, {1000, 0}}, now[] = {{atime, 0}, {mtime_now, 0}};
        scratch.dir("timed");
        EXPECT_EQ(utimensat(AT_FDCWD, timed.c_str(), then, 0), 0);
        EXPECT_EQ(pfaloc_call_FLPP(listed, PfaDirOpen, timed.c_str(), nullptr), 0);
        EXPECT_EQ(utimensat(AT_FDCWD, timed.c_str(), now, 0), 0);
        scratch.dir("timed", mode_now);
        EXPECT_EQ(mode_now == 0 ? rmdir(timed.c_str()) : 0, 0);
        return listed.is_stale(timed) + listed.close();
    };
    EXPECT_EQ(
        (codes{is_stale(2000, 1000, 0755), is_stale(2000, 1001, 0755), is_stale(2000, 999, 0755)}),
        (codes{0, 1, 1}));
    EXPECT_EQ(is_stale(1000, 1000, 0755), 1) << "it changed in the second of the reading";
    EXPECT_EQ(is_stale(2000, 1000, 0355), 1) << "unreadable for its owner";
    EXPECT_EQ(is_stale(2000, 1000, 0), 1) << "gone";
    EXPECT_EQ((codes{listed.is_stale("/"), listed.open(), listed.is_stale("/"), listed.close()}),
              (codes{PFA_E_INVALID_INPUT, 0, 1, 0}));
}

TEST(dir, is_made_moved_and_removed) {
    scratch_dir scratch, elsewhere("/dev/shm");
    record made(scratch("made/")), moved(scratch("moved/")), far(elsewhere("far/"));
    EXPECT_EQ((codes{pfaloc_call_F(made, PfaMakeDir), pfaloc_call_F(made, PfaMakeDir)}),
              (codes{0, PFA_E_ERROR}));
    const auto move = [&](vek_file *to) { return pfaloc_call_FF(made, PfaMoveDir, to); };
    EXPECT_EQ((codes{move(far), move(moved), move(moved)}), (codes{PFA_E_NOT_ALLOWED, 0, 1}));
    EXPECT_EQ((codes{pfaloc_call_F(made, PfaRemoveDir), pfaloc_call_F(moved, PfaRemoveDir)}),
              (codes{PFA_E_ERROR, 0}));
}

TEST(dci, only_a_call_that_can_change_a_directory_drops_its_listing) {
    scratch_dir scratch;
    const std::string old = scratch.file("old"), gone = scratch("gone"), sub = scratch("none/sub");
    // The call's errno, and whether the listing is still in the cache, stale or not.
    const auto after = [&](auto call) {
        record listed(scratch());
        EXPECT_EQ(pfa_open_dir(listed) + pfa_close(listed), 0);
        const int error = call() ? 0 : errno;
        const char *key = scratch.path.c_str();
        return error * 10 + pfa_dir_from_cache(key, nullptr, nullptr, 1, nullptr, 0);
    };
    EXPECT_EQ(
        (codes{after([&] { return dci_fopen(gone.c_str(), "r"); }),
               after([&] { return dci_fopen(old.c_str(), "a"); }),
               after([&] { return dci_open(old.c_str(), O_RDWR, 0) >= 0; }),
               after([&] { return dci_open(old.c_str(), O_RDWR | O_CREAT, 0) >= 0; }),
               after([&] { return dci_rename(gone.c_str(), sub.c_str()) == 0; }),
               after([&] { return dci_unlink(gone.c_str()) == 0; }),
               after([&] { return dci_mkdir(old.c_str(), 0700) == 0; }),
               after([&] { return dci_rmdir(sub.c_str()) == 0; })}),
        (codes{ENOENT * 10 + 1, 0, 1, 0, ENOENT * 10, ENOENT * 10, EEXIST * 10, ENOENT * 10 + 1}));
}

} // namespace
