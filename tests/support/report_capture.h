// Collects what a process prints, and lets it survive its serious errors.
#pragma once

#include <string>

// From here on, serious errors and the traces of the file access layer are printed and the process
// goes on; for tests that run in a process of their own.
struct report_capture {
    report_capture();
    ~report_capture();
    report_capture(const report_capture &) = delete;

    // What was printed since the last call.
    std::string printed();
    // The same for a report: without the reporting function and what follows the message.
    std::string take();
};
