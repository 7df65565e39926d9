// Test support: recorded-shape flights made by code. A path is driven as a
// point that moves, turns, climbs and stops in a local plane round the test
// airport; sampling it at irregular intervals gives the feed's lines.
#pragma once

#include "core/user_position.h"
#include "feed/traffic_line.h"

#include <cstdint>
#include <vector>

namespace orv::test {

/// The state of the driven point at one moment.
struct PathState {
    double t = 0;            ///< seconds from the path's start
    double east = 0, north = 0; ///< metres from the airport's origin
    double noseDeg = 0;      ///< where the nose points
    double motionDeg = 0;    ///< where the point moves (the feed's track)
    double speedKt = 0;
    double altitudeFt = 0;   ///< above sea level; the field elevation on the ground
    double verticalSpeedFpm = 0;
    bool airborne = false;
    bool straight = true;    ///< on a straight leg (not in a turn)
    bool reversing = false;  ///< moving tail first
};

class PathBuilder {
public:
    PathBuilder(double ELEVATION_FT, double EAST, double NORTH, double NOSE_DEG);
    /// A path that starts in the air at ALT_FT and SPEED_KT.
    PathBuilder(double ELEVATION_FT, double EAST, double NORTH, double NOSE_DEG, double ALT_FT, double SPEED_KT);
    /// Stands still for SECONDS.
    PathBuilder& hold(double SECONDS);
    /// Straight ahead over METRES; the speed changes evenly to SPEED_KT, the altitude to ALT_FT.
    PathBuilder& straight(double METRES, double SPEED_KT, double ALT_FT, bool AIR);
    /// An arc of DEGREES (positive to the right) with RADIUS_M.
    PathBuilder& turn(double DEGREES, double RADIUS_M, double SPEED_KT, double ALT_FT, bool AIR);
    /// Tail first, straight back over METRES (a push back).
    PathBuilder& back(double METRES, double SPEED_KT);
    /// Tail first round an arc: the nose turns by DEGREES (positive to the right).
    PathBuilder& backTurn(double DEGREES, double RADIUS_M, double SPEED_KT);

    const std::vector<PathState>& states() const { return states_; }
    const PathState& last() const { return states_.back(); }
    double elevation() const { return elevation_; }

private:
    void move(double METRES, double TURN_DEG, double SPEED_KT, double ALT_FT, bool AIR, bool REVERSE);
    std::vector<PathState> states_;
    double elevation_;
};

/// A line of the feed with the tick at which the reader hands it over.
struct FeedLine {
    TrafficLine line;
    std::int32_t handOverTick = 0;
};

/// Samples PATH at irregular intervals from START_TICK on; each point is due
/// 30 seconds after its hand-over, as the reader's time model gives it.
std::vector<FeedLine> gf_sampleFlight(const std::vector<PathState>& PATH, const TrafficLine& IDENTITY,
                                      std::int32_t START_TICK, unsigned SEED);

/// The position of a plane point round the test airport.
LatLon gf_testPosition(double EAST, double NORTH);
/// The plane point of a position.
void gf_testPlane(const LatLon& POS, double& EAST, double& NORTH);

} // namespace orv::test
