// Predicates of a path record: validity, and whether the file is on this host.
#include "coretools/ctpfa/pfainfo.h"

#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctsyscall/hostname.h"

#include <cstdio>

#include <netdb.h>
#include <strings.h>

namespace {

// This machine's name, empty if the system has none. Looked up once.
const char *own_name() {
    static char name[64];
    static const bool known = vek_get_hostname(name, sizeof name) != 0;
    return known ? name : "";
}

// The name under which the resolver knows a host, null if it does not. The next call overwrites it.
const char *official_name(const char *host) {
    const hostent *entry = gethostbyname(host);
    return entry != nullptr ? entry->h_name : nullptr;
}

// The same of this machine, empty if the resolver does not know it. Looked up once.
const char *own_official_name() {
    static char copy[1025];
    static const bool known = [] {
        const char *name = official_name(own_name());
        return std::snprintf(copy, sizeof copy, "%s", name != nullptr ? name : "") > 0;
    }();
    return known ? copy : "";
}

bool is_this_host(const char *host) {
    const char *own = own_name();
    if (own[0] != '\0' && strcasecmp(host, own) == 0) {
        return true;
    }
    const char *own_official = own_official_name();
    const char *official = own_official[0] != '\0' ? official_name(host) : nullptr;
    return official != nullptr && strcasecmp(official, own_official) == 0;
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
