// An air leg: altitude, pitch, heading and bank steps within the class's
// limits, the glide of an approach, and the climb of an aircraft whose data
// has gone to the ground while it is still in the air.
#include "core/log.h"
#include "feed/feed.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>
#include <gsl/narrow>

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

struct AirTraits {
    double maxBankDeg, bankRateDegPerTick, pitchRateDegPerTick, minTakeoffSpeedKt;
};
constexpr AirTraits airTable[6] = {
    {40, 0.035, 0.01, 90},  {35, 0.0275, 0.0085, 110}, {30, 0.02, 0.0075, 140},
    {20, 0.015, 0.005, 150}, {90, 0.1, 0.03, 220},       {75, 0.06, 0.03, 0},
};

constexpr double lowAglFt = 1000.0, lowAglLandingFt = 2000.0;
constexpr double minLowClimbFtPerTick = 0.2;
constexpr double glideSumFpm = 100.0;
constexpr double standardQnh = 1013.0;
constexpr double descentFpm = -601.0, lastFeetFpm = -600.0, lastFeetAglFt = 100.0;
constexpr double fpmPerFtPerTick = 6000.0;
constexpr double qnhFeetPerHpa = 6.0;
constexpr double basePitchDeg = -3.0, pitchDegPer600Fpm = 2.2;
constexpr double maxSinkFpm = -3000.0, maxClimbFpm = 2400.0;
constexpr double climbSumFpm = 100.0, noDataClimbFpm = 601.0;
constexpr int firstAirborneIndex = 3, lastAirborneIndex = 10;

const AirTraits& lf_air(const act& RECORD) { return airTable[std::clamp(RECORD.classId, 0, 5)]; }

double lf_clampAbs(double VALUE, double LIMIT) { return std::clamp(VALUE, -LIMIT, LIMIT); }

/// Ground to air: climb to the next point, never faster than the class allows.
double lf_climbStep(const act& RECORD, const TrackPoint& NEXT, double DT)
{
    if (NEXT.altitude <= RECORD.altitude) return 0;
    return std::min((NEXT.altitude - RECORD.altitude) / DT, RECORD.maxAltRate);
}

void lf_altitudeStep(act& RECORD)
{
    const TrackPoint& t0 = RECORD.track[0];
    TrackPoint& t1 = RECORD.track[1];
    const double dt = lf_stepTicks(RECORD);
    if (t0.airborne && t1.airborne) {
        if (RECORD.landing) {
            if (t0.altitude == t1.altitude && RECORD.agl <= lowAglFt && t0.verticalSpeed + t1.verticalSpeed <= glideSumFpm)
                lf_glideVs(RECORD);
            else
                RECORD.altStep = (t1.altitude - RECORD.altitude) / dt;
            return;
        }
        const double s = (t1.altitude - RECORD.altitude) / dt;
        RECORD.altStep = RECORD.agl <= lowAglFt ? std::min(RECORD.maxAltRate, std::max(s, minLowClimbFtPerTick))
                                                : std::min(s, RECORD.maxAltRate);
        return;
    }
    if (t0.airborne) {
        const std::optional<double> field = parkingCalls.parkAirportElevation();
        if (field && qnhEngine.load() <= standardQnh) {
            RECORD.altStep = (*field - RECORD.altitude) / dt;
        } else if (qnhEngine.load() <= standardQnh) {
            t1.verticalSpeed = descentFpm;
            RECORD.verticalSpeedFpm = descentFpm;
            RECORD.altStep = descentFpm / fpmPerFtPerTick;
        } else {
            lf_glideVs(RECORD);
        }
        gf_setGear(RECORD, true);
        return;
    }
    if (t1.airborne) {
        RECORD.altStep = lf_climbStep(RECORD, t1, dt);
        return;
    }
    lf_noDataClimb(RECORD);
}

void lf_headingAndBank(act& RECORD)
{
    const TrackPoint& next = RECORD.track[1];
    const AirTraits& air = lf_air(RECORD);
    const double dt = lf_stepTicks(RECORD);
    const double aglLimit = RECORD.landing ? lowAglLandingFt : lowAglFt;
    double change = 0;
    if (next.headingValid && next.bank && next.heading && RECORD.agl < aglLimit)
        change = gf_angleDiff(*next.heading, RECORD.heading);
    else
        change = lf_nextTurn(RECORD);
    RECORD.headingStep = change / dt;
    if (next.bank) {
        RECORD.bankStep = (*next.bank - RECORD.bank) / dt;
        return;
    }
    const double target = lf_clampAbs(-change, air.maxBankDeg * degToRad);
    RECORD.bankStep = lf_clampAbs((target - RECORD.bank) / dt, air.bankRateDegPerTick * degToRad);
}

