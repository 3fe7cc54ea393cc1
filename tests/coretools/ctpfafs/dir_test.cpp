// Directories of the host: what a listing holds, when it is out of date, and the notices that drop
// it from the directory cache.
#include "coretools/ctdci/dci.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctpfa/pfadir.h"
#include "test_support.h"
#include "tests/support/failing_malloc.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

#include <sys/stat.h>

namespace {

// A directory record used through the methods, which know no directory cache.
struct directory : record {
    using record::scoped_record;

    // Like pfa_open_dir, marks the record as open.
    int open(const std::string &location) {
        const int result = pfaloc_call_FLPP(file, PfaDirOpen, location.c_str(), nullptr);
        if (result == PFA_E_NO_ERROR || result == PFA_E_NOT_CACHABLE) {
            file->flags |= PFA_F_OPEN;
        }
        return result;
    }
    int open() { return open(location_of(file)); }
    int close() { return pfaloc_call_FL(file, PfaDirClose); }
    int is_out_of_date(const std::string &location) {
        return pfaloc_call_FLP(file, PfaDirCacheInvalid, location.c_str());
    }
};

TEST(Directories, ListEveryNameUnchangedAndAgainFromTheStart) {
    const scratch_tree tree;
    texts expected = {"a\\b.igs", "x::p.prt", "stdio:", "$HOME", "^", "\xff\n.asm", "dot."};
    for (int i = 0; i < 3000; ++i) {
        expected.push_back("part" + std::to_string(i) + ".prt");
    }
    for (const std::string &name : expected) {
        tree.file(name);
    }
    std::sort(expected.begin(), expected.end());
    directory listed(tree());
    ASSERT_EQ(listed.open(), PFA_E_NO_ERROR);
    EXPECT_EQ(read_names(listed), expected);
    tree.file("later");
    EXPECT_EQ(listed.open(), PFA_E_NO_ERROR);
    EXPECT_EQ(read_names(listed), expected) << "a second open only starts the listing again";
    EXPECT_EQ(listed.close(), PFA_E_NO_ERROR);
    EXPECT_EQ(listed.close(), PFA_E_INVALID_INPUT);
}

// A listing that is not the cache's was lost when its record became a file before the close, which
// closed streams only.
TEST(Directories, AreClosedOnARecordThatBecameAFile) {
    const scratch_tree tree;
    directory listed(tree());
    ASSERT_EQ(listed.open(), PFA_E_NO_ERROR);
    listed->type = OBJ_TYPE_NOT_YET;
    EXPECT_EQ(pfaloc_call_FL(listed, PfaFlushFile), PFA_E_INVALID_INPUT) << "no stream";
    EXPECT_EQ(pfa_close(listed), PFA_E_NO_ERROR);
}

TEST(Directories, OpeningFailsByTheReason) {
    const scratch_tree tree;
    directory closed(tree.dir("closed", 0311)), file(tree.file("file"));
    EXPECT_EQ(in_child(drop_rights, [&] { return closed.open(); }), PFA_E_CANT_OPEN);
    EXPECT_EQ(directory(tree("missing/")).open(), PFA_E_CANT_OPEN);
    EXPECT_EQ(directory("no-such-host.invalid:/dir/").open(), PFA_E_CANT_OPEN);
    EXPECT_EQ(file.open(), PFA_E_INVALID_INPUT);
}

// Half a directory must not pass for the whole one.
TEST(Directories, AreOpenedWholeOrNotAtAll) {
    const scratch_tree tree;
    for (const char c : {'a', 'b', 'c', 'd', 'e'}) {
        tree.file(std::string(250, c));
    }
    directory whole(tree());
    int failures = 0;
    const auto open = [&] {
        const std::int64_t blocks = get_memory_statistics().num_blocks;
        fail_allocation(failures, false);
        const int status = whole.open();
        fail_allocation(NO_FAILURE, false);
        const bool lost = status != PFA_E_NO_ERROR && get_memory_statistics().num_blocks != blocks;
        return lost ? int(PFA_E_ERROR) : status;
    };
    while (in_child([] {}, open) == PFA_E_OUT_OF_MEMORY) {
        ++failures;
    }
    EXPECT_EQ(in_child([] {}, open), PFA_E_NO_ERROR);
    EXPECT_GT(failures, 2);
}

void set_times(const std::string &path, int accessed, std::time_t modified) {
    const timespec times[] = {{accessed, 0}, {modified, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST(Directories, AListingIsOutOfDateIfTheDirectoryMayHaveChanged) {
    const scratch_tree tree;
    // The times are those of the location text: reading the one directory leaves the access time of
    // the other alone.
    directory listed(tree.dir("listed"));
    const std::string timed = tree("timed");
    const auto out_of_date = [&](int accessed, int modified_now, unsigned mode_now) {
        tree.dir("timed");
        set_times(timed, accessed, 1000);
        EXPECT_EQ(listed.open(timed), PFA_E_NO_ERROR);
        set_times(timed, accessed, modified_now);
        tree.dir("timed", mode_now);
        const int result = listed.is_out_of_date(timed);
        EXPECT_EQ(listed.close(), PFA_E_NO_ERROR);
        return result;
    };
    EXPECT_EQ(out_of_date(2000, 1000, 0755), 0) << "unchanged";
    EXPECT_EQ(out_of_date(1000, 1000, 0755), 1) << "changed in the second of its reading";
    EXPECT_EQ(out_of_date(2000, 1001, 0755), 1) << "changed";
    EXPECT_EQ(out_of_date(2000, 999, 0755), 1) << "set back";
    EXPECT_EQ(out_of_date(2000, 1000, 0355), 1) << "unreadable";
    EXPECT_EQ(listed.open("/no/such/place/"), PFA_E_NOT_CACHABLE);
    EXPECT_EQ(listed.is_out_of_date("/"), 1);
}

TEST(Directories, AListingUnderItsOwnNameIsJudgedByTheSameTimes) {
    const scratch_tree tree;
    directory listed(tree());
    set_times(tree.path, 2000, std::time(nullptr) + 1000);
    EXPECT_EQ(listed.open(), PFA_E_NO_ERROR);
    EXPECT_EQ(listed.is_out_of_date(tree.path), 1) << "it changes after it was read";
    EXPECT_EQ(listed.close(), PFA_E_NO_ERROR);
    set_times(tree.path, 2000, 1000);
    EXPECT_EQ(listed.open(), PFA_E_NO_ERROR);
    EXPECT_EQ(listed.is_out_of_date(tree.path), 0);
    EXPECT_EQ(listed.is_out_of_date(tree("gone")), 1);
}

TEST(Directories, AreMadeMovedAndRemoved) {
    const scratch_tree tree, elsewhere("/dev/shm");
    record made(tree("made/")), moved(tree("moved/")), far(elsewhere("far/")), nameless("./");
    EXPECT_EQ(pfaloc_call_F(made, PfaMakeDir), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_F(made, PfaMakeDir), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_FF(made, PfaMoveDir, far), PFA_E_NOT_ALLOWED);
    EXPECT_EQ(pfaloc_call_FF(made, PfaMoveDir, moved), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_FF(made, PfaMoveDir, moved), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_FF(moved, PfaMoveDir, nameless), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_F(made, PfaRemoveDir), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_F(moved, PfaRemoveDir), PFA_E_NO_ERROR);
}

TEST(Notices, FollowACallThatCanChangeADirectory) {
    const scratch_tree tree;
    const std::string old = tree.file("old"), gone = tree("gone"), sub = tree("none/sub");
    const struct {
        const char *name;
        std::function<bool()> succeeds;
        int error;
        bool noticed;
    } rows[] = {
        {"fopen r", [&] { return dci_fopen(gone.c_str(), "r") != nullptr; }, ENOENT, false},
        {"fopen a", [&] { return dci_fopen(old.c_str(), "a") != nullptr; }, 0, true},
        {"open", [&] { return dci_open(old.c_str(), O_RDWR, 0) >= 0; }, 0, false},
        {"open O_CREAT", [&] { return dci_open(old.c_str(), O_RDWR | O_CREAT, 0) >= 0; }, 0, true},
        {"rename", [&] { return dci_rename(gone.c_str(), sub.c_str()) == 0; }, ENOENT, true},
        {"unlink", [&] { return dci_unlink(gone.c_str()) == 0; }, ENOENT, true},
        {"mkdir", [&] { return dci_mkdir(old.c_str(), 0700) == 0; }, EEXIST, true},
        {"rmdir elsewhere", [&] { return dci_rmdir(sub.c_str()) == 0; }, ENOENT, false},
    };
    for (const auto &call : rows) {
        SCOPED_TRACE(call.name);
        record listed(tree());
        ASSERT_EQ(pfa_open_dir(listed), PFA_E_NO_ERROR);
        ASSERT_EQ(pfa_close(listed), PFA_E_NO_ERROR);
        errno = 0;
        EXPECT_EQ(call.succeeds(), call.error == 0);
        EXPECT_EQ(errno, call.error);
        EXPECT_EQ(is_cached(tree.path), !call.noticed);
    }
}

} // namespace
