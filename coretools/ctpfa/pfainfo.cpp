// Predicates of a path record: validity, and whether the file is on this host.
#include "coretools/ctpfa/pfainfo.h"

#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctsyscall/hostname.h"

#include <cstdio>

#include <netdb.h>
#include <strings.h>

namespace {

constexpr int HOST_NAME_SIZE = 64;
constexpr int OFFICIAL_NAME_SIZE = 1025;

// This machine's name, empty when the system doesn't give it.
const char *own_name() {
    static char name[HOST_NAME_SIZE];
    static bool known = false;
    if (!known) {
        known = true;
        if (vek_get_hostname(name, HOST_NAME_SIZE) == 0) {
            name[0] = '\0';
        }
        name[HOST_NAME_SIZE - 1] = '\0';
    }
    return name;
}

// The name under which the resolver knows this machine, empty when it does not. Copied, because the
// next call overwrites what the resolver returned.
const char *own_official_name() {
    static char name[OFFICIAL_NAME_SIZE];
    static bool known = false;
    if (!known) {
        known = true;
        const hostent *entry = gethostbyname(own_name());
        if (entry != nullptr && entry->h_name != nullptr) {
            std::snprintf(name, sizeof name, "%s", entry->h_name);
        }
    }
    return name;
}

bool is_this_host(const char *host) {
    const char *own = own_name();
    if (own[0] != '\0' && strcasecmp(host, own) == 0) {
        return true;
    }
    const char *official = own_official_name();
    if (official[0] == '\0') {
        return false;
    }
    const hostent *entry = gethostbyname(host);
    return entry != nullptr && entry->h_name != nullptr && strcasecmp(entry->h_name, official) == 0;
}

} // namespace

int pfa_is_local(const vek_file *record) {
    if (pfa_is_valid(record) == 0) {
        return -1;
    }
    // What another type keeps as a host need not be one of the network, and no method says whether
    // it is: a location type decides in "PfaFopen" and "PfaDirOpen" what it can reach.
    if (record->location_type != PfaStdFilesystem) {
        return 1;
    }
    char host[PFA_HOST_SIZE];
    if (pfa_get_host(record, host) != PFA_E_NO_ERROR || host[0] == '\0') {
        return 1;
    }
    return is_this_host(host) ? 1 : 0;
}

int pfa_set_mounted(vek_file *record) {
    if (pfa_is_valid(record) == 0) {
        return 0;
    }
    record->flags |= PFA_F_MOUNTED;
    return 1;
}
