// Leaving a stand: whether a new point shows the aircraft going, the end of
// its stay, the pull out ahead and the push back with its tail swing.
#include "core/log.h"
#include "core/parameters.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>
#include <gsl/narrow>

#include <cmath>
#include <ctime>

namespace orv {

namespace {

constexpr double nearStandMetres = 85.0, standJumpMetres = 200.0, awayStepMetres = 3.0;
constexpr std::int32_t awayCountToLeave = 3;
constexpr std::int32_t weekTicks = 604800 * 100;
constexpr std::int32_t towedHeavyTicks = 360000, towedLargeTicks = 150000, towedSmallTicks = 90000;
constexpr double pullOutSpans = 2.0;   ///< half wing spans ahead of the stand
constexpr double pushRadii = 2.5;      ///< stand radii behind it
constexpr std::uint32_t engineEventData = 0;
/// Nautical miles: more than any distance, so that the first point after a push is never taken for it.
constexpr double pullOutUnknownNm = 900;

double lf_metres(double NM) { return NM * metresPerNm; }

/// The aircraft is leaving the stand with this point.
bool lf_leaving(act& RECORD, TrackPoint& POINT)
{
    POINT.stationary = false;
    RECORD.standLeft = true;
    if (RECORD.previousPhase != Phase::atStand) {
        lf_standGivenUp(RECORD);
        if (RECORD.phase != Phase::atStand) RECORD.setPhase(Phase::atStand);
    }
    return true;
}

/// Near the stand: left-behind noise, unless the aircraft moves steadily out.
bool lf_nearStand(act& RECORD, TrackPoint& POINT, double D_METRES)
{
    RECORD.atStandSince = static_cast<double>(std::time(nullptr));
    if (RECORD.standLastDistance == 0) {
        RECORD.standFirstDistance = RECORD.standLastDistance = D_METRES;
        RECORD.awayCount = 0;
        RECORD.standLeft = false;
        return false;
    }
    if (D_METRES >= RECORD.standLastDistance + awayStepMetres) {
        ++RECORD.awayCount;
        RECORD.standLastDistance = D_METRES;
        const double out = D_METRES - RECORD.standFirstDistance;
        const double spanMetres = lf_metres(RECORD.wingspan);
        if ((RECORD.awayCount >= awayCountToLeave && out >= spanMetres / 2.0) || out > spanMetres)
            return lf_leaving(RECORD, POINT);
        RECORD.standLeft = false;
        return false;
    }
    if (D_METRES <= RECORD.standLastDistance - awayStepMetres) RECORD.awayCount = 0;
    RECORD.standLeft = false;
    return false;
}

TrackPoint lf_groundPointAt(const TrackPoint& LIKE, const LatLon& POS, double SPEED_KT, std::int32_t DUE)
{
    TrackPoint p = LIKE;
    p.lat = POS.lat;
    p.lon = POS.lon;
    p.groundSpeed = SPEED_KT;
    p.dueTick = DUE;
    p.stationary = false;
    p.airborne = false;
    p.bank.reset();
    p.heading.reset();
    p.headingValid = false;
    return p;
}

std::int32_t lf_ticksFor(double DISTANCE_NM, double SPEED_KT)
{
    return gsl::narrow<std::int32_t>(std::llround(gf_legTicks(DISTANCE_NM, SPEED_KT)));
}

void lf_leaveStandSystems(act& RECORD)
{
    lf_lights(RECORD, taxiOutLights);
    lf_event(RECORD, eventEngineAutoStart, engineEventData);
}

} // namespace

bool lf_checkStand(act& RECORD, TrackPoint& POINT)
{
    RECORD.standSeen = true;
    const double d = lf_metres(gf_distance(POINT.lat, POINT.lon, RECORD.standPos.lat, RECORD.standPos.lon));
    const double near = RECORD.previousPhase == Phase::taxiToStand ? 2.0 * nearStandMetres : nearStandMetres;
    if (d <= near) return lf_nearStand(RECORD, POINT, d);
    if (RECORD.phase == Phase::taxiToStand) {
        RECORD.setPhase(Phase::moving);
        POINT.stationary = false;
        return true;
    }
    if (d <= standJumpMetres) return lf_leaving(RECORD, POINT);
    if (RECORD.state == ActState::active) {
        gf_removeAct(RECORD);
        return false;
    }
    return true;
}

void lf_standGivenUp(act& RECORD)
{
    if (RECORD.predictedPoints > 0) {
        if (RECORD.phase == Phase::atStand && RECORD.justLanded) {
            const std::int64_t elapsed =
                static_cast<std::int64_t>(lf_now()) - RECORD.track.front().dueTick + weekTicks;
            RECORD.towed = (RECORD.classId == 3 && elapsed < towedHeavyTicks) ||
                           (RECORD.classId == 2 && elapsed < towedLargeTicks) ||
                           (RECORD.classId == 1 && elapsed < towedSmallTicks);
        }
        RECORD.justLanded = false;
        RECORD.track.front().dueTick = lf_now() + 1;
        RECORD.predictedPoints = 0;
        lf_widenSlack(RECORD);
    }
    if (!RECORD.airline.empty() && RECORD.standCargo == RECORD.cargo) parkingCalls.learnDeparture(RECORD);
    parkingCalls.setStandOccupied(RECORD.standId, false);
}

void lf_pullOut(act& RECORD)
{
    RECORD.standLeft = false;
    RECORD.predictedPoints = 0;
    TrackPoint& front = RECORD.track.front();
    const double distance = pullOutSpans * RECORD.wingspan;
    const LatLon ahead = gf_destination(RECORD.standPos, RECORD.standHeading, distance * feetPerNm);
    front.groundSpeed = RECORD.pushSpeed;
    const TrackPoint out =
        lf_groundPointAt(front, ahead, RECORD.pushSpeed, lf_now() + lf_ticksFor(distance, RECORD.pushSpeed));
    RECORD.track.truncate(1);
    RECORD.track.push_back(out);
    RECORD.setPhase(Phase::moving);
    RECORD.targetHeading = RECORD.heading;
    lf_leaveStandSystems(RECORD);
    gf_setThrottle(RECORD, 0);
    gf_setFlaps(RECORD, 1);
    gf_log(fmt::format("{:8}: {:8} pulling out", parkingCalls.standName(RECORD.standId), RECORD.callsign));
}

void lf_pushBack(act& RECORD)
{
    RECORD.predictedPoints = 0;
    const std::int32_t now = lf_now();
    const double rev = gf_wrapTwoPi(RECORD.standHeading + pi);
    const double pushNm = pushRadii * parkingCalls.standRadius(RECORD.standId);
    const LatLon here = lf_posOf(RECORD);
    const LatLon end = gf_destination(here, rev, pushNm * feetPerNm);
    const std::int32_t pushTicks = lf_ticksFor(pushNm, RECORD.pushSpeed);
    TrackPoint& front = RECORD.track.front();
    front.groundSpeed = RECORD.pushSpeed;
    const TrackPoint p1 = lf_groundPointAt(front, end, RECORD.pushSpeed, now + pushTicks);
    RECORD.targetHeading = RECORD.heading;
    RECORD.track.truncate(1);
    RECORD.track.push_back(p1);
    lf_insertMidpoint(RECORD);
    const LatLon mid = gf_posOf(RECORD.track[1]);
    const double sideFeet = RECORD.wingspan * feetPerNm;
    const LatLon right = gf_destination(end, rev + pi / 2.0, sideFeet);
    const LatLon left = gf_destination(end, rev - pi / 2.0, sideFeet);
    const std::int32_t half = pushTicks / 2;
    const std::int32_t rightDue = now + half + lf_ticksFor(gf_distance(mid, right), RECORD.pushSpeed);
    const std::int32_t leftDue = now + half + lf_ticksFor(gf_distance(mid, left), RECORD.pushSpeed);
    RECORD.pushEndPoint = lf_groundPointAt(p1, right, RECORD.pushSpeed, rightDue);
    RECORD.track.push_back(lf_groundPointAt(p1, left, RECORD.pushSpeed, leftDue));
    lf_leaveStandSystems(RECORD);
    RECORD.setPhase(Phase::pushBack);
    RECORD.pushStage = 2;
    RECORD.turning = false;
}

void lf_pushSide(act& RECORD, const TrackPoint& POINT)
{
    if (STRAIGHT_PBS_ONLY.value || RECORD.pushStage != 2) return;
    double side = 0;
    if (POINT.heading)
        side = *POINT.heading;
    else if (POINT.track != 0)
        side = POINT.track * degToRad;
    else
        return;
    RECORD.pushTurnRight = gf_angleDiff(side, RECORD.heading) > 0;
    RECORD.pushTurnKnown = true;
}

void lf_pushStage(act& RECORD)
{
    --RECORD.pushStage;
    if (RECORD.pushStage == 1) {
        // The midpoint is passed: straight on to the end, or swing the tail round.
        if (!RECORD.pushTurnKnown) {
            if (RECORD.track.size() >= 3) RECORD.track.pop_back();
        } else {
            if (RECORD.pushTurnRight) RECORD.track.back() = RECORD.pushEndPoint;
            lf_setupCurve(RECORD);
            RECORD.curveAngle = 90.0;
        }
        // Tail first: the nose keeps pointing away from where the aircraft goes.
        RECORD.targetHeading = gf_wrapTwoPi(RECORD.targetHeading + pi);
        RECORD.turning = false;
        return;
    }
    if (RECORD.pushStage < 1) {
        RECORD.targetHeading = RECORD.heading;
        lf_event(RECORD, eventEngineAutoStart, engineEventData);
        gf_setThrottle(RECORD, 0);
        gf_setFlaps(RECORD, 1);
        RECORD.setPhase(Phase::pushedBack);
        RECORD.pushStage = 1;
        RECORD.pullOutDistance = pullOutUnknownNm;
        RECORD.predictedPoints = 0;
        RECORD.standLeft = false;
        RECORD.turning = false;
    }
}

} // namespace orv
