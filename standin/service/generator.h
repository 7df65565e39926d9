// The traffic generator: plausible flights round one airport, given its
// runway and stands, written as a recording (and parked aircraft for the
// stands the flights leave free), so that a demonstration needs no outside
// data.
#pragma once

#include <string>
#include <vector>

namespace orv {

struct GeneratorStand {
    std::string name;
    double lat = 0, lon = 0;
    double headingDeg = 0; ///< where the nose points when parked (aircraft park nose in)
};

struct GeneratorSetup {
    std::string airport = "ZZZZ";
    double elevationFt = 0;
    /// The runway's two thresholds; flights land and take off from the first
    /// towards the second.
    double runwayLat1 = 0, runwayLon1 = 0, runwayLat2 = 0, runwayLon2 = 0;
    std::vector<GeneratorStand> stands;
    double startTime = 1700000000;  ///< seconds since the epoch of the recording's first second
    double minutes = 60;            ///< length of the recording
    unsigned seed = 1;
    double movementsPerHour = 24;   ///< landings and take-offs together
    double overflightsPerHour = 8;
    double intervalSeconds = 2;     ///< between two positions of one aircraft
};

struct GeneratedTraffic {
    std::vector<std::string> recording; ///< live lines, oldest first
    std::vector<std::string> parked;    ///< parked-traffic lines, one aircraft each
};

/// Throws std::invalid_argument on a setup that cannot give traffic (no
/// stand, a runway shorter than kShortestRunwayM, no time, ...).
GeneratedTraffic gf_generateTraffic(const GeneratorSetup& SETUP);

/// Writes one text line per entry; throws std::runtime_error.
void gf_writeLines(const std::string& PATH, const std::vector<std::string>& LINES);

inline constexpr double kShortestRunwayM = 1200.0;

} // namespace orv
