// Preloaded before the tool: makes the Nth call of a function of the C library fail.
//
//   VEK_FAULT_CALL    malloc (with realloc), opendir, readdir, stat, fopen or fwrite
//   VEK_FAULT_AT      N, counted from 1
//   VEK_FAULT_STICKY  1 when every later call fails too
//   VEK_FAULT_REPORT  a file that receives "<calls that failed> <open descriptors>" at exit
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_realloc(void *data, std::size_t size);
}

namespace {

int injected;

bool fails(const char *call) {
    static int calls;
    static const int at = std::atoi(std::getenv("VEK_FAULT_AT"));
    static const bool sticky = std::atoi(std::getenv("VEK_FAULT_STICKY")) != 0;
    if (std::strcmp(call, std::getenv("VEK_FAULT_CALL")) != 0 || ++calls < at ||
        (calls > at && !sticky)) {
        return false;
    }
    ++injected;
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
    const int fd = open(std::getenv("VEK_FAULT_REPORT"), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    dprintf(fd, "%d %d\n", injected, open_descriptors);
}

} // namespace

#define FAULT(call, error, answer)                                                                 \
    if (fails(call)) {                                                                             \
        errno = error;                                                                             \
        return answer;                                                                             \
    }

extern "C" {

void *malloc(std::size_t size) {
    FAULT("malloc", ENOMEM, nullptr)
    return __libc_malloc(size);
}

void *realloc(void *data, std::size_t size) {
    FAULT("malloc", ENOMEM, nullptr)
    return __libc_realloc(data, size);
}

DIR *opendir(const char *name) {
    FAULT("opendir", ENOENT, nullptr)
    return next(opendir, "opendir")(name);
}

dirent *readdir(DIR *directory) {
    FAULT("readdir", EIO, nullptr)
    return next(readdir, "readdir64")(directory);
}

int stat(const char *name, struct stat *status) {
    FAULT("stat", EIO, -1)
    return next(static_cast<int (*)(const char *, struct stat *)>(stat), "stat64")(name, status);
}

std::FILE *fopen(const char *name, const char *mode) {
    FAULT("fopen", EMFILE, nullptr)
    return next(fopen, "fopen64")(name, mode);
}

std::size_t fwrite(const void *bytes, std::size_t size, std::size_t count, std::FILE *stream) {
    FAULT("fwrite", ENOSPC, 0)
    return next(fwrite, "fwrite")(bytes, size, count, stream);
}

} // extern "C"
