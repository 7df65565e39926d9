// Configuration in flight by altitude, the start of a landing, the flare,
// the touchdown that the simulator reports, the nose coming down and the
// rollout until the aircraft turns off the runway.
#include "core/log.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

constexpr double highAltitudeFt = 10000.0;
constexpr double limitLargeFt = 2050.0, limitOtherFt = 625.0;
constexpr double gearUpAglFt = 2400.0, flapsOneAglFt = 2000.0;
constexpr double descendingFpm = -250.0, climbingFpm = 400.0, levelFpm = 100.0, climbAwayFpm = 600.0;
constexpr double landingReachNm = 10.0;
constexpr double flareAglFt = 400.0;
constexpr double flareNoseUpRad = -4.0 * degToRad;
constexpr std::uint32_t spoilersOut = 16383, spoilersIn = 0;
constexpr double fullControl = 100.0;
constexpr double turnedOffDeg = 15.0, rolloutSlowKt = 90.0;

struct FlareStep {
    double aboveCgFt, altStep, frontVerticalSpeed;
};
constexpr FlareStep flareSteps[4] = {{30, -0.1, -601}, {20, -0.075, -450}, {10, -0.05, -300}, {3, -0.025, -150}};

bool lf_largeClass(const act& RECORD) { return RECORD.classId >= 1 && RECORD.classId <= 3; }

void lf_aboveLimit(act& RECORD)
{
    lf_relaxSlack(RECORD);
    gf_setCabinLight(RECORD.objectId, true);
    RECORD.takeoffRoll = false;
    RECORD.landing = false;
    const double v = RECORD.track[0].verticalSpeed;
    if (v <= descendingFpm && RECORD.throttleSetting == 3)
        gf_setThrottle(RECORD, lf_powerIndex(RECORD, 2));
    else if (v > climbingFpm && RECORD.throttleSetting == 4)
        gf_setThrottle(RECORD, lf_powerIndex(RECORD, 3));
    if (RECORD.agl >= gearUpAglFt) {
        gf_setGear(RECORD, false);
        gf_setFlaps(RECORD, 0);
    } else if (RECORD.agl >= flapsOneAglFt) {
        if (v <= levelFpm && RECORD.flapsSetting == 0) gf_setFlaps(RECORD, 1);
    } else if (v <= levelFpm) {
        if (RECORD.flapsSetting == 0)
            gf_setFlaps(RECORD, 1);
        else if (RECORD.flapsSetting == 1)
            gf_setFlaps(RECORD, 2);
    }
}

void lf_belowLimit(act& RECORD)
{
    gf_setCabinLight(RECORD.objectId, false);
    const double v = RECORD.track[0].verticalSpeed;
    const bool fieldNear = parkingCalls.parkAirportWithin(lf_posOf(RECORD), landingReachNm);
    if (v <= descendingFpm && !RECORD.landing && fieldNear) {
        gf_setThrottle(RECORD, lf_powerIndex(RECORD, 1));
        gf_setFlaps(RECORD, 3);
        gf_setGear(RECORD, true);
        newHexids.push_back(RECORD.hexid);
        RECORD.landing = true;
        RECORD.climbConfigSet = false;
        RECORD.standPos = {};
        RECORD.standId = 0;
        RECORD.standCargo = false;
        RECORD.slots = 1;
        lf_widenSlack(RECORD);
        return;
    }
    if ((v > climbAwayFpm || (v > descendingFpm && RECORD.landing && !fieldNear)) && !RECORD.climbConfigSet) {
        lf_relaxSlack(RECORD);
        gf_setThrottle(RECORD, 4);
        gf_setGear(RECORD, false);
        RECORD.climbConfigSet = true;
        RECORD.landing = false;
        gf_setFlaps(RECORD, 0);
        RECORD.flareStage = 0;
    }
}

double lf_heightForFlare(act& RECORD)
{
    if (!RECORD.fieldElevation) RECORD.fieldElevation = parkingCalls.parkAirportElevation();
    if (!RECORD.fieldElevation) return RECORD.agl;
    return std::min(RECORD.agl, RECORD.altitude - *RECORD.fieldElevation);
}

} // namespace

