// Preloaded, makes every listing one of a file system that does not report the kinds of entries.
#include <dirent.h>
#include <dlfcn.h>

#undef readdir

namespace {

dirent *next_without_kind(const char *name, DIR *directory) {
    using function = dirent *(*)(DIR *);
    const auto original = reinterpret_cast<function>(dlsym(RTLD_NEXT, name));
    dirent *entry = original(directory);
    if (entry != nullptr) {
        entry->d_type = DT_UNKNOWN;
    }
    return entry;
}

} // namespace

extern "C" dirent *readdir(DIR *directory) {
    return next_without_kind("readdir", directory);
}

extern "C" dirent64 *readdir64(DIR *directory) {
    return reinterpret_cast<dirent64 *>(next_without_kind("readdir64", directory));
}
