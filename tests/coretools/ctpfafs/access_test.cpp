// The status of files.
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
}

TEST(Status, FreeSpaceIsThatOfTheNearestExistingParent) {
    const scratch_tree tree;
    record deep(tree("no/such/part.prt")), remote("no-such-host.invalid:/part.prt");
    int blocks = 0, size = 0;
    EXPECT_EQ(pfaloc_call_FPP(deep, PfaGetAvailBlocks, &blocks, &size), PFA_E_NO_ERROR);
    EXPECT_GT(size, 0);
    EXPECT_EQ(pfaloc_call_FPP(remote, PfaGetAvailBlocks, &blocks, &size), PFA_E_NOT_ALLOWED);
}

TEST(Status, OwnersAreReadAsTheyAreWritten) {
    const scratch_tree tree;
    record file(tree.file("part.prt"));
    const auto give = [&](auto to, auto too) { return pfaloc_call_FPP(file, PfaChown, to, too); };
    // Text that is no number must not be read as the superuser's id.
    for (const char *wrong : {"", "root", "0x", "99999999999", "-99999999999"}) {
        EXPECT_EQ(give("-1", wrong), PFA_E_INVALID_INPUT) << wrong;
    }
    if (getuid() == 0) {
        char user[12] = "", group[12] = "", name[PFA_PATH_SIZE] = "";
        EXPECT_EQ(give("-3", "4294967292"), PFA_E_NO_ERROR);
        EXPECT_EQ(pfaloc_call_FPPP(file, PfaGetOwners, user, group, name), PFA_E_ERROR)
            << "no name";
        EXPECT_STREQ(user, "-3");
        EXPECT_STREQ(group, "-4");
    }
}

} // namespace
