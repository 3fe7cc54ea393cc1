// Collects what a process prints, and lets it survive its serious errors.
#pragma once

#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

// From here on, serious errors and the traces of the file access layer are printed and the process
// goes on; for tests that run in a process of their own.
struct report_capture {
    report_capture() {
        set_verbose_mode(1);
        set_dbg_err_crash(DBG_ERR_CONTINUES);
        set_run_mode(RUN_MODE_PFA_TRACE);
        testing::internal::CaptureStdout();
    }
    ~report_capture() { testing::internal::GetCapturedStdout(); }

    // What was printed since the last call.
    std::string printed() {
        std::string text = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return text;
    }
    // The same for a report: without the reporting function and what follows the message.
    std::string take() {
        const std::string text = printed();
        const std::size_t start = text.find(":  ");
        const std::size_t end = std::min(text.find("\ndbg_err_crash()"), text.find(" (ORDER"));
        return start == text.npos ? text : text.substr(start + 3, end - start - 3);
    }
};
