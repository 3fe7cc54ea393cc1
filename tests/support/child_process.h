// Runs a piece of a test in a child process, so that it may end the process or change settings that
// nothing resets, and keeps what it printed. An expectation that fails there gives the status 1.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

struct child_result {
    int status; // the exit status, or minus the number of the signal that ended the child
    std::string out;
    std::string err;
};

inline std::string text_of_file(std::FILE *file) {
    std::string text;
    std::rewind(file);
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) {
        text.push_back(static_cast<char>(c));
    }
    std::fclose(file);
    return text;
}

inline child_result run_in_child(const std::function<void()> &body) {
    std::FILE *out = std::tmpfile();
    std::FILE *err = std::tmpfile();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(fileno(out), STDOUT_FILENO);
        dup2(fileno(err), STDERR_FILENO);
        body();
        std::fflush(nullptr);
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), text_of_file(out),
            text_of_file(err)};
}
