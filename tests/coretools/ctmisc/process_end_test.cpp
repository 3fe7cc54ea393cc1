// The run mode, exit handlers, the fatal end, signals and boxed messages.
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/crash.h"
#include "coretools/ctmisc/dbg_msg_tool.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "coretools/ctsigutil/raise_signal.h"
#include "tests/support/child_process.h"

namespace {

const std::string FATAL = "Serious internal error; cannot continue.\n";

TEST(RunMode, CurrentAndAddedModes) {
    EXPECT_EQ(is_run_mode(0), 1);
    for (const int mode : {9029, 9129, 9229, 9329, 9998, -151}) {
        EXPECT_EQ(is_run_mode(mode), 0);
        set_run_mode(mode);
        EXPECT_EQ(regression_run_mode(), mode >= 9029 && mode <= 9329) << mode;
        EXPECT_EQ(user_run_mode(), 0);
    }
    EXPECT_EQ(set_run_mode(0), -151);
    for (int mode = 100; mode < 130; ++mode) {
        EXPECT_EQ(add_run_mode(mode), 1);
    }
    for (int mode = 90; mode < 140; ++mode) {
        EXPECT_EQ(is_run_mode(mode), mode >= 100 && mode < 130) << mode;
    }
}

template <char Letter>
void print_handler(int code) {
    std::printf("%c%d\n", Letter, code);
}

TEST(ProcessEnd, FatalErrorRunsTheHandlersOnceNewestFirst) {
    const child_result child = run_in_child([] {
        for (const wlx_exit_handler handler :
             {print_handler<'a'>, print_handler<'b'>, print_handler<'c'>, print_handler<'d'>}) {
            wlx_exit_register(handler);
        }
        std::atexit([] { wlx_exit_run(3); }); // they have run already
        err_crash("XAR_ALLOC", "invalid request");
    });
    EXPECT_EQ(child.out, "XAR_ALLOC:  invalid request\n" + FATAL + "d2\nc2\nb2\na2\n");
    EXPECT_EQ(child.status, 2);
}

TEST(ProcessEnd, InstalledFunctionAndDebugSwitchReturn) {
    const child_result child = run_in_child([] {
        set_wlx_exit_func(print_handler<'x'>);
        std::printf("=%d\n", crash() + err_crash(nullptr, nullptr));
        set_vek_debug_switch(1);
        std::signal(SIGSEGV, SIG_IGN);
        std::printf("=%d\n", crash());
    });
    EXPECT_EQ(child.out, FATAL + "x2\n:  \n" + FATAL + "x2\n=0\n=0\n");
    EXPECT_EQ(child.err, "RAISING SIGNAL : Signal number : 11\nRaised Signal number : 11\n");
}

TEST(ProcessEnd, RaisedSignals) {
    const child_result child = run_in_child([] {
        EXPECT_EQ(ctsu_raise_signal(-1), 0);
        EXPECT_EQ(ctsu_raise_signal(4711), 0);
        ctsu_raise_signal(SIGKILL);
    });
    EXPECT_EQ(child.err, "RAISING SIGNAL : Signal number : 4711\nAPPLICATION ERROR\n"
                         "RAISING SIGNAL : Signal number : 9\n");
    EXPECT_EQ(child.status, -SIGKILL);
}

void all_boxes() {
    dbg_info_msg("here", "n %d", 1);
    dbg_error_msg("there", 'B', "n %d", 2);
    dbg_crash_msg("inside", "n %d", 3);
    dbg_info_msg(nullptr, nullptr);
}

constexpr char BOXES[] = "\n*** INFO MESSAGE from here : ***\n\tn 1\n"
                         "\n*** B-LEVEL ERROR in there : ***\n\tn 2\n"
                         "\n*** FATAL ERROR in inside : ***\n\tn 3\n"
                         "\n*** INFO MESSAGE from  : ***\n\t\n";

TEST(BoxedMessage, PrintsOnlyWhenAllowedAndIsCut) {
    const std::string longest(2000, 'x');
    const child_result child = run_in_child([&] {
        all_boxes();
        dbg_set_allow_print(1);
        all_boxes();
        dbg_info_msg("cut", "%s", longest.c_str());
        dbg_fprintf(stdout, "%s", longest.c_str());
        dbg_fprintf(nullptr, "%d|", 5);
    });
    const std::string cut(999, 'x');
    EXPECT_EQ(child.err, BOXES + ("\n*** INFO MESSAGE from cut : ***\n\t" + cut) + "\n5|");
    EXPECT_EQ(child.out, cut);
}

TEST(BoxedMessage, FileIsTruncatedByTheFirstMessage) {
    std::string folder = ::testing::TempDir() + "boxes_XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string name = folder + "/messages";
    std::ofstream(name) << "old contents";
    const child_result child = run_in_child([&] {
        dbg_set_allow_print(1);
        dbg_set_error_file_name((folder + "/missing/messages").c_str());
        dbg_info_msg("lost", "file");
        dbg_set_error_file_name(name.c_str());
        std::printf("%d", dbg_set_error_file_name(std::string(260, 'x').c_str()));
        all_boxes();
    });
    std::ostringstream written;
    written << std::ifstream(name).rdbuf();
    EXPECT_EQ(written.str(), BOXES);
    EXPECT_EQ(child.out + child.err, "0\n*** INFO MESSAGE from lost : ***\n\tfile\n");
    std::remove(name.c_str());
    rmdir(folder.c_str());
}

int crash_func_answer;

int answer_for_place(const char *name) {
    return name == std::string("place") ? crash_func_answer : -1;
}

TEST(BoxedMessage, SignalsWhenAllowedAndNotRefused) {
    const struct {
        int allowed, answer, signal; // answer -1: no function
    } rows[] = {{0, -1, 0}, {0, 1, 0}, {1, -1, SIGUSR1}, {1, 0, 0}, {1, 1, SIGUSR1}};
    for (const auto &row : rows) {
        const child_result child = run_in_child([&row] {
            crash_func_answer = row.answer;
            dbg_set_allow_crash(row.allowed);
            dbg_set_crash_func(row.answer < 0 ? nullptr : answer_for_place);
            dbg_error_msg("place", 'A', "never a signal");
            dbg_crash_msg("place", "text");
        });
        EXPECT_EQ(child.status, -row.signal) << row.allowed << row.answer;
        EXPECT_EQ(child.out + child.err, "");
    }
}

} // namespace
