// Test support: driving a path and sampling it into feed lines.
#include "tests/traffic/track_gen.h"

#include "core/geometry.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace orv::test {

namespace {
constexpr double stepSeconds = 0.05;
constexpr double knotsToMps = 1852.0 / 3600.0;
constexpr double minDriveKt = 0.5; ///< a point starting from rest still gets going
constexpr LatLon testOrigin{47.0, 8.0};
constexpr double epochBase = 1.7e9;
constexpr std::int32_t aheadTicks = 3000;
} // namespace

LatLon gf_testPosition(double EAST, double NORTH) { return gf_fromPlane(testOrigin, {EAST, NORTH}); }

void gf_testPlane(const LatLon& POS, double& EAST, double& NORTH)
{
    const PlaneXY xy = gf_toPlane(testOrigin, POS.lat, POS.lon);
    EAST = xy.east;
    NORTH = xy.north;
}

PathBuilder::PathBuilder(double ELEVATION_FT, double EAST, double NORTH, double NOSE_DEG) : elevation_(ELEVATION_FT)
{
    PathState s;
    s.east = EAST;
    s.north = NORTH;
    s.noseDeg = s.motionDeg = NOSE_DEG;
    s.altitudeFt = ELEVATION_FT;
    states_.push_back(s);
}

PathBuilder::PathBuilder(double ELEVATION_FT, double EAST, double NORTH, double NOSE_DEG, double ALT_FT,
                         double SPEED_KT)
    : PathBuilder(ELEVATION_FT, EAST, NORTH, NOSE_DEG)
{
    states_.back().altitudeFt = ALT_FT;
    states_.back().speedKt = SPEED_KT;
    states_.back().airborne = true;
}

PathBuilder& PathBuilder::hold(double SECONDS)
{
    PathState s = states_.back();
    s.speedKt = 0;
    s.verticalSpeedFpm = 0;
    s.straight = true;
    for (double t = 0; t < SECONDS; t += stepSeconds) {
        s.t += stepSeconds;
        states_.push_back(s);
    }
    return *this;
}

void PathBuilder::move(double METRES, double TURN_DEG, double SPEED_KT, double ALT_FT, bool AIR, bool REVERSE)
{
    const PathState start = states_.back();
    PathState s = start;
    const double v0 = start.speedKt, v1 = SPEED_KT;
    double done = 0;
    while (done < METRES) {
        // The square of the speed changes evenly with the distance: an even acceleration.
        const double share = done / METRES;
        const double v = std::max(std::sqrt(std::max(v0 * v0 + (v1 * v1 - v0 * v0) * share, 0.0)), minDriveKt);
        const double step = std::min(v * knotsToMps * stepSeconds, METRES - done);
        const double dt = step / (v * knotsToMps);
        done += step;
        const double heading = start.noseDeg + TURN_DEG * (done / METRES);
        const double motion = REVERSE ? heading + 180.0 : heading;
        s.east += step * std::sin(motion * degToRad);
        s.north += step * std::cos(motion * degToRad);
        const double alt = start.altitudeFt + (ALT_FT - start.altitudeFt) * (done / METRES);
        s.verticalSpeedFpm = (alt - s.altitudeFt) / dt * 60.0;
        s.altitudeFt = alt;
        s.noseDeg = std::fmod(heading + 360.0, 360.0);
        s.motionDeg = std::fmod(motion + 360.0, 360.0);
        s.speedKt = v;
        s.airborne = AIR;
        s.straight = TURN_DEG == 0;
        s.reversing = REVERSE;
        s.t += dt;
        states_.push_back(s);
    }
    states_.back().speedKt = v1;
}

PathBuilder& PathBuilder::straight(double METRES, double SPEED_KT, double ALT_FT, bool AIR)
{
    move(METRES, 0, SPEED_KT, ALT_FT, AIR, false);
    return *this;
}

PathBuilder& PathBuilder::turn(double DEGREES, double RADIUS_M, double SPEED_KT, double ALT_FT, bool AIR)
{
    move(std::fabs(DEGREES) * degToRad * RADIUS_M, DEGREES, SPEED_KT, ALT_FT, AIR, false);
    return *this;
}

PathBuilder& PathBuilder::back(double METRES, double SPEED_KT)
{
    move(METRES, 0, SPEED_KT, elevation_, false, true);
    return *this;
}

PathBuilder& PathBuilder::backTurn(double DEGREES, double RADIUS_M, double SPEED_KT)
{
    move(std::fabs(DEGREES) * degToRad * RADIUS_M, DEGREES, SPEED_KT, elevation_, false, true);
    return *this;
}

std::vector<FeedLine> gf_sampleFlight(const std::vector<PathState>& PATH, const TrafficLine& IDENTITY,
                                      std::int32_t START_TICK, unsigned SEED)
{
    std::mt19937 random(SEED);
    std::uniform_real_distribution<double> interval(1.5, 6.0);
    std::vector<FeedLine> lines;
    std::size_t k = 0;
    for (double t = 0; t <= PATH.back().t; t += interval(random)) {
        while (k + 1 < PATH.size() && PATH[k + 1].t <= t) ++k;
        const PathState& s = PATH[k];
        FeedLine f;
        f.line = IDENTITY;
        f.line.timestamp = epochBase + s.t;
        TrackPoint& p = f.line.point;
        const LatLon pos = gf_testPosition(s.east, s.north);
        p.lat = pos.lat;
        p.lon = pos.lon;
        p.altitude = s.airborne ? s.altitudeFt : 0;
        p.airborne = s.airborne;
        p.groundSpeed = s.speedKt;
        p.airspeed = s.speedKt;
        p.track = s.motionDeg;
        p.verticalSpeed = s.airborne ? s.verticalSpeedFpm : 0;
        p.heading = s.noseDeg * degToRad;
        p.headingValid = true;
        const std::int32_t offset = static_cast<std::int32_t>(std::llround(s.t * 100.0));
        p.dueTick = START_TICK + aheadTicks + offset;
        f.handOverTick = START_TICK + offset;
        lines.push_back(f);
    }
    return lines;
}

} // namespace orv::test
