// Whether a host path names a directory.
#include "coretools/ctpfafs/vek_is_dir.h"

#include <cerrno>

#include <sys/stat.h>

int vek_kind_of(const char *path) {
    struct stat status;
    if (stat(path, &status) != 0) {
        return -errno;
    }
    return S_ISDIR(status.st_mode) ? PFA_DIRECTORY : PFA_NO_DIRECTORY;
}

int vek_is_dir(const char *path) {
    return vek_kind_of(path) == PFA_DIRECTORY ? 1 : 0;
}
