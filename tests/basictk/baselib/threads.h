// Threads for the tests of the thread library.
#pragma once

#include "basictk/baselib/inc/thrThread.h"

#include <thread>
#include <vector>

// Threading is on for the life of this object.
struct ThreadingOn {
    ThreadingOn() { EnableThreading(); }
    ~ThreadingOn() { DisableThreading(); }
};

// Runs body(0) to body(count - 1), each on a thread of its own, and waits for all.
template <typename Body>
void on_threads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(body, i);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}
