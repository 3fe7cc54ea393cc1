// The rules of directory paths, as text. Nothing here knows a record, a location type or the disk.
//
// A path is a row of elements, each with a '/' behind it; a path that starts with '/' is absolute.
// There are two forms:
//   stored   in a path record: the element "^" is a parent step, as in "a/^/b/"
//   written  everywhere else: the element ".." is a parent step, as in "a/../b/"
#pragma once

#include "coretools/ctpfa/vek_file.h"
#include "coretools/genutil1/bounded_text.h"

#include <cstddef>
#include <cstring>
#include <string_view>

// A path under construction; long enough for two that fit in a record.
using path_text = bounded_text<std::size_t{2} * PFA_PATH_SIZE>;

// The parent step of each form, with its '/'.
constexpr std::string_view STORED_STEP = "^/";
constexpr std::string_view WRITTEN_STEP = "../";

// In the paths that users write, '\' separates elements as well.
constexpr bool is_separator(char character) {
    return character == '/' || character == '\\';
}

// True if the path is absolute and has no empty element, no "." and no "..".
bool is_plain_path(std::string_view path);

// Returns the size of the directory part of a name: up to and including its last separator.
std::size_t directory_part_size(std::string_view name);

// Returns the last element of `path` without its '/'; empty if there is none.
std::string_view last_element(std::string_view path, char separator = '/');

constexpr std::size_t NO_PARENT = std::string_view::npos;
// Returns the size of `path` without its last element. NO_PARENT if a parent step has nothing to
// take back there: no element, an empty one, or another parent step.
std::size_t parent_size(std::string_view path);

// Cuts off the '/' that ends `path`, if there is one.
inline void cut_closing_slash(char *path) {
    const std::size_t size = std::strlen(path);
    if (size > 0 && path[size - 1] == '/') {
        path[size - 1] = '\0';
    }
}

// The functions below return false if the result does not fit.

// Appends a '/' to *path unless it ends in one.
template <std::size_t CAPACITY>
[[nodiscard]] bool append_closing_slash(bounded_text<CAPACITY> *path) {
    return path->view().ends_with('/') || path->append('/');
}

// Stores in *stored the stored form of a path that a user wrote: "./" elements are dropped, and a
// relative path stays relative ("./" and "//x/" is "x/"); "../" becomes "^/"; the last element gets
// its '/'.
[[nodiscard]] bool path_to_stored(std::string_view path, path_text *stored);

// False only if the written form of a stored path is the same text.
inline bool needs_rewriting(std::string_view stored) {
    return stored.find(STORED_STEP.front()) != stored.npos || stored.find("//") != stored.npos;
}
// Stores in *written the written form of a stored path: empty elements are dropped, and each parent
// step takes back the element before it, or stays where there is none.
[[nodiscard]] bool path_to_written(std::string_view stored, path_text *written);

// Takes back, in the written path that starts at `start` of *path, the elements that parent steps
// follow, and drops empty elements. Steps at the start of a relative path stay. Returns false if an
// absolute path climbs above its root.
[[nodiscard]] bool take_back_steps(path_text *path, std::size_t start);
