// Reports: what each prints, calls and ends under its switches; the run mode, the end of the
// process and the boxed messages.
#include "coretools/ctfileutil/input_mode.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/crash.h"
#include "coretools/ctmisc/dbg_msg_tool.h"
#include "coretools/ctmisc/mgr_msg.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "coretools/ctsigutil/raise_signal.h"
#include "coretools/ctwcfun/vek_vsprintf.h"
#include "tests/support/child_process.h"
#include "tests/support/threads.h"

#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

const std::string FATAL = "Serious internal error; cannot continue.\n";
const std::string CONTINUES =
    "dbg_err_crash() -- continuing from serious error (ORDER_DEBUG).\n"
    "dummy message: dbg_err_crash() - continuing from serious error (ORDER_DEBUG).\n";
const std::string CRASHING_OUT = "dbg_err_crash() -- crashing out in ORDER_DEBUG ONLY.";
const std::string ENDS = "trail[" + CRASHING_OUT + "|69]\n" + CRASHING_OUT + "\n" + FATAL;

template <int Result>
int consult(const char *name, const char *message) {
    vek_printf("asked[%s|%s]\n", name, message);
    return Result;
}

void print_message(const char *key, const char *text, ...) {
    std::va_list arguments;
    va_start(arguments, text);
    std::printf("%s: ", key);
    std::vprintf(text, arguments);
    std::printf("\n");
    va_end(arguments);
}

void switch_on(int run_mode, int verbose = 1) {
    set_mgr_msg_func(print_message);
    set_mgr_msg_put_in_trl_func([](const vek_wchar *text, int code) {
        char narrow[3 * 260 + 1];
        std::printf("trail[%s|%d]\n", wstostr(narrow, text), code);
    });
    set_verbose_mode(verbose);
    set_run_mode(run_mode);
}

struct report_row {
    const char *what;
    std::string out; // "=" and the result come last, if the report returns
    int (*report)(const char *name, const char *format, ...) = dbg_err_crash;
    int verbose = 1;
    int mode = RUN_MODE_PFA_TRACE;
    int ends = DBG_ERR_UNDECIDED;
    int input = 0;
    bool in_env = true;
    dbg_crash_callback ask = consult<1>;
    const char *name = "place";
};

TEST(Report, FollowsItsSwitches) {
    const std::string line = "place:  bad 7\n";
    const std::string asked = line + "asked[place|bad 7]\n";
    const std::string trail = "trail[place  :bad |69]\n" + ENDS;
    const std::string info = "place:  bad 7 (INFO MESSAGE)\n=1";
    const std::string longest(254, 'n');
    const report_row rows[] = {
        {.what = "not verbose", .out = "=0", .verbose = 0},
        {.what = "user", .out = CONTINUES + "=1", .mode = RUN_MODE_USER},
        {.what = "set to continue", .out = line + CONTINUES + "=1", .ends = DBG_ERR_CONTINUES},
        {.what = "none to ask", .out = line + trail, .ask = nullptr},
        {.what = "callback ends", .out = asked + trail},
        {.what = "callback continues", .out = asked + CONTINUES + "=1", .ask = consult<0>},
        {.what = "input mode 1", .out = asked + trail, .input = 1},
        {.what = "no environment", .out = line + trail, .input = 1, .in_env = false},
        {.what = "regression", .out = line + trail, .mode = RUN_MODE_REGRESSION, .input = 1},
        {.what = "no callback", .out = line + trail, .mode = RUN_MODE_NO_CALLBACK, .input = 1},
        {.what = "no name", .out = "asked[|]\n" + ENDS, .name = nullptr},
        {.what = "trail is cut",
         .out = longest + ":  bad 7\n" + "trail[" + longest + "  :b|69]\n" + ENDS,
         .ask = nullptr,
         .name = longest.c_str()},
        {.what = "call, not verbose", .out = "=0", .report = dbg_err_syserr, .verbose = 0},
        {.what = "call, user", .out = "=1", .report = dbg_err_syserr, .mode = RUN_MODE_USER},
        {.what = "call", .out = "place:  bad 7 (ORDER_DEBUG)\n=1", .report = dbg_err_syserr},
        {.what = "trace, user", .out = "=0", .report = dbg_print_info, .mode = RUN_MODE_USER},
        {.what = "trace", .out = info, .report = dbg_print_info, .verbose = 0},
    };
    for (const report_row &row : rows) {
        const child_result child = run_in_child([&row] {
            switch_on(row.mode, row.verbose);
            set_dbg_err_crash(row.ends);
            set_input_mode(row.input);
            row.in_env ? setenv("DBG_ERR_SHOW_DIALOG", "", 1) : unsetenv("DBG_ERR_SHOW_DIALOG");
            set_dbg_err_crash_callback(row.ask);
            std::printf("=%d", row.report(row.name, "bad %d", 7));
        });
        EXPECT_EQ(child.out, row.out) << row.what;
        EXPECT_EQ(child.status, row.out.find('=') != std::string::npos ? 0 : 2) << row.what;
    }
}

