// Message hooks: a host application installs a function and receives the messages itself.
//
// Each mgr_ call hands all its arguments, unchanged and in order, to the installed function, and
// does nothing while none is installed. Installing null takes a hook out. A hook may be called by
// any thread, and must be ready to be called from inside a report.
#pragma once

#include "coretools/ctplatform/wide_text.h"

#include <type_traits>

using mgr_msg_func = void (*)(const char *key, const char *text, ...);
using mgr_msgID_func = void (*)(int message_id, ...);
using mgr_msg_put_in_trl_func = void (*)(const vek_wchar *text, int code);

void set_mgr_msg_func(mgr_msg_func function);
void set_mgr_msgID_func(mgr_msgID_func function);
void set_mgr_msg_put_in_trl_func(mgr_msg_put_in_trl_func function);

mgr_msg_func get_mgr_msg_func();
mgr_msgID_func get_mgr_msgID_func();

template <class... Further>
void mgr_msg_put(const char *key, const char *text, Further... further) {
    static_assert((std::is_scalar_v<Further> && ...), "a hook takes numbers and pointers");
    if (const mgr_msg_func function = get_mgr_msg_func(); function != nullptr) {
        function(key, text, further...);
    }
}

template <class... Further>
void mgr_msgID_put(int message_id, Further... further) {
    static_assert((std::is_scalar_v<Further> && ...), "a hook takes numbers and pointers");
    if (const mgr_msgID_func function = get_mgr_msgID_func(); function != nullptr) {
        function(message_id, further...);
    }
}

// A line for the trail file of the host application.
void mgr_msg_put_in_trl(const vek_wchar *text, int code);
