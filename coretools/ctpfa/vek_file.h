// The path record, a file or directory name in its parts with what is open on it, and the status
// codes and limits of the file access layer.
//
// In all headers of the layer "True if" stands for an int that is 1, else 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// The result of an operation of the file access layer; it must not be ignored. An operation that
// calls a method of a location type passes other results of the method on as they are.
enum [[nodiscard]] pfa_status : int;
enum pfa_status : int {
    PFA_E_NO_METHOD = -1, // the location type does not offer the method
    PFA_E_NO_ERROR = 0,
    PFA_E_ERROR = 1,
    PFA_E_NOT_FOUND = 2,
    PFA_E_CANT_OPEN = 3,
    PFA_E_INVALID_NAME = 4,
    PFA_E_QUIT = 5,
    PFA_E_NO_SPACE = 6, // no memory for a path record (pfa_alloc_vek_file)
    PFA_E_NO_ACCESS = 7,
    PFA_E_NOT_ALLOWED = 8,
    PFA_E_INVALID_INPUT = 9,
    PFA_E_INACTIVE = 10,
    PFA_E_NOT_VALID = 11,
    PFA_E_EXIST = 12,
    PFA_E_CANT_WRITE = 13,
    PFA_E_ROOT_DIR = 14,
    PFA_E_NET_TROUBLE = 15,
    PFA_E_OUT_OF_MEMORY = 16, // no memory for anything else
    PFA_E_ABORTED = 17,
    PFA_E_TOO_MANY_OPEN = 18,
    PFA_E_NOT_CACHABLE = 19,
};

// The sizes of buffers for any path, name or directory text and for a host or device, with the
// terminating zero.
constexpr int PFA_PATH_SIZE = 260;
constexpr int PFA_HOST_SIZE = 32;
// Names shorter than this are short enough for every object type.
constexpr int PFA_SHORT_NAME_SIZE = 32;

// A record is valid while it carries this number; an operation with a status fails with
// PFA_E_NOT_VALID for a null or invalid record.
constexpr std::uint16_t PFA_MAGIC = 0x886a;

enum pfa_component : int {
    PFA_HOST = 0,
    PFA_DEVICE = 1,
    PFA_PATH = 2,      // always ends in '/'; a parent step is the segment '^'
    PFA_NAME = 3,      // without extension and version
    PFA_EXTENSION = 4, // without the '.'
    PFA_RESERVED = 5,  // always empty
    PFA_COMPONENTS = 6,
};

enum pfa_flag : std::uint32_t {
    PFA_F_MOUNTED = 0x2,    // on a file system that is not local: writes are forced to the store
    PFA_F_OPEN = 0x100,     // a stream or a directory is open on the record
    PFA_F_BORROWED = 0x200, // the open listing belongs to a record of the directory cache
    PFA_F_LENT = 0x400,     // the listing of this record of the directory cache is on loan
};

// Which parts of a name pfa_get_file_name writes.
enum pfa_include : int {
    PFA_INCLUDE_HOST = 1,
    PFA_INCLUDE_DEVICE = 2,
    PFA_INCLUDE_PATH = 4,
    PFA_INCLUDE_LOCATION = 7,
    PFA_INCLUDE_NAME = 8,
    PFA_INCLUDE_EXTENSION = 16,
    PFA_INCLUDE_VERSION = 32,
    PFA_DIRECTORY_NAME = 6,
    PFA_NAME_AND_EXTENSION = 24,
    PFA_NAME_AND_VERSION = 56,
    PFA_OS_NAME = 62,
};

// Component i is text[start, end). The components lie back to back in index order: the first starts
// at 0 and each other at the end of the one before; the last end is the length of the text.
struct pfa_bounds {
    std::int16_t start;
    std::int16_t end;
};

//   0     2             262           286    288      290     292     296      300        304
//   +-------+-------------+-------------+------+---------+-------+-------+--------+----------+--
//   | magic | text + NUL  | 6 x (s, e)  | type | version | datum | flags | encode | loc type | loc
//   +-------+-------------+-------------+------+---------+-------+-------+--------+----------+--
//
// The caller owns a record from pfa_alloc_vek_file() to pfa_free_vek_file() and uses it on one
// thread at a time. What is open on it is reached through location_handle and belongs to the
// location type; it must be closed before the record is freed.
struct vek_file {
    std::uint16_t magic;
    char text[PFA_PATH_SIZE];
    pfa_bounds bounds[PFA_COMPONENTS];
    std::int16_t type;           // object type (coretools/ctfileutil/objextension.h)
    std::int16_t version;        // 0 for none
    std::int16_t location_datum; // kept for the location type; -1 if unset
    std::uint32_t flags;         // of pfa_flag
    std::uint32_t encode;        // code conversion of written text (pfa_encode)
    std::int32_t location_type;  // a pfa_location_type
    void *location_handle;       // null while nothing is open
};

static_assert(offsetof(vek_file, text) == 2);
static_assert(offsetof(vek_file, bounds) == 262);
static_assert(offsetof(vek_file, type) == 286);
static_assert(offsetof(vek_file, flags) == 292);
static_assert(offsetof(vek_file, location_type) == 300);
static_assert(offsetof(vek_file, location_handle) == 304);
static_assert(sizeof(vek_file) == 304 + sizeof(void *));
static_assert(std::is_trivially_copyable_v<vek_file>);
