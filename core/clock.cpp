// Sleeps and waits, shortenable in tests.
#include "core/clock.h"

#include "core/flags.h"

#include <algorithm>
#include <thread>

namespace orv {

std::atomic<double> sleepScale{1.0};

void gf_sleepMs(int MS)
{
    if (MS <= 0) return;
    const auto scaled = std::chrono::microseconds(static_cast<long long>(MS * 1000.0 * sleepScale.load()));
    std::this_thread::sleep_for(scaled);
}

void gf_sleepUntil(std::chrono::steady_clock::time_point WHEN) { std::this_thread::sleep_until(WHEN); }

bool gf_stopFlagUp() { return exitInProgress.load() || userClosed.load(); }

bool gf_sleepUnlessStopped(int MS)
{
    constexpr int sliceMs = 50;
    for (int left = MS; left > 0; left -= sliceMs) {
        if (gf_stopFlagUp()) return false;
        gf_sleepMs(std::min(left, sliceMs));
    }
    return !gf_stopFlagUp();
}

// Linux sleeps are already precise to well under a millisecond.
void gf_timeBeginPeriod() {}
void gf_timeEndPeriod() {}

} // namespace orv
