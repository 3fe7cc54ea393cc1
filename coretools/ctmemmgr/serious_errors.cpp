// Reports of serious errors: silent unless switched on, fatal, or handed to the traps.
//
// Reports stand under every layer and yet use two upper ones, the formatting engine and the input
// mode: calls of single functions, on purpose, because a report must read like every other text and
// respect the way in which the process is run.
#include "coretools/ctmemmgr/serious_errors.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctfileutil/input_mode.h"
#include "coretools/ctmisc/crash.h"
#include "coretools/ctmisc/lazy_mutex.h"
#include "coretools/ctmisc/mgr_msg.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctplatform/wide_text.h"
#include "coretools/ctwcfun/held_text_internal.h"
#include "coretools/ctwcfun/vek_vsprintf.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int UNDECIDED = -1;
constexpr int INPUT_MODE_WITHOUT_DIALOG = 1;
constexpr int TRAIL_CODE = 69;
constexpr int TRAIL_SIZE = 260;
constexpr char CRASHING_OUT[] = "dbg_err_crash() -- crashing out in ORDER_DEBUG ONLY.";

std::atomic<int> order_debug{0};
std::atomic<int> should_alert_on_error{UNDECIDED};
std::atomic<int> should_show_dialog{UNDECIDED};
std::atomic<dbg_crash_callback> dbg_err_crash_callback{nullptr};
constinit trp_mark dbg_crash_called;

constinit lazy_mutex dbg_crash_lock{thrMutex_Create_Recursive};
constinit lazy_mutex dbg_err_syserr_lock{thrMutex_Create_Recursive};
constinit lazy_mutex dbg_print_info_lock{thrMutex_Create_Recursive};

} // namespace

void lock_dbg_crash() {
    lazy_mutex_lock(&dbg_crash_lock);
}

void unlock_dbg_crash() {
    lazy_mutex_unlock(&dbg_crash_lock);
}

void lock_dbg_err_syserr() {
    lazy_mutex_lock(&dbg_err_syserr_lock);
}

void unlock_dbg_err_syserr() {
    lazy_mutex_unlock(&dbg_err_syserr_lock);
}

void lock_dbg_print_info() {
    lazy_mutex_lock(&dbg_print_info_lock);
}

void unlock_dbg_print_info() {
    lazy_mutex_unlock(&dbg_print_info_lock);
}

void set_verbose_mode(int on) {
    order_debug = on;
}

int get_verbose_mode() {
    return order_debug;
}

void set_dbg_err_crash(int ends_process) {
    should_alert_on_error = ends_process;
}

dbg_crash_callback set_dbg_err_crash_callback(dbg_crash_callback callback) {
    lock_dbg_crash();
    const dbg_crash_callback previous = dbg_err_crash_callback.exchange(callback);
    unlock_dbg_crash();
    return previous;
}

static const char *text_or_empty(const char *text) {
    return text != nullptr ? text : "";
}

// The formatted message in this thread's engine buffer, or the empty text. Reports format before
// they take their lock: formatting can run out of memory, and the trap then releases the lock.
static const char *formatted(const char *format, std::va_list arguments) {
    return format != nullptr ? text_or_empty(vek_vsprintf(nullptr, format, arguments)) : "";
}

static void decide_what_a_serious_error_does() {
    int undecided = UNDECIDED;
    should_alert_on_error.compare_exchange_strong(undecided, user_run_mode() == 0);
    if (should_show_dialog == UNDECIDED) {
        if (get_input_mode() != INPUT_MODE_WITHOUT_DIALOG) {
            should_show_dialog = 1;
        } else if (get_run_mode() == RUN_MODE_REGRESSION ||
                   get_run_mode() == RUN_MODE_NO_CALLBACK) {
            should_show_dialog = 0;
        } else {
            should_show_dialog = std::getenv("DBG_ERR_SHOW_DIALOG") != nullptr;
        }
    }
}

