// The stdio location.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "test_support.h"

#include <fcntl.h>

namespace {

TEST(stdio, claims_its_three_streams_and_opens_each_for_its_own_direction) {
    for (const char *name : {"stdio://x", "stdio://inn", "stdio:/err", "xstdio://in", "stdio"}) {
        EXPECT_EQ(record(name)->location_type, PfaStdFilesystem) << name;
    }
    for (const std::string last : {"in", "out", "err"}) {
        record file("stdio://" + last);
        char name[PFA_PATH_SIZE] = "";
        for (const auto get : {pfa_get_location, pfa_get_neutral_location}) {
            EXPECT_EQ(get(file, name, nullptr), 0);
            EXPECT_EQ(name + component(file, PFA_NAME), "stdio://" + last);
        }
        const auto opens = [&](int result) {
            pfaloc_call_FL(file, PfaCloseFile);
            return result;
        };
        const auto results = [&] {
            return codes{opens(pfaloc_call_FLPPI(file, PfaFopen, name, "r", 0)),
                         opens(pfaloc_call_FLPPI(file, PfaFopen, name, "w", 0)),
                         opens(pfaloc_call_FLPIII(file, PfaOpen, name, O_RDONLY, 0, 0)),
                         opens(pfaloc_call_FLPIII(file, PfaOpen, name, O_WRONLY, 0, 0)),
                         pfaloc_call_FII(file, PfaAccess, W_OK, 0),
                         pfaloc_call_FII(file, PfaAccess, R_OK, 0)};
        };
        EXPECT_EQ(results(), (last == "in" ? codes{0, 3, 0, 3, 0, 1} : codes{3, 0, 0, 0, 1, 0}));
        EXPECT_EQ(pfa_put_component(file, PFA_NAME, "x"), 0);
        EXPECT_EQ(results(), codes(6, PFA_E_NOT_VALID));
    }
}

TEST(stdio, lends_the_stream_and_leaves_it_open) {
    scratch_dir scratch;
    record in("stdio://in"), out("stdio://out");
    const std::string input = scratch.file("in", "first\nab\xff\xff\ncd\nrest");
    const auto use = [&] {
        if (std::freopen(input.c_str(), "r", stdin) == nullptr ||
            std::freopen(scratch("out").c_str(), "w", stdout) == nullptr) {
            return 100;
        }
        char line[16] = "";
        int length = 0, end = -1;
        int failures = pfa_fopen(in, 0, "r") + pfa_fopen(out, 0, "w");
        failures += pfaloc_call_FLPPI(in, PfaFgets, line, &length, 16);
        failures += pfaloc_call_FLP(out, PfaFputs, line) + pfa_fprintf(out, "|%d", length);
        failures += pfaloc_call_FLFLPP(in, PfaCopyThruCookie, out, "\xff\xff", &end);
        failures += pfaloc_call_FLPPI(in, PfaReadFile, line, &length, 4);
        failures += pfa_write_file(out, length, line) + pfaloc_call_FL(out, PfaFlushFile);
        failures += pfa_close(in) + pfa_close(out);
        std::printf("%c", std::getchar());
        return failures + std::fflush(stdout);
    };
    EXPECT_EQ(in_child(as_before, use), 0);
    EXPECT_EQ(scratch.content("out"), "first\n|6ab\ncd\nr");
}

TEST(stdio, a_directory_lists_the_pattern) {
    record file("stdio://out"), entry;
    vek_file *listed = extract_pfa_dir(file);
    EXPECT_EQ(pfa_open_dir(listed), PFA_E_ERROR) << "nothing to list";
    ASSERT_EQ(pfa_open_dir_subset(listed, "err"), 0);
    EXPECT_EQ((codes{pfa_read_dir(listed, entry), pfa_read_dir(listed, entry), pfa_close(listed)}),
              (codes{0, PFA_E_QUIT, 0}));
    char name[PFA_PATH_SIZE] = "";
    EXPECT_EQ(pfa_get_full_name(entry, name), 0);
    EXPECT_STREQ(name, "stdio://err");
    ASSERT_EQ(pfa_open_dir_subset(listed, "e"), 0);
    listed->type = -4; // what is open on it is no stream
    EXPECT_EQ((codes{pfaloc_call_FL(listed, PfaFlushFile), pfa_close(listed)}), (codes{9, 0}));
    EXPECT_EQ(pfa_fopen(file, 0, "w"), 0);
    file->type = -5; // and no listing
    EXPECT_EQ((codes{pfa_read_dir(file, entry), pfa_close(file)}), (codes{PFA_E_QUIT, 0}));
    EXPECT_EQ(pfa_free_vek_file(&listed), 0);
}

} // namespace
