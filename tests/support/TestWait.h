#ifndef QDX_TEST_WAIT_H
#define QDX_TEST_WAIT_H

#include <chrono>
#include <thread>

/// Polls `condition` until it holds or a generous limit (10 seconds) passes,
/// so that tests wait for what they need instead of sleeping a guessed time.
template <typename Condition> bool WaitUntil(Condition condition)
{
    auto const limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

#endif
