// The status of files, and whether a name is a directory.
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

// Three bits: the file exists, is writable, is readable.
int access_bits(vek_file *file, int lower = 1) {
    const auto may = [&](int mode) { return pfaloc_call_FII(file, PfaAccess, mode, lower); };
    return may(F_OK) * 4 + may(W_OK) * 2 + may(R_OK);
}

TEST(access, is_that_of_the_user) {
    scratch_dir scratch;
    record own(scratch.file("own.prt", "", 0600)), all(scratch.file("all.prt"));
    record none(scratch("none.prt")), mixed(scratch.file("Mixed.PRT"));
    EXPECT_EQ(in_child(drop_rights, [&] { return access_bits(own) * 8 + access_bits(all); }),
              getuid() == 0 ? 045 : 077);
    EXPECT_EQ(
        (codes{access_bits(own), access_bits(none), access_bits(mixed, 0), access_bits(mixed)}),
        (codes{7, 0, 7, 0}));
}

TEST(access, on_a_read_only_file_system_ends_with_reading) {
    scratch_dir scratch;
    const char *dir = scratch.path.c_str();
    record file(scratch("part.prt"));
    const int answer = in_child(as_before, [&] {
        if (unshare(CLONE_NEWNS) != 0 || mount("", "/", nullptr, MS_REC | MS_PRIVATE, "") != 0 ||
            mount("", dir, "tmpfs", 0, "") != 0) {
            return 99; // not allowed here
        }
        scratch.file("part.prt");
        mount("", dir, "tmpfs", MS_REMOUNT | MS_RDONLY, "");
        char name[PFA_PATH_SIZE] = "";
        return pfaloc_call_FLPPI(file, PfaFopen, name, "w", 0) * 8 + access_bits(file);
    });
    if (answer == 99) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    EXPECT_EQ(answer, 015);
}

TEST(status, is_that_of_the_file) {
    scratch_dir scratch;
    record file(scratch.file("part.prt", "12345")), missing(scratch("none.prt"));
    const timespec times[] = {{1000000000, 0}, {86400, 999999999}};
    ASSERT_EQ(utimensat(AT_FDCWD, scratch("part.prt").c_str(), times, 0), 0);
    ptime read, written, changed;
    EXPECT_EQ(pfaloc_call_FPPP(file, PfaGetFileTime, &read, &written, &changed), 0);
    EXPECT_EQ((codes{read.year, written.year, written.day, changed.year > 123}),
              (codes{101, 70, 2, 1}));
    EXPECT_EQ(pfaloc_call_FPPP(missing, PfaGetFileTime, &read, &written, &changed), PFA_E_ERROR);

    const auto value = [](vek_file *from, int method) {
        int out = 0;
        const int result = pfaloc_call_FP(from, method, &out);
        return result == 0 ? out : -result;
    };
    const auto values = [&](vek_file *from) {
        return codes{pfaloc_call_FI(from, PfaChmod, 0640), value(from, PfaGetMode),
                     value(from, PfaGetFileSize)};
    };
    EXPECT_EQ(values(missing), (codes{PFA_E_ERROR, -PFA_E_NO_ACCESS, -PFA_E_NO_ACCESS}));
    EXPECT_EQ(values(file), (codes{0, S_IFREG | 0640, 5}));
    std::filesystem::resize_file(scratch("part.prt"), std::uintmax_t(3) << 30);
    EXPECT_EQ(value(file, PfaGetFileSize), INT_MAX);

    // Free space is that of the nearest existing parent.
    record deep(scratch("no/such/part.prt")), remote("no-such-host.invalid:/part.prt");
    int blocks = -1, size = -1;
    EXPECT_EQ(pfaloc_call_FPP(deep, PfaGetAvailBlocks, &blocks, &size), 0);
    EXPECT_TRUE(blocks != -1 && size > 0) << blocks << " of " << size;
    EXPECT_EQ(pfaloc_call_FPP(remote, PfaGetAvailBlocks, &blocks, &size), PFA_E_NOT_ALLOWED);
}

TEST(status, owners_are_written_as_they_are_read) {
    scratch_dir scratch;
    record file(scratch.file("part.prt"));
    char user[12] = "", group[12] = "", name[PFA_PATH_SIZE] = "";
    const auto get_owners = [&] { return pfaloc_call_FPPP(file, PfaGetOwners, user, group, name); };
    const passwd *self = getpwuid(getuid()); // none for a user without an entry
    EXPECT_EQ(get_owners(), self != nullptr ? 0 : PFA_E_ERROR);
    EXPECT_EQ((texts{user, name}), (texts{std::to_string(getuid()), self ? self->pw_name : ""}));
    const auto give = [&](auto to, auto too) { return pfaloc_call_FPP(file, PfaChown, to, too); };
    EXPECT_EQ(give(user, group), 0);
    // Text that is no number must not be read as the superuser's id.
    for (const char *wrong : {"", "root", "0x", "99999999999", "-99999999999"}) {
        EXPECT_EQ((codes{give(wrong, group), give(user, wrong)}), (codes{9, 9})) << wrong;
    }
    EXPECT_EQ(in_child(drop_rights, [&] { return give("-3", "4294967292"); }), PFA_E_ERROR);
    if (getuid() == 0) {
        EXPECT_EQ((codes{give("-3", "4294967292"), get_owners()}), (codes{0, PFA_E_ERROR}));
        EXPECT_EQ((texts{user, group}), (texts{"-3", "-4"}));
    }
}

// The caller has to tell "it is none" from "could not look".
TEST(is_dir, the_kind_says_why_not) {
    scratch_dir scratch;
    scratch.file("file");
    scratch.dir("closed");
    scratch.dir("closed/inner");
    scratch.dir("closed", 0600);
    std::filesystem::create_symlink("closed", scratch("link"));
    std::filesystem::create_symlink("loop", scratch("loop"));
    const std::pair<const char *, int> answers[] = {
        {"closed", PFA_DIRECTORY}, {"link", PFA_DIRECTORY}, {"file", PFA_NO_DIRECTORY},
        {"missing", -ENOENT},      {"loop", -ELOOP},        {"file/x", -ENOTDIR},
        {"closed/inner", -EACCES},
    };
    for (const auto &[last, answer] : answers) {
        const std::string name = scratch(last);
        record file;
        EXPECT_EQ(parse_to_pfa(file, 1, name.c_str()), 0);
        const bool is_dir = answer == PFA_DIRECTORY;
        EXPECT_EQ(in_child(drop_rights, [&] { return vek_kind_of(name.c_str()) == answer; }), 1)
            << name;
        EXPECT_EQ(in_child(drop_rights, [&] { return vek_is_dir(name.c_str()); }), is_dir) << name;
        EXPECT_EQ(in_child(drop_rights, [&] { return pfaloc_call_F(file, PfaIsFolder); }),
                  is_dir ? PFA_E_EXIST : 0)
            << name;
    }
    // A name is asked for as it is written and as it is stored.
    scratch.dir("Up.PRT");
    scratch.dir("low.prt");
    for (const char *name : {"Up.PRT", "LOW.PRT", "low.prt", "up.prt"}) {
        EXPECT_EQ(record(scratch(name))->type, name[0] == 'u' ? 2 : -5) << name;
    }
}

} // namespace
