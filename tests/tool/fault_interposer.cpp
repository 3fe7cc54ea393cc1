// Preloaded before the tool: makes the Nth call of a function of the C library fail.
//
//   VEK_FAULT_CALL    malloc (with calloc and realloc), opendir, readdir, stat (with fstat and
//                     lstat), fopen or fwrite
//   VEK_FAULT_AT      N, counted from 1
//   VEK_FAULT_STICKY  1 when every later call fails too
//   VEK_FAULT_RENAME  a path: instead of failing, the Nth call gives it the ending ".gone" first
//   VEK_FAULT_REPORT  a file that receives "<calls that failed> <open descriptors>" at exit
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *data, std::size_t size);
}

namespace {

const char *setting(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

long injected;

bool fails(const char *call) {
    static long calls;
    static const char *const chosen = setting("VEK_FAULT_CALL");
    static const long at = std::strtol(setting("VEK_FAULT_AT"), nullptr, 10);
    static const bool sticky = setting("VEK_FAULT_STICKY")[0] == '1';
    if (std::strcmp(call, chosen) != 0) {
        return false;
    }
    ++calls;
    if (calls != at && !(sticky && calls > at)) {
        return false;
    }
    ++injected;
    const char *path = setting("VEK_FAULT_RENAME");
    if (path[0] == '\0') {
        return true;
    }
    char gone[1024];
    std::snprintf(gone, sizeof gone, "%s.gone", path);
    std::rename(path, gone);
    return false;
}

template <class Function>
Function next(Function, const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void report() {
    int open_descriptors = 0;
    for (int fd = 0; fd < 256; ++fd) {
        open_descriptors += fcntl(fd, F_GETFD) != -1 ? 1 : 0;
    }
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%ld %d\n", injected, open_descriptors);
    const int fd = open(setting("VEK_FAULT_REPORT"), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd != -1) {
        [[maybe_unused]] const ssize_t written = write(fd, text, length);
        close(fd);
    }
}

__attribute__((destructor)) void at_exit() {
    report();
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

void *calloc(std::size_t count, std::size_t size) {
    FAULT("malloc", ENOMEM, nullptr)
    return __libc_calloc(count, size);
}

void *realloc(void *data, std::size_t size) {
    FAULT("malloc", ENOMEM, nullptr)
    return __libc_realloc(data, size);
}

DIR *opendir(const char *name) {
    FAULT("opendir", EMFILE, nullptr)
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

int lstat(const char *name, struct stat *status) {
    FAULT("stat", EIO, -1)
    return next(lstat, "lstat64")(name, status);
}

int fstat(int fd, struct stat *status) {
    FAULT("stat", EIO, -1)
    return next(fstat, "fstat64")(fd, status);
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
