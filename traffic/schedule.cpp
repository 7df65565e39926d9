// The schedule of a leg: when the next point is reached. The data's time is
// not kept blindly; the time is worked out from distance and speed and held
// within a window (the slack) round the time the data gave, so that an
// aircraft that is behind catches up at a natural speed.
#include "traffic/motion.h"

#include <gsl/narrow>

#include <algorithm>
#include <cmath>

namespace orv {

namespace {
constexpr double minLegTicks = 25.0; ///< a quarter of a second
constexpr std::int32_t slackFloor = 1000, slackRelaxStep = 100, slackWideTurn = 2000;
constexpr double smallTurnDeg = 45.0, wideTurnDeg = 90.0, turnSpreadRatio = 1.2;
constexpr double spreadPerDegree = 10.0;       ///< small turns spread over more of a long leg
constexpr double spreadMetres = 30.0;          ///< ... and over about this much of its length
constexpr double wideTurnRateDivisor = 30.0;   ///< degrees: a wide turn quickens by up to ang / 30
constexpr double fallbackLandingSpeedKt = 100.0;
constexpr double fastestShare = 2.0;  ///< a leg is never run faster than this many times its own speed
constexpr double slowestCapKt = 5.0;  ///< ... counting a standing one as this fast
constexpr std::int64_t lagKeptDivisor = 2; ///< the share of a leg's lag against the data that the next leg keeps

/// The fewest ticks the leg may take: twice the fastest of its points'
/// speeds and the data's own pace, so that catching up, or a point that is
/// due already, never makes the aircraft jump.
double lf_fewestTicks(const act& RECORD)
{
    const TrackPoint& front = RECORD.track[0];
    const TrackPoint& next = RECORD.track[1];
    const double distance = lf_legDistance(RECORD);
    double fastest = std::max({front.groundSpeed, next.groundSpeed, slowestCapKt});
    const double dataTicks = static_cast<double>(next.dueTick - front.dueTick);
    if (dataTicks > 0) fastest = std::max(fastest, gf_legTicks(gf_distance(front.lat, front.lon, next.lat, next.lon), 1.0) / dataTicks);
    return gf_legTicks(distance, fastestShare * fastest);
}
} // namespace

void lf_setDue(act& RECORD, double TICKS)
{
    const std::int32_t now = lf_now();
    TrackPoint& next = RECORD.track[1];
    std::int64_t want = now + static_cast<std::int64_t>(std::llround(TICKS));
    if (RECORD.predictedPoints <= 0) {
        const std::int64_t due = next.dueTick;
        // The data's time is the truth: half of the way to it at each leg,
        // so that an aircraft behind or ahead comes back onto its time
        // instead of keeping its lag for as long as the window allows.
        want = due + (want - due) / lagKeptDivisor;
        if (want > due + RECORD.slackAhead)
            want = due + RECORD.slackAhead;
        else
            want = std::max<std::int64_t>(want, due - RECORD.slackBehind);
    }
    // The way onto a stand is ours, not the data's, and ends in a stop long
    // enough for the nose to come round; a floor on its legs would eat that stop.
    if (RECORD.phase != Phase::taxiToStand)
        want = std::max<std::int64_t>(want, now + static_cast<std::int64_t>(std::ceil(lf_fewestTicks(RECORD))));
    // A predicted leg has no window: an absurd one throws rather than wrap
    // round to a time long past.
    next.dueTick = gsl::narrow<std::int32_t>(std::max<std::int64_t>(want, now));
}

void lf_relaxSlack(act& RECORD)
{
    RECORD.slackBehind = std::max(RECORD.slackBehind - slackRelaxStep, slackFloor);
    RECORD.slackAhead = std::max(RECORD.slackAhead - slackRelaxStep, slackFloor);
}

double lf_speedOfLeg(const act& RECORD)
{
    const TrackPoint& front = RECORD.track[0];
    const TrackPoint& next = RECORD.track[1];
    if (front.groundSpeed == 0 && next.groundSpeed == 0) {
        const double dataTicks = std::max(static_cast<double>(next.dueTick - front.dueTick), minLegTicks);
        return std::max(lf_legDistance(RECORD) * ticksPerHour / dataTicks, 1.0);
    }
    return (front.groundSpeed + next.groundSpeed) / 2.0;
}

double lf_legDistance(const act& RECORD)
{
    const TrackPoint& next = RECORD.track[1];
    const double chord = gf_distance(RECORD.lat, RECORD.lon, next.lat, next.lon);
    if (!lf_hasCurve(RECORD)) return chord;
    // A quadratic curve is about a third of the way from its chord to its control polygon.
    const Curve& c = RECORD.curve;
    const double toControl = std::hypot(c.controlEast, c.controlNorth);
    const double controlToEnd = std::hypot(c.endEast - c.controlEast, c.endNorth - c.controlNorth);
    const double polygon = gf_nmOfMetres(toControl + controlToEnd);
    return (2.0 * chord + polygon) / 3.0;
}

namespace {

double lf_ticksAtSpeed(const act& RECORD, double SPEED_KT)
{
    if (!(SPEED_KT > 0)) return minLegTicks;
    return std::max(std::round(gf_legTicks(lf_legDistance(RECORD), SPEED_KT)), minLegTicks);
}

/// A turn at the ground rate fitted to the leg: small turns spread over it,
/// wide ones quicken. The class rate and the record agree in radians per tick.
void lf_fitTurnRate(act& RECORD, double LEG_TICKS, double DISTANCE_NM)
{
    const double angDeg = RECORD.turning ? RECORD.turnAngle : RECORD.curveAngle;
    if (angDeg == 0 || DISTANCE_NM == 0 || RECORD.turnRateNow <= 0) return;
    const double turnTicks = std::round(angDeg * degToRad / RECORD.turnRateNow);
    const double r = LEG_TICKS / std::max(turnTicks, 1.0);
    if (angDeg <= smallTurnDeg) {
        double x = r;
        if (r >= turnSpreadRatio)
            x = std::min({r * spreadPerDegree / angDeg, r * gf_nmOfMetres(spreadMetres) / DISTANCE_NM, r});
        if (x != 0) RECORD.turnRateNow /= x;
        return;
    }
    RECORD.turnRateNow *= std::min(r, std::min(angDeg, wideTurnDeg) / wideTurnRateDivisor);
    if (angDeg >= wideTurnDeg) {
        RECORD.slackBehind = std::max(RECORD.slackBehind, slackWideTurn);
        RECORD.slackAhead = std::max(RECORD.slackAhead, slackWideTurn);
    }
}

/// A stop keeps the data's own duration, within the window.
void lf_timeStop(act& RECORD)
{
    const std::int32_t now = lf_now();
    const TrackPoint& front = RECORD.track[0];
    const TrackPoint& next = RECORD.track[1];
    const double held = std::max(static_cast<double>(next.dueTick - front.dueTick), minLegTicks);
    if (RECORD.phase == Phase::taxiToStand) {
        // The stop on a stand keeps its whole length however late the aircraft
        // is: in it the nose comes round to the stand's heading, and no later
        // data waits to be caught up with.
        RECORD.track[1].dueTick = gsl::narrow<std::int32_t>(now + std::llround(held));
        return;
    }
    // A late aircraft shortens its stops to catch up with the data.
    lf_setDue(RECORD, std::max(held - now + front.dueTick, minLegTicks));
}

} // namespace

void lf_timeGround(act& RECORD)
{
    if (RECORD.track[1].stationary) {
        lf_timeStop(RECORD);
        return;
    }
    RECORD.turnRateNow = RECORD.turnRate;
    const double ticks = lf_ticksAtSpeed(RECORD, lf_speedOfLeg(RECORD));
    if (lf_hasCurve(RECORD) || RECORD.turning) lf_fitTurnRate(RECORD, ticks, lf_legDistance(RECORD));
    lf_setDue(RECORD, ticks);
}

void lf_timeAir(act& RECORD)
{
    const TrackPoint& front = RECORD.track[0];
    const TrackPoint& next = RECORD.track[1];
    if (next.stationary) {
        if (lf_isHelicopter(RECORD)) lf_timeGround(RECORD);
        return;
    }
    double speed = lf_speedOfLeg(RECORD);
    if (RECORD.landing && !next.airborne) speed = front.groundSpeed > 0 ? front.groundSpeed : fallbackLandingSpeedKt;
    lf_setDue(RECORD, lf_ticksAtSpeed(RECORD, speed));
}

double lf_stepTicks(const act& RECORD)
{
    return std::max(static_cast<double>(RECORD.track[1].dueTick - lf_now()), minLegTicks);
}

void lf_positionSteps(act& RECORD)
{
    const TrackPoint& next = RECORD.track[1];
    const double dt = lf_stepTicks(RECORD);
    double dLon = next.lon - RECORD.lon;
    if (dLon > 180.0) dLon -= 360.0; // the short way across the date line
    if (dLon < -180.0) dLon += 360.0;
    RECORD.latStep = (next.lat - RECORD.lat) / dt;
    RECORD.lonStep = dLon / dt;
}

} // namespace orv
