// Opening, closing and positioning files of the standard filesystem.
#include "coretools/ctdci/dci.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfamem_internal.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "coretools/ctplatform/file_system.h"
#include "coretools/ctwcfun/vek_vsprintf.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

// From this position on a seek to where the stream already is is not made: it would throw away the
// buffer, which a reader far into a file pays for.
constexpr int FAR_POSITION = 5000000;

// Version 1 of a file may be on disk without a version. Cuts the ".1" from the name. False if the
// name cannot be that of such a file.
bool cut_first_version(const vek_file *record, int version, char *name) {
    constexpr char SUFFIX[] = ".1";
    constexpr std::size_t SUFFIX_LENGTH = sizeof SUFFIX - 1;
    const std::size_t length = std::strlen(name);
    if (version != 1 || pfa_get_obj_type(record) == OBJ_TYPE_NO_MEMBER || length <= SUFFIX_LENGTH ||
        std::strcmp(name + length - SUFFIX_LENGTH, SUFFIX) != 0) {
        return false;
    }
    name[length - SUFFIX_LENGTH] = '\0';
    return true;
}

// Opens the file of a record with open_file(name, block), which stores the open file in the block
// and returns false, with errno, if it could not. may_fall_back: if version 1 is missing, the
// file without version may be opened in its place.
template <class Open>
pfa_status open_stream(vek_file *record, void **data, char *name, int version, bool may_fall_back,
                       pfafs_name_form form, Open open_file) {
    const pfa_status openable = pfafs_check_openable(record, data);
    if (openable != PFA_E_NO_ERROR) {
        return openable;
    }
    if (name == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (pfafs_host_name(record, form, name) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_NAME;
    }
    // Allocate before opening: running out of memory must not truncate the file.
    pfafs_stream *block = pfafs_alloc_stream();
    if (block == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    bool opened = open_file(name, block);
    if (!opened && errno == ENOENT && may_fall_back && cut_first_version(record, version, name)) {
        opened = open_file(name, block);
        if (opened) {
            (void)pfa_put_version(record, 0);
        }
    }
    if (!opened) {
        const pfa_status result = errno == EMFILE ? PFA_E_TOO_MANY_OPEN : PFA_E_ERROR;
        relmem(&block);
        return result;
    }
    *data = block;
    if (ctp_is_network_path(name)) {
        pfa_set_mounted(record);
    }
    return PFA_E_NO_ERROR;
}

int pfafs_fopen(vek_file *record, void **data, char *name, const char *mode, int version) {
    return pfafs_fopen_low(record, data, name, mode, version, pfafs_name_form::file_name);
}

int pfafs_open(vek_file *record, void **data, char *name, int flags, int mode, int version) {
    const bool may_fall_back = (flags & (O_WRONLY | O_RDWR)) == 0;
    const auto open_file = [flags, mode](const char *host_name, pfafs_stream *block) {
        block->fid = dci_open(host_name, flags, static_cast<mode_t>(mode));
        return block->fid >= 0;
    };
    return open_stream(record, data, name, version, may_fall_back, pfafs_name_form::file_name,
                       open_file);
}

// A record that became a file while a directory was open on it still holds the listing.
int pfafs_close(vek_file *record, void **data) {
    if (pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    const pfa_status result = pfafs_close_stream(data);
    return result == PFA_E_INVALID_INPUT ? pfafs_close_listing(data) : result;
}

// A descriptor has no buffer to set.
int pfafs_setbuf(vek_file *record, void **data, char *buffer) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (block->stream != nullptr) {
        std::setbuf(block->stream, buffer);
    }
    return PFA_E_NO_ERROR;
}

off_t position_of(const pfafs_stream &file) {
    return file.stream != nullptr ? ftello(file.stream) : lseek(file.fid, 0, SEEK_CUR);
}

pfa_status seek(const pfafs_stream &file, off_t offset, int whence) {
    const bool failed = file.stream != nullptr ? fseeko(file.stream, offset, whence) != 0
                                               : lseek(file.fid, offset, whence) < 0;
    return failed ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

// Fails with PFA_E_ERROR if an int cannot hold the position: cut, it would lead to the wrong place.
int pfafs_get_file_position(vek_file *record, void **data, int *position) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr || position == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    *position = 0;
    const off_t at = position_of(*block);
    if (at > INT_MAX) {
        return PFA_E_ERROR;
    }
    *position = static_cast<int>(at);
    return block->stream == nullptr && at < 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

int pfafs_set_file_position(vek_file *record, void **data, const int *position) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr || position == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (*position > FAR_POSITION && position_of(*block) == *position) {
        return PFA_E_NO_ERROR;
    }
    return seek(*block, *position, SEEK_SET);
}

// A buffered stream that cannot be rewound does not fail.
int pfafs_rewind_file(vek_file *record, void **data) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (block->stream == nullptr) {
        return seek(*block, 0, SEEK_SET);
    }
    std::rewind(block->stream);
    return PFA_E_NO_ERROR;
}

int pfafs_unwind_file(vek_file *record, void **data) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    return block != nullptr ? seek(*block, 0, SEEK_END) : PFA_E_INVALID_INPUT;
}

