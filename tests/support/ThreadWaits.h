#ifndef QDX_TESTS_SUPPORT_THREAD_WAITS_H
#define QDX_TESTS_SUPPORT_THREAD_WAITS_H

// Waiting for and looking at other threads, for the tests of the thread classes and their users.
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

// Polls `condition` until it holds or a generous limit (10 seconds) passes.
template <typename Condition> bool WaitUntil(Condition condition)
{
    auto const limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (; !condition(); std::this_thread::sleep_for(std::chrono::milliseconds(1)))
        if (std::chrono::steady_clock::now() > limit)
            return false;
    return true;
}

// The name of the thread `threadId` of this process; empty once the thread is gone.
inline std::string ThreadName(std::string const& threadId)
{
    std::string name;
    std::getline(std::ifstream("/proc/self/task/" + threadId + "/comm"), name);
    return name;
}

#endif