/// Points 1..INDEX-2 go, and the leg runs from ground to the airborne point INDEX-1.
bool findAirborneData(act& RECORD, int INDEX)
{
    try {
        if (!RECORD.track.at(INDEX - 1).airborne) return false;
        RECORD.track.erase(1, INDEX - 1);
        lf_timeAir(RECORD);
        lf_positionSteps(RECORD);
        RECORD.altStep = lf_climbStep(RECORD, RECORD.track[1], lf_stepTicks(RECORD));
        gf_setGear(RECORD, true);
        return true;
    } catch (const std::exception& e) {
        gf_log(fmt::format("findAirborneData, index:{} {}", INDEX, e.what()));
        return false;
    }
}

} // namespace

double lf_airPitchTarget(double VERTICAL_SPEED_FPM)
{
    const double v = VERTICAL_SPEED_FPM;
    const double w = v < 0 ? std::max(v, maxSinkFpm) / 2.0 : std::min(v, maxClimbFpm);
    return (basePitchDeg - w / 600.0 * pitchDegPer600Fpm) * degToRad;
}

double gf_minTakeoffSpeed(std::int32_t CLASS_ID) { return airTable[std::clamp(CLASS_ID, 0, 5)].minTakeoffSpeedKt; }

double lf_nextTurn(const act& RECORD)
{
    if (RECORD.track.size() < 3) return 0;
    const TrackPoint& next = RECORD.track[1];
    const TrackPoint& after = RECORD.track[2];
    return gf_angleDiff(gf_bearing(next.lat, next.lon, after.lat, after.lon), RECORD.heading);
}

void lf_glideVs(act& RECORD)
{
    TrackPoint& next = RECORD.track[1];
    double vs = lastFeetFpm;
    if (RECORD.agl > lastFeetAglFt) {
        const double mean = (RECORD.track[0].verticalSpeed + next.verticalSpeed) / 2.0;
        vs = std::min(mean - (qnhEngine.load() - standardQnh) * qnhFeetPerHpa, descentFpm);
    }
    next.verticalSpeed = vs;
    RECORD.verticalSpeedFpm = vs;
    RECORD.altStep = vs / fpmPerFtPerTick;
}

void lf_noDataClimb(act& RECORD)
{
    double sum = 0;
    for (std::size_t i = 0; i < RECORD.track.size(); ++i) sum += RECORD.track[i].verticalSpeed;
    if (!RECORD.landing && sum > climbSumFpm) {
        const int last = std::min(gsl::narrow<int>(RECORD.track.size()) - 1, lastAirborneIndex);
        bool found = false;
        for (int i = firstAirborneIndex; i <= last && !found; ++i) found = findAirborneData(RECORD, i);
        if (!found) {
            TrackPoint& next = RECORD.track[1];
            next.verticalSpeed = std::max(next.verticalSpeed, noDataClimbFpm);
            RECORD.verticalSpeedFpm = next.verticalSpeed;
            RECORD.altStep = next.verticalSpeed / fpmPerFtPerTick;
        }
    } else {
        lf_glideVs(RECORD);
    }
    gf_setGear(RECORD, true);
}

void lf_stepAir(act& RECORD)
{
    if (RECORD.phase != Phase::takingOff && RECORD.phase != Phase::flying) RECORD.setPhase(Phase::flying);
    {
        const TrackPoint& next = RECORD.track[1];
        RECORD.speedSigned = next.airspeed;
        RECORD.verticalSpeedFpm = next.verticalSpeed;
    }
    if (RECORD.flareStage == 0) lf_altitudeStep(RECORD);
    if (RECORD.phase != Phase::takingOff) {
        const double target = lf_airPitchTarget(RECORD.track[1].verticalSpeed);
        const double limit = lf_air(RECORD).pitchRateDegPerTick * degToRad;
        RECORD.pitchStep = lf_clampAbs((target - RECORD.pitch) / lf_stepTicks(RECORD), limit);
    }
    lf_headingAndBank(RECORD);
    lf_flightConfig(RECORD);
}

} // namespace orv
