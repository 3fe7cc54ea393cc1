// The methods stand in three groups: names, files, directories. Each one's contract is in
// coretools/ctpfa/pfaloc_methods.def.
#include "memory_location.h"

#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

std::map<std::string, memory_directory> memory_directories;

namespace {

constexpr std::string_view PREFIX = "mem:";

// Names: the path component holds the path, and the prefix is not stored.

int path_idx(vek_file *) {
    return PFA_PATH;
}

int claim(vek_file *record, const char *name, const char *, std::int16_t *rest) {
    if (name == nullptr || !std::string_view(name).starts_with("mem:/")) {
        return PFA_E_NOT_FOUND; // declined; any failure does
    }
    const std::string_view path = name + PREFIX.size();
    const bool is_all = rest == nullptr || path.ends_with("/..") || path.ends_with("/.");
    const std::size_t length = is_all ? path.size() : path.rfind('/') + 1;
    if (rest != nullptr) {
        *rest = static_cast<std::int16_t>(PREFIX.size() + length);
    }
    return pfa_put_path(record, std::string(path.substr(0, length)).c_str());
}

// "mem:/parts/", which claim() takes back; also the neutral form, as it has '/' and ".." only.
int location_string(vek_file *record, char *out, std::int16_t *length, int capacity) {
    char path[PFA_PATH_SIZE];
    const pfa_status status = pfa_get_path(record, path);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    const std::string text =
        std::string(out, static_cast<std::size_t>(*length)) + PREFIX.data() + path;
    if (text.size() >= static_cast<std::size_t>(capacity)) {
        return PFA_E_ERROR;
    }
    std::memcpy(out, text.c_str(), text.size() + 1);
    *length = static_cast<std::int16_t>(text.size());
    return PFA_E_NO_ERROR;
}

int is_folder(vek_file *record) {
    char name[PFA_PATH_SIZE];
    if (pfa_get_full_name_mixed_case(record, name, 0) != PFA_E_NO_ERROR) {
        return PFA_E_NO_ERROR;
    }
    return memory_directories.contains(std::string(name) + "/") ? PFA_E_EXIST : PFA_E_NO_ERROR;
}

// What the location handle points to while something is open. A record can be changed meanwhile, so
// that its handle holds something else than its name asks for. Hence each block begins with a kind,
// and none of those that the types of the system use.
enum class memory_kind : int { stream = 100, listing };

struct memory_stream {
    static constexpr memory_kind KIND = memory_kind::stream;
    memory_kind kind;
    std::string *bytes; // those of the file, which must not be removed meanwhile
    std::size_t position;
};

// The directory cache may keep it after the record has been closed, and start it again.
struct memory_listing {
    static constexpr memory_kind KIND = memory_kind::listing;
    memory_kind kind;
    std::vector<std::string> names;
    std::size_t next;
};

// Returns the block in a location handle; null unless it is of this kind.
template <class Block>
Block *block_in(void **handle) {
    const bool fits = *handle != nullptr && *static_cast<memory_kind *>(*handle) == Block::KIND;
    return fits ? static_cast<Block *>(*handle) : nullptr;
}

int close_any(vek_file *, void **handle) {
    if (auto *stream = block_in<memory_stream>(handle)) {
        delete stream;
    } else {
        delete block_in<memory_listing>(handle);
    }
    *handle = nullptr;
    return PFA_E_NO_ERROR;
}

// Files.

// The host does not know the file, so the host's name of it stays empty, and the cached listing of
// its directory is dropped here.
int open_file(vek_file *record, void **handle, char *, const char *mode, int) {
    char directory[PFA_PATH_SIZE];
    char name[PFA_PATH_SIZE];
    if (pfa_get_location(record, directory, nullptr) != PFA_E_NO_ERROR ||
        pfa_get_file_name_mixed_case(record, PFA_NAME_AND_VERSION, name, 0) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_NAME;
    }
    const auto found = memory_directories.find(directory);
    if (found == memory_directories.end() || (mode[0] == 'r' && !found->second.contains(name))) {
        return PFA_E_NOT_FOUND;
    }
    std::string &bytes = found->second[name];
    if (mode[0] == 'w') {
        bytes.clear();
    }
    if (mode[0] != 'r') {
        pfa_dir_cache_update(record);
    }
    *handle = new memory_stream{memory_stream::KIND, &bytes, mode[0] == 'a' ? bytes.size() : 0};
    return PFA_E_NO_ERROR;
}

int read_file(vek_file *, void **handle, void *buffer, int *count, int size) {
    auto *stream = block_in<memory_stream>(handle);
    if (stream == nullptr) {
        return PFA_E_INACTIVE;
    }
    // Another record may have cut the file meanwhile.
    stream->position = std::min(stream->position, stream->bytes->size());
    const std::size_t taken = stream->bytes->copy(static_cast<char *>(buffer),
                                                  static_cast<std::size_t>(size), stream->position);
    stream->position += taken;
    *count = static_cast<int>(taken);
    return taken == 0 ? PFA_E_QUIT : PFA_E_NO_ERROR;
}

int write_file(vek_file *, void **handle, const void *bytes, int size, int) {
    auto *stream = block_in<memory_stream>(handle);
    if (stream == nullptr) {
        return PFA_E_INACTIVE;
    }
    stream->position = std::min(stream->position, stream->bytes->size());
    const std::size_t count = static_cast<std::size_t>(size);
    stream->bytes->replace(stream->position, count, static_cast<const char *>(bytes), count);
    stream->position += count;
    return PFA_E_NO_ERROR;
}

// Directories.

std::vector<std::string> names_in(const char *location) {
    std::vector<std::string> names;
    for (const auto &[name, bytes] : memory_directories[location]) {
        names.push_back(name);
    }
    return names;
}

int open_directory(vek_file *, void **handle, const char *location, const char *) {
    if (auto *listing = block_in<memory_listing>(handle)) {
        listing->next = 0;
        return PFA_E_NO_ERROR;
    }
    if (*handle != nullptr || !memory_directories.contains(location)) {
        return PFA_E_NOT_FOUND;
    }
    *handle = new memory_listing{memory_listing::KIND, names_in(location), 0};
    return PFA_E_NO_ERROR;
}

int read_next(vek_file *directory, void **handle, vek_file *entry, const pfa_dir_filter *filter,
              void *argument, int with_kind) {
    auto *listing = block_in<memory_listing>(handle);
    if (listing == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    while (listing->next < listing->names.size()) {
        const char *name = listing->names[listing->next++].c_str();
        if (pfa_filter_takes(filter, directory, name, with_kind != 0, PFA_NO_DIRECTORY, argument)) {
            return parse_to_pfa(entry, 0, name);
        }
    }
    return PFA_E_QUIT;
}

int listing_is_stale(vek_file *, void **handle, const char *location) {
    const auto *listing = block_in<memory_listing>(handle);
    return listing == nullptr || listing->names != names_in(location);
}

bool register_methods() {
    vek_file *first = nullptr; // the types of the system come before
    if (pfa_alloc_vek_file(&first) != PFA_E_NO_ERROR ||
        pfa_free_vek_file(&first) != PFA_E_NO_ERROR || !pfa_loc_register_setup(MEMORY_LOCATION)) {
        return false;
    }
    pfa_loc_method_register(MEMORY_LOCATION, PfaPathIdx, path_idx);
    pfa_loc_method_register(MEMORY_LOCATION, PfaClaimLocation, claim);
    pfa_loc_method_register(MEMORY_LOCATION, PfaGetLocationString, location_string);
    pfa_loc_method_register(MEMORY_LOCATION, PfaGetNeutralLocation, location_string);
    pfa_loc_method_register(MEMORY_LOCATION, PfaIsFolder, is_folder);
    pfa_loc_method_register(MEMORY_LOCATION, PfaFopen, open_file);
    pfa_loc_method_register(MEMORY_LOCATION, PfaCloseFile, close_any);
    pfa_loc_method_register(MEMORY_LOCATION, PfaReadFile, read_file);
    pfa_loc_method_register(MEMORY_LOCATION, PfaWriteFile, write_file);
    pfa_loc_method_register(MEMORY_LOCATION, PfaDirOpen, open_directory);
    pfa_loc_method_register(MEMORY_LOCATION, PfaDirReadNext, read_next);
    pfa_loc_method_register(MEMORY_LOCATION, PfaDirClose, close_any);
    pfa_loc_method_register(MEMORY_LOCATION, PfaDirCacheInvalid, listing_is_stale);
    return pfa_loc_register_setup(NoLocation) == 1;
}

} // namespace

void register_memory_location() {
    static const bool registered = register_methods();
    (void)registered;
}