static void put_in_trail(const char *text) {
    vek_wchar wide[TRAIL_SIZE];
    mgr_msg_put_in_trl(strtows(wide, text), TRAIL_CODE);
}

// The trail's line for a report: name and message, 258 characters at most and always without the
// last character.
static void make_trail_line(char (&line)[TRAIL_SIZE], const char *name, const char *message) {
    std::snprintf(line, sizeof line, "%s  :", name);
    const std::size_t prefix = std::strlen(line);
    const std::size_t room = sizeof line - 1;
    const std::size_t whole = std::min(prefix + std::strlen(message), room);
    std::memcpy(line + prefix, message, whole - prefix);
    line[whole - 1] = '\0';
}

// message is null if there is none. shown: the report may print and keep name and message.
static void report_serious_error(const char *name, bool shown, const char *message) {
    char trail_line[TRAIL_SIZE] = "";
    if (shown) {
        make_trail_line(trail_line, name, text_or_empty(message));
        std::printf("%s:  %s\n", name, text_or_empty(message));
    }
    bool ends = should_alert_on_error != 0;
    const dbg_crash_callback callback = dbg_err_crash_callback;
    if (ends && should_show_dialog == 1 && callback != nullptr) {
        ends = callback(name, message) != 0;
    }
    if (!ends) {
        std::printf("dbg_err_crash() -- continuing from serious error (%s).\n", "ORDER_DEBUG");
        mgr_msg_put("dummy message",
                    "dbg_err_crash() - continuing from serious error (ORDER_DEBUG).");
        return;
    }
    if (name != nullptr) {
        put_in_trail(trail_line);
    }
    put_in_trail(CRASHING_OUT);
    std::printf("%s\n", CRASHING_OUT);
    crash();
}

int dbg_err_crash(const char *name, const char *format, ...) {
    trp_marked_call call;
    if (order_debug == 0 || !trp_enter_call(&call, &dbg_crash_called)) {
        return 0;
    }
    const bool shown = user_run_mode() == 0 && name != nullptr;
    vek_held_text message; // the callback may format
    if (shown && format != nullptr) {
        std::va_list arguments;
        va_start(arguments, format);
        vek_hold_text(&message, format, arguments);
        va_end(arguments);
    }
    lock_dbg_crash();
    decide_what_a_serious_error_does();
    report_serious_error(name, shown,
                         shown && format != nullptr ? text_or_empty(message.text) : nullptr);
    vek_release_text(&message);
    trp_leave_call(&call);
    unlock_dbg_crash();
    return 1;
}

int dbg_err_syserr(const char *name, const char *format, ...) {
    if (order_debug == 0) {
        return 0;
    }
    const bool shown = user_run_mode() == 0 && name != nullptr;
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = shown ? formatted(format, arguments) : "";
    va_end(arguments);
    lock_dbg_err_syserr();
    if (shown) {
        std::printf("%s:  %s (ORDER_DEBUG)\n", name, text);
    }
    unlock_dbg_err_syserr();
    return 1;
}

int dbg_print_info(const char *name, const char *format, ...) {
    if (user_run_mode() != 0) {
        return 0;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = formatted(format, arguments);
    va_end(arguments);
    lock_dbg_print_info();
    if (name != nullptr) {
        std::printf("%s:  %s (INFO MESSAGE)\n", name, text);
    } else {
        std::printf("%s\n", text);
    }
    unlock_dbg_print_info();
    return 1;
}

int err_crash(const char *name, const char *text) {
    std::printf("%s:  %s\n", text_or_empty(name), text_or_empty(text));
    crash();
    return 0;
}

// The hook may itself run out of memory, which then is not told a second time.
static void tell_hook(const char *text) {
    static thread_local trp_mark telling;
    trp_marked_call call;
    if (trp_enter_call(&call, &telling)) {
        mgr_msg_put(text, text);
        trp_leave_call(&call);
    }
}

void error_break(const char *text) {
    tell_hook(text);
    dbg_err_crash("error_break", text);
    trp_execute(TRP_CLASS_MEMORY);
}
