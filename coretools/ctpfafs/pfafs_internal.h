// What the files of the standard filesystem and stdio locations share.
//
// The contract of each method is in coretools/ctpfa/pfaloc_methods.def. The dispatch passes valid
// records; other parameters are checked here, and a bad one fails with PFA_E_INVALID_INPUT. A
// record and what is open on it belong to one thread at a time.
#pragma once

#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfaloc.h"

#include <cstdio>

// The block in a location handle begins with its kind: a record may change its type or location
// while something is open on it, and the block must not be taken for one of another kind.
enum class pfafs_kind : int { stream = 1, directory, pattern };

// Returns the block in a location handle; null unless it is of this kind.
template <class Block>
Block *pfafs_block(void *const *data) {
    if (data == nullptr || *data == nullptr ||
        *static_cast<const pfafs_kind *>(*data) != Block::KIND) {
        return nullptr;
    }
    return static_cast<Block *>(*data);
}

// An open file: a buffered stream (fid is -1) or a descriptor (stream is null).
struct pfafs_stream {
    static constexpr pfafs_kind KIND = pfafs_kind::stream;
    pfafs_kind kind;
    int fid;
    std::FILE *stream;
};

// Returns a block from getmem with fid -1 and no stream; null if memory runs out.
[[nodiscard]] pfafs_stream *pfafs_alloc_stream();
// Returns the stream that is open on a file record; null for none.
pfafs_stream *pfafs_stream_of(const vek_file *record, void *const *data);
// Checks that a stream may be opened on a record.
//   PFA_E_INVALID_INPUT  `data` is null, or the record is a directory
//   PFA_E_CANT_OPEN      something is open on it, which would be lost
pfa_status pfafs_check_openable(const vek_file *record, void *const *data);

// Each closes what is in a location handle, if it is of that kind, and sets the handle to null.
//   PFA_E_INVALID_INPUT  `data` is null or holds something else
//   PFA_E_ERROR          the host failed to close the file; the handle is null all the same
pfa_status pfafs_close_stream(void **data);
pfa_status pfafs_close_listing(void **data);

// How a host name is built from a record.
enum class pfafs_name_form {
    file_name, // everything but the host
    full_name, // as pfa_get_full_name writes it
};
// Stores the host name in out[PFA_PATH_SIZE]. On failure `out` is empty and the result is that of
// pfa_get_file_name or pfa_get_full_name.
pfa_status pfafs_host_name(vek_file *record, pfafs_name_form form, char *out);

// Methods "PfaFopen" and "PfaDirOpen" with a choice of the name.
int pfafs_fopen_low(vek_file *record, void **data, char *name, const char *mode, int version,
                    pfafs_name_form form);
int pfa_actually_open_dir(vek_file *record, void **data, const char *location, const char *pattern,
                          pfafs_name_form form);

// Each registers the methods of one file, while the registration of the standard filesystem is
// open.
void pfafs_register_parse_functions();
void pfafs_register_stream_functions();
void pfafs_register_rdwrt_functions();
void pfafs_register_dir_functions();
void pfafs_register_access_functions();
void pfafs_register_file_functions();
