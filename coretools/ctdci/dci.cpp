// System calls that create, rename or remove files, each followed by a notice to the directory
// cache. A notice keeps the errno of the call.
#include "coretools/ctdci/dci.h"

#include "coretools/ctmisc/report_services_internal.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfastream.h"

#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Depth of nested notices of dci_fopen. A notice may write a report, which opens its file, std.out,
// through dci_fopen.
int fopen_notices = 0;

} // namespace

std::FILE *dci_fopen(const char *name, const char *mode) {
    std::FILE *stream = std::fopen(name, mode);
    if (mode_reads(mode)) {
        return stream;
    }
    ++fopen_notices;
    if (fopen_notices == 1 || std::strcmp(name, "std.out") != 0) {
        pfa_file_name_update_dir_cache(name);
    }
    --fopen_notices;
    return stream;
}

int dci_open(const char *name, int flags, mode_t mode) {
    const int descriptor = open(name, flags, mode);
    if ((flags & O_CREAT) != 0) {
        pfa_file_name_update_dir_cache(name);
    }
    return descriptor;
}

int dci_rename(const char *from, const char *to) {
    const int result = std::rename(from, to);
    pfa_file_name_update_dir_cache(from);
    pfa_file_name_update_dir_cache(to);
    return result;
}

int dci_unlink(const char *name) {
    const int result = unlink(name);
    pfa_file_name_update_dir_cache(name);
    return result;
}

int dci_mkdir(const char *name, mode_t mode) {
    const int result = mkdir(name, mode);
    pfa_file_name_update_dir_cache(name);
    return result;
}

int dci_rmdir(const char *name) {
    const int result = rmdir(name);
    pfa_file_name_update_dir_cache(name);
    return result;
}
