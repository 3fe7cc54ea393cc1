// The stdio location.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "test_support.h"

namespace {

TEST(stdio, claims_its_three_streams_and_opens_each_for_its_own_direction) {
    for (const char *name : {"stdio://x", "stdio://inn", "stdio:/err", "xstdio://in", "stdio"}) {
        EXPECT_EQ(record(name)->location_type, PfaStdFilesystem) << name;
    }
    for (const std::string last : {"in", "out", "err"}) {
        stream file("stdio://" + last);
        for (const auto get : {pfa_get_location, pfa_get_neutral_location}) {
            char name[PFA_PATH_SIZE] = "";
            EXPECT_EQ(get(file, name, nullptr), 0);
            EXPECT_EQ(name + component(file, PFA_NAME), "stdio://" + last);
        }
        const auto opens = [&](bool buffered, bool write) {
            const int result = file.open(buffered, write);
            file.call(PfaCloseFile);
            return result;
        };
        const auto may = [&](int mode) { return pfaloc_call_FII(file, PfaAccess, mode, 0); };
        const auto results = [&] {
            return codes{opens(true, false), opens(true, true), opens(false, false),
                         opens(false, true), may(W_OK),         may(R_OK),
                         may(F_OK)};
        };
        EXPECT_EQ(results(),
                  (last == "in" ? codes{0, 3, 0, 3, 0, 1, 0} : codes{3, 0, 0, 0, 1, 0, 0}));
        EXPECT_EQ(pfa_put_component(file, PFA_NAME, "x"), 0);
        EXPECT_EQ(results(), codes(7, PFA_E_NOT_VALID));
    }
}

TEST(stdio, lends_the_stream_and_leaves_it_open) {
    scratch_dir scratch;
    stream in("stdio://in"), out("stdio://out");
    scratch.file("in", "first\nab\xff\xff\ncd\nrest");
    const auto use = [&] {
        int failures = std::freopen(scratch("in").c_str(), "r", stdin) == nullptr;
        failures += std::freopen(scratch("out").c_str(), "w", stdout) == nullptr;
        int end = -1;
        failures += in.open(true, false) + out.open(true, true);
        failures += out.call(PfaFputs, in.read(PfaFgets).c_str());
        failures += pfaloc_call_FLFLPP(in, PfaCopyThruCookie, out, "\xff\xff", &end);
        failures += out.write(in.read(PfaReadFile, 4).c_str(), 5) + out.call(PfaFlushFile);
        failures += out.call(PfaFputs, std::to_string(in.call(PfaFgetc)).c_str());
        failures += pfa_close(in) + pfa_close(out);
        std::printf("%c", std::getchar());
        return failures + std::fflush(stdout);
    };
    EXPECT_EQ(in_child(as_before, use), 0);
    EXPECT_EQ(scratch.content("out"), "0first\nab0\ncd\n114e");
}

TEST(stdio, a_directory_lists_the_pattern) {
    record file("stdio://out"), entry;
    vek_file *listed = extract_pfa_dir(file);
    EXPECT_EQ(pfa_open_dir(listed), PFA_E_ERROR) << "nothing to list";
    ASSERT_EQ(pfa_open_dir_subset(listed, "err"), 0);
    EXPECT_EQ((codes{pfa_read_dir(listed, entry), pfa_read_dir(listed, entry), pfa_close(listed)}),
              (codes{0, PFA_E_QUIT, 0}));
    EXPECT_EQ(component(entry, PFA_DEVICE) + component(entry, PFA_NAME), "stdio://err");
    ASSERT_EQ(pfa_open_dir_subset(listed, "e"), 0);
    listed->type = -4; // what is open on it is no stream
    EXPECT_EQ((codes{pfaloc_call_FL(listed, PfaFlushFile), pfa_close(listed)}), (codes{9, 0}));
    EXPECT_EQ(pfa_fopen(file, 0, "w"), 0);
    file->type = -5; // and no listing
    EXPECT_EQ((codes{pfa_read_dir(file, entry), pfa_close(file)}), (codes{PFA_E_QUIT, 0}));
    EXPECT_EQ(pfa_free_vek_file(&listed), 0);
}

} // namespace
