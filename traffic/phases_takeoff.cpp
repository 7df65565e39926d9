// Take-off: the start of the roll (or of a touch-and-go), the rotation test,
// rotation and initial climb until the aircraft flies.
#include "core/log.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <algorithm>

namespace orv {

namespace {

constexpr double rollStartKt = 43.0;
constexpr double rotateVerticalSpeedFpm = 256.0;
constexpr double minClimbFeet = 0.1;
constexpr double minLegTicks = 25.0;
constexpr std::uint32_t spoilersOut = 16383, spoilersIn = 0;
constexpr std::int32_t climbStartSlot = 0, gearUpSlot = -300;
constexpr double flyingAglFt = 800.0;

/// The share of the climb step in the first three seconds after rotation.
double lf_climbShare(std::int32_t SLOTS)
{
    if (SLOTS == climbStartSlot) return 0.0;
    if (SLOTS >= -99) return 0.1;
    if (SLOTS >= -199) return 0.2;
    if (SLOTS >= -299) return 0.5;
    return 1.0;
}

void lf_resetForTakeoff(act& RECORD)
{
    RECORD.landing = false;
    RECORD.justLanded = false;
    RECORD.climbConfigSet = false;
    lf_lights(RECORD, takeoffLights);
    RECORD.slackAhead = slackWideTakeoff;
    RECORD.slackBehind = slackWideBehind;
}

void lf_touchAndGo(act& RECORD)
{
    RECORD.setPhase(Phase::moving);
    RECORD.takeoffRoll = true;
    gf_setThrottle(RECORD, 3);
    lf_spoilers(RECORD, spoilersOut);
    gf_setFlaps(RECORD, 1);
    lf_resetForTakeoff(RECORD);
}

} // namespace

void lf_takeoffStart(act& RECORD, const TrackPoint& POINT)
{
    if (!RECORD.onGround || RECORD.state != ActState::active || RECORD.takeoffRoll) return;
    const TrackPoint& last = RECORD.track.back();
    if (!RECORD.rollout) {
        // A speed that the positions do not bear out (one frozen since the
        // landing) starts no take-off, nor does a run that slows down (a
        // track that begins on the runway in the roll-out).
        const bool confirmed = RECORD.evidence.disagreeSince == 0 && POINT.groundSpeed >= last.groundSpeed;
        const bool fast = confirmed && POINT.groundSpeed >= rollStartKt && last.groundSpeed >= rollStartKt;
        if ((POINT.airborne || fast) && RECORD.phase == Phase::moving) lf_startTakeoff(RECORD);
        return;
    }
    if (last.airborne && POINT.airborne) lf_touchAndGo(RECORD);
}

void lf_startTakeoff(act& RECORD)
{
    if (RECORD.towed) gf_log("towed aircraft takes-off?");
    RECORD.takeoffRoll = true;
    gf_setThrottle(RECORD, 0);
    lf_spoilers(RECORD, spoilersIn);
    gf_setFlaps(RECORD, 1);
    lf_resetForTakeoff(RECORD);
    if (!RECORD.airline.empty()) parkingCalls.learnLostAircraft(RECORD, true);
}

void lf_rotationTest(act& RECORD)
{
    if (!RECORD.takeoffRoll || RECORD.phase == Phase::takingOff) return;
    const TrackQueue& track = RECORD.track;
    if (track[0].groundSpeed < rollStartKt) return;
    bool slowClimb = false, allAirborne = true, allFast = true;
    const double minSpeed = gf_minTakeoffSpeed(RECORD.classId);
    for (std::size_t i = 1; i < track.size(); ++i) {
        slowClimb = slowClimb || track[i].verticalSpeed <= rotateVerticalSpeedFpm;
        allAirborne = allAirborne && track[i].airborne;
        allFast = allFast && track[i].groundSpeed >= minSpeed;
    }
    // Read as one choice: a slow climb rotates only when the data is fast and
    // in the air; otherwise the roll goes on (and may end by prediction).
    if (slowClimb) {
        if (!allFast || !allAirborne) return;
        RECORD.altStep = RECORD.maxAltRate;
    } else if (allAirborne) {
        const double dt = std::max(static_cast<double>(track[1].dueTick - lf_now()), minLegTicks);
        RECORD.altStep = std::max(track[1].altitude - RECORD.altitude, minClimbFeet) / dt;
    } else {
        RECORD.altStep = RECORD.maxAltRate;
    }
    lf_tookOff(RECORD);
}

void lf_tookOff(act& RECORD)
{
    const bool touchAndGo = RECORD.rollout;
    RECORD.slots = std::max(RECORD.rotateTicks, 1);
    RECORD.pitchStep = (RECORD.rotatePitch - RECORD.pitch) / RECORD.slots;
    RECORD.bank = RECORD.bankStep = 0;
    if (!RECORD.takeoffRoll) lf_startTakeoff(RECORD);
    RECORD.setPhase(Phase::takingOff);
    std::string to;
    if (!RECORD.origin.empty() && RECORD.origin == parkingCalls.parkAirportIata() && !RECORD.destination.empty())
        to = " to " + RECORD.destination;
    gf_showStatus(fmt::format("{:8} took-off{}", RECORD.callsign, to), true);
    lf_cancelCurve(RECORD);
    RECORD.headingStep = 0;
    if (touchAndGo) {
        RECORD.rollout = false;
        RECORD.landing = RECORD.justLanded = false;
        gf_setThrottle(RECORD, 4);
        lf_spoilers(RECORD, spoilersOut);
        gf_setFlaps(RECORD, 1);
    }
}

void lf_integrateTakingOff(act& RECORD)
{
    if (RECORD.slots >= 1) {
        RECORD.onGround = false;
        if (RECORD.pitch > RECORD.rotatePitch) RECORD.pitch += RECORD.pitchStep;
    } else {
        RECORD.bank += RECORD.bankStep;
        if (RECORD.pitch > RECORD.climbPitch)
            RECORD.pitch += (RECORD.climbPitch - RECORD.rotatePitch) / std::max(RECORD.climbTicks, 1);
        RECORD.altitude += lf_climbShare(RECORD.slots) * RECORD.altStep;
        if (RECORD.slots == gearUpSlot) gf_setGear(RECORD, false);
        if (RECORD.slots < gearUpSlot && RECORD.pitch <= RECORD.climbPitch) {
            RECORD.pitchStep = 0;
            if (RECORD.agl >= flyingAglFt) {
                gf_setThrottle(RECORD, lf_powerIndex(RECORD, 3));
                RECORD.setPhase(Phase::flying);
                RECORD.slots = 1;
                return;
            }
        }
    }
    --RECORD.slots;
}

} // namespace orv
