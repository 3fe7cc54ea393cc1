// What the files of the standard filesystem and stdio locations share.
//
// The methods are reached through the dispatch of the location types only. The dispatch hands them
// valid records; what else a caller passes is checked here. A record, with what is open on it,
// belongs to one thread at a time.
#pragma once

#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfaloc.h"

#include <cstdio>

// What is open on a record, in its location handle, begins with its kind: a record may change its
// type or place while something is open on it, and the block must not be taken for another.
enum class pfafs_kind : int { stream = 1, directory, pattern };

// The block in a location handle, null unless it is of this kind.
template <class Block>
Block *pfafs_block(void *const *data) {
    if (data == nullptr || *data == nullptr ||
        *static_cast<const pfafs_kind *>(*data) != Block::KIND) {
        return nullptr;
    }
    return static_cast<Block *>(*data);
}

// An open file. Exactly one of the last two is in use: fid is -1 for a buffered stream, stream is
// null for a descriptor.
struct pfafs_stream {
    static constexpr pfafs_kind KIND = pfafs_kind::stream;
    pfafs_kind kind;
    int fid;
    std::FILE *stream;
};

// A block with fid -1 and no stream, from getmem; null when memory is exhausted.
[[nodiscard]] pfafs_stream *pfafs_alloc_stream();
// The stream open on a file record; null when there is none.
pfafs_stream *pfafs_stream_of(const vek_file *record, void *const *data);
// Whether a stream may be opened into *data: there is such a place (9 otherwise), it belongs to a
// file record (9), and it is free, for an open stream must not be lost (3).
int pfafs_check_openable(const vek_file *record, void *const *data);

// Each closes what is in a location handle, if it is of that kind, and sets the handle to null.
//   PFA_E_INVALID_INPUT  `data` is null or holds something else
//   PFA_E_ERROR          the host failed to close the file; the handle is null all the same
int pfafs_close_stream(void **data);
int pfafs_close_listing(void **data);

// How a host name is built from a record.
enum class pfafs_name_form {
    file_name, // everything but the host
    full_name, // as pfa_get_full_name writes it
};
// out holds 260 characters and starts empty; the status is that of the name.
int pfafs_host_name(vek_file *record, pfafs_name_form form, char *out);

// "PfaFopen" and "PfaDirOpen" with a choice of the name.
int pfafs_fopen_low(vek_file *record, void **data, char *name, const char *mode, int version,
                    pfafs_name_form form);
int pfa_actually_open_dir(vek_file *record, void **data, const char *location, const char *pattern,
                          pfafs_name_form form);

// Whether a listing takes an entry. A null filter takes every entry; a filter is called as the
// reader wants it, with or without the kind.
inline bool pfafs_filter_takes(const pfa_dir_filter *filter, vek_file *directory, const char *name,
                               bool with_kind, int kind, void *argument) {
    if (filter == nullptr) {
        return true;
    }
    return (with_kind ? filter->by_name_and_kind(directory, name, kind, argument)
                      : filter->by_name(directory, name, argument)) == 0;
}

// The methods of the standard filesystem, registered file by file while its row is open.
void pfafs_register_parse_functions();
void pfafs_register_stream_functions();
void pfafs_register_rdwrt_functions();
void pfafs_register_dir_functions();
void pfafs_register_access_functions();
void pfafs_register_file_functions();
