// Whether a host path names a directory.
#include "coretools/ctpfafs/vek_is_dir.h"

#include <cerrno>

#include <sys/stat.h>

int vek_is_dir(const char *path) {
    struct stat status;
    if (stat(path, &status) != 0) {
        return 0;
    }
    if (S_ISDIR(status.st_mode)) {
        return 1;
    }
    errno = 0;
    return 0;
}
