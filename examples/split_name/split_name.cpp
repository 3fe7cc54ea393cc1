// Shows how the file access layer splits each name given, and how it writes the name back.
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"

#include <cstdio>

namespace {

struct part {
    int component;
    const char *label;
};
constexpr part PARTS[] = {{PFA_HOST, "host"},
                          {PFA_DEVICE, "device"},
                          {PFA_PATH, "path"},
                          {PFA_NAME, "name"},
                          {PFA_EXTENSION, "extension"}};

void show(vek_file *record, const char *text) {
    std::printf("%s\n", text);
    const pfa_status status = pfa_parse_to_vek_file(record, text);
    if (status != PFA_E_NO_ERROR) {
        std::printf("    %s\n", pfa_error_to_string(status));
        return;
    }
    char out[PFA_PATH_SIZE];
    for (const part &each : PARTS) {
        if (pfa_get_component(record, each.component, out, sizeof out) == PFA_E_NO_ERROR &&
            out[0] != '\0') {
            std::printf("    %s %s", each.label, out);
        }
    }
    std::printf("    version %d    type %d\n", record->version, pfa_get_obj_type(record));
    if (pfa_get_full_name(record, out) == PFA_E_NO_ERROR) {
        std::printf("    written %s", out);
    }
    if (pfa_get_neutral_location(record, out, nullptr) == PFA_E_NO_ERROR && out[0] != '\0') {
        std::printf("    neutral location %s", out);
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char **argv) {
    vek_file *record = nullptr;
    if (pfa_alloc_vek_file(&record) != PFA_E_NO_ERROR) {
        return 1;
    }
    for (int i = 1; i < argc; ++i) {
        show(record, argv[i]);
    }
    return pfa_free_vek_file(&record) == PFA_E_NO_ERROR ? 0 : 1;
}
