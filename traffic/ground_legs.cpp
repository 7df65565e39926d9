// The shape of a moving ground leg: a midpoint where the speed changes much
// or a wide turn comes slowly, a Bézier curve through the corner of a turn,
// or the straight line.
#include "traffic/motion.h"

#include <cmath>

namespace orv {

namespace {
constexpr double smoothSpeedKt = 5.0, smoothLegMetres = 100.0;
constexpr double straightDeg = 3.0, wideCornerDeg = 45.0, maxCurveDeg = 160.0;
constexpr double slowCornerLegMetres = 50.0, slowCornerSpeedKt = 43.0;
constexpr std::int32_t slowCornerTicks = 600;

double lf_legMetres(const TrackPoint& A, const TrackPoint& B)
{
    return gf_distance(A.lat, A.lon, B.lat, B.lon) * metresPerNm;
}
} // namespace

void lf_insertMidpoint(act& RECORD)
{
    const TrackPoint& front = RECORD.track[0];
    const TrackPoint& next = RECORD.track[1];
    TrackPoint mid = next;
    mid.lat = (front.lat + next.lat) / 2.0;
    mid.lon = (front.lon + next.lon) / 2.0;
    mid.groundSpeed = (front.groundSpeed + next.groundSpeed) / 2.0;
    mid.airspeed = (front.airspeed + next.airspeed) / 2.0;
    mid.altitude = (front.altitude + next.altitude) / 2.0;
    mid.verticalSpeed = (front.verticalSpeed + next.verticalSpeed) / 2.0;
    mid.dueTick = front.dueTick + (next.dueTick - front.dueTick) / 2;
    mid.airborne = mid.altitude > 0;
    mid.stationary = false;
    mid.bank.reset();
    mid.heading.reset();
    mid.headingValid = false;
    RECORD.track.insert(1, mid);
}

void lf_smoothSpeed(act& RECORD)
{
    const TrackPoint& front = RECORD.track[0];
    const TrackPoint& next = RECORD.track[1];
    if (front.stationary && next.stationary) return;
    if (std::fabs(front.groundSpeed - next.groundSpeed) > smoothSpeedKt && lf_legMetres(front, next) >= smoothLegMetres)
        lf_insertMidpoint(RECORD);
}

void lf_setupCurve(act& RECORD)
{
    const LatLon origin = lf_posOf(RECORD);
    const TrackPoint& control = RECORD.track[1];
    TrackPoint& end = RECORD.track[2];
    const PlaneXY c = gf_toPlane(origin, control.lat, control.lon);
    const PlaneXY e = gf_toPlane(origin, end.lat, end.lon);
    RECORD.curve = {origin, c.east, c.north, e.east, e.north};
    RECORD.curveT = 0;
    if (end.groundSpeed == 0) end.groundSpeed = (RECORD.track[0].groundSpeed + control.groundSpeed) / 2.0;
    RECORD.track.erase(1);
}

void lf_shapeGroundLeg(act& RECORD)
{
    TrackQueue& track = RECORD.track;
    if (track.size() < 3) {
        if (RECORD.predictedPoints <= 0) lf_smoothSpeed(RECORD);
        return;
    }
    if (track[2].stationary) {
        lf_smoothSpeed(RECORD);
        return;
    }
    const TrackPoint& front = track[0];
    const TrackPoint& next = track[1];
    const TrackPoint& after = track[2];
    const double in = gf_bearing(front.lat, front.lon, next.lat, next.lon);
    const double out = gf_bearing(next.lat, next.lon, after.lat, after.lon);
    const double angDeg = std::fabs(gf_angleDiff(out, in)) * radToDeg;
    if (angDeg <= straightDeg) {
        lf_smoothSpeed(RECORD);
        return;
    }
    // A wide corner taken slowly on a long leg: a midpoint first, the corner at the next leg.
    if (angDeg > wideCornerDeg && lf_legMetres(front, next) > slowCornerLegMetres &&
        front.groundSpeed <= slowCornerSpeedKt && next.dueTick - front.dueTick >= slowCornerTicks) {
        lf_insertMidpoint(RECORD);
        return;
    }
    if (angDeg <= maxCurveDeg && !gf_samePosition(front, after)) {
        lf_setupCurve(RECORD);
        RECORD.curveAngle = angDeg;
        return;
    }
    lf_smoothSpeed(RECORD);
}

} // namespace orv
