// Test support: the checks of a flown scenario against the path it was given.
#pragma once

#include "tests/traffic/harness.h"

#include <string>
#include <vector>

namespace orv::test {

/// Where a displayed position lies against the path.
struct PathMatch {
    double offMetres = 0;  ///< cross-track distance to the nearest segment of the path
    std::size_t index = 0; ///< the path state at the start of that segment
};

/// Finds the nearest segment of PATH, searching round HINT first (the
/// display moves along the path); falls back to the whole path when far.
PathMatch gf_matchPath(const std::vector<PathState>& PATH, const LatLon& POS, std::size_t HINT);
/// Seconds of path time from state INDEX to the nearest change between straight and turning.
double gf_secondsFromTurn(const std::vector<PathState>& PATH, std::size_t INDEX);
/// The highest speed of the path within SECONDS of state INDEX, knots.
double gf_localSpeed(const std::vector<PathState>& PATH, std::size_t INDEX, double SECONDS);
/// The phases in the order they came, repeats folded.
std::vector<Phase> gf_phaseSequence(const std::vector<Sample>& SAMPLES);
std::string gf_phaseText(const std::vector<Phase>& PHASES);
double gf_metresBetween(const Sample& A, const Sample& B);

} // namespace orv::test
