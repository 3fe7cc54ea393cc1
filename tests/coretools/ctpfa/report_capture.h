// The reports that the layer makes while an object of this kind lives.
#pragma once

#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

// Switches the reports on, lets the process survive them, and catches standard output.
class report_capture {
  public:
    report_capture() {
        set_verbose_mode(1);
        set_dbg_err_crash(0);
        set_run_mode(RUN_MODE_PFA_TRACE);
        testing::internal::CaptureStdout();
    }

    ~report_capture() {
        (void)testing::internal::GetCapturedStdout();
        set_run_mode(RUN_MODE_USER);
        set_dbg_err_crash(-1);
        set_verbose_mode(0);
    }

    report_capture(const report_capture &) = delete;

    // What was printed since the last call.
    std::string take() {
        std::string text = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return text;
    }

    // The same without the name of the reporting function, and without what the process says when
    // it survives a report.
    std::string take_text() {
        const std::string text = take();
        const std::size_t start = text.find(":  ");
        const std::size_t end = std::min(text.find("\ndbg_err_crash()"), text.find(" (ORDER"));
        return start == text.npos ? text : text.substr(start + 3, end - start - 3);
    }
};
