// The shared flags: what more than one thread touches is atomic.
#include "core/flags.h"

#include <gtest/gtest.h>

#include <atomic>
#include <type_traits>

namespace orv {
namespace {

template <typename T>
constexpr bool isAtomic = false;
template <typename T>
constexpr bool isAtomic<std::atomic<T>> = true;

TEST(SharedFlags, WhatTheMainThreadSharesWithTheExitIsAtomic)
{
    // The main thread counts and steps them; FinalExit resets them on its own
    // thread, and a restarted session's main thread reads them again.
    const struct {
        const char* name;
        bool atomic;
    } flags[] = {{"tickCount", isAtomic<std::remove_cv_t<decltype(tickCount)>>},
                 {"notRunningCountdown", isAtomic<std::remove_cv_t<decltype(notRunningCountdown)>>},
                 {"parkRefreshPhase", isAtomic<std::remove_cv_t<decltype(parkRefreshPhase)>>}};
    for (const auto& flag : flags) EXPECT_TRUE(flag.atomic) << flag.name;
}

} // namespace
} // namespace orv
