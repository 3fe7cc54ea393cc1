// The name of this host.
#include "coretools/ctsyscall/hostname.h"

#include <cstddef>

#include <unistd.h>

int vek_get_hostname(char *buffer, int size) {
    if (buffer == nullptr || size < 1) {
        return 0;
    }
    if (gethostname(buffer, static_cast<std::size_t>(size)) != 0) {
        buffer[0] = '\0';
        return 0;
    }
    // A name that just fits may come without its end.
    buffer[size - 1] = '\0';
    return 1;
}
