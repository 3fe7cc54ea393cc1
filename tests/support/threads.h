// Runs a piece of a test on several threads at once, with the locks of the core really taken.
#pragma once

#include "basictk/baselib/inc/thrThread.h"

#include <functional>
#include <thread>
#include <vector>

inline void run_on_threads(int count, const std::function<void(int)> &body) {
    EnableThreading();
    thrThread::c_iActiveThreadsInUse = count;
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(body, i);
    }
    threads.clear(); // joins them
    thrThread::c_iActiveThreadsInUse = 0;
    DisableThreading();
}
