// The track of an aircraft: each new point of the feed is filtered by the
// phase, stops are thinned out, and the point is appended in time order.
#include "core/log.h"
#include "core/parameters.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <cmath>
#include <exception>

namespace orv {

namespace {

constexpr double nearbyDegrees = 0.00015;
constexpr double takeoffSpeedKeepsMovingKt = 50.0, takeoffSpeedKeepsPlaceKt = 30.0;
constexpr double predictedTurnBackDeg = 100.0;
constexpr double landingTurnBackDeg = 90.0, rolloutTurnBackDeg = 150.0;
constexpr double landingSpeedCapKt = 40.0;
constexpr std::int32_t shortStopTicks = 1500;
constexpr double creepMetres = 22.0;
constexpr int stopLookBackFirst = 2, stopLookBackLast = 6;
constexpr double pushedBackFar = 6.0, pushedBackNear = 2.75; ///< times the half wing span
constexpr double jumpReachShare = 1.5, jumpLeastKt = 5.0;

double lf_offHeadingDeg(const act& RECORD, double COURSE)
{
    return std::fabs(gf_angleDiff(COURSE, RECORD.heading)) * radToDeg;
}

double lf_courseBetween(const TrackPoint& A, const TrackPoint& B) { return gf_bearing(A.lat, A.lon, B.lat, B.lon); }

void checkstops(act& RECORD, int COUNT, const TrackPoint& POINT, std::size_t LAST_MOVING)
{
    try {
        TrackQueue& track = RECORD.track;
        const TrackPoint& arrived = track[LAST_MOVING];
        const std::int32_t stopTicks = track.back().dueTick - arrived.dueTick;
        const double creep = gf_distance(POINT.lat, POINT.lon, arrived.lat, arrived.lon) * metresPerNm;
        if (stopTicks < shortStopTicks || creep <= creepMetres) track.truncate(track.size() - (COUNT - 1));
    } catch (const std::exception& e) {
        gf_log(fmt::format("checkstops, num:{} {}", COUNT, e.what()));
    }
}

/// A point that isn't airborne, after a stop at the end of the track.
void lf_stops(act& RECORD, const TrackPoint& POINT)
{
    TrackQueue& track = RECORD.track;
    if (!POINT.stationary) {
        removeSmallStop(RECORD, POINT);
        return;
    }
    for (std::size_t i = 0; i < track.size(); ++i)
        if (!track[i].stationary) return;
    track.truncate(1);
}

/// The track's start for a new point in the air or on the roll.
bool lf_otherPhases(act& RECORD, TrackPoint& POINT)
{
    if (RECORD.landing || RECORD.rollout) return lf_filterLanding(RECORD, POINT);
    if (!lf_pointFilter(RECORD, POINT)) return false;
    if (RECORD.predictedPoints > 0) {
        if (!RECORD.onGround &&
            lf_offHeadingDeg(RECORD, lf_courseBetween(RECORD.track.back(), POINT)) >= predictedTurnBackDeg)
            return false;
        lf_endPrediction(RECORD);
    }
    return true;
}

/// The phase decides whether and how the point is taken.
bool lf_byPhase(act& RECORD, TrackPoint& POINT)
{
    switch (RECORD.phase) {
    case Phase::unset: return lf_pointFilter(RECORD, POINT);
    case Phase::taxiToStand:
    case Phase::atStand:
        if (RECORD.state == ActState::waiting || RECORD.state == ActState::creating) return false;
        return lf_checkStand(RECORD, POINT);
    case Phase::pushBack: lf_pushSide(RECORD, POINT); return false;
    case Phase::pushedBack: return lf_pushedBackPoint(RECORD, POINT);
    default: return lf_otherPhases(RECORD, POINT);
    }
}

/// A point far from a hold that the aircraft could not have reached since the
/// hold began at the point's speed. One it could have reached is where the
/// data went while it had no coverage: the aircraft follows it.
bool lf_holdEndsWithJump(const act& RECORD, const TrackPoint& POINT)
{
    const double metres = gf_distance(POINT.lat, POINT.lon, RECORD.track.front().lat, RECORD.track.front().lon) * metresPerNm;
    if (metres <= HOLDING_THRESHOLD_METERS.value) return false;
    const double seconds = std::max(POINT.dueTick - RECORD.holdStartTick, 0) / ticksPerSecond;
    const double reachM = jumpReachShare * std::max(POINT.groundSpeed, jumpLeastKt) * metresPerNm / 3600.0 * seconds;
    return metres > reachM;
}

} // namespace

void lf_endPrediction(act& RECORD)
{
    RECORD.predictedPoints = 0;
    lf_widenSlack(RECORD);
    RECORD.track.front().dueTick = lf_now() + 1;
    RECORD.holding = false;
}

bool lf_pointFilter(act& RECORD, TrackPoint& POINT)
{
    const TrackPoint& last = RECORD.track.back();
    const bool same = gf_samePosition(POINT, last);
    POINT.stationary = same;
    if (lf_isHelicopter(RECORD)) return true;
    const bool flyingNow = RECORD.state == ActState::active && !RECORD.onGround;
    if (!same && std::fabs(POINT.lat - last.lat) <= nearbyDegrees && std::fabs(POINT.lon - last.lon) <= nearbyDegrees) {
        if (POINT.airborne || flyingNow) return false;
        if (RECORD.takeoffRoll && POINT.groundSpeed > 0 && last.groundSpeed >= takeoffSpeedKeepsMovingKt) return false;
        // A few metres of jitter is a stop at the last place; the time stays the point's own.
        const std::int32_t due = POINT.dueTick;
        POINT = last;
        POINT.dueTick = due;
        POINT.groundSpeed = 0;
        POINT.stationary = true;
        return true;
    }
    if (!same) {
        if (POINT.groundSpeed != 0) return true;
        return !(POINT.airborne || (RECORD.takeoffRoll && last.groundSpeed >= takeoffSpeedKeepsMovingKt));
    }
    if (POINT.airborne || flyingNow) return false;
    if (RECORD.takeoffRoll && POINT.groundSpeed > 0 && last.groundSpeed >= takeoffSpeedKeepsPlaceKt) return false;
    POINT.groundSpeed = 0;
    return true;
}

bool lf_filterLanding(act& RECORD, TrackPoint& POINT)
{
    TrackQueue& track = RECORD.track;
    if (gf_samePosition(POINT, track.back())) return false;
    if (track.size() == 1) {
        const double off = lf_offHeadingDeg(RECORD, gf_bearing(RECORD.lat, RECORD.lon, POINT.lat, POINT.lon));
        if (RECORD.landing && off >= landingTurnBackDeg) return false;
        if (RECORD.rollout && off >= rolloutTurnBackDeg && RECORD.predictedPoints > 0) return false;
        TrackPoint& front = track.front();
        front.lat = RECORD.lat;
        front.lon = RECORD.lon;
        front.dueTick = lf_now() + 1;
    } else if (lf_offHeadingDeg(RECORD, lf_courseBetween(track.back(), POINT)) >= landingTurnBackDeg) {
        track.pop_back();
        if (track.size() >= 2 &&
            lf_offHeadingDeg(RECORD, lf_courseBetween(track.back(), POINT)) >= landingTurnBackDeg)
            track.pop_back();
    }
    if (RECORD.predictedPoints > 0) lf_endPrediction(RECORD);
    const TrackPoint& last = track.back();
    if (gf_samePosition(POINT, last)) POINT.stationary = true;
    if (POINT.groundSpeed > landingSpeedCapKt && POINT.groundSpeed > last.groundSpeed)
        POINT.groundSpeed = last.groundSpeed;
    return true;
}

void removeSmallStop(act& RECORD, const TrackPoint& POINT)
{
    try {
        TrackQueue& track = RECORD.track;
        const std::size_t size = track.size();
        for (int k = stopLookBackFirst; k <= stopLookBackLast && static_cast<std::size_t>(k) <= size; ++k) {
            const std::size_t index = size - k;
            if (track[index].stationary) continue;
            checkstops(RECORD, static_cast<int>(size - 1 - index), POINT, index);
            return;
        }
    } catch (const std::exception& e) {
        gf_log(fmt::format("removeSmallStop {}", e.what()));
    }
}

bool lf_pushedBackPoint(act& RECORD, TrackPoint& POINT)
{
    const double d = gf_distance(POINT.lat, POINT.lon, RECORD.lat, RECORD.lon);
    const bool away = (d > pushedBackNear * RECORD.wingspan && d > RECORD.pullOutDistance) ||
                      d > pushedBackFar * RECORD.wingspan;
    if (!away) {
        if (!RECORD.holding) {
            RECORD.holding = true;
            RECORD.holdStartTick = lf_now();
        }
        RECORD.pullOutDistance = d;
        return false;
    }
    POINT.stationary = false;
    if (RECORD.predictedPoints > 0) lf_endPrediction(RECORD);
    RECORD.pushTurnKnown = false;
    RECORD.pushStage = 0;
    RECORD.setPhase(Phase::moving);
    RECORD.standPos = {};
    RECORD.standHeading = 0;
    RECORD.standSince = {};
    RECORD.standId = 0;
    RECORD.standCargo = false;
    RECORD.holding = false;
    return true;
}

void gf_trackFromHere(act& RECORD)
{
    TrackQueue& track = RECORD.track;
    if (track.empty()) return;
    if (RECORD.phase == Phase::atStand) {
        track.truncate(1);
        track.front().stationary = true;
        track.front().track = RECORD.heading * radToDeg;
        track.front().dueTick = lf_now() + 1;
        return;
    }
    // The present pose becomes the front point, due at once; what the data
    // said about the time after it stays, in order behind it.
    const std::int32_t now = lf_now();
    while (track.size() > 1 && track[1].dueTick <= now + 1) track.pop_front();
    TrackPoint& front = track.front();
    front.lat = RECORD.lat;
    front.lon = RECORD.lon;
    front.altitude = RECORD.altitude;
    front.bank = RECORD.bank;
    front.dueTick = now + 1;
    front.stationary = track.size() > 1 && gf_samePosition(front, track[1]);
}

void lf_addTrackPoint(act& RECORD, const TrackPoint& NEW_POINT)
{
    if (RECORD.track.size() > maxTrackPoints) {
        gf_removeAct(RECORD);
        return;
    }
    if (RECORD.track.empty()) {
        RECORD.track.push_back(NEW_POINT);
        return;
    }
    if (RECORD.holding && lf_holdEndsWithJump(RECORD, NEW_POINT)) {
        // A stop that ends with a jump: the aircraft was elsewhere meanwhile.
        RECORD.holding = false;
        RECORD.holdStartTick = 0;
        gf_removeAct(RECORD);
        return;
    }
    TrackPoint point = NEW_POINT;
    if (!lf_byPhase(RECORD, point)) return;
    if (RECORD.phase != Phase::unset && !point.airborne && RECORD.track.back().stationary) lf_stops(RECORD, point);
    TrackPoint& last = RECORD.track.back();
    if (point.dueTick <= last.dueTick) point.dueTick = last.dueTick + 1;
    lf_takeoffStart(RECORD, point);
    RECORD.track.push_back(point);
    if (RECORD.track.size() == 2 && RECORD.track[0].stationary && RECORD.track[1].stationary) {
        RECORD.track[0].dueTick = lf_now() + 1;
        RECORD.track[0].groundSpeed = RECORD.track[1].groundSpeed;
    }
}

} // namespace orv
