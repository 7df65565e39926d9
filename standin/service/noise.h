// The faults of real ADS-B data, laid on a clean recording: missing values,
// frozen speeds and tracks, repeated positions and times, position noise,
// altitude spikes and a wandering ground altitude, a flickering on-ground
// flag, and tracks that begin late. Seeded: the same seed gives the same file.
#pragma once

#include <string>
#include <vector>

namespace orv {

/// The share of lines or flights each fault hits.
struct NoiseRates {
    double missingRun = 0.03;        ///< lines that start a run of 1 to 5 lines without speed, track or vertical rate
    double missingGroundPhase = 0.2; ///< flights whose whole ground time has no speed and track
    double frozenAfterLanding = 0.3; ///< arrivals whose speed and track keep their last airborne value on the ground
    double standingFast = 0.05;      ///< standing lines that report hundreds of knots
    double repeatedPosition = 0.02;  ///< moving lines whose position stays that of the line before for 2 to 4 lines
    double repeatedTime = 0.01;      ///< lines sent twice with the same time
    double outOfOrder = 0.01;        ///< lines swapped with the next one of the same aircraft
    double positionNoiseM = 10;      ///< standard deviation of a slow aircraft's position, metres
    double positionJump = 0.02;      ///< slow lines that jump about 80 m
    double altitudeSpike = 0.005;    ///< ground lines with 36,000 to 38,000 ft
    double groundAltitudeWanderFt = 150; ///< largest offset of the ground altitudes of one flight
    double flagFlicker = 0.3;        ///< lines near a take-off or landing whose on-ground flag is wrong
    double lateStart = 0.2;          ///< arrivals whose track begins 20 to 30 s before touchdown
};

/// RECORDING with the faults laid on (lines of the service's recording format).
std::vector<std::string> gf_addNoise(const std::vector<std::string>& RECORDING, unsigned SEED,
                                     const NoiseRates& RATES = {});

} // namespace orv
