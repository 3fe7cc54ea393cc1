// Preloaded, makes every listing one of a file system that does not report the kinds of entries.
#include <dirent.h>
#include <dlfcn.h>

#undef readdir

namespace {

template <class Entry>
using reader = Entry *(*)(DIR *);

template <class Entry>
Entry *next_without_kind(reader<Entry> original, DIR *directory) {
    Entry *entry = original(directory);
    if (entry != nullptr) {
        entry->d_type = DT_UNKNOWN;
    }
    return entry;
}

} // namespace

extern "C" dirent *readdir(DIR *directory) {
    static const auto original = reinterpret_cast<reader<dirent>>(dlsym(RTLD_NEXT, "readdir"));
    return next_without_kind(original, directory);
}

extern "C" dirent64 *readdir64(DIR *directory) {
    static const auto original = reinterpret_cast<reader<dirent64>>(dlsym(RTLD_NEXT, "readdir64"));
    return next_without_kind(original, directory);
}
