// Names of the standard filesystem: the claim, and both location strings.
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaput.h"
#include "test_support.h"

#include <sstream>

namespace {

const std::string LONGEST(31, 'h');
const std::string TOO_LONG(32, 'h');

// Host, device, path and the offset of the rest; for a name that is declined the status.
std::string claim(const std::string &name) {
    record file;
    std::int16_t rest = -1;
    const int result = pfa_parse_location(file, name.c_str(), &rest, PfaStdFilesystem);
    const std::string parts =
        part(file, PFA_HOST) + "," + part(file, PFA_DEVICE) + "," + part(file, PFA_PATH) + ",";
    return result == PFA_E_NO_ERROR ? parts + std::to_string(rest) : pfa_error_to_string(result);
}

TEST(Claim, SplitsANameIntoHostDevicePathAndRest) {
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
        /////hostx////a    hostx,,////,14    ///                ,,///,3
        ///dev1|           ,dev1,,8          ///dev1/d/part.prt ,dev1,/d/,10
        ////d/part.prt     ,,/d/,6           //////d/part.prt   ,,/d/,8

        \\hostx\c$\a\b.prt hostx,c,/a/,13    \\hostx            ,,//,2)");
    for (std::string name, expected; cases >> name >> expected;) {
        EXPECT_EQ(claim(name), expected) << name;
    }
}

TEST(Claim, HostsDevicesAndPathsUpToTheirSize) {
    EXPECT_EQ(claim(LONGEST + ":/a"), LONGEST + ",,/,33");
    EXPECT_EQ(claim("/////" + LONGEST + "/"), LONGEST + ",,/,37");
    EXPECT_EQ(claim(TOO_LONG + ":/a"), ",," + TOO_LONG + ":/,34") << "a colon like any other";
    const std::string long_name(258, 'a');
    EXPECT_EQ(claim("/" + long_name), ",,/,1");
    for (const std::string &too_long :
         {"/////" + TOO_LONG + "/", "///" + TOO_LONG + "/", "$" + TOO_LONG + "/",
          "\\\\" + TOO_LONG + "\\c$\\", "//" + long_name, long_name + "/.."}) {
        EXPECT_EQ(claim(too_long), "PFA_E_INVALID_INPUT") << too_long;
    }
}

TEST(Claim, DeclinesHostsAndDevicesWithoutNameOrEnd) {
    for (const std::string name :
         {"/////hostx", "/////|a", "///dev1", "/////hostx///dev1", R"(\\hostx\share\b.prt)",
          R"(\\hostx\1$\b.prt)", R"(\\hostx\c$)", R"(\\\c$\)"}) {
        EXPECT_EQ(claim(name), "PFA_E_INVALID_INPUT") << name;
    }
}

// A location string, or its failing status.
std::string location_string(vek_file *file, decltype(pfa_get_location) get) {
    char text[PFA_PATH_SIZE] = "";
    const int result = get(file, text, nullptr);
    return result == PFA_E_NO_ERROR ? text : pfa_error_to_string(result);
}

TEST(LocationText, IsWrittenInBothFormsAndReadBack) {
    const std::string too_long = "/" + std::string(226, 'a') + "/";
    const struct {
        texts parts; // host, device and path
        std::string host_form, neutral_form;
    } rows[] = {
        {{"", "", ""}, "", ""},
        {{"", "", "/"}, "/", "/"},
        {{"", "", "/r$|:^ s/\xff/"}, "/r$|:^ s/\xff/", "/r$|:^ s/\xff/"},
        {{"", "", "^/^/^/c/"}, "../../../c/", "../../../c/"},
        {{"hostX.-_1", "", "/^/r:|/"}, "hostX.-_1:/../r:|/", "/////hostX.-_1/../r:|/"},
        {{"hostx", "", "a/r|s/"}, "hostx:a/r|s/", "/////hostx|a/r|s/"},
        {{"hostx", "", ""}, "hostx:", "/////hostx|"},
        {{"", "dev$1 ", "/d/"}, "$dev$1 /d/", "///dev$1 /d/"},
        {{"", "dev1", "d/"}, "$dev1d/", "///dev1|d/"},
        {{"", "dev1", ""}, "$dev1/", "///dev1|"},
        {{LONGEST, LONGEST, "/d/"}, LONGEST + ":/d/", "/////" + LONGEST + "///" + LONGEST + "/d/"},
        {{"hostx", "dev1", "^/"}, "hostx:../", "/////hostx///dev1|../"},
        // What could not be read back, or does not fit, is not written: the status.
        {{"a|b", "", "/"}, "a|b:/", "PFA_E_INVALID_NAME"},
        {{"", "a/b", "/"}, "$a/b/", "PFA_E_INVALID_NAME"},
        {{LONGEST, "", too_long}, "PFA_E_ERROR", "PFA_E_ERROR"},
    };
    for (const auto &row : rows) {
        record file;
        for (int index = PFA_HOST; index <= PFA_PATH; ++index) {
            EXPECT_EQ(pfa_put_component(file, index, row.parts[index].c_str()), PFA_E_NO_ERROR);
        }
        EXPECT_EQ(location_string(file, pfa_get_location), row.host_form);
        EXPECT_EQ(location_string(file, pfa_get_neutral_location), row.neutral_form);
        if (!row.neutral_form.starts_with("PFA_E_")) {
            record again;
            EXPECT_EQ(pfa_put_location(again, row.neutral_form.c_str(), PfaStdFilesystem),
                      PFA_E_NO_ERROR);
            EXPECT_STREQ(again->text, file->text) << "not read back";
        }
    }
}

TEST(LocationText, IsNotCut) {
    record file;
    EXPECT_EQ(pfa_put_component(file, PFA_PATH, "/usr/lib/"), PFA_E_NO_ERROR);
    char text[16] = "";
    std::int16_t length = 0;
    EXPECT_EQ(pfaloc_call_FPPS(file, PfaGetLocationString, text, &length, 9), PFA_E_ERROR);
    EXPECT_EQ(pfaloc_call_FPPS(file, PfaGetLocationString, text, &length, 10), PFA_E_NO_ERROR);
    EXPECT_EQ(length, 9);
}

} // namespace
