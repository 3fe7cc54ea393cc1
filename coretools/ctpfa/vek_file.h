// The path record: one file or directory name in its parts, and what is open on it.
#pragma once

#include <cstdint>

// Status codes of the file access layer.
enum pfa_status : int {
    PFA_E_NO_ERROR = 0,
    PFA_E_ERROR = 1,
    PFA_E_NOT_FOUND = 2,
    PFA_E_CANT_OPEN = 3,
    PFA_E_INVALID_NAME = 4,
    PFA_E_QUIT = 5,
    PFA_E_NO_SPACE = 6,
    PFA_E_NO_ACCESS = 7,
    PFA_E_NOT_ALLOWED = 8,
    PFA_E_INVALID_INPUT = 9,
    PFA_E_INACTIVE = 10,
    PFA_E_NOT_VALID = 11,
    PFA_E_EXIST = 12,
    PFA_E_CANT_WRITE = 13,
    PFA_E_ROOT_DIR = 14,
    PFA_E_NET_TROUBLE = 15,
    PFA_E_OUT_OF_MEMORY = 16,
    PFA_E_ABORTED = 17,
    PFA_E_TOO_MANY_OPEN = 18,
    PFA_E_NOT_CACHABLE = 19,
};

// The longest path, name or directory text with its terminating zero, and the longest host or
// device.
constexpr int PFA_PATH_SIZE = 260;
constexpr int PFA_HOST_SIZE = 32;

constexpr std::uint16_t PFA_MAGIC = 0x886a;

enum pfa_component : int {
    PFA_HOST = 0,
    PFA_DEVICE = 1,
    PFA_PATH = 2,
    PFA_NAME = 3,
    PFA_EXTENSION = 4,
    PFA_RESERVED = 5,
    PFA_COMPONENTS = 6,
};

enum pfa_flag : std::uint32_t {
    PFA_F_MOUNTED = 0x2,
    PFA_F_OPEN = 0x100,
    PFA_F_BORROWED = 0x200,
    PFA_F_LENT = 0x400,
};

// Which parts of a name pfa_get_file_name writes.
enum pfa_include : int {
    PFA_INCLUDE_HOST = 1,
    PFA_INCLUDE_DEVICE = 2,
    PFA_INCLUDE_PATH = 4,
    PFA_INCLUDE_NAME = 8,
    PFA_INCLUDE_EXTENSION = 16,
    PFA_INCLUDE_VERSION = 32,
    PFA_DIRECTORY_NAME = 6,
    PFA_NAME_AND_EXTENSION = 24,
    PFA_NAME_AND_VERSION = 56,
    PFA_OS_NAME = 62,
};

struct pfa_bounds {
    std::int16_t start;
    std::int16_t end;
};

struct vek_file {
    std::uint16_t magic;
    char text[PFA_PATH_SIZE];
    pfa_bounds bounds[PFA_COMPONENTS];
    std::int16_t type;
    std::int16_t version;
    std::int16_t location_datum;
    std::uint32_t flags;
    std::uint32_t encode;
    std::int32_t location_type;
    void *location_handle;
};
