// The stdio location: the process's standard streams by name.
#include "coretools/ctpfafs/pfa_stdio.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfafs/pfafs_internal.h"

#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char PREFIX[] = "stdio://";
constexpr int PREFIX_LENGTH = sizeof PREFIX - 1;

// Where the prefix is stored. The location has no device, so "PfaDeviceIdx" is not offered.
constexpr int PREFIX_COMPONENT = PFA_DEVICE;

// An open directory. `name` is that of its one entry, null once it has been read; the text is the
// caller's and must stay until then.
struct pattern_listing {
    static constexpr pfafs_kind KIND = pfafs_kind::pattern;
    pfafs_kind kind;
    const char *name;
};

// The stream of a name, null for any other name. The three are no constants.
std::FILE *stream_named(const char *name) {
    return std::strcmp(name, "in") == 0    ? stdin
           : std::strcmp(name, "out") == 0 ? stdout
           : std::strcmp(name, "err") == 0 ? stderr
                                           : nullptr;
}

int pfa_stdio_claim_location(vek_file *record, const char *name, const char *, std::int16_t *rest) {
    if (name == nullptr || std::strncmp(name, PREFIX, PREFIX_LENGTH) != 0 ||
        stream_named(name + PREFIX_LENGTH) == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (pfa_put_component(record, PREFIX_COMPONENT, PREFIX) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_INPUT;
    }
    if (rest != nullptr) {
        *rest = PREFIX_LENGTH;
    }
    return PFA_E_NO_ERROR;
}

int pfa_stdio_location(vek_file *record, char *out, std::int16_t *length, int capacity) {
    return pfa_append_component(record, PREFIX_COMPONENT, out, length, capacity);
}

// Lends a standard stream to the record.
pfa_status lend_stream(vek_file *record, void **data, std::FILE *stream) {
    const pfa_status openable = pfafs_check_openable(record, data);
    if (openable != PFA_E_NO_ERROR) {
        return openable;
    }
    pfafs_stream *block = pfafs_alloc_stream();
    if (block == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    block->stream = stream;
    *data = block;
    return PFA_E_NO_ERROR;
}

// Standard input opens for reading, the others for writing.
int pfa_stdio_fopen(vek_file *record, void **data, char *, const char *mode, int) {
    std::FILE *stream;
    const pfa_status found = pfa_stdio_get_stream(record, &stream);
    if (found != PFA_E_NO_ERROR) {
        return found;
    }
    if (mode == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    return mode_reads(mode) == (stream == stdin) ? lend_stream(record, data, stream)
                                                 : PFA_E_CANT_OPEN;
}

int pfa_stdio_open(vek_file *record, void **data, char *, int flags, int, int) {
    std::FILE *stream;
    const pfa_status found = pfa_stdio_get_stream(record, &stream);
    if (found != PFA_E_NO_ERROR) {
        return found;
    }
    const bool writes_input = (flags & O_WRONLY) != 0 && stream == stdin;
    return writes_input ? PFA_E_CANT_OPEN : lend_stream(record, data, stream);
}

// Releases the block of either kind, whatever the record has become since the open. Neither kind
// owns what it points to.
pfa_status release_block(void **data) {
    if (pfafs_block<pfafs_stream>(data) == nullptr &&
        pfafs_block<pattern_listing>(data) == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    rlsmem(*data);
    *data = nullptr;
    return PFA_E_NO_ERROR;
}

int pfa_stdio_never_close(vek_file *record, void **data) {
    return pfa_is_dir(record) ? PFA_E_INVALID_INPUT : release_block(data);
}

int pfa_stdio_access(vek_file *record, int mode, int) {
    std::FILE *stream;
    const pfa_status found = pfa_stdio_get_stream(record, &stream);
    if (found != PFA_E_NO_ERROR) {
        return found;
    }
    switch (mode) {
    case W_OK:
        return stream != stdin;
    case R_OK:
        return stream == stdin;
    default:
        return 0;
    }
}

int pfa_stdio_dir_can_open_subset(vek_file *) {
    return 0;
}

// A directory lists exactly one name, the pattern. Without a pattern nothing is opened.
int pfa_stdio_open_dir(vek_file *record, void **data, const char *, const char *name) {
    if (data == nullptr || !pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    if (*data == nullptr && name != nullptr) {
        auto *listing = static_cast<pattern_listing *>(getmem(sizeof(pattern_listing)));
        if (listing == nullptr) {
            return PFA_E_OUT_OF_MEMORY;
        }
        listing->kind = pattern_listing::KIND;
        *data = listing;
    }
    if (*data != nullptr) {
        pattern_listing *listing = pfafs_block<pattern_listing>(data);
        if (listing == nullptr) {
            return PFA_E_INVALID_INPUT;
        }
        listing->name = name;
    }
    return PFA_E_NO_ERROR;
}

pfa_status put_entry(vek_file *directory, const char *name, vek_file *entry) {
    const pfa_status copied = pfa_copy_vek_file(directory, entry);
    if (copied != PFA_E_NO_ERROR) {
        return copied;
    }
    // The copy is of a directory, the entry is a file.
    entry->type = OBJ_TYPE_NOT_YET;
    const pfa_status cleared = pfa_put_component(entry, PFA_EXTENSION, "");
    return cleared != PFA_E_NO_ERROR ? cleared : pfa_put_name(entry, name);
}

int pfa_stdio_dir_read_next(vek_file *directory, void **data, vek_file *entry,
                            const pfa_dir_filter *filter, void *argument, int with_kind) {
    if (data == nullptr || !pfa_is_dir(directory)) {
        return PFA_E_INVALID_INPUT;
    }
    pattern_listing *listing = pfafs_block<pattern_listing>(data);
    if (listing == nullptr || listing->name == nullptr) {
        return PFA_E_QUIT;
    }
    const char *name = listing->name;
    listing->name = nullptr;
    if (!pfa_filter_takes(filter, directory, name, with_kind != 0, PFA_NO_DIRECTORY, argument)) {
        return PFA_E_QUIT;
    }
    return pfa_is_valid(entry) ? put_entry(directory, name, entry) : PFA_E_INVALID_INPUT;
}

int pfa_stdio_close_dir(vek_file *record, void **data) {
    if (data == nullptr || !pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    (void)release_block(data);
    *data = nullptr;
    return PFA_E_NO_ERROR;
}

} // namespace

pfa_status pfa_stdio_get_stream(const vek_file *record, std::FILE **stream) {
    char name[PFA_PATH_SIZE];
    if (pfa_get_component(record, PFA_NAME, name, PFA_PATH_SIZE) != PFA_E_NO_ERROR) {
        return PFA_E_NOT_VALID;
    }
    std::FILE *named = stream_named(name);
    if (named == nullptr) {
        return PFA_E_NOT_VALID;
    }
    *stream = named;
    return PFA_E_NO_ERROR;
}

void pfa_stdio_register() {
    pfa_loc_register_setup(PfaStdio);
    pfa_loc_method_register(PfaStdio, PfaClaimLocation, pfa_stdio_claim_location);
    pfa_loc_method_register(PfaStdio, PfaGetLocationString, pfa_stdio_location);
    pfa_loc_method_register(PfaStdio, PfaGetNeutralLocation, pfa_stdio_location);
    pfa_loc_method_register(PfaStdio, PfaFopen, pfa_stdio_fopen);
    pfa_loc_method_register(PfaStdio, PfaOpen, pfa_stdio_open);
    pfa_loc_method_register(PfaStdio, PfaCloseFile, pfa_stdio_never_close);
    pfa_loc_method_register(PfaStdio, PfaAccess, pfa_stdio_access);
    pfa_loc_method_register(PfaStdio, PfaDirOpen, pfa_stdio_open_dir);
    pfa_loc_method_register(PfaStdio, PfaDirReadNext, pfa_stdio_dir_read_next);
    pfa_loc_method_register(PfaStdio, PfaDirClose, pfa_stdio_close_dir);
    pfa_loc_method_register(PfaStdio, PfaDirCanOpenSubset, pfa_stdio_dir_can_open_subset);
    // Reading and writing use the stream block, whichever type has opened it.
    const pfa_method inherited[] = {PfaFgetc, PfaReadFile,       PfaFgets,    PfaWriteFile,
                                    PfaFputs, PfaCopyThruCookie, PfaFlushFile};
    for (const pfa_method method : inherited) {
        pfa_loc_type_inherit_method(PfaStdio, PfaStdFilesystem, method);
    }
    pfa_loc_register_setup(NoLocation);
}
