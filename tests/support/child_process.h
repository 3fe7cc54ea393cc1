// Runs part of a test in a child process, which may exit or change settings of the process.
#pragma once

#include <functional>
#include <string>

struct child_result {
    int status; // the exit status, or minus the number of the signal that ended the child
    std::string out;
    std::string err = {};

    bool operator==(const child_result &) const = default;
};

// Runs `body` in a child and collects its output. The status is 1 if an expectation failed there.
child_result run_in_child(const std::function<void()> &body);

// Returns what `question` returns in a child that calls `prepare` first: 0 to 255, or minus the
// number of the signal that ended the child.
int in_child(void (*prepare)(), const std::function<int()> &question);

// Runs `body` in a new process that shares no state with this one, as a death test; for what a
// process does once in its life.
void expect_in_own_process(void (*body)());

// For a child: becomes an ordinary user. Does nothing unless the process is root's.
void drop_rights();
