// The motion of an active aircraft in each pass: when its front point comes
// due the next leg is prepared once (nextPosMain, lf_nextPos), and every pass
// lf_integrate adds the leg's steps; the pose then goes to the simulator.
#include "core/log.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <cmath>
#include <exception>

namespace orv {

namespace {

constexpr std::int32_t takeoffThrottleFull = 4, takeoffThrottleHigh = 2, takeoffThrottleLow = 1;
/// The speeds (front, next) from which a take-off roll runs at each throttle index.
constexpr double fullFrontKt = 25, fullNextKt = 30, highFrontKt = 20, highNextKt = 25, lowFrontKt = 15, lowNextKt = 20;
constexpr double turningDeg = 3.0;     ///< a smaller difference to the target heading is no turn
constexpr double pullOutWithinDeg = 90.0; ///< leaving towards the stand's heading is a pull out

/// An aircraft that can go on no further: a parked one just goes, any other
/// first teaches the stand learning what it can.
void lf_endOfTrack(act& RECORD)
{
    if (RECORD.phase != Phase::atStand) parkingCalls.learnLostAircraft(RECORD, RECORD.phase != Phase::flying);
    gf_removeAct(RECORD);
}

/// The throttle of a take-off roll by the speeds at both ends of the leg.
std::int32_t lf_rollThrottle(const act& RECORD)
{
    if (lf_isHelicopter(RECORD)) return takeoffThrottleFull;
    const double s0 = RECORD.track[0].groundSpeed, s1 = RECORD.track[1].groundSpeed;
    if (s0 >= fullFrontKt || s1 >= fullNextKt) return takeoffThrottleFull;
    if (s0 >= highFrontKt || s1 >= highNextKt) return takeoffThrottleHigh;
    if (s0 >= lowFrontKt || s1 >= lowNextKt) return takeoffThrottleLow;
    return 0;
}

void lf_nextPosGround(act& RECORD)
{
    switch (RECORD.phase) {
    case Phase::pushBack: lf_pushStage(RECORD); break;
    case Phase::moving:
    case Phase::taxiToStand:
    case Phase::takingOff:
        if (!RECORD.track[1].stationary) lf_shapeGroundLeg(RECORD);
        if (lf_hasCurve(RECORD)) {
            RECORD.turning = false;
        } else {
            RECORD.turnAngle = std::fabs(gf_angleDiff(RECORD.targetHeading, RECORD.heading)) * radToDeg;
            RECORD.turning = RECORD.turnAngle > turningDeg;
        }
        if (RECORD.phase == Phase::moving) lf_arrivalCheck(RECORD);
        break;
    case Phase::atStand:
        RECORD.slackAhead = RECORD.takeoffRoll ? slackWideTakeoff : slackWideAhead;
        RECORD.slackBehind = slackWideBehind;
        if (RECORD.standLeft) {
            const TrackPoint& last = RECORD.track.back();
            const double course = gf_bearing(RECORD.standPos.lat, RECORD.standPos.lon, last.lat, last.lon);
            const double offDeg = std::round(gf_angleDiff(course, RECORD.standHeading) * radToDeg);
            if (std::fabs(offDeg) < pullOutWithinDeg)
                lf_pullOut(RECORD);
            else
                lf_pushBack(RECORD);
        }
        break;
    default: break;
    }
    lf_timeGround(RECORD);
}

} // namespace

void lf_stepGround(act& RECORD)
{
    if (RECORD.phase == Phase::flying || RECORD.phase == Phase::atStand) RECORD.setPhase(Phase::moving);
    if (RECORD.takeoffRoll)
        gf_setThrottle(RECORD, lf_rollThrottle(RECORD));
    else if (RECORD.rollout)
        lf_stepRollout(RECORD);
    else
        gf_setThrottle(RECORD, lf_powerIndex(RECORD, 0));
    if (!RECORD.rollout && !RECORD.takeoffRoll) lf_relaxSlack(RECORD);
    if (RECORD.flareStage == 0 && RECORD.phase != Phase::takingOff) {
        RECORD.pitch = RECORD.staticPitch;
        RECORD.bank = 0;
        RECORD.pitchStep = RECORD.bankStep = 0;
        RECORD.verticalSpeedFpm = 0; // on the wheels nothing climbs or sinks
    }
    if (lf_hasCurve(RECORD)) RECORD.curveDt = 1.0 / lf_stepTicks(RECORD);
    const double speed = RECORD.track[1].groundSpeed;
    RECORD.speedSigned = RECORD.phase == Phase::pushBack ? -speed : speed;
    lf_rotationTest(RECORD);
}

void lf_nextPos(act& RECORD)
{
    lf_cancelCurve(RECORD);
    {
        const TrackPoint& front = RECORD.track[0];
        TrackPoint& next = RECORD.track[1];
        if (!next.stationary && gf_samePosition(front, next)) next.stationary = true;
        if (!next.stationary) RECORD.targetHeading = gf_bearing(front.lat, front.lon, next.lat, next.lon);
        else if (RECORD.phase == Phase::taxiToStand) RECORD.targetHeading = RECORD.standHeading;
    }
    if (RECORD.onGround)
        lf_nextPosGround(RECORD);
    else
        lf_timeAir(RECORD);
    if (RECORD.track.size() < 2) return; // a stage of the push may have left the aircraft standing
    if (RECORD.track[1].stationary) {
        RECORD.latStep = RECORD.lonStep = 0;
        if (!RECORD.rollout && !RECORD.takeoffRoll) lf_relaxSlack(RECORD);
    } else {
        lf_positionSteps(RECORD);
        if (RECORD.onGround)
            lf_stepGround(RECORD);
        else
            lf_stepAir(RECORD);
    }
    RECORD.track.pop_front();
}

void nextPosMain(act& RECORD)
{
    try {
        for (;;) {
            if (RECORD.track.size() < 2) {
                if (!lf_predict(RECORD)) {
                    lf_endOfTrack(RECORD);
                    return;
                }
                continue;
            }
            if (!RECORD.onGround && RECORD.track[1].stationary && !lf_isHelicopter(RECORD)) {
                RECORD.track.erase(1); // in the air there is no standing still
                continue;
            }
            lf_nextPos(RECORD);
            return;
        }
    } catch (const std::exception& e) {
        gf_log(fmt::format("nextPosMain: {}", e.what()));
        lf_endOfTrack(RECORD);
    }
}

void lf_moveAct(act& RECORD)
{
    if (!RECORD.track.empty() && lf_now() >= RECORD.track.front().dueTick) {
        nextPosMain(RECORD);
        RECORD.verticalSpeedFps = RECORD.verticalSpeedFpm / 60.0;
        RECORD.speedOut = !RECORD.track.empty() && RECORD.track.front().stationary ? 0.0 : RECORD.speedSigned;
    }
    if (RECORD.state != ActState::active || RECORD.track.empty()) return;
    // Standing on a stand the nose still comes round to the stand's heading.
    if (!RECORD.track.front().stationary || RECORD.phase == Phase::taxiToStand) lf_integrate(RECORD);
    if (RECORD.objectId != 0) gf_appendPosition(lf_positionOf(RECORD));
}

} // namespace orv
