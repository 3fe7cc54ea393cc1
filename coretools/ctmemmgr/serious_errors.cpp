// Reports of serious errors.
#include "coretools/ctmemmgr/serious_errors.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctmisc/crash.h"
#include "coretools/ctmisc/lazy_mutex.h"
#include "coretools/ctmisc/mgr_msg.h"
#include "coretools/ctmisc/report_services_internal.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctplatform/wide_text.h"

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
std::atomic<int> should_alert_on_error{DBG_ERR_UNDECIDED};
std::atomic<int> should_show_dialog{UNDECIDED};
std::atomic<dbg_crash_callback> dbg_err_crash_callback{nullptr};
constinit trp_mark dbg_crash_called;

constinit lazy_mutex dbg_crash_lock{thrMutex_Create_Recursive};
constinit lazy_mutex dbg_err_syserr_lock{thrMutex_Create_Recursive};
constinit lazy_mutex dbg_print_info_lock{thrMutex_Create_Recursive};

const char *text_or_empty(const char *text) {
    return text != nullptr ? text : "";
}

void decide_what_a_serious_error_does() {
    int undecided = DBG_ERR_UNDECIDED;
    should_alert_on_error.compare_exchange_strong(
        undecided, user_run_mode() != 0 ? DBG_ERR_CONTINUES : DBG_ERR_ENDS_PROCESS);
    if (should_show_dialog == UNDECIDED) {
        const int mode = get_run_mode();
        const bool by_wish = mode != RUN_MODE_REGRESSION && mode != RUN_MODE_NO_CALLBACK &&
                             std::getenv("DBG_ERR_SHOW_DIALOG") != nullptr;
        should_show_dialog = get_input_mode() != INPUT_MODE_WITHOUT_DIALOG || by_wish ? 1 : 0;
    }
}

void put_in_trail(const char *text) {
    vek_wchar wide[TRAIL_SIZE];
    mgr_msg_put_in_trl(strtows(wide, text), TRAIL_CODE);
}

// The trail's line for a report: name and message, at most 258 characters and always without the
// last character.
void make_trail_line(char (&line)[TRAIL_SIZE], const char *name, const char *message) {
    std::snprintf(line, sizeof line, "%s  :%s", name, message);
    line[std::strlen(line) - 1] = '\0';
}

// message is null if there is none. shown: name and message are printed and kept.
void report_serious_error(const char *name, bool shown, const char *message) {
    char trail_line[TRAIL_SIZE] = "";
    if (shown) {
        make_trail_line(trail_line, name, text_or_empty(message));
        std::printf("%s:  %s\n", name, text_or_empty(message));
    }
    bool ends = should_alert_on_error != DBG_ERR_CONTINUES;
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

// Each report formats before it takes its lock: formatting can run out of memory, and the trap then
// releases the lock. The message is held because a callback or hook may format. Empty if there is
// no format or it is refused.
const char *hold_message(vek_held_text *held, const char *format, std::va_list arguments) {
    return format != nullptr ? text_or_empty(vek_hold_text(held, format, arguments)) : "";
}

// Prints one line; `kind` goes with a name.
void print_report(lazy_mutex &lock, const char *name, const char *kind, const char *format,
                  std::va_list arguments) {
    vek_held_text held;
    const char *message = hold_message(&held, format, arguments);
    {
        const lazy_mutex_guard guard(lock);
        if (name != nullptr) {
            std::printf("%s:  %s (%s)\n", name, message, kind);
        } else {
            std::printf("%s\n", message);
        }
    }
    vek_release_text(&held);
}

// The hook may itself run out of memory, which then is not passed to it again.
void put_in_hook(const char *text) {
    static thread_local trp_mark in_hook;
    trp_marked_call call;
    if (trp_enter_call(&call, &in_hook)) {
        mgr_msg_put(text, text);
        trp_leave_call(&call);
    }
}

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

void set_dbg_err_crash(int what_it_does) {
    should_alert_on_error = what_it_does;
}

dbg_crash_callback set_dbg_err_crash_callback(dbg_crash_callback callback) {
    const lazy_mutex_guard guard(dbg_crash_lock);
    return dbg_err_crash_callback.exchange(callback);
}

// No scoped guard: a trap in the callback can jump out of here.
int dbg_err_crash(const char *name, const char *format, ...) {
    trp_marked_call call;
    if (order_debug == 0 || !trp_enter_call(&call, &dbg_crash_called)) {
        return 0;
    }
    const bool shown = user_run_mode() == 0 && name != nullptr;
    const char *message = nullptr;
    vek_held_text held;
    if (shown && format != nullptr) {
        std::va_list arguments;
        va_start(arguments, format);
        message = hold_message(&held, format, arguments);
        va_end(arguments);
    }
    lock_dbg_crash();
    decide_what_a_serious_error_does();
    report_serious_error(name, shown, message);
    vek_release_text(&held);
    trp_leave_call(&call);
    unlock_dbg_crash();
    return 1;
}

int dbg_err_syserr(const char *name, const char *format, ...) {
    if (order_debug == 0) {
        return 0;
    }
    if (user_run_mode() != 0 || name == nullptr) {
        return 1;
    }
    std::va_list arguments;
    va_start(arguments, format);
    print_report(dbg_err_syserr_lock, name, "ORDER_DEBUG", format, arguments);
    va_end(arguments);
    return 1;
}

int dbg_print_info(const char *name, const char *format, ...) {
    if (user_run_mode() != 0) {
        return 0;
    }
    std::va_list arguments;
    va_start(arguments, format);
    print_report(dbg_print_info_lock, name, "INFO MESSAGE", format, arguments);
    va_end(arguments);
    return 1;
}

int err_crash(const char *name, const char *text) {
    std::printf("%s:  %s\n", text_or_empty(name), text_or_empty(text));
    crash();
    return 0;
}

void error_break(const char *text) {
    put_in_hook(text);
    dbg_err_crash("error_break", text);
    trp_execute(TRP_CLASS_MEMORY);
}
