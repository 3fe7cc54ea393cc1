// Files by name: rights, status, renaming.
#include "coretools/cttime/ptime.h"
#include "test_support.h"

#include <climits>

#include <sys/stat.h>

namespace {

bool may(vek_file *file, int mode, int lower) {
    return pfaloc_call_FII(file, PfaAccess, mode, lower) == 1;
}

TEST(Access, IsThatOfTheUser) {
    const scratch_tree tree;
    record own(tree.file("Own.PRT", "", 0600)), all(tree.file("all.prt"));
    EXPECT_TRUE(may(own, R_OK, 0));
    EXPECT_FALSE(may(own, F_OK, 1)) << "no such name in lower case";
    if (getuid() == 0) {
        EXPECT_EQ(in_child(drop_rights, [&] { return may(own, F_OK, 0); }), 1);
        EXPECT_EQ(in_child(drop_rights, [&] { return may(own, R_OK, 0); }), 0);
        EXPECT_EQ(in_child(drop_rights, [&] { return may(all, R_OK, 1); }), 1);
        EXPECT_EQ(in_child(drop_rights, [&] { return may(all, W_OK, 1); }), 0);
    }
}

TEST(Status, IsThatOfTheFile) {
    const scratch_tree tree;
    record file(tree.file("part.prt")), missing(tree("none.prt"));
    std::filesystem::resize_file(tree("part.prt"), std::uintmax_t(3) << 30);
    const timespec times[] = {{1000000000, 0}, {86400, 999999999}};
    ASSERT_EQ(utimensat(AT_FDCWD, tree("part.prt").c_str(), times, 0), 0);
    ptime read, written, changed;
    EXPECT_EQ(pfaloc_call_FPPP(file, PfaGetFileTime, &read, &written, &changed), PFA_E_NO_ERROR);
    EXPECT_EQ(read.year, 101);
    EXPECT_EQ(written.year, 70);
    EXPECT_EQ(written.day, 2);
    EXPECT_GT(changed.year, 123);
    int mode = 0, size = 0;
    EXPECT_EQ(pfaloc_call_FI(file, PfaChmod, 0640), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_FP(file, PfaGetMode, &mode), PFA_E_NO_ERROR);
    EXPECT_EQ(mode, S_IFREG | 0640);
    EXPECT_EQ(pfaloc_call_FP(file, PfaGetFileSize, &size), PFA_E_NO_ERROR);
    EXPECT_EQ(size, INT_MAX);
    EXPECT_EQ(pfaloc_call_FPPP(missing, PfaGetFileTime, &read, &written, &changed), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_FP(missing, PfaGetFileSize, &size), PFA_E_NO_ACCESS);
    EXPECT_EQ(pfaloc_call_FPP(missing, PfaGetAvailBlocks, &mode, &size), PFA_E_NO_ERROR)
        << "that of the nearest parent";
    EXPECT_EQ(pfaloc_call_FPP(file, PfaChown, "-1", "root"), PFA_E_INVALID_INPUT)
        << "not the superuser's id";
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
        {"other file system", [] {}, elsewhere.file("from"), tree("open/to"), "open/to"},
        {"directory may not be moved", drop_rights, tree("open/fixed"), tree("new/to"), "new/to"},
        {"directory into itself", [] {}, tree("outer"), tree("outer/to"), "outer/to"},
        {"file onto directory", [] {}, tree.file("file"), tree("full"), "full/inner"},
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
