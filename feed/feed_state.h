// The feed's values that the window, the main thread and the readers share:
// the request areas, the weather shown, the lamps, the time offset.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "core/user_position.h"

namespace orv {

/// An area of a request, degrees.
struct Box {
    double top = 0, bottom = 0, left = 0, right = 0;
};
/// Both boxes start over Amsterdam until the user's position is known.
inline constexpr Box startBox{52.44, 52.17, 4.54, 4.98};

/// The area asked for; main thread writes, the traffic reader reads; both
/// under boxMutex (a leaf lock).
extern Box rtBox;
extern Box parkedBox;
extern std::mutex boxMutex;
Box gf_rtBox();
/// The box of RANGE_NM round CENTRE: latitude by the mean degree, longitude
/// by the great circle east and west.
Box gf_boxAround(const LatLon& CENTRE, double RANGE_NM);

/// Main thread: the position and range of the last rtBox.
extern LatLon boxPosition;
extern double boxRange;

/// Lines decoded from the last live answer.
extern std::atomic<std::int64_t> lineCount;
/// The nearest METAR station; guarded by weatherMutex (a leaf lock).
extern std::string metarStation;
extern std::mutex weatherMutex;
std::string gf_metarStation();
/// The last nearest-station request found a station.
extern std::atomic<bool> weatherValid;
/// hPa, what the window shows.
extern std::atomic<std::int32_t> qnhShown;

/// What the window shows of each reader: 1 good, 2 waiting, 3 failed.
inline constexpr std::int32_t lampGood = 1, lampWaiting = 2, lampFailed = 3;
extern std::atomic<std::int32_t> weatherLamp;
extern std::atomic<std::int32_t> trafficLamp;
/// Main thread: what lf_updateLamps last showed.
extern bool weatherShown, trafficShown;

/// The number of the running feed session; a client of another one is cut
/// off. Changed only under linesLock, so that a hand-over under that lock
/// sees it settled.
extern std::atomic<std::uint64_t> currentFeedSession;

/// The time offset in minutes that new clients take; both clients of the
/// running session carry the same value.
extern std::atomic<std::int32_t> timeOffsetMinutes;

} // namespace orv
