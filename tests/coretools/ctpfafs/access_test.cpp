// The status of files, and whether a name is a directory.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfafs/vek_is_dir.h"
#include "coretools/cttime/ptime.h"
#include "test_support.h"

#include <cerrno>
#include <climits>

#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

bool may(vek_file *file, int mode, int lower = 1) {
    return pfaloc_call_FII(file, PfaAccess, mode, lower) == 1;
}

TEST(Access, IsThatOfTheUser) {
    const scratch_tree tree;
    record own(tree.file("own.prt", "", 0600)), all(tree.file("all.prt"));
    EXPECT_TRUE(may(own, F_OK));
    EXPECT_TRUE(may(own, W_OK));
    EXPECT_TRUE(may(own, R_OK));
    if (getuid() == 0) {
        EXPECT_EQ(in_child(drop_rights, [&] { return may(own, F_OK); }), 1);
        EXPECT_EQ(in_child(drop_rights, [&] { return may(own, R_OK); }), 0);
        EXPECT_EQ(in_child(drop_rights, [&] { return may(all, R_OK); }), 1);
        EXPECT_EQ(in_child(drop_rights, [&] { return may(all, W_OK); }), 0);
    }
    EXPECT_FALSE(may(record(tree("none.prt")), F_OK));
    record mixed(tree.file("Mixed.PRT"));
    EXPECT_TRUE(may(mixed, F_OK, 0));
    EXPECT_FALSE(may(mixed, F_OK, 1)) << "no such name in lower case";
}

TEST(Access, EndsWithReadingOnAReadOnlyFileSystem) {
    const scratch_tree tree;
    const char *directory = tree.path.c_str();
    record file(tree("part.prt"));
    const auto body = [&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("", "/", nullptr, MS_REC | MS_PRIVATE, "") != 0 ||
            mount("", directory, "tmpfs", 0, "") != 0) {
            _exit(99);
        }
        tree.file("part.prt");
        mount("", directory, "tmpfs", MS_REMOUNT | MS_RDONLY, "");
        char name[PFA_PATH_SIZE] = "";
        EXPECT_EQ(pfaloc_call_FLPPI(file, PfaFopen, name, "w", 0), PFA_E_ERROR);
        EXPECT_TRUE(may(file, F_OK));
        EXPECT_TRUE(may(file, R_OK));
        EXPECT_FALSE(may(file, W_OK));
    };
    const child_result child = run_in_child(body);
    if (child.status == 99) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    EXPECT_EQ(child.status, 0) << child.out;
}

TEST(Status, IsThatOfTheFile) {
    const scratch_tree tree;
    record file(tree.file("part.prt", "12345"));
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
    EXPECT_EQ(size, 5);
    std::filesystem::resize_file(tree("part.prt"), std::uintmax_t(3) << 30);
    EXPECT_EQ(pfaloc_call_FP(file, PfaGetFileSize, &size), PFA_E_NO_ERROR);
    EXPECT_EQ(size, INT_MAX);

    record missing(tree("none.prt"));
    EXPECT_EQ(pfaloc_call_FPPP(missing, PfaGetFileTime, &read, &written, &changed), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_FI(missing, PfaChmod, 0640), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_FP(missing, PfaGetMode, &mode), PFA_E_NO_ACCESS);
    EXPECT_EQ(pfaloc_call_FP(missing, PfaGetFileSize, &size), PFA_E_NO_ACCESS);
}

TEST(Status, FreeSpaceIsThatOfTheNearestExistingParent) {
    const scratch_tree tree;
    record deep(tree("no/such/part.prt")), remote("no-such-host.invalid:/part.prt");
    int blocks = -1, size = -1;
    EXPECT_EQ(pfaloc_call_FPP(deep, PfaGetAvailBlocks, &blocks, &size), PFA_E_NO_ERROR);
    EXPECT_NE(blocks, -1);
    EXPECT_GT(size, 0);
    EXPECT_EQ(pfaloc_call_FPP(remote, PfaGetAvailBlocks, &blocks, &size), PFA_E_NOT_ALLOWED);
}

