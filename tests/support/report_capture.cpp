#include "tests/support/report_capture.h"

#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"

#include <algorithm>

#include <gtest/gtest.h>

report_capture::report_capture() {
    set_verbose_mode(1);
    set_dbg_err_crash(0);
    set_run_mode(RUN_MODE_PFA_TRACE);
    testing::internal::CaptureStdout();
}

report_capture::~report_capture() {
    testing::internal::GetCapturedStdout();
}

std::string report_capture::printed() {
    std::string text = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    return text;
}

std::string report_capture::take() {
    const std::string text = printed();
    const std::size_t start = text.find(":  ");
    const std::size_t end = std::min(text.find("\ndbg_err_crash()"), text.find(" (ORDER"));
    return start == text.npos ? text : text.substr(start + 3, end - start - 3);
}
