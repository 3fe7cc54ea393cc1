// Preloaded before the tool: makes the Nth call of a function of the C library fail.
// VEK_FAULT_CALL is malloc (realloc counts with it), opendir, readdir, stat, fopen or fwrite;
// VEK_FAULT_AT is N, counted from 1, with a '+' if every later call fails too.
// At exit, "<calls that failed> <open descriptors>" goes to the standard error output.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int injected;

bool fails(const char *call, int error) {
    static int calls;
    static const char *const at = std::getenv("VEK_FAULT_AT");
    if (std::strcmp(call, std::getenv("VEK_FAULT_CALL")) != 0 || ++calls < std::atoi(at) ||
        (calls > std::atoi(at) && std::strchr(at, '+') == nullptr)) {
        return false;
    }
    ++injected;
    errno = error;
    return true;
}

template <class Function>
Function next(Function, const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

__attribute__((destructor)) void report() {
    int open_descriptors = 0;
    for (int fd = 0; fd < 256; ++fd) {
        open_descriptors += fcntl(fd, F_GETFD) != -1 ? 1 : 0;
    }
    dprintf(STDERR_FILENO, "%d %d\n", injected, open_descriptors);
}

} // namespace

extern "C" {

void *malloc(std::size_t size) {
    return fails("malloc", ENOMEM) ? nullptr : next(malloc, "malloc")(size);
}

void *realloc(void *data, std::size_t size) {
    return fails("malloc", ENOMEM) ? nullptr : next(realloc, "realloc")(data, size);
}

DIR *opendir(const char *name) {
    return fails("opendir", ENOENT) ? nullptr : next(opendir, "opendir")(name);
}

dirent *readdir(DIR *directory) {
    return fails("readdir", EIO) ? nullptr : next(readdir, "readdir64")(directory);
}

int stat(const char *name, struct stat *status) {
    using function = int (*)(const char *, struct stat *);
    return fails("stat", EIO) ? -1 : next(function(stat), "stat64")(name, status);
}

std::FILE *fopen(const char *name, const char *mode) {
    return fails("fopen", EMFILE) ? nullptr : next(fopen, "fopen64")(name, mode);
}

std::size_t fwrite(const void *bytes, std::size_t size, std::size_t count, std::FILE *stream) {
    return fails("fwrite", ENOSPC) ? 0 : next(fwrite, "fwrite")(bytes, size, count, stream);
}

} // extern "C"