TEST(Status, OwnersAreReadAsTheyAreWritten) {
    const scratch_tree tree;
    record file(tree.file("part.prt"));
    char user[12] = "", group[12] = "", name[PFA_PATH_SIZE] = "";
    const auto get_owners = [&] { return pfaloc_call_FPPP(file, PfaGetOwners, user, group, name); };
    const passwd *self = getpwuid(getuid()); // none for a user without an entry
    EXPECT_EQ(get_owners(), self != nullptr ? PFA_E_NO_ERROR : PFA_E_ERROR);
    EXPECT_EQ(std::string(user), std::to_string(getuid()));
    EXPECT_STREQ(name, self != nullptr ? self->pw_name : "");
    const auto give = [&](auto to, auto too) { return pfaloc_call_FPP(file, PfaChown, to, too); };
    EXPECT_EQ(give(user, group), PFA_E_NO_ERROR);
    // Text that is no number must not be read as the superuser's id.
    for (const char *wrong : {"", "root", "0x", "99999999999", "-99999999999"}) {
        EXPECT_EQ(give(wrong, group), PFA_E_INVALID_INPUT) << wrong;
        EXPECT_EQ(give(user, wrong), PFA_E_INVALID_INPUT) << wrong;
    }
    if (getuid() == 0) {
        EXPECT_EQ(in_child(drop_rights, [&] { return give("-3", "4294967292"); }), PFA_E_ERROR);
        EXPECT_EQ(give("-3", "4294967292"), PFA_E_NO_ERROR);
        EXPECT_EQ(get_owners(), PFA_E_ERROR) << "a user without a name";
        EXPECT_STREQ(user, "-3");
        EXPECT_STREQ(group, "-4");
    }
}

// A caller has to tell "it is none" from "could not look".
TEST(Kinds, OfAPathSayWhyThereIsNone) {
    const scratch_tree tree;
    tree.file("file");
    tree.dir("closed/inner");
    tree.dir("closed", 0600);
    tree.link("link", "closed");
    tree.link("loop", "loop");
    const std::pair<const char *, int> rows[] = {
        {"closed", PFA_DIRECTORY}, {"link", PFA_DIRECTORY}, {"file", PFA_NO_DIRECTORY},
        {"missing", -ENOENT},      {"loop", -ELOOP},        {"file/x", -ENOTDIR},
        {"closed/inner", -EACCES},
    };
    for (const auto &[last, kind] : rows) {
        SCOPED_TRACE(last);
        const std::string name = tree(last);
        record file;
        ASSERT_EQ(parse_to_pfa(file, 1, name.c_str()), PFA_E_NO_ERROR);
        const auto kind_is = [&, kind = kind] { return vek_kind_of(name.c_str()) == kind; };
        const auto is_folder = [&] { return pfaloc_call_F(file, PfaIsFolder); };
        EXPECT_EQ(in_child(drop_rights, kind_is), 1);
        EXPECT_EQ(in_child(drop_rights, is_folder),
                  kind == PFA_DIRECTORY ? PFA_E_EXIST : PFA_E_NO_ERROR);
    }
    EXPECT_EQ(vek_is_dir(tree("link").c_str()), 1);
    EXPECT_EQ(vek_is_dir(tree("loop").c_str()), 0);
}

TEST(Kinds, OfARecordAreAskedAsWrittenAndAsStored) {
    const scratch_tree tree;
    tree.dir("Up.PRT");
    tree.dir("low.prt");
    for (const char *name : {"Up.PRT", "LOW.PRT", "low.prt"}) {
        EXPECT_EQ(record(tree(name))->type, OBJ_TYPE_DIRECTORY) << name;
    }
    EXPECT_EQ(record(tree("up.prt"))->type, 2);
}

} // namespace
