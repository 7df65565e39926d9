// The decoded lines of the live feed: one timed position (TrackPoint), one
// live aircraft's line (TrafficLine), one parked aircraft's line (ParkedLine).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/geometry.h"

namespace orv {

struct TrackPoint {
    double lat = 0; ///< degrees
    double lon = 0; ///< degrees
    std::optional<double> bank;    ///< radians, positive to the left; absent on the ground
    std::optional<double> heading; ///< true heading, radians
    double altitude = 0;      ///< feet, corrected for QNH; 0 means on the ground
    double groundSpeed = 0;   ///< knots
    double track = 0;         ///< degrees
    double verticalSpeed = 0; ///< feet per minute
    double airspeed = 0;      ///< knots
    std::int32_t dueTick = 0; ///< engine tick at which the aircraft is to be here
    bool airborne = false;
    bool stationary = false;  ///< this point is a stop
    bool headingValid = false; ///< heading came from the source and may be used as is
    /// The source gave these values; an unknown one reads 0 above and is
    /// worked out from positions and times where a rule needs it.
    bool speedKnown = true, trackKnown = true, verticalSpeedKnown = true;
    std::int8_t groundFlag = -1; ///< the source's on-ground flag: 1 on the ground, 0 in the air, -1 not given
};

struct TrafficLine {
    std::string airline; ///< empty when decoded from a live line
    std::string icaoType;
    std::string origin;
    std::string destination;
    std::string callsign;
    std::string coupledCallsign1;
    std::string coupledCallsign2;
    std::string regcode; ///< at most 12 characters
    TrackPoint point;
    double timestamp = 0; ///< seconds since the epoch, the source's time of this position
    std::uint32_t hexid = 0; ///< transponder address, above 10000
};

struct ParkedLine {
    std::string airline;
    std::string icaoType;
    std::string origin;
    std::string destination;
    std::string callsign;
    std::string coupledCallsign1;
    std::string coupledCallsign2;
    std::string regcode;
    double lat = 0;
    double lon = 0;
    std::uint32_t hexid = 0;
    std::int32_t halfHour = 0; ///< half hours since midnight UTC, later the age in half hours
    std::string standName;
};

/// The readers' hand-over to the engine: guarded by linesLock; the main
/// thread takes two lines a pass from its end.
extern std::vector<TrafficLine> incomingLines;

inline LatLon gf_posOf(const TrackPoint& POINT) { return {POINT.lat, POINT.lon}; }
inline bool gf_samePosition(const TrackPoint& A, const TrackPoint& B) { return A.lat == B.lat && A.lon == B.lon; }

} // namespace orv
