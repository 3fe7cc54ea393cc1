// Raising a signal, with a report of how it went.
#include "coretools/ctsigutil/raise_signal.h"

#include <csignal>
#include <cstdio>
#include <iterator>

namespace {

struct raise_row {
    const char *line; // a format; %d is the signal number
    int returned;
};

// In the order of raise_result.
constexpr raise_row RAISE_ROWS[] = {
    {"Raised Signal number : %d\n", 1},
    {"BAD ARGS\n", 0},
    {"SYSTEM ERROR\n", 0},
    {"APPLICATION ERROR\n", 0},
    {"OPERATION NOT SUPPORTED\n", 1},
};
static_assert(std::size(RAISE_ROWS) == RAISE_NOT_SUPPORTED + 1);

} // namespace

int posix_raise_signal(int signal_number) {
    return std::raise(signal_number) == 0 ? RAISED : RAISE_APPLICATION_ERROR;
}

int ctsu_raise_signal(int signal_number) {
    if (signal_number == -1) {
        return 0;
    }
    std::fprintf(stderr, "RAISING SIGNAL : Signal number : %d\n", signal_number);
    const raise_row &row = RAISE_ROWS[posix_raise_signal(signal_number)];
    std::fprintf(stderr, row.line, signal_number);
    return row.returned;
}
