// What the spine tells the window: lamps, counters and which controls are
// usable. The window reads these and repaints when windowGeneration moves.
#pragma once

#include <atomic>
#include <cstdint>

namespace orv {

extern std::atomic<bool> simConnected;        ///< the simulator link is up
extern std::atomic<bool> rtLampDark;          ///< the service lamp before the first login
extern std::atomic<int> nextRefreshMinutes;   ///< minutes to the next parking renewal
extern std::atomic<int> addonAirportFiles;    ///< files in my_simaddon and my_thirdparty
extern std::atomic<int> restartSecondsLeft;   ///< the countdown shown while a restart waits
extern std::atomic<bool> windowExists;        ///< the window (event loop) is up
extern std::atomic<std::uint32_t> windowGeneration;

/// Asks the window to redraw what changed.
void gf_repaint();
/// Enables the controls of a start-up stage: 1 those that depend on nothing,
/// 2 the remaining ones, 3 the time shift controls, 4 the object id box.
void gf_enableControls(int STAGE);
/// The window's fields back to their start values (a restart).
void gf_resetWindowFields();

} // namespace orv
