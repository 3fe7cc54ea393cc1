// A cross build replaces execv: the programs that it builds are started through the emulator. Death
// tests of the style "threadsafe" start their own program again.
#include <vector>

#include <unistd.h>

extern "C" {
int __real_execv(const char *path, char *const arguments[]);
int __wrap_execv(const char *path, char *const arguments[]);
}

int __wrap_execv(const char *path, char *const arguments[]) {
    std::vector<char *> emulated = {const_cast<char *>(VEK_EMULATOR), const_cast<char *>(path)};
    while (*arguments != nullptr && *++arguments != nullptr) {
        emulated.push_back(*arguments);
    }
    emulated.push_back(nullptr);
    return __real_execv(VEK_EMULATOR, emulated.data());
}
