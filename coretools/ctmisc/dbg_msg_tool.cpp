// Boxed diagnostic messages.
#include "coretools/ctmisc/dbg_msg_tool.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctmisc/lazy_mutex.h"
#include "coretools/ctmisc/report_services_internal.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstring>

#include <unistd.h>

namespace {

constexpr int MESSAGE_SIZE = 1000;
constexpr int FILE_NAME_SIZE = 260;

std::atomic<int> dbg_allow_print{0};
std::atomic<int> dbg_allow_crash{0};
std::atomic<dbg_crash_func> crash_func{nullptr};
constinit trp_mark dbg_msg_tool_called;
constinit lazy_mutex dbg_msg_tool_lock{thrMutex_Create_Recursive};

// Guarded by dbg_msg_tool_lock.
char dbg_error_fname[FILE_NAME_SIZE];
bool fresh = true; // no message has gone to a file yet

// Cuts what does not fit; a missing or refused format gives the empty text.
void format_message(char (&message)[MESSAGE_SIZE], const char *format, std::va_list arguments) {
    vek_held_text held;
    vek_hold_text(&held, format, arguments);
    std::snprintf(message, sizeof message, "%s", held.text != nullptr ? held.text : "");
    vek_release_text(&held);
}

// Must be called with dbg_msg_tool_lock held.
void write_box(const char *title, const char *name, const char *message) {
    std::FILE *file = nullptr;
    if (dbg_error_fname[0] != '\0') {
        file = dci_fopen(dbg_error_fname, fresh ? "w" : "a");
    }
    std::fprintf(file != nullptr ? file : stderr, "\n*** %s %s : ***\n\t%s\n", title,
                 name != nullptr ? name : "", message);
    if (file != nullptr) {
        std::fclose(file);
        fresh = false;
    }
}

// Must be called with dbg_msg_tool_lock held.
bool wants_signal(const char *name) {
    if (dbg_allow_crash == 0) {
        return false;
    }
    const dbg_crash_func function = crash_func;
    return function == nullptr || function(name) != 0;
}

// No scoped guard: a trap in the crash function or the notice of the file can jump out of here.
void dbg_msg_tool(bool fatal, const char *title, const char *name, const char *format,
                  std::va_list arguments) {
    trp_marked_call call;
    if (!trp_enter_call(&call, &dbg_msg_tool_called)) {
        return;
    }
    // Formatted before the lock is taken and a file is open: formatting can run out of memory, and
    // the trap would release the one and leave the other open.
    const bool printed = dbg_allow_print != 0;
    char message[MESSAGE_SIZE] = "";
    if (printed) {
        format_message(message, format, arguments);
    }
    lock_dbg_msg_tool();
    const bool signals = fatal && wants_signal(name);
    if (printed) {
        write_box(title, name, message);
    }
    unlock_dbg_msg_tool();
    trp_leave_call(&call);
    if (signals) {
        kill(getpid(), SIGUSR1);
    }
}

} // namespace

void lock_dbg_msg_tool() {
    lazy_mutex_lock(&dbg_msg_tool_lock);
}

void unlock_dbg_msg_tool() {
    lazy_mutex_unlock(&dbg_msg_tool_lock);
}

void dbg_set_allow_print(int allowed) {
    dbg_allow_print = allowed;
}

void dbg_set_allow_crash(int allowed) {
    dbg_allow_crash = allowed;
}

void dbg_set_crash_func(dbg_crash_func function) {
    crash_func = function;
}

int dbg_set_error_file_name(const char *name) {
    const std::size_t length = name != nullptr ? strnlen(name, FILE_NAME_SIZE) : 0;
    if (length == FILE_NAME_SIZE) {
        return 0;
    }
    const lazy_mutex_guard guard(dbg_msg_tool_lock);
    if (length > 0) {
        std::memcpy(dbg_error_fname, name, length);
    }
    dbg_error_fname[length] = '\0';
    return 1;
}

void dbg_fprintf(std::FILE *stream, const char *format, ...) {
    char message[MESSAGE_SIZE];
    std::va_list arguments;
    va_start(arguments, format);
    format_message(message, format, arguments);
    va_end(arguments);
    std::fprintf(stream != nullptr ? stream : stderr, "%s", message);
}

void dbg_crash_msg(const char *name, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    dbg_msg_tool(true, "FATAL ERROR in", name, format, arguments);
    va_end(arguments);
}

void dbg_error_msg(const char *name, char level, const char *format, ...) {
    char title[] = "?-LEVEL ERROR in";
    title[0] = level;
    std::va_list arguments;
    va_start(arguments, format);
    dbg_msg_tool(false, title, name, format, arguments);
    va_end(arguments);
}

void dbg_info_msg(const char *name, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    dbg_msg_tool(false, "INFO MESSAGE from", name, format, arguments);
    va_end(arguments);
}
