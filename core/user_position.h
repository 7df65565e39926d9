// The user aircraft's position as the engine and the readers see it: the
// client thread writes the simulator's replies, the main thread copies them
// into ownPosition each second and into rtPosition each 15 seconds.
#pragma once

#include <mutex>

#include "core/geometry.h"

namespace orv {

struct UserPosition {
    double lat = 0;         ///< degrees
    double lon = 0;         ///< degrees
    double altitudeFt = 0;  ///< above sea level
    double groundAltFt = 0; ///< ground below the aircraft
    double headingRad = 0;  ///< true heading
    double groundSpeedKt = 0;
    bool onGround = true;
};

/// A position with latitude in 0..0.0009 and longitude in 0..0.05 is no position yet.
inline bool gf_isNoPosition(double LAT, double LON)
{
    return LAT >= 0 && LAT <= 0.0009 && LON >= 0 && LON <= 0.05;
}

/// Main thread: the engine's copy, taken each second.
extern UserPosition ownPosition;
/// The readers' copy, taken each 15 ticks by the main thread; guarded by rtPositionMutex (a leaf lock).
extern UserPosition rtPosition;
extern std::mutex rtPositionMutex;

/// Copies ownPosition to rtPosition under its lock.
void gf_publishRtPosition();
/// The readers' view, copied under the lock.
UserPosition gf_rtPosition();

} // namespace orv
