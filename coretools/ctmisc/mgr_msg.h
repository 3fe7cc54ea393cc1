// Message hooks: a host application installs functions that receive the messages.
//
// Each mgr_ call passes its arguments, unchanged and in order, to the installed function, and does
// nothing if there is none. Installing null removes a hook. Hooks are called on the thread that
// reports, possibly inside a report, and several threads may call at once.
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

// A line for the trail file of the host application. Reports pass the code 69.
void mgr_msg_put_in_trl(const vek_wchar *text, int code);
