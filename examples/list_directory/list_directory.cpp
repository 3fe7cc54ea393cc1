// Lists a directory through the file access layer: object type code and name of each entry.
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"

#include <cstdio>

int main(int argc, char **argv) {
    const char *name = argc > 1 ? argv[1] : ".";
    vek_file *directory = nullptr;
    vek_file *entry = nullptr;
    if (pfa_alloc_vek_file(&directory) != PFA_E_NO_ERROR ||
        pfa_alloc_vek_file(&entry) != PFA_E_NO_ERROR) {
        return 1;
    }
    // The last argument says that the name is a directory, which need not be looked up.
    pfa_status status = pfa_parse_to_vek_file_private(directory, nullptr, name, PFA_DIRECTORY);
    if (status == PFA_E_NO_ERROR) {
        status = pfa_open_dir(directory);
    }
    if (status != PFA_E_NO_ERROR) {
        std::fprintf(stderr, "%s: %s\n", name, pfa_error_to_string(status));
        return 1;
    }
    while (pfa_read_dir(directory, entry) == PFA_E_NO_ERROR) {
        char text[PFA_PATH_SIZE];
        if (pfa_to_standard_form(entry) == PFA_E_NO_ERROR &&
            pfa_get_file_name(entry, PFA_NAME_AND_VERSION, text) == PFA_E_NO_ERROR) {
            std::printf("%4d  %s\n", pfa_get_obj_type(entry), text);
        }
    }
    // The listing goes back to the layer; records are closed before they are freed.
    (void)pfa_close(directory);
    (void)pfa_free_vek_file(&directory);
    (void)pfa_free_vek_file(&entry);
}