// Moves a buffered stream by `offset` bytes; a failure of the host is ignored.
int pfafs_fseek(vek_file *record, void **data, const void *, int offset, int, int) {
    pfafs_stream *block = pfafs_stream_of(record, data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (block->stream == nullptr) {
        dbg_err_crash("pfafs_fseek", "NULL fp");
        return PFA_E_ERROR;
    }
    std::fseek(block->stream, offset, SEEK_CUR);
    return PFA_E_NO_ERROR;
}

int pfafs_dbg_show_stream(vek_file *record, void **data) {
    const pfafs_stream *block = pfafs_stream_of(record, data);
    if (block != nullptr) {
        vek_printf("fid:  %d\n", block->fid);
        vek_printf("stream:  %x\n", pfa_trace_address(block->stream));
    }
    return PFA_E_NO_ERROR;
}

} // namespace

pfafs_stream *pfafs_alloc_stream() {
    pfafs_stream *block = static_cast<pfafs_stream *>(getmem(sizeof(pfafs_stream)));
    if (block != nullptr) {
        block->kind = pfafs_stream::KIND;
        block->fid = -1;
        block->stream = nullptr;
    }
    return block;
}

pfafs_stream *pfafs_stream_of(const vek_file *record, void *const *data) {
    return pfa_is_dir(record) ? nullptr : pfafs_block<pfafs_stream>(data);
}

pfa_status pfafs_close_stream(void **data) {
    pfafs_stream *block = pfafs_block<pfafs_stream>(data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    const int failed = block->fid == -1 ? std::fclose(block->stream) : close(block->fid);
    relmem(&block);
    *data = nullptr;
    return failed != 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

pfa_status pfafs_check_openable(const vek_file *record, void *const *data) {
    if (data == nullptr || pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    return *data != nullptr ? PFA_E_CANT_OPEN : PFA_E_NO_ERROR;
}

pfa_status pfafs_host_name(vek_file *record, pfafs_name_form form, char *out) {
    out[0] = '\0';
    return form == pfafs_name_form::file_name ? pfa_get_file_name(record, PFA_OS_NAME, out)
                                              : pfa_get_full_name(record, out);
}

int pfafs_fopen_low(vek_file *record, void **data, char *name, const char *mode, int version,
                    pfafs_name_form form) {
    if (mode == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    const bool may_fall_back = std::strchr(mode, 'w') == nullptr;
    const auto open_file = [mode](const char *host_name, pfafs_stream *block) {
        block->stream = dci_fopen(host_name, mode);
        return block->stream != nullptr;
    };
    return open_stream(record, data, name, version, may_fall_back, form, open_file);
}

void pfafs_register_stream_functions() {
    pfa_loc_method_register(PfaStdFilesystem, PfaDbgShowStream, pfafs_dbg_show_stream);
    pfa_loc_method_register(PfaStdFilesystem, PfaOpen, pfafs_open);
    pfa_loc_method_register(PfaStdFilesystem, PfaFopen, pfafs_fopen);
    pfa_loc_method_register(PfaStdFilesystem, PfaCloseFile, pfafs_close);
    pfa_loc_method_register(PfaStdFilesystem, PfaSetbuf, pfafs_setbuf);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetFilePosition, pfafs_get_file_position);
    pfa_loc_method_register(PfaStdFilesystem, PfaSetFilePosition, pfafs_set_file_position);
    pfa_loc_method_register(PfaStdFilesystem, PfaRewindFile, pfafs_rewind_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaUnwindFile, pfafs_unwind_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaFseek, pfafs_fseek);
}
