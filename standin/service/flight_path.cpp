// Kinematics of the generated flights.
#include "standin/service/flight_path.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orv {

namespace {

constexpr double kMetresPerNm = 1852.0;
constexpr double kSecondsPerHour = 3600.0;
constexpr double kMetresPerDegreeLat = 111120.0;
constexpr double kFeetPerMetre = 3.280839895;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kFullCircleDeg = 360.0;
constexpr double kHalfCircleDeg = 180.0;

double lf_metresPerSecond(double KNOTS)
{
    return KNOTS * kMetresPerNm / kSecondsPerHour;
}

double lf_radians(double DEG)
{
    return DEG * std::numbers::pi / kHalfCircleDeg;
}

/// One leg between two waypoints, flown at constant acceleration.
struct Leg {
    Vec2 from, direction;
    double length = 0, duration = 0;
    double v0 = 0, acceleration = 0; ///< m/s, m/s²
    double alt0 = 0, alt1 = 0;
    bool backwards = false;
};

Leg lf_leg(const Waypoint& A, const Waypoint& B)
{
    Leg leg;
    leg.from = A.pos;
    const Vec2 delta = B.pos - A.pos;
    leg.length = gf_length(delta);
    leg.direction = leg.length > 0 ? (1.0 / leg.length) * delta : Vec2{0, 1};
    const double minimum = lf_metresPerSecond(kMinimumLegSpeedKt);
    leg.v0 = std::max(lf_metresPerSecond(A.speedKt), minimum);
    const double v1 = std::max(lf_metresPerSecond(B.speedKt), minimum);
    leg.duration = 2.0 * leg.length / (leg.v0 + v1);
    leg.acceleration = leg.duration > 0 ? (v1 - leg.v0) / leg.duration : 0;
    leg.alt0 = A.altitudeAglFt;
    leg.alt1 = B.altitudeAglFt;
    leg.backwards = B.backwards;
    return leg;
}

PathSample lf_onLeg(const Leg& LEG, double TAU)
{
    PathSample sample;
    const double s = std::min(LEG.v0 * TAU + 0.5 * LEG.acceleration * TAU * TAU, LEG.length);
    const double v = LEG.v0 + LEG.acceleration * TAU;
    sample.pos = LEG.from + s * LEG.direction;
    sample.trackDeg = gf_headingOf(LEG.direction);
    sample.headingDeg = LEG.backwards ? std::fmod(sample.trackDeg + kHalfCircleDeg, kFullCircleDeg) : sample.trackDeg;
    sample.speedKt = v * kSecondsPerHour / kMetresPerNm;
    const double climbPerMetre = LEG.length > 0 ? (LEG.alt1 - LEG.alt0) / LEG.length : 0;
    sample.altitudeAglFt = LEG.alt0 + climbPerMetre * s;
    sample.verticalSpeedFpm = climbPerMetre * v * kSecondsPerMinute;
    return sample;
}

PathSample lf_standing(const Waypoint& POINT, double HEADING_DEG)
{
    PathSample sample;
    sample.pos = POINT.pos;
    sample.trackDeg = HEADING_DEG;
    sample.headingDeg = HEADING_DEG;
    sample.altitudeAglFt = POINT.altitudeAglFt;
    return sample;
}

} // namespace

double gf_length(Vec2 A)
{
    return std::hypot(A.x, A.y);
}

Vec2 gf_headingVector(double HEADING_DEG)
{
    return {std::sin(lf_radians(HEADING_DEG)), std::cos(lf_radians(HEADING_DEG))};
}

double gf_headingOf(Vec2 DIRECTION)
{
    const double deg = std::atan2(DIRECTION.x, DIRECTION.y) * kHalfCircleDeg / std::numbers::pi;
    return deg < 0 ? deg + kFullCircleDeg : deg;
}

Vec2 LocalFrame::toLocal(double LAT, double LON) const
{
    return {(LON - lon0) * kMetresPerDegreeLat * std::cos(lf_radians(lat0)), (LAT - lat0) * kMetresPerDegreeLat};
}

void LocalFrame::toGlobal(Vec2 POINT, double& LAT, double& LON) const
{
    LAT = lat0 + POINT.y / kMetresPerDegreeLat;
    LON = lon0 + POINT.x / (kMetresPerDegreeLat * std::cos(lf_radians(lat0)));
}

double gf_pathDuration(const std::vector<Waypoint>& PATH)
{
    double total = 0;
    for (std::size_t i = 0; i < PATH.size(); ++i) {
        total += PATH[i].holdSeconds;
        if (i + 1 < PATH.size()) total += lf_leg(PATH[i], PATH[i + 1]).duration;
    }
    return total;
}

std::vector<PathSample> gf_samplePath(const std::vector<Waypoint>& PATH, double START, double INTERVAL, double& END)
{
    std::vector<PathSample> samples;
    double legStart = START;
    double next = START;
    for (std::size_t i = 0; i < PATH.size(); ++i) {
        const bool last = i + 1 == PATH.size();
        const Leg leg = last ? Leg{} : lf_leg(PATH[i], PATH[i + 1]);
        // Standing still faces the way the aircraft came, or at the start the
        // way it will go.
        double heading = 0;
        if (!last) {
            heading = lf_onLeg(leg, 0).headingDeg;
        } else if (i > 0) {
            heading = lf_onLeg(lf_leg(PATH[i - 1], PATH[i]), 0).headingDeg;
        }
        const double holdEnd = legStart + PATH[i].holdSeconds;
        for (; next < holdEnd; next += INTERVAL) {
            PathSample sample = lf_standing(PATH[i], heading);
            sample.time = next;
            samples.push_back(sample);
        }
        legStart = holdEnd;
        if (last) break;
        const double legEnd = legStart + leg.duration;
        for (; next < legEnd; next += INTERVAL) {
            PathSample sample = lf_onLeg(leg, next - legStart);
            sample.time = next;
            samples.push_back(sample);
        }
        legStart = legEnd;
    }
    END = legStart;
    return samples;
}

} // namespace orv
