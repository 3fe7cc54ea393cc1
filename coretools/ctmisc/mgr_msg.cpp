// Message hooks.
#include "coretools/ctmisc/mgr_msg.h"

#include <atomic>

namespace {

std::atomic<mgr_msg_func> _mgr_msg_func{nullptr};
std::atomic<mgr_msgID_func> _mgr_msgID_func{nullptr};
std::atomic<mgr_msg_put_in_trl_func> _mgr_msg_put_in_trl_func{nullptr};

} // namespace

void set_mgr_msg_func(mgr_msg_func function) {
    _mgr_msg_func = function;
}

void set_mgr_msgID_func(mgr_msgID_func function) {
    _mgr_msgID_func = function;
}

void set_mgr_msg_put_in_trl_func(mgr_msg_put_in_trl_func function) {
    _mgr_msg_put_in_trl_func = function;
}

mgr_msg_func get_mgr_msg_func() {
    return _mgr_msg_func;
}

mgr_msgID_func get_mgr_msgID_func() {
    return _mgr_msgID_func;
}

void mgr_msg_put_in_trl(const vek_wchar *text, int code) {
    if (const mgr_msg_put_in_trl_func function = _mgr_msg_put_in_trl_func; function != nullptr) {
        function(text, code);
    }
}
