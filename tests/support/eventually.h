// Test support: waiting for a state that another thread or process brings
// about, with a generous deadline: a loaded machine is slow, not wrong.
#pragma once

#include <chrono>
#include <thread>

namespace orv::test {

/// Polls CONDITION every 10 ms until it holds; false when it still fails after DEADLINE.
template <typename F>
bool eventually(F&& CONDITION, std::chrono::seconds DEADLINE = std::chrono::seconds(60))
{
    const auto end = std::chrono::steady_clock::now() + DEADLINE;
    while (!CONDITION()) {
        if (std::chrono::steady_clock::now() > end) return CONDITION();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

} // namespace orv::test
