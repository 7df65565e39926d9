// Sleeps and waits of the program. Long waits (seconds at exit, the restart
// countdown, the login holds) go through gf_sleepMs so that tests can shorten
// them with sleepScale without changing their order.
#pragma once

#include <atomic>
#include <chrono>

namespace orv {

/// 1.0 in the program; a test sets e.g. 0.01 to run a 45-second countdown in 0.45 s.
extern std::atomic<double> sleepScale;

/// Sleeps MS milliseconds times sleepScale.
void gf_sleepMs(int MS);
/// Sleeps until a steady-clock time point (unscaled: the 10 ms schedule).
void gf_sleepUntil(std::chrono::steady_clock::time_point WHEN);
/// A stop flag is up: the user closed the window or an exit is running.
bool gf_stopFlagUp();
/// Sleeps in slices and answers false as soon as a stop flag comes up.
bool gf_sleepUnlessStopped(int MS);

/// Raise and restore the timer resolution around the 10 ms loop (a no-op
/// where the system's sleeps are already that fine).
void gf_timeBeginPeriod();
void gf_timeEndPeriod();

} // namespace orv
