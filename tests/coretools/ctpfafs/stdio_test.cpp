// The stdio location: the process's standard streams by name.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "test_support.h"

namespace {

TEST(StdioLocation, ClaimsThreeNamesAndWritesThemBack) {
    for (const std::string name : {"stdio://in", "stdio://out", "stdio://err"}) {
        record file(name);
        EXPECT_EQ(file->location_type, PfaStdio) << name;
        char location[PFA_PATH_SIZE] = "";
        EXPECT_EQ(pfa_get_location(file, location, nullptr), PFA_E_NO_ERROR);
        EXPECT_EQ(location + component(file, PFA_NAME), name);
    }
    for (const char *name : {"stdio://x", "stdio://inn", "stdio:/err", "xstdio://in", "stdio"}) {
        EXPECT_EQ(record(name)->location_type, PfaStdFilesystem) << name;
    }
}

TEST(StdioLocation, OpensEachStreamInItsOwnDirection) {
    for (const std::string name : {"stdio://in", "stdio://out", "stdio://err"}) {
        SCOPED_TRACE(name);
        const bool reads = name == "stdio://in";
        const int if_reads = reads ? PFA_E_NO_ERROR : PFA_E_CANT_OPEN;
        const int if_writes = reads ? PFA_E_CANT_OPEN : PFA_E_NO_ERROR;
        EXPECT_EQ(stream(name).call(PfaCloseFile), PFA_E_INVALID_INPUT) << "not open";
        EXPECT_EQ(stream(name).open(true, false), if_reads);
        EXPECT_EQ(stream(name).open(true, true), if_writes);
        EXPECT_EQ(stream(name).open(false, false), PFA_E_NO_ERROR);
        EXPECT_EQ(stream(name).open(false, true), if_writes);
        EXPECT_EQ(pfaloc_call_FII(stream(name), PfaAccess, R_OK, 0), reads);
        EXPECT_EQ(pfaloc_call_FII(stream(name), PfaAccess, W_OK, 0), !reads);
    }
}

TEST(StdioLocation, LendsTheStreamAndLeavesItOpen) {
    const scratch_tree tree;
    tree.file("in", "first\nab\xff\xff\ncd\nrest");
    const auto use_both = [&] {
        ASSERT_NE(std::freopen(tree("in").c_str(), "r", stdin), nullptr);
        ASSERT_NE(std::freopen(tree("out").c_str(), "w", stdout), nullptr);
        stream in("stdio://in"), out("stdio://out");
        EXPECT_EQ(in.open(true, false), PFA_E_NO_ERROR);
        EXPECT_EQ(out.open(true, true), PFA_E_NO_ERROR);
        EXPECT_EQ(in.read(PfaFgets), "0first\n");
        EXPECT_EQ(out.call(PfaFputs, "first "), PFA_E_NO_ERROR);
        int end = -1;
        EXPECT_EQ(pfaloc_call_FLFLPP(in, PfaCopyThruCookie, out, "\xff\xff", &end), PFA_E_NO_ERROR);
        EXPECT_EQ(in.read(PfaReadFile, 5), "0\ncd\nr");
        EXPECT_EQ(out.write(" then", 5), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_close(in), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_close(out), PFA_E_NO_ERROR);
        EXPECT_EQ(std::getchar(), 'e');
        std::printf(" still open\n");
    };
    EXPECT_EQ(run_in_child(use_both).status, 0);
    EXPECT_EQ(tree.content("out"), "first ab then still open\n");
}

TEST(StdioLocation, ListsThePatternAsTheOneEntry) {
    record file("stdio://out"), entry;
    vek_file *directory = extract_pfa_dir(file);
    EXPECT_EQ(pfa_open_dir(directory), PFA_E_ERROR) << "nothing to list";
    ASSERT_EQ(pfa_open_dir_subset(directory, "err"), PFA_E_NO_ERROR);
    int kind = -1;
    EXPECT_EQ(pfa_read_dir_and_kind(directory, entry, &kind), PFA_E_NO_ERROR);
    EXPECT_EQ(kind, PFA_NO_DIRECTORY);
    EXPECT_EQ(component(entry, PFA_DEVICE), "stdio://");
    EXPECT_EQ(component(entry, PFA_NAME), "err");
    EXPECT_EQ(pfa_read_dir(directory, entry), PFA_E_QUIT);
    EXPECT_EQ(pfa_close(directory), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_free_vek_file(&directory), PFA_E_NO_ERROR);
}

} // namespace