void lf_flightConfig(act& RECORD)
{
    if (RECORD.track[0].altitude >= highAltitudeFt) {
        if (!RECORD.highLights) {
            RECORD.highLights = true;
            RECORD.lowLights = false;
            lf_lights(RECORD, {1, 1, 0, 0, 0, 0, 1});
            gf_setThrottle(RECORD, lf_powerIndex(RECORD, 3));
            gf_setGear(RECORD, false);
            gf_setFlaps(RECORD, 0);
        }
        return;
    }
    if (!RECORD.lowLights) {
        RECORD.lowLights = true;
        RECORD.highLights = false;
        lf_lights(RECORD, {1, 1, 1, 1, 1, 1, 1});
    }
    const double limit = lf_largeClass(RECORD) ? limitLargeFt : limitOtherFt;
    if (RECORD.agl > limit)
        lf_aboveLimit(RECORD);
    else
        lf_belowLimit(RECORD);
}

void lf_flare(act& RECORD)
{
    if (RECORD.agl > flareAglFt || !RECORD.landing || RECORD.onGround || RECORD.flareStage >= 4) return;
    const FlareStep& step = flareSteps[RECORD.flareStage];
    const double height = RECORD.flareStage == 0 ? lf_heightForFlare(RECORD) : RECORD.agl;
    if (height > RECORD.staticCg + step.aboveCgFt) return;
    if (RECORD.flareStage == 0)
        RECORD.pitchStep = (flareNoseUpRad - RECORD.pitch) / std::max(RECORD.flareTicks, 1);
    if (RECORD.flareStage == 2) gf_setThrottle(RECORD, 0);
    RECORD.altStep = step.altStep;
    RECORD.track[0].verticalSpeed = step.frontVerticalSpeed;
    ++RECORD.flareStage;
}

void lf_touchdown(act& RECORD)
{
    if (RECORD.state == ActState::removing || RECORD.phase == Phase::takingOff) return;
    if (RECORD.flareStage == 0 && !RECORD.landing) {
        RECORD.onGround = true;
        RECORD.altStep = 0;
        RECORD.slots = 1;
        return;
    }
    RECORD.noseLowering = RECORD.rollout = true;
    RECORD.touchHeading = RECORD.heading;
    RECORD.landing = false;
    RECORD.justLanded = true;
    std::string from;
    if (!RECORD.destination.empty() && RECORD.destination == parkingCalls.parkAirportIata() && !RECORD.origin.empty())
        from = " from " + RECORD.origin;
    gf_showStatus(fmt::format("{:8} landed{}", RECORD.callsign, from), true);
    lf_spoilers(RECORD, spoilersOut);
    lf_controls(RECORD, fullControl, RECORD.reverser ? -fullControl : fullControl);
    const std::int32_t n = RECORD.touchdownTicks;
    if (n > 0) {
        RECORD.bankStep = -RECORD.bank / n;
        RECORD.pitchStep = (RECORD.staticPitch - RECORD.pitch) / n;
    } else {
        gf_log(fmt::format("{} ! onGround slots {:.1F}", RECORD.callsign, static_cast<double>(RECORD.slots)));
        RECORD.pitch = RECORD.staticPitch;
    }
    newHexids.push_back(RECORD.hexid);
    RECORD.onGround = true;
    RECORD.altStep = 0;
    RECORD.slots = 1;
}

void lf_integrateNoseLowering(act& RECORD)
{
    const double before = RECORD.pitch;
    RECORD.pitch += RECORD.pitchStep;
    RECORD.bank += RECORD.bankStep;
    const bool passed = RECORD.pitchStep == 0 || (before - RECORD.staticPitch) * (RECORD.pitch - RECORD.staticPitch) <= 0;
    if (!passed) return;
    RECORD.pitch = RECORD.staticPitch;
    RECORD.bank = 0;
    RECORD.pitchStep = RECORD.bankStep = 0;
    RECORD.noseLowering = false;
    RECORD.flareStage = 0;
}

void lf_stepRollout(act& RECORD)
{
    if (std::fabs(gf_angleDiff(RECORD.heading, RECORD.touchHeading)) * radToDeg >= turnedOffDeg) {
        gf_setFlaps(RECORD, 0);
        RECORD.rollout = false;
        RECORD.touchHeading = 0;
        gf_setThrottle(RECORD, lf_powerIndex(RECORD, 0));
        lf_spoilers(RECORD, spoilersIn);
        lf_controls(RECORD, 0, 0);
        lf_lights(RECORD, {1, 1, 0, 1, 0, 1, 1});
        return;
    }
    if (RECORD.track[0].groundSpeed <= rolloutSlowKt) {
        lf_spoilers(RECORD, spoilersIn);
        lf_controls(RECORD, 0, 0);
        gf_setFlaps(RECORD, 1);
    }
}

} // namespace orv