void print_message_id(int message_id, ...) {
    std::printf("%d\n", message_id);
}

TEST(MessageHook, GetsAllArgumentsWhenInstalled) {
    const child_result child = run_in_child([] {
        mgr_msgID_put(7, "nobody hears");
        set_mgr_msg_func(print_message);
        set_mgr_msgID_func(print_message_id);
        mgr_msg_put("key", "%d %g %s", 5, 2.5, "more");
        mgr_msgID_put(8, "item");
    });
    EXPECT_EQ(child.out, "key: 5 2.5 more\n8\n");
}

// A trap that jumped out of a report once left its mark set: every later report was dropped. One
// that was taken inside once cleared it: a second report was printed inside the first, and its text
// replaced the callback's message.
TEST(Report, KeepsItsMarkThroughTrapsInsideAndLosesItToOnesThatLeave) {
    const child_result child = run_in_child([] {
        switch_on(RUN_MODE_PFA_TRACE);
        set_dbg_err_crash_callback([](const char *, const char *message) {
            EXPECT_FALSE(call_with_memory_trap([] { error_break("inner"); }));
            EXPECT_EQ(dbg_err_crash("callback", "dropped"), 0);
            std::printf("%s\n", message);
            error_break("outer");
            std::printf("not trapped\n");
            return 0;
        });
        EnableThreading();
        EXPECT_FALSE(call_with_memory_trap([] { dbg_err_crash("place", "bad"); }));
        dbg_err_crash("place", "bad"); // no frame: the trap releases the report's lock
    });
    const std::string report = "place:  bad\ninner: inner\nbad\nouter: outer\n";
    EXPECT_EQ(child.out, report + report + "not trapped\n" + CONTINUES);
    EXPECT_EQ(child.status, 0);
}

TEST(Report, LeavesItsLocksToOtherThreads) {
    const child_result child = run_in_child([] {
        switch_on(RUN_MODE_PFA_TRACE);
        set_dbg_err_crash(DBG_ERR_CONTINUES);
        EnableThreading();
        alarm(10); // ends a thread that waits forever
        const auto report = [] {
            dbg_err_crash("place", nullptr);
            dbg_err_syserr("place", nullptr);
            dbg_print_info("place", nullptr);
        };
        report();
        std::thread(report).join();
    });
    EXPECT_EQ(child.status, 0);
}

TEST(RunMode, CurrentAndAddedModes) {
    set_run_mode(9329);
    EXPECT_EQ(regression_run_mode(), 1);
    run_on_threads(8, [](int) {
        for (int mode = 100; mode < 130; ++mode) {
            EXPECT_EQ(add_run_mode(mode), 1);
        }
    });
    for (int mode = 90; mode < 9400; ++mode) {
        EXPECT_EQ(is_run_mode(mode), (mode >= 100 && mode < 130) || mode == 9329) << mode;
    }
}

template <char Letter>
void print_handler(int code) {
    std::printf("%c%d\n", Letter, code);
}

std::int64_t blocks_added_by_registering(wlx_exit_handler handler) {
    const std::int64_t before = get_memory_statistics().num_blocks;
    EXPECT_EQ(wlx_exit_register(handler), 1);
    return get_memory_statistics().num_blocks - before;
}

