// The tool's main routine: command line, environment, exit status.
#include "apps/lib_ctg/ctgmain.h"

#include "apps/lib_ctg/ctgcore.h"
#include "apps/lib_ctg/ctgmsg.h"
#include "apps/lib_ctg/ctgversion.h"
#include "coretools/ctpfa/vek_file.h"
#include "coretools/ctplatform/heap.h"
#include "coretools/genutil1/text_copy.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>

namespace {

// Enough for the blocks of the largest library.
constexpr std::size_t HEAP_RESERVE = std::size_t{96} << 20;

// A process may be started with standard output closed or with nobody reading it. The numbers 0 to
// 2 are kept in use, so that no message can end up in a file that is opened later under one of
// them, and neither a broken pipe nor a limit on the size of files must end the run before the
// catalog is complete.
void secure_standard_streams() {
    for (int fd = 0; fd <= 2; ++fd) {
        if (fcntl(fd, F_GETFD) == -1) {
            open("/dev/null", O_RDWR);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace

const char *get_internal_version() {
    static char version[16];
    if (version[0] == '\0') {
        std::snprintf(version, sizeof version, "%s", INTERNAL_VERSION);
    }
    return version;
}

void cxx_main(int argc, char **argv) {
    secure_standard_streams();
    if (argc >= 2 && std::strcmp(argv[1], "-verify") == 0) {
        std::printf("vek_build_librar_ctg %s\n", get_internal_version());
        std::exit(0);
    }
    const char *value = std::getenv("VEK_LIBRARY_DIR");
    if (value == nullptr) {
        report_root_not_set();
        std::exit(1);
    }
    char root[PFA_PATH_SIZE];
    if (strcpy_limit(value, PFA_PATH_SIZE, root) != 0) {
        report_root_too_long();
        std::exit(0);
    }
    ctp_reserve_heap(HEAP_RESERVE);
    std::exit(make_catalog_file(root));
}
