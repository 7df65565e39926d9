// How well the simulator's aircraft followed the real ones: a service
// recording (the truth) against a tavo-sim recording (what was shown), per
// flight and for the ground and the air.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orv {

/// One true position of a flight, on the recording's clock.
struct TruthSample {
    double t = 0;          ///< seconds since the epoch
    double lat = 0, lon = 0;
    bool onGround = false; ///< by the line's flag, else by a missing or "ground" altitude
};

/// One shown position of a simulator object, on the recording's clock.
struct ShownSample {
    double t = 0;
    double lat = 0, lon = 0, altitudeFt = 0, headingRad = 0;
};

struct CompareSetup {
    double replayStart = 0;    ///< the service's --replay-start: the recording's first second falls on it
    double delaySeconds = 30;  ///< the program shows each position this much after its time
    double groundFollowM = 100, airFollowM = 300;
    double longestGapS = 60;   ///< true samples further apart leave no truth between them
};

/// The figures of one flight, or of all flights' ground or air time.
struct FollowFigures {
    std::string name;
    double seconds = 0;       ///< compared time
    double medianM = 0, p95M = 0;
    double delayS = 0;        ///< median time behind the true path's nearest point
    double followedShare = 0; ///< share of the compared time within the follow distance
    double stuckS = 0;        ///< seconds standing while the true aircraft moved
    int teleports = 0;        ///< steps beyond 3x the true speed plus 5 m
    int reversals = 0;        ///< turns of the direction of motion by 150 degrees or more on the ground
    int creations = 0;        ///< objects made for the flight
    int phantomAirS = 0;      ///< seconds shown 300 ft or more above its ground while truly on the ground
};

struct CompareResult {
    std::vector<FollowFigures> flights;
    FollowFigures ground, air;
};

/// The true flights of a service recording, by callsign (or address without one).
std::map<std::string, std::vector<TruthSample>> gf_truthOf(const std::vector<std::string>& RECORDING);

/// Compares; SIM_LINES are the simulator's recording lines (JSON objects).
CompareResult gf_compareFollow(const std::vector<std::string>& RECORDING, const std::vector<std::string>& SIM_LINES,
                               const CompareSetup& SETUP);

/// The result as a text table, one row a flight, then ground and air.
std::string gf_followTable(const CompareResult& RESULT);

} // namespace orv