// The list of handlers is read before each call, but counted once: one that is registered meanwhile
// moves the others up by one. Each registration makes a new list; a run may still read the old one.
TEST(ProcessEnd, HandlersRunOnceNewestFirst) {
    const child_result child = run_in_child([] {
        EXPECT_EQ(wlx_exit_register(nullptr), 0);
        EXPECT_EQ(wlx_exit_register(print_handler<'a'>), 1);
        wlx_exit_register([](int) {
            static bool registered = false;
            std::printf("b\n");
            if (!std::exchange(registered, true)) {
                EXPECT_EQ(blocks_added_by_registering(print_handler<'n'>), 1);
            }
        });
        EXPECT_EQ(blocks_added_by_registering(print_handler<'c'>), 0);
        set_wlx_exit_func(print_handler<'x'>);
        crash();
        EXPECT_EQ(blocks_added_by_registering(print_handler<'d'>), 1);
        EXPECT_EQ(err_crash(nullptr, nullptr), 0);
        set_wlx_exit_func(nullptr);
        wlx_exit(testing::Test::HasFailure() ? 1 : 3);
    });
    EXPECT_EQ(child.out, FATAL + "c2\nb\nb\nx2\n:  \n" + FATAL + "x2\n");
    EXPECT_EQ(child.status, 3);
}

TEST(ProcessEnd, SignalOfTheDebugSwitchLosesNoOutput) {
    const child_result child = run_in_child([] {
        std::printf("%d", ctsu_raise_signal(-1)); // none
        std::printf("%d", ctsu_raise_signal(4711));
        std::printf("%d\n", ctsu_raise_signal(0));
        set_vek_debug_switch(1);
        std::signal(SIGSEGV, SIG_DFL); // not a sanitizer's handler
        err_crash("place", "not lost");
    });
    const std::string raising = "RAISING SIGNAL : Signal number : ";
    EXPECT_EQ(child.out, "001\nplace:  not lost\n");
    EXPECT_EQ(child.err, raising + "4711\nAPPLICATION ERROR\n" + raising +
                             "0\nRaised Signal number : 0\n" + raising + "11\n");
    EXPECT_EQ(child.status, -SIGSEGV);
}

// The message file is the child's standard output, opened anew for each message.
TEST(BoxedMessage, GoesToTheFileOrStandardErrorAndSignalsWhenAllowed) {
    const std::string longest(999, 'x');
    const child_result child = run_in_child([&] {
        dbg_crash_msg("nobody", "hears");
        dbg_set_allow_print(1);
        dbg_crash_msg("no", "signal");
        dbg_set_allow_crash(1);
        EXPECT_EQ(dbg_set_error_file_name(std::string(259, 'x').c_str()), 1);
        dbg_set_error_file_name("/dev/stdout");
        EXPECT_EQ(dbg_set_error_file_name(std::string(260, 'x').c_str()), 0);
        dbg_error_msg("there", 'B', "n %d", 2);
        dbg_info_msg(nullptr, nullptr);
        dbg_set_error_file_name(nullptr);
        dbg_set_crash_func([](const char *name) {
            dbg_crash_msg(name, "nested: dropped, or this would never end");
            return 0;
        });
        dbg_crash_msg("refused", "%sx", longest.c_str());
        dbg_fprintf(nullptr, "%sx", longest.c_str());
        std::fflush(stdout);
        dbg_set_crash_func(nullptr);
        dbg_crash_msg("a", "signal");
    });
    EXPECT_EQ(child.status, -SIGUSR1);
    EXPECT_EQ(child.out, "\n*** B-LEVEL ERROR in there : ***\n\tn 2\n"
                         "\n*** INFO MESSAGE from  : ***\n\t\n");
    EXPECT_EQ(child.err, "\n*** FATAL ERROR in no : ***\n\tsignal\n"
                         "\n*** FATAL ERROR in refused : ***\n\t" +
                             longest + "\n" + longest + "\n*** FATAL ERROR in a : ***\n\tsignal\n");
}

} // namespace
