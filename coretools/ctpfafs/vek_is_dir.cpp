// Whether a host path names a directory.
#include "coretools/ctpfafs/vek_is_dir.h"

#include <sys/stat.h>

int vek_is_dir(const char *path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}
