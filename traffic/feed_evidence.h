// What a record remembers of its feed beyond the track: the last line as it
// came (for speeds and courses worked out from positions and times), the
// lines refused in a row (to re-anchor on consistent data), the on-ground
// flag's run (read with hysteresis), and the place where it stands (so
// that position noise does not move a standing aircraft). Main thread only.
#pragma once

#include "feed/traffic_line.h"

#include <cstdint>

namespace orv {

struct FeedEvidence {
    bool hasRaw = false;
    TrackPoint raw;         ///< the last line taken as a position, after the checks
    double rawTime = 0;     ///< seconds since the epoch, its timestamp
    double sameSince = 0;   ///< first timestamp of a position repeated while the speed said moving; 0 none
    double disagreeSince = 0; ///< first timestamp of a reported speed that disagreed with the positions; 0 none
    std::int32_t refusedRun = 0;  ///< lines refused in a row against the last point, consistent with each other
    double refusedSince = 0;      ///< timestamp of the first of them
    TrackPoint lastRefused;       ///< the last of them
    double lastRefusedTime = 0;
    bool reanchorLogged = false;  ///< the re-anchoring is logged once per record
    std::int32_t groundRun = 0;   ///< > 0 lines in a row flagged on the ground, < 0 in the air
    bool flagGround = false;      ///< the on-ground flag after hysteresis
    bool flagSettled = false;     ///< the flag has held long enough to be read
    /// Two older positions that give the speed over 10 to 20 seconds, which
    /// a standing aircraft's position noise does not fake.
    double baseLat = 0, baseLon = 0, baseTime = 0;
    double midLat = 0, midLon = 0, midTime = 0;
    bool hasMid = false;
    bool anchored = false;        ///< standing: positions near the anchor are noise
    double anchorLat = 0, anchorLon = 0; ///< degrees
    std::int32_t awayRun = 0;     ///< lines in a row beyond the anchor's noise, each further out
    double awayLastM = 0;         ///< metres from the anchor of the last of them
};

} // namespace orv
