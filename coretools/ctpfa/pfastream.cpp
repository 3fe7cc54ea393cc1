// Opening, writing and closing streams.
#include "coretools/ctpfa/pfastream.h"

#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfadir_internal.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfavers.h"
#include "coretools/ctpfa/pfawrite_convertor.h"
#include "coretools/ctwcfun/vek_vsprintf.h"

#include <cstdarg>
#include <cstring>

namespace {

bool is_file_record(const vek_file *record) {
    return pfa_is_valid(record) != 0 && pfa_is_dir(record) == 0;
}

pfa_status write_bytes(vek_file *record, const char *bytes, int count) {
    const int sync = (record->flags & PFA_F_MOUNTED) != 0;
    return pfa_status(pfaloc_call_FLPII(record, PfaWriteFile, bytes, count, sync));
}

pfa_status write_converted(vek_file *record, const char *bytes, int count) {
    char chunk[PFA_WRITE_CHUNK + 1];
    while (count > 0) {
        int taken = 0;
        const int length = pfa_write_convertor(record->encode, bytes, count, chunk, &taken);
        if (length == 0) {
            return PFA_E_INVALID_INPUT;
        }
        const pfa_status status = write_bytes(record, chunk, length);
        if (status != PFA_E_NO_ERROR) {
            return status;
        }
        bytes += taken;
        count -= taken;
    }
    return PFA_E_NO_ERROR;
}

// Stores the version to open in the record.
pfa_status put_version_to_open(vek_file *record, int selector) {
    int version = 0;
    const pfa_status status = pfa_get_file_vers(record, selector, &version);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    return pfa_put_version(record, version) == PFA_E_NO_ERROR ? PFA_E_NO_ERROR : PFA_E_CANT_OPEN;
}

} // namespace

const char *binary_mode(const char *mode) {
    return mode;
}

pfa_status pfa_fopen(vek_file *record, int selector, const char *mode) {
    if (!is_file_record(record)) {
        return PFA_E_NOT_VALID;
    }
    if (mode == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (!pfa_is_local(record) || pfa_file_is_open(record)) {
        return PFA_E_CANT_OPEN;
    }
    if (record->location_type == NoLocation) {
        record->location_type = PFA_DEFAULT_LOCATION;
    }
    if (selector == PFA_NEXT_VERSION && std::strchr(mode, 'w') == nullptr) {
        return PFA_E_CANT_OPEN;
    }
    char name[PFA_PATH_SIZE] = "";
    pfa_status status = put_version_to_open(record, selector);
    if (status == PFA_E_NO_ERROR) {
        status = pfa_status(pfaloc_call_FLPPI(record, PfaFopen, name, mode, int(record->version)));
    }
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    record->flags &= ~(PFA_F_BORROWED | PFA_F_LENT); // a copied record may still carry them
    record->flags |= PFA_F_OPEN;
    // Only where the location has files of the host do listings go by names of the host.
    if (name[0] != '\0' && !mode_reads(mode)) {
        pfa_file_name_update_dir_cache(name);
    }
    return PFA_E_NO_ERROR;
}

pfa_status pfa_close(vek_file *record) {
    if (!pfa_is_valid(record)) {
        return PFA_E_NOT_VALID;
    }
    if (!pfa_file_is_open(record)) {
        return PFA_E_INACTIVE;
    }
    // A borrowed listing goes back to the cache even if the record has become a file meanwhile.
    if (pfa_is_dir(record) || (record->flags & PFA_F_BORROWED) != 0) {
        return pfa_close_dir(record);
    }
    const pfa_status status = pfa_status(pfaloc_call_FL(record, PfaCloseFile));
    record->flags &= ~PFA_F_OPEN;
    record->location_handle = nullptr;
    return status;
}

pfa_status pfa_write_file(vek_file *record, int count, const char *bytes) {
    if (!is_file_record(record)) {
        return PFA_E_NOT_VALID;
    }
    if (count == 0) {
        return PFA_E_NO_ERROR;
    }
    if (!pfa_file_is_open(record)) {
        return PFA_E_INACTIVE;
    }
    if (count < 0 || bytes == nullptr || record->encode > PFA_ENCODE_SJIS) {
        return PFA_E_INVALID_INPUT;
    }
    return record->encode == PFA_ENCODE_NONE ? write_bytes(record, bytes, count)
                                             : write_converted(record, bytes, count);
}

pfa_status pfa_fprintf(vek_file *record, const char *format, ...) {
    if (!is_file_record(record)) {
        return PFA_E_NOT_VALID;
    }
    if (!pfa_file_is_open(record)) {
        return PFA_E_INACTIVE;
    }
    // Without a destination the text stays in the engine's buffer of this thread.
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = vek_vsprintf(nullptr, format, arguments);
    va_end(arguments);
    if (text == nullptr) {
        return PFA_E_ERROR;
    }
    return pfa_write_file(record, static_cast<int>(std::strlen(text)), text);
}
