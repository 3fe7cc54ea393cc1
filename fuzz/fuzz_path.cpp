// Any text as a name: the record it is parsed into is well formed, and the name written from the
// record parses to the same name again.
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "fuzz/fuzz_check.h"

#include <cstring>
#include <string>

namespace {

void check_record(const vek_file *record) {
    FUZZ_CHECK(record->magic == PFA_MAGIC);
    int end = 0;
    for (const pfa_bounds &bounds : record->bounds) {
        FUZZ_CHECK(bounds.start == end && bounds.end >= bounds.start);
        end = bounds.end;
    }
    FUZZ_CHECK(end < PFA_PATH_SIZE && std::strlen(record->text) == static_cast<size_t>(end));
    FUZZ_CHECK(pfa_component_length(record, PFA_RESERVED) == 0);
}

// Brings the record into standard form too, unless it has a host: that would be looked up on the
// network.
int parse(vek_file *record, const char *text) {
    const int status = parse_to_pfa(record, 1, text);
    if (status != PFA_E_NO_ERROR || pfa_has_component(record, PFA_HOST)) {
        return status;
    }
    return pfa_parse_to_vek_file_private(record, nullptr, text, PFA_NO_DIRECTORY);
}

// True if the record has a host or a device. These may hold any character, and the host form does
// not mark where they end: the name may be read back as another place.
bool names_a_place(const vek_file *record) {
    return pfa_has_component(record, PFA_HOST) != 0 || pfa_has_component(record, PFA_DEVICE) != 0;
}

// A full name that was read back and written again is itself.
void check_full_name(vek_file *record, vek_file *again) {
    char first[PFA_PATH_SIZE];
    char second[PFA_PATH_SIZE];
    char third[PFA_PATH_SIZE];
    if (pfa_get_full_name(record, first) != 0 || std::strpbrk(first, "$~") != nullptr ||
        parse(again, first) != 0) {
        return;
    }
    check_record(again);
    if (names_a_place(record) || names_a_place(again)) {
        return;
    }
    if (pfa_get_full_name(again, second) != 0 || parse(again, second) != 0) {
        return;
    }
    if (pfa_get_full_name(again, third) == 0) {
        FUZZ_CHECK(std::strcmp(second, third) == 0);
    }
}

void check_written_parts(vek_file *record) {
    char out[PFA_PATH_SIZE];
    for (int include = 0; include < 64; ++include) {
        (void)pfa_get_file_name(record, include, out);
        FUZZ_CHECK(std::strlen(out) < sizeof out);
    }
    (void)pfa_get_path(record, out);
    FUZZ_CHECK(out[0] == '\0' || out[std::strlen(out) - 1] == '/');
    (void)pfa_get_neutral_location(record, out, nullptr);
    FUZZ_CHECK(std::strlen(out) < sizeof out);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size) {
    static vek_file *record = nullptr;
    static vek_file *again = nullptr;
    (void)pfa_recycle_vek_file(&record);
    (void)pfa_recycle_vek_file(&again);
    FUZZ_CHECK(record != nullptr && again != nullptr);

    const std::string text(reinterpret_cast<const char *>(data), size);
    const int status = parse(record, text.c_str());
    check_record(record);
    if (status != PFA_E_NO_ERROR) {
        return 0;
    }
    check_written_parts(record);
    check_full_name(record, again);
    if (pfa_put_path(record, text.c_str()) == PFA_E_NO_ERROR) {
        check_record(record);
        check_written_parts(record);
    }
    return 0;
}
