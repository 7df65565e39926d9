// Converting public ADS-B history to the traffic service's recording: a
// readsb/tar1090 trace_full document, or OpenSky-style state vectors (CSV
// with a header, or JSON), each position one live traffic array of 29 values.
#pragma once

#include "core/geometry.h"

#include <optional>
#include <string>
#include <vector>

namespace orv {

/// What the source does not tell, and where the positions are to lie.
struct ConvertSetup {
    std::string type = "A320";    ///< ICAO type of aircraft the source does not type
    std::string category = "A3";  ///< emitter category of aircraft without one
    /// Moves every position by the plane offset of FROM to TO (metres east and
    /// north of FROM kept round TO), so that a recording made at one airport
    /// plays at another without bending its legs.
    std::optional<LatLon> placeFrom, placeTo;
    double altitudeShiftFt = 0; ///< added to every known altitude
    double fromTime = 0;        ///< seconds since the epoch; earlier positions are left out
    double toTime = 1e300;      ///< later positions are left out
};

/// The recording lines of a readsb trace_full document, oldest first.
/// Throws std::runtime_error on a document without its keys.
std::vector<std::string> gf_convertReadsb(const std::string& TEXT, const ConvertSetup& SETUP);

/// The recording lines of OpenSky-style state vectors: CSV with a header
/// line (time, icao24, lat, lon, velocity m/s, heading, vertrate m/s, callsign,
/// onground, baroaltitude m, geoaltitude m; or the same names in knots and
/// feet: groundspeed, track, verticalrate ft/min, altitude ft), or JSON (the
/// REST answer {"time", "states": [...]}, one a line or an array of them).
/// Empty and "null" values are unknown and stay null. Oldest first.
std::vector<std::string> gf_convertStateVectors(const std::string& TEXT, const ConvertSetup& SETUP);

} // namespace orv
