// Raising a signal, with a report of how it went.
#include "coretools/ctsigutil/raise_signal.h"

#include <csignal>
#include <cstdio>
#include <iterator>

namespace {

struct raise_row {
    const char *line; // a format; %d is the signal number
    raise_result result;
    int returned;
};

constexpr raise_row RAISE_ROWS[] = {
    {"Raised Signal number : %d\n", RAISED, 1},
    {"BAD ARGS\n", RAISE_BAD_ARGUMENTS, 0},
    {"SYSTEM ERROR\n", RAISE_SYSTEM_ERROR, 0},
    {"APPLICATION ERROR\n", RAISE_APPLICATION_ERROR, 0},
    {"OPERATION NOT SUPPORTED\n", RAISE_NOT_SUPPORTED, 1},
};

} // namespace

int posix_raise_signal(int signal_number) {
    return std::raise(signal_number) == 0 ? RAISED : RAISE_APPLICATION_ERROR;
}

int ctsu_raise_signal(int signal_number) {
    if (signal_number == -1) {
        return 0;
    }
    std::fprintf(stderr, "RAISING SIGNAL : Signal number : %d\n", signal_number);
    const int result = posix_raise_signal(signal_number);
    for (const raise_row &row : RAISE_ROWS) {
        if (row.result == result) {
            std::fprintf(stderr, row.line, signal_number);
            return row.returned;
        }
    }
    return 0;
}
