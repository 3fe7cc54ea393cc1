// Names of the standard filesystem: the claim, and both location strings.
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaput.h"
#include "test_support.h"

#include <cstring>
#include <random>
#include <sstream>

namespace {

const std::string LONGEST(31, 'h');
const std::string TOO_LONG(32, 'h');

// Host, device, path and the offset of the rest; for a name that is declined only the status.
std::string claim(const std::string &name) {
    record file;
    std::int16_t rest = -1;
    const int result = pfa_parse_location(file, name.c_str(), &rest, PfaStdFilesystem);
    const std::string parts = component(file, PFA_HOST) + "," + component(file, PFA_DEVICE) + "," +
                              component(file, PFA_PATH) + ",";
    return result == 0 ? parts + std::to_string(rest) : std::to_string(result);
}

TEST(claim, splits_a_name_into_host_device_path_and_rest) {
    std::istringstream cases(R"(
        part.prt           ,,,0              /usr/lib/part.prt  ,,/usr/lib/,9
        /                  ,,/,1             a\b/c\d.prt        ,,a/b/c/,6
        .                  ,,./,1            ..                 ,,../,2
        a/.                ,,a/,3            /a/..              ,,/a/^/,5
        a/...              ,,a/,2            //a/b              ,,//a/,4

        hostx:/usr/part.prt hostx,,/usr/,11  hostx::part.prt    hostx,,,7
        hostx::a/b         hostx,,a/,9       hostx::$dev/a/b    hostx,dev,/a/,14
        hostx:part.prt     ,,,0              a:b:/c             ,,a:b:/,5
        C:/lib             C,,/,3            :/a                ,,:/,2
        $dev1/d/part.prt   ,dev1,/d/,8       $dev1/             ,dev1,/,6
        $dev1              ,,,0              $/a                ,,$/,2

        /////hostx|b       hostx,,,11        /////hostx///dev1/d/part.prt hostx,dev1,/d/,20
        /////hostx|a/b     hostx,,a/,13      /////hostx///dev1|b hostx,dev1,,18
        /////hostx         9                 /////hostx///dev1  9
        /////hostx////a    hostx,,////,14    /////|a            9
        ///dev1|           ,dev1,,8          ///dev1/d/part.prt ,dev1,/d/,10
        ///dev1            9                 ///                ,,///,3
        ////d/part.prt     ,,/d/,6           //////d/part.prt   ,,/d/,8

        \\hostx\c$\a\b.prt hostx,c,/a/,13    \\hostx\share\b.prt 9
        \\hostx\1$\b.prt   9                 \\hostx\c$         9
        \\hostx            ,,//,2            \\\c$\             9)");
    for (std::string name, expected; cases >> name >> expected;) {
        EXPECT_EQ(claim(name), expected) << name;
    }
    EXPECT_EQ(claim(LONGEST + ":/a"), LONGEST + ",,/,33");
    EXPECT_EQ(claim(TOO_LONG + ":/a"), ",," + TOO_LONG + ":/,34");
    EXPECT_EQ(claim("/////" + LONGEST + "/"), LONGEST + ",,/,37");
    for (const char *before : {"/////", "///", "$", "\\\\"}) {
        EXPECT_EQ(claim(before + TOO_LONG + (before[0] == '\\' ? "\\c$\\" : "/")), "9") << before;
    }
    const std::string long_name(258, 'a');
    EXPECT_EQ((texts{claim("/" + long_name), claim("//" + long_name), claim(long_name + "/..")}),
              (texts{",,/,1", "9", "9"}));

    record file("stale::old/part.prt");
    EXPECT_EQ(pfa_put_location(file, "$dev1/a/b", PfaStdFilesystem), 0);
    EXPECT_STREQ(file->text, "dev1/a/b/partprt") << "without a rest all is path";
    EXPECT_EQ(pfa_parse_location(file, nullptr, nullptr, PfaStdFilesystem), PFA_E_INVALID_INPUT);
    EXPECT_EQ(pfafs_loc_is_NT_drive_relative(file), 0);
}

void put(vek_file *file, const std::string &host, const std::string &device,
         const std::string &path) {
    EXPECT_EQ(pfa_put_component(file, PFA_HOST, host.c_str()), 0);
    EXPECT_EQ(pfa_put_component(file, PFA_DEVICE, device.c_str()), 0);
    EXPECT_EQ(pfa_put_component(file, PFA_PATH, path.c_str()), 0);
}

// A location string, or its failing status.
std::string location_string(vek_file *file, decltype(pfa_get_location) get) {
    char text[PFA_PATH_SIZE] = "";
    const int result = get(file, text, nullptr);
    return result == 0 ? text : std::to_string(result);
}

TEST(location, is_written_in_both_forms) {
    record file;
    const auto forms = [&](const std::string &host, const std::string &device,
                           const std::string &path) {
        put(file, "", "", "");
        put(file, host, device, path);
        return location_string(file, pfa_get_location) + " " +
               location_string(file, pfa_get_neutral_location);
    };
    EXPECT_EQ((texts{forms("", "", ""), forms("", "", "/")}), (texts{" ", "/ /"}));
    EXPECT_EQ(forms("hostx", "", "/a/b/"), "hostx:/a/b/ /////hostx/a/b/");
    EXPECT_EQ(forms("hostx", "", "a/"), "hostx:a/ /////hostx|a/");
    EXPECT_EQ((texts{forms("hostx", "", ""), forms("", "dev1", "")}),
              (texts{"hostx: /////hostx|", "$dev1/ ///dev1|"}));
    EXPECT_EQ(forms("", "dev1", "d/"), "$dev1d/ ///dev1|d/");
    EXPECT_EQ(forms("hostx", "dev1", "/d/"), "hostx:/d/ /////hostx///dev1/d/");
    EXPECT_EQ((texts{forms("", "", "a/b/^/c/"), forms("", "", "/^/a/"), forms("", "", "/a/^/")}),
              (texts{"a/c/ a/c/", "/../a/ /../a/", "/ /"}));
    EXPECT_EQ((texts{forms("", "", "a/^/^/^/c/"), forms("", "", "/a//^old/rev^2/")}),
              (texts{"../../c/ ../../c/", "/a/^old/rev^2/ /a/^old/rev^2/"}));
    // What cannot be read back, or does not fit, is not written.
    EXPECT_EQ((texts{forms("a|b", "", "/"), forms("", "a/b", "/")}), (texts{"a|b:/ 4", "$a/b/ 4"}));
    EXPECT_EQ(forms(LONGEST, "", "/" + std::string(226, 'a') + "/"), "1 1");
    char small[8] = "";
    std::int16_t length = 0;
    EXPECT_EQ(pfaloc_call_FPPS(file, PfaGetLocationString, small, &length, 8), PFA_E_ERROR);
}

TEST(location, reads_back_as_it_was_written) {
    std::mt19937 random(20260726);
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    const auto word = [&](const std::string &alphabet, unsigned longest) {
        std::string text;
        for (int length = 1 + below(longest); length > 0; --length) {
            text += alphabet[random() % alphabet.size()];
        }
        return text;
    };
    // A path as it is stored, parent steps only at its start.
    const auto any_path = [&] {
        std::string path = below(3) == 0 ? "" : "/";
        for (int steps = below(3); steps > 0; --steps) {
            path += "^/";
        }
        for (int segments = below(6); segments > 0; --segments) {
            path += "r" + word("ab.^|$: \xff", 12) + "s/";
        }
        return path.find("::") == std::string::npos ? path : "";
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string host = below(2) ? word("hostX.-_1", 31) : "";
        const std::string device = below(3) == 0 ? word("dev$1 ", 31) : "";
        const std::string path = any_path();
        record file, again;
        put(file, host, device, path);
        const std::string neutral = location_string(file, pfa_get_neutral_location);
        ASSERT_EQ(pfa_put_location(again, neutral.c_str(), PfaStdFilesystem), 0);
        ASSERT_STREQ(again->text, file->text) << neutral;
        ASSERT_EQ(std::memcmp(again->bounds, file->bounds, sizeof file->bounds), 0) << neutral;
        // The host form has no place for a device beside a host, nor for a relative path on either.
        if (host + device == "" || (path[0] == '/' && (host.empty() || device.empty()))) {
            const std::string written = location_string(file, pfa_get_location);
            ASSERT_EQ(pfa_put_location(again, written.c_str(), PfaStdFilesystem), 0);
            ASSERT_STREQ(again->text, file->text) << written;
        }
    }
}

} // namespace
