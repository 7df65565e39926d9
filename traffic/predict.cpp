// Prediction: when the track runs out the aircraft goes on by itself for a
// while (a hold on the taxiway, a roll, a flight on its heading, a week at a
// stand), and when that ends it is removed.
#include "core/parameters.h"
#include "feed/feed.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <algorithm>

namespace orv {

namespace {

constexpr std::int32_t holdStepTicks = 300;
constexpr double holdConflictFactor = 1.2;
constexpr std::int32_t airPoints = 8, groundPoints = 10, parkedPoints = 1;
constexpr double rangeMarginNm = 0.5;
constexpr double groundStepSeconds = 3.0, airStepSeconds = 8.0;
constexpr std::int32_t weekTicks = 604800 * 100;
constexpr double airSlowing = 0.95, landingSlowing = 0.9;
constexpr std::int32_t landingKeepSpeedBelow = 4;
constexpr double landingSinkFpm = -667.0, landingSinkFtPerSecond = 10.005;
constexpr double takeoffClimbFpm = 1500.0, takeoffClimbFtPerSecond = 25.0;

/// Another aircraft standing on the ground too close to hold beside. One
/// that passes by, or whose data jitters round its place, is no reason to
/// give up a hold: only one that holds there too is.
bool lf_holdConflict(const act& RECORD)
{
    for (const act& other : liveList) {
        if (&other == &RECORD || other.state != ActState::active || !other.onGround || other.phase != Phase::moving ||
            !other.holding)
            continue;
        const double d = gf_distance(RECORD.lat, RECORD.lon, other.lat, other.lon);
        if (d < holdConflictFactor * (RECORD.wingspan + other.wingspan)) return true;
    }
    return false;
}

bool lf_hold(act& RECORD)
{
    const std::int32_t now = lf_now();
    if (lf_holdConflict(RECORD)) {
        RECORD.holding = false;
        return false;
    }
    if (RECORD.holding && now - RECORD.holdStartTick > MAX_HOLDING_MINUTES.value * ticksPerMinute) return false;
    if (!RECORD.holding) {
        RECORD.holding = true;
        RECORD.holdStartTick = now;
    }
    TrackPoint stop = RECORD.track.front();
    stop.stationary = true;
    stop.groundSpeed = 0;
    stop.dueTick += holdStepTicks;
    RECORD.track.push_back(stop);
    RECORD.predictedPoints = 1;
    return true;
}

/// A take-off roll going on by itself: up to this speed the next is that, with that climb.
struct RollStep {
    double upToKt, nextKt, verticalSpeedFpm;
};
constexpr RollStep rollFaster[] = {{30, 40, 0}, {60, 80, 0}, {100, 110, 0}, {140, 150, 600}, {160, 170, 1200}};
constexpr RollStep rollFastest{0, 180, 2400};
/// A rollout going on by itself: from this speed on the next is that.
struct SlowStep {
    double fromKt, nextKt;
};
constexpr SlowStep rollSlower[] = {{140, 100}, {100, 80}, {80, 60}, {60, 30}};
constexpr double rollSlowestKt = 20;

void lf_rollFaster(TrackPoint& POINT)
{
    RollStep step = rollFastest;
    for (const RollStep& s : rollFaster)
        if (POINT.groundSpeed <= s.upToKt) {
            step = s;
            break;
        }
    POINT.groundSpeed = step.nextKt;
    if (step.verticalSpeedFpm > 0) POINT.verticalSpeed = step.verticalSpeedFpm;
}

void lf_rollSlower(TrackPoint& POINT)
{
    double next = rollSlowestKt;
    for (const SlowStep& s : rollSlower)
        if (POINT.groundSpeed >= s.fromKt) {
            next = s.nextKt;
            break;
        }
    POINT.groundSpeed = next;
    POINT.verticalSpeed = 0;
}

} // namespace

bool gf_classEnabled(std::int32_t CLASS_ID)
{
    switch (CLASS_ID) {
    case lightClass: return LIGHT_AIRCRAFT.value;
    case 4: return HIGH_PERF_AIRCRAFT.value;
    case helicopterClass: return HELICOPTERS.value;
    default: return true;
    }
}

void lf_predictPoint(act& RECORD, std::int32_t COUNT)
{
    RECORD.predictedPoints = COUNT;
    TrackPoint p = RECORD.track.front();
    const bool parked = RECORD.phase == Phase::atStand;
    if (p.stationary || parked || (RECORD.onGround && !RECORD.takeoffRoll && !RECORD.rollout)) {
        p.stationary = true;
        p.groundSpeed = 0;
    } else if (RECORD.takeoffRoll) {
        lf_rollFaster(p);
    } else if (RECORD.rollout) {
        lf_rollSlower(p);
    } else if (!(RECORD.landing && COUNT < landingKeepSpeedBelow)) {
        const double factor = RECORD.landing ? landingSlowing : airSlowing;
        p.groundSpeed = std::max(p.groundSpeed * factor, 1.0);
        p.airspeed = std::max(p.airspeed * factor, 1.0);
    }
    const double step = RECORD.onGround ? groundStepSeconds : airStepSeconds;
    if (!p.stationary) {
        const double feet = p.groundSpeed * feetPerNm / 3600.0 * step;
        const LatLon to = gf_destination(gf_posOf(p), RECORD.heading, feet);
        p.stationary = to.lat == p.lat && to.lon == p.lon;
        p.lat = to.lat;
        p.lon = to.lon;
        if (RECORD.landing && RECORD.flareStage == 0) {
            p.verticalSpeed = landingSinkFpm;
            p.altitude -= step * landingSinkFtPerSecond;
            p.airborne = p.altitude > 0;
        }
        if (RECORD.phase == Phase::takingOff) {
            p.verticalSpeed = takeoffClimbFpm;
            p.altitude += step * takeoffClimbFtPerSecond;
        }
    }
    p.dueTick += static_cast<std::int32_t>(step * ticksPerSecond);
    if (parked) {
        p.dueTick += weekTicks;
        RECORD.standSeen = false;
        parkingCalls.setStandOccupied(RECORD.standId, false);
    }
    p.bank.reset();
    p.headingValid = false;
    RECORD.track.push_back(p);
}

bool lf_predict(act& RECORD)
{
    if (RECORD.phase == Phase::taxiToStand) lf_parkAtStand(RECORD);
    const bool taxiing = RECORD.phase == Phase::moving && !RECORD.takeoffRoll && !RECORD.rollout;
    if (taxiing || RECORD.phase == Phase::pushedBack) return lf_hold(RECORD);
    if (RECORD.predictedPoints < 0) return false;
    if (RECORD.predictedPoints == 1) {
        RECORD.predictedPoints = -1;
        return false;
    }
    if (RECORD.predictedPoints > 1) {
        lf_predictPoint(RECORD, RECORD.predictedPoints - 1);
        return true;
    }
    if (!gf_classEnabled(RECORD.classId)) return false;
    if (RECORD.onGround) {
        lf_predictPoint(RECORD, RECORD.phase == Phase::atStand ? parkedPoints : groundPoints);
        return true;
    }
    if (autoRangeActive.load()) return false;
    if (gf_isNoPosition(ownPosition.lat, ownPosition.lon)) {
        lf_predictPoint(RECORD, airPoints);
        return true;
    }
    if (gf_distance(RECORD.lat, RECORD.lon, ownPosition.lat, ownPosition.lon) >= rangeNm - rangeMarginNm) return false;
    lf_predictPoint(RECORD, airPoints);
    return true;
}

} // namespace orv
