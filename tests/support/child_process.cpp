#include "tests/support/child_process.h"

#include "tests/support/scratch_tree.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

child_result run_in_child(const std::function<void()> &body) {
    const scratch_tree printed;
    const std::string out = printed.file("out"), err = printed.file("err");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(out.c_str(), O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    child_result result{WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), read_file(out),
                        read_file(err)};
    // What an emulator adds when a signal ends its program.
    result.err.erase(std::min(result.err.find("qemu: uncaught"), result.err.size()));
    return result;
}

int in_child(void (*prepare)(), const std::function<int()> &question) {
    const auto body = [&] {
        prepare();
        _exit(question());
    };
    return run_in_child(body).status;
}

// The process of a death test prints no failures by itself.
[[noreturn]] static void run_and_exit(void (*body)()) {
    body();
    const testing::TestResult *result =
        testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result->total_part_count(); ++i) {
        const testing::TestPartResult &part = result->GetTestPartResult(i);
        std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
    }
    std::exit(result->Failed() ? 1 : 0);
}

void expect_in_own_process(void (*body)()) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(run_and_exit(body), testing::ExitedWithCode(0), "");
}

void drop_rights() {
    constexpr uid_t ORDINARY_USER = 65534;
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(ORDINARY_USER) != 0 || setuid(ORDINARY_USER) != 0)) {
        std::abort();
    }
}
