// Loads the current and the home directory.
#include "coretools/ctpfa/pfacurdir.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"

#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace {

vek_file *Cur_Dir = nullptr;
vek_file home_directory = {}; // valid once its magic number is set

bool make_cur_dir() {
    return Cur_Dir != nullptr || pfa_alloc_vek_file(&Cur_Dir) == PFA_E_NO_ERROR;
}

// The working directory with a '/' at its end, which makes it parse as a directory; the empty text
// if it is unknown or does not fit.
bounded_text<PFA_PATH_SIZE> working_directory() {
    bounded_text<PFA_PATH_SIZE> text;
    if (getcwd(text.data(), PFA_PATH_SIZE) == nullptr) {
        text.clear();
        return text;
    }
    text.set_size(std::strlen(text.c_str()));
    if (!append_closing_slash(&text)) {
        text.clear();
    }
    return text;
}

pfa_status load_home_directory() {
    // A HOME that begins with '~' would ask for itself.
    static bool loading = false;
    const char *home = std::getenv("HOME");
    if (home == nullptr || loading) {
        return PFA_E_ERROR;
    }
    loading = true;
    vek_file loaded;
    pfa_init_vek_file(&loaded);
    pfa_status status = pfa_parse_to_vek_file(&loaded, home);
    if (status == PFA_E_NO_ERROR) {
        status = pfa_put_obj_type(&loaded, OBJ_TYPE_DIRECTORY);
    }
    loading = false;
    if (status != PFA_E_NO_ERROR) {
        return status == PFA_E_OUT_OF_MEMORY ? status : PFA_E_ERROR;
    }
    home_directory = loaded;
    return PFA_E_NO_ERROR;
}

} // namespace

vek_file *pfa_get_cur_dir() {
    if (Cur_Dir == nullptr) {
        load_pfa_cur_dir(nullptr);
    }
    return Cur_Dir;
}

vek_file *get_Cur_Dir() {
    return Cur_Dir;
}

void load_pfa_cur_dir(const vek_file *directory) {
    if (!make_cur_dir()) {
        return;
    }
    (void)pfa_close(Cur_Dir); // a listing open on it would be lost with its path
    if (directory != nullptr && pfa_path_is_absolute(directory)) {
        (void)pfa_copy_vek_file(directory, Cur_Dir);
        return;
    }
    const auto text = working_directory();
    // A name such as "a\b" or "^" reads as another directory; better none than that one.
    if (parse_to_pfa(Cur_Dir, 1, text.c_str()) != PFA_E_NO_ERROR ||
        !pfa_is_named(Cur_Dir, text.c_str())) {
        (void)parse_to_pfa(Cur_Dir, 1, "");
    }
    (void)pfa_put_version(Cur_Dir, 0);
}

pfa_status pfa_get_home_dir(vek_file *out) {
    if (!pfa_is_valid(&home_directory)) {
        const pfa_status status = load_home_directory();
        if (status != PFA_E_NO_ERROR) {
            return status;
        }
    }
    return pfa_copy_vek_file(&home_directory, out);
}
