#include "tests/support/child_process.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string text_of(std::FILE *file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
        text.push_back(static_cast<char>(c));
    }
    std::fclose(file);
    return text;
}

} // namespace

child_result run_in_child(const std::function<void()> &body) {
    std::FILE *out = std::tmpfile();
    std::FILE *err = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    child_result result{WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), text_of(out),
                        text_of(err)};
    // What an emulator adds when a signal ends its program.
    result.err.erase(std::min(result.err.find("qemu: uncaught"), result.err.size()));
    return result;
}

void expect_in_own_process(void (*body)()) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

void drop_rights() {
    constexpr uid_t ORDINARY_USER = 65534;
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(ORDINARY_USER) != 0 || setuid(ORDINARY_USER) != 0)) {
        std::abort();
    }
}

void use_up_descriptors() {
    const rlimit none{3, 3};
    setrlimit(RLIMIT_NOFILE, &none);
}
