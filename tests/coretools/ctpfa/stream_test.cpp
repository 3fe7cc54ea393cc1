// Streams: one way to read and write on every kind of store, which version is opened, what is
// refused, and the conversion of written text.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfa/pfavers.h"
#include "coretools/ctpfa/pfawrite_convertor.h"
#include "examples/memory_location/memory_location.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/path_records.h"
#include "tests/support/scratch_tree.h"

#include <gtest/gtest.h>

namespace {

using names = std::vector<std::string>;

void expect_files_can_be_written(const std::string &root) {
    EXPECT_EQ(list(root), names());
    scoped_record file(root + "bolt.prt");
    ASSERT_EQ(pfa_fopen(file, PFA_NEXT_VERSION, "w"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_write_file(file, 5, "first"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_fprintf(file, " and %d", 2), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_close(file), PFA_E_NO_ERROR);

    EXPECT_EQ(pfa_fopen(file, PFA_NEXT_VERSION, "w"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_close(file), PFA_E_NO_ERROR);
    EXPECT_EQ(pfa_close(file), PFA_E_INACTIVE);
    EXPECT_EQ(pfa_fprintf(file, "closed"), PFA_E_INACTIVE);
    EXPECT_EQ(list(root), names({"bolt.prt.1", "bolt.prt.2"})) << "the cached listing is gone";
}

TEST(Streams, WorkOnFilesOfTheHost) {
    const scratch_tree tree;
    expect_files_can_be_written(tree.path);
    EXPECT_EQ(tree.content("bolt.prt.1"), "first and 2");
}

// The same through a location type that the layer knows by its registration alone.
TEST(Streams, WorkOnFilesInMemory) {
    register_memory_location();
    memory_directories["mem:/parts/"] = {};
    expect_files_can_be_written("mem:/parts/");
    scoped_record first("mem:/parts/bolt.prt.1");
    char block[16];
    int count = 0;
    EXPECT_EQ(pfa_fopen(first, PFA_OWN_VERSION, "r"), PFA_E_NO_ERROR);
    EXPECT_EQ(pfaloc_call_FLPPI(first, PfaReadFile, block, &count, int(sizeof block)),
              PFA_E_NO_ERROR);
    EXPECT_EQ(std::string(block, count), "first and 2");
    scoped_record parts("mem:/parts");
    EXPECT_EQ(parts->type, OBJ_TYPE_DIRECTORY)
        << "the location is asked whether a name is a directory";
    scoped_record up("mem:/parts/../parts/bolt.prt");
    EXPECT_EQ(location_of(up), "mem:/parts/");
}

TEST(Streams, FindTheHighestVersionAndTheNext) {
    constexpr int NONE = -1;
    const struct {
        const char *name;
        names files;
        const char *asked;
        int highest;
        int next;
    } rows[] = {
        {"several", {"a.prt.1", "a.prt.12", "a.prt.7"}, "a.prt", 12, 13},
        {"no version", {"a.prt"}, "a.prt", 0, 2},
        {"other names", {"a.prt.01", "a.prt.x", "a.prtx.3", "aa.prt.4"}, "a.prt", NONE, 1},
        {"out of range", {"a.prt.99999", "a.prt.-4"}, "a.prt", NONE, 1},
        {"the highest there is", {"a.prt.32767"}, "a.prt", 32767, 32768},
        {"stored in lower case", {"a.prt.3"}, "A.PRT", 3, 4},
        {"another case, another file", {"A.PRT.9", "a.prt.3"}, "a.prt", 3, 4},
        {"of these types it is not", {"A.IGS.9", "a.igs.3"}, "a.igs", 9, 10},
        {"nor of no type", {"README.2"}, "readme", 2, 3},
    };
    for (const auto &row : rows) {
        const scratch_tree tree;
        for (const std::string &file : row.files) {
            tree.file(file);
        }
        scoped_record record(tree.path + row.asked);
        int version = NONE;
        EXPECT_EQ(pfa_get_file_vers(record, PFA_LATEST_VERSION, &version),
                  row.highest == NONE ? PFA_E_NOT_FOUND : PFA_E_NO_ERROR)
            << row.name;
        EXPECT_EQ(version, row.highest) << row.name;
        EXPECT_EQ(pfa_get_file_vers(record, PFA_NEXT_VERSION, &version), PFA_E_NO_ERROR);
        EXPECT_EQ(version, row.next) << row.name;
    }
}

TEST(Streams, FailedOpenChangesNothing) {
    const scratch_tree tree;
    scoped_record file(tree.path + "a.prt"), last(tree.path + "c.prt.32767");
    last->location_type = NoLocation;
    EXPECT_EQ(pfa_fopen(last, PFA_OWN_VERSION, "w"), PFA_E_NO_ERROR);
    EXPECT_EQ(last->location_type, PfaStdFilesystem);
    EXPECT_EQ(pfa_fopen(last, PFA_OWN_VERSION, "w"), PFA_E_CANT_OPEN) << "it is open";

    const vek_file before = *file;
    EXPECT_EQ(pfa_fopen(file, PFA_NEXT_VERSION, "r"), PFA_E_CANT_OPEN);
    EXPECT_EQ(pfa_fopen(file, PFA_LATEST_VERSION, "r"), PFA_E_NOT_FOUND);
    EXPECT_TRUE(same_bytes(before, file));
    EXPECT_EQ(pfa_fopen(scoped_record(tree.path + "c.prt"), PFA_NEXT_VERSION, "w"), PFA_E_CANT_OPEN)
        << "no 16 bits";
    EXPECT_EQ(pfa_fopen(scoped_record(tree.path + "gone/a.prt"), PFA_LATEST_VERSION, "r"),
              PFA_E_NO_ACCESS);
    EXPECT_EQ(pfa_fopen(scoped_record("/" + std::string(255, 'd') + "/a"), PFA_LATEST_VERSION, "r"),
              PFA_E_INVALID_INPUT)
        << "no room for DIR";
    EXPECT_EQ(list(tree.path), names({"c.prt.32767"}));
}

bool forced_to_store = false;

int note_sync(vek_file *, void **, const void *, int, int sync) {
    forced_to_store = sync != 0;
    return PFA_E_NO_ERROR;
}

TEST(Streams, WritesOfAMountedFileAreForcedToTheStore) {
    scoped_record file;
    pfa_loc_register_setup(PfaUNC);
    pfa_loc_method_register(PfaUNC, PfaWriteFile, note_sync);
    pfa_loc_register_setup(NoLocation);
    file->location_type = PfaUNC;
    file->flags |= PFA_F_OPEN; // as after pfa_fopen
    EXPECT_EQ(pfa_write_file(file, 1, "x"), PFA_E_NO_ERROR);
    EXPECT_FALSE(forced_to_store);
    pfa_set_mounted(file);
    EXPECT_EQ(pfa_write_file(file, 1, "x"), PFA_E_NO_ERROR);
    EXPECT_TRUE(forced_to_store);
}

// A directory that could not be listed for lack of memory counted as one that may not be read.
TEST(Streams, OutOfMemoryInTheSearchIsItsOwnResult) {
    expect_in_own_process([] {
        const scratch_tree tree;
        scoped_record record(tree.path + "a.prt");
        pfa_status result = PFA_E_OUT_OF_MEMORY;
        int version = 0;
        for (long allocation = 0; result == PFA_E_OUT_OF_MEMORY; ++allocation) {
            fail_allocation(allocation, true);
            result = pfa_get_file_vers(record, PFA_NEXT_VERSION, &version);
            fail_allocation(NO_FAILURE, false);
        }
        EXPECT_EQ(result, PFA_E_NO_ERROR);
        EXPECT_EQ(version, 1);
    });
}

// 2000 times "-", a kanji, a half-width letter and another kanji, many chunks long; at the end a
// half-width letter and half a character.
TEST(Streams, WriteTheCodesOfTheEncodeWord) {
    const std::string text = "-\xb0\xa1\x8e\xb1\xf4\xa6", end = "\x8e\xb1\xb0";
    const struct {
        pfa_encode encode;
        std::string text;
        std::string end;
        pfa_status status;
    } rows[] = {
        {PFA_ENCODE_NONE, text, end, PFA_E_NO_ERROR},
        {PFA_ENCODE_WIDE, {"-\xb0\xa1\0\xb1\xf4\xa6", 7}, {"\0\xb1", 2}, PFA_E_INVALID_INPUT},
        {PFA_ENCODE_JIS, "-0!\xb1t&", "\xb1", PFA_E_INVALID_INPUT},
        {PFA_ENCODE_SJIS, "-\x88\x9f\xb1\xea\xa4", "\xb1", PFA_E_INVALID_INPUT},
    };
    for (const auto &row : rows) {
        std::string written, expected;
        for (int i = 0; i < 2000; ++i) {
            written += text;
            expected += row.text;
        }
        const scratch_tree tree;
        scoped_record record(tree.path + "a.txt");
        ASSERT_EQ(pfa_fopen(record, PFA_OWN_VERSION, "w"), PFA_E_NO_ERROR);
        ASSERT_EQ(pfa_put_encode(record, row.encode), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_fprintf(record, "%s", (written + end).c_str()), row.status) << row.encode;
        EXPECT_EQ(pfa_close(record), PFA_E_NO_ERROR);
        EXPECT_EQ(tree.content("a.txt"), expected + row.end) << row.encode;
    }
}

} // namespace
