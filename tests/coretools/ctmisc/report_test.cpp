// Reports: what each prints, asks and ends, for every combination of switches that decides it.
#include <csetjmp>
#include <cstdarg>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctfileutil/input_mode.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/mgr_msg.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "tests/support/child_process.h"
#include "tests/support/threads.h"

namespace {

const std::string FATAL = "Serious internal error; cannot continue.\n";
const std::string CONTINUES =
    "dbg_err_crash() -- continuing from serious error (ORDER_DEBUG).\n"
    "dummy message: dbg_err_crash() - continuing from serious error (ORDER_DEBUG).\n";
const std::string CRASHING_OUT = "dbg_err_crash() -- crashing out in ORDER_DEBUG ONLY.";
const std::string ENDS = "trail[" + CRASHING_OUT + "|69]\n" + CRASHING_OUT + "\n" + FATAL;

int callback_answer;

int print_callback(const char *name, const char *message) {
    std::printf("asked[%s|%s]\n", name != nullptr ? name : "null",
                message != nullptr ? message : "null");
    return callback_answer;
}

void print_message(const char *key, const char *text, ...) {
    std::va_list arguments;
    va_start(arguments, text);
    std::printf("%s: ", key);
    std::vprintf(text, arguments);
    std::printf("\n");
    va_end(arguments);
}

void print_trail(const vek_wchar *text, int code) {
    char narrow[3 * 260 + 1];
    std::printf("trail[%s|%d]\n", wstostr(narrow, text), code);
}

void switch_on(int run_mode) {
    set_mgr_msg_func(print_message);
    set_mgr_msg_put_in_trl_func(print_trail);
    set_verbose_mode(1);
    set_run_mode(run_mode);
}

TEST(Report, FollowsItsSwitches) {
    const std::string line = "place:  bad 7\n";
    const std::string asked = "asked[place|bad 7]\n";
    const std::string trail = "trail[place  :bad |69]\n";
    const struct {
        int (*report)(const char *name, const char *format, ...);
        int verbose, run_mode, ends_process, input_mode;
        const char *environment;
        int callback; // what it answers, -1 for none
        const char *name, *format;
        std::string output; // "=" and the result come last, when there is one
    } rows[] = {
        {dbg_err_crash, 0, 9998, 1, 0, nullptr, 1, "place", "bad %d", "=0"},
        {dbg_err_crash, 1, 0, -1, 0, nullptr, 1, "place", "bad %d", CONTINUES + "=1"},
        {dbg_err_crash, 1, 9998, -1, 0, nullptr, -1, "place", "bad %d", line + trail + ENDS},
        {dbg_err_crash, 1, 9998, 0, 0, nullptr, 1, "place", "bad %d", line + CONTINUES + "=1"},
        {dbg_err_crash, 1, 9998, -1, 0, nullptr, 0, "place", "bad %d",
         line + asked + CONTINUES + "=1"},
        {dbg_err_crash, 1, 9998, -1, 0, nullptr, 1, "place", "bad %d", line + asked + trail + ENDS},
        {dbg_err_crash, 1, 9029, -1, 1, "", 0, "place", "bad %d", line + trail + ENDS},
        {dbg_err_crash, 1, -151, -1, 1, "", 0, "place", "bad %d", line + trail + ENDS},
        {dbg_err_crash, 1, 9998, -1, 1, nullptr, 0, "place", "bad %d", line + trail + ENDS},
        {dbg_err_crash, 1, 9998, -1, 1, "", 1, "place", "bad %d", line + asked + trail + ENDS},
        {dbg_err_crash, 1, 9998, -1, 0, nullptr, 1, nullptr, "bad %d", "asked[null|null]\n" + ENDS},
        {dbg_err_crash, 1, 9998, -1, 0, nullptr, 1, "place", nullptr,
         "place:  \nasked[place|null]\ntrail[place  |69]\n" + ENDS},
        {dbg_err_crash, 1, 9998, -1, 0, nullptr, -1, "place", "%hd",
         "place:  \ntrail[place  |69]\n" + ENDS},
        {dbg_err_crash, 1, 0, 1, 0, nullptr, -1, "place", "bad %d", "trail[|69]\n" + ENDS},
        {dbg_err_syserr, 0, 9998, 1, 0, "", 1, "place", "bad %d", "=0"},
        {dbg_err_syserr, 1, 0, 1, 0, "", 1, "place", "bad %d", "=1"},
        {dbg_err_syserr, 1, 9998, 1, 0, "", 1, "place", "bad %d",
         "place:  bad 7 (ORDER_DEBUG)\n=1"},
        {dbg_err_syserr, 1, 9998, 1, 0, "", 1, "place", nullptr, "place:   (ORDER_DEBUG)\n=1"},
        {dbg_err_syserr, 1, 9998, 1, 0, "", 1, nullptr, "bad %d", "=1"},
        {dbg_print_info, 1, 0, 1, 0, "", 1, "place", "bad %d", "=0"},
        {dbg_print_info, 0, 1, 1, 0, "", 1, "place", "bad %d", "place:  bad 7 (INFO MESSAGE)\n=1"},
        {dbg_print_info, 0, 1, 1, 0, "", 1, "place", nullptr, "place:   (INFO MESSAGE)\n=1"},
        {dbg_print_info, 0, 1, 1, 0, "", 1, nullptr, "bad %d", "bad 7\n=1"},
    };
    for (const auto &row : rows) {
        const child_result child = run_in_child([&row] {
            switch_on(row.run_mode);
            set_verbose_mode(row.verbose);
            set_dbg_err_crash(row.ends_process);
            set_input_mode(row.input_mode);
            unsetenv("DBG_ERR_SHOW_DIALOG");
            if (row.environment != nullptr) {
                setenv("DBG_ERR_SHOW_DIALOG", row.environment, 1);
            }
            callback_answer = row.callback;
            set_dbg_err_crash_callback(row.callback >= 0 ? print_callback : nullptr);
            std::printf("=%d", row.report(row.name, row.format, 7));
        });
        const long line_number = &row - rows;
        EXPECT_EQ(child.out, row.output) << line_number;
        EXPECT_EQ(child.status, row.output.find('=') != std::string::npos ? 0 : 2) << line_number;
    }
}

TEST(Report, UndecidedSettingsAreDecidedOnce) {
    const child_result child = run_in_child([] {
        switch_on(0);
        dbg_err_crash("place", "first");
        set_run_mode(9998); // would now end the process
        dbg_err_crash("place", "second");
    });
    EXPECT_EQ(child.out, CONTINUES + "place:  second\n" + CONTINUES);
}

TEST(Report, TrailLineIsCut) {
    for (const std::size_t message_length : {0, 1, 246, 247, 248, 249, 300}) {
        for (const std::size_t name_length : {1, 9, 255, 256, 257, 400}) {
            const std::string name(name_length, 'n');
            const std::string message(message_length, 'm');
            const child_result child = run_in_child([&] {
                switch_on(9998);
                dbg_err_crash(name.c_str(), "%s", message.c_str());
            });
            const std::string whole = (name + "  :").substr(0, 259) + message;
            const std::string kept = whole.substr(0, std::min<std::size_t>(whole.size(), 259) - 1);
            EXPECT_NE(child.out.find("trail[" + kept + "|69]\n"), std::string::npos) << child.out;
        }
    }
}

void report_from_handler(int) {
    std::printf("handler: %d\n", dbg_err_crash("handler", "nested"));
}

TEST(Report, NestedSeriousErrorIsDropped) {
    const child_result child = run_in_child([] {
        switch_on(9998);
        wlx_exit_register(report_from_handler);
        dbg_err_crash(nullptr, nullptr);
    });
    EXPECT_EQ(child.out, ENDS + "handler: 0\n");
}

int break_in_callback(const char *, const char *) {
    error_break("Memory error.");
    std::printf("not trapped\n");
    return 0;
}

void report_under_trap(int) {
    std::jmp_buf context;
    trp_push_frame(TRP_CLASS_MEMORY, &context);
    if (setjmp(context) == 0) {
        dbg_err_crash("place", nullptr);
    } else {
        std::printf("trapped\n");
    }
    trp_pop_frame();
}

// A trap that jumped out of a report once left its mark set: every later report was dropped.
TEST(Report, TrapOutOfAReportLeavesReportsUsable) {
    const child_result child = run_in_child([] {
        EnableThreading();
        switch_on(9998);
        set_dbg_err_crash_callback(break_in_callback);
        report_under_trap(0);
        run_on_threads(1, report_under_trap); // would wait for ever for a lock that was kept
        EnableThreading();
        dbg_err_crash("place", nullptr); // no frame: the lock is gone when the callback returns
        std::printf("=%d\n", set_dbg_err_crash_callback(nullptr) == break_in_callback);
    });
    const std::string told = "place:  \nMemory error.: Memory error.\n";
    EXPECT_EQ(child.out, told + "trapped\n" + told + "trapped\n" + told + "not trapped\n" +
                             CONTINUES + "=1\n");
    EXPECT_EQ(child.status, 0) << child.err;
}

TEST(Report, HookReceivesEveryArgument) {
    const child_result child = run_in_child([] {
        mgr_msg_put("nobody", "hears %d", 4);
        switch_on(0);
        mgr_msg_put("key", "%d %g %s", 5, 2.5, "more");
    });
    EXPECT_EQ(child.out, "key: 5 2.5 more\n");
}

TEST(Report, LinesOfThreadsStayWhole) {
    constexpr int LINES = 100;
    const child_result child = run_in_child([] {
        set_verbose_mode(1);
        set_run_mode(7);
        set_dbg_err_crash(0);
        run_on_threads(8, [](int) {
            for (int n = 0; n < LINES; ++n) {
                dbg_print_info("info", "%600d", n);
                dbg_err_syserr("call", "%0*d", 600, n);
                dbg_err_crash(nullptr, nullptr);
                add_run_mode(n);
                std::printf("%s", is_run_mode(n) != 0 ? "" : "lost run mode\n");
            }
        });
    });
    EXPECT_EQ(child.status, 0) << child.err;
    std::map<std::string, int> lines;
    std::istringstream out(child.out);
    for (std::string line; std::getline(out, line);) {
        ++lines[line];
    }
    EXPECT_EQ(lines.size(), 2 * LINES + 1);
    for (const auto &[line, count] : lines) {
        EXPECT_TRUE(count == 8 || line.rfind("dbg_err_crash()", 0) == 0) << line << count;
    }
}

} // namespace
