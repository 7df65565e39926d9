// Movement along a path of waypoints, for the traffic generator: a flat
// local frame round the airport, constant acceleration between waypoints,
// and samples at a fixed interval.
#pragma once

#include <vector>

namespace orv {

struct Vec2 {
    double x = 0; ///< metres east
    double y = 0; ///< metres north
};

inline Vec2 operator+(Vec2 A, Vec2 B) { return {A.x + B.x, A.y + B.y}; }
inline Vec2 operator-(Vec2 A, Vec2 B) { return {A.x - B.x, A.y - B.y}; }
inline Vec2 operator*(double K, Vec2 A) { return {K * A.x, K * A.y}; }
double gf_length(Vec2 A);
/// The unit vector of a compass heading in degrees.
Vec2 gf_headingVector(double HEADING_DEG);
/// The compass heading of a direction, degrees 0 to 360.
double gf_headingOf(Vec2 DIRECTION);

/// An equirectangular frame round one point: good to well under a metre
/// within the 50 nautical miles the generator uses.
struct LocalFrame {
    double lat0 = 0, lon0 = 0;
    Vec2 toLocal(double LAT, double LON) const;
    void toGlobal(Vec2 POINT, double& LAT, double& LON) const;
};

struct Waypoint {
    Vec2 pos;
    double speedKt = 0;       ///< speed on passing this point
    double altitudeAglFt = 0; ///< height above the field; 0 on the ground
    double holdSeconds = 0;   ///< standing still here before going on
    bool backwards = false;   ///< the leg to this point is pushed tail first
};

struct PathSample {
    double time = 0;        ///< seconds from the path's start time
    Vec2 pos;
    double trackDeg = 0;    ///< direction of motion
    double headingDeg = 0;  ///< where the nose points
    double speedKt = 0;
    double altitudeAglFt = 0;
    double verticalSpeedFpm = 0;
};

/// The slowest speed a leg is flown at, so that a leg from standstill ends.
inline constexpr double kMinimumLegSpeedKt = 2.0;

/// Samples the path every INTERVAL seconds from START (the first sample at
/// START itself); END receives the time at which the last waypoint's hold
/// ends.
std::vector<PathSample> gf_samplePath(const std::vector<Waypoint>& PATH, double START, double INTERVAL,
                                      double& END);

/// The time the path takes, holds included.
double gf_pathDuration(const std::vector<Waypoint>& PATH);

} // namespace orv
