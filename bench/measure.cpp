// Runs a command with its output thrown away and prints what it took: wall time and processor time
// in microseconds, the highest memory use of a process in KiB, page faults.
//
//   measure COMMAND ARGUMENT...
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char **argv) {
    if (argc < 2) {
        return EXIT_FAILURE;
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    int status = 0;
    rusage usage;
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) == 127) {
        return EXIT_FAILURE;
    }
    const auto wall = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - start);
    const long cpu = (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000L +
                     usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
    std::printf("%lld %ld %ld %ld\n", static_cast<long long>(wall.count()), cpu, usage.ru_maxrss,
                usage.ru_minflt);
}
