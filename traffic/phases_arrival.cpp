// Arrival: a taxiing aircraft whose data stops near a stand turns in, rolls
// onto the stand at push speed and parks there with its engines shut down.
#include "core/log.h"
#include "core/parameters.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>
#include <gsl/narrow>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <random>

namespace orv {

namespace {

constexpr double arrivalSpeedKt = 5.0, arrivalReachMetres = 35.0;
constexpr double wideSearchMetres = 55.0, narrowSearchMetres = 20.0;
constexpr double parkedWithinMetres = 2.0;
constexpr double minEntryTicks = 100.0;
constexpr std::int32_t settleTicks = 50;
constexpr double cabinLitShare = 0.9;

bool lf_cabinLitWhenParked(bool CARGO_STAND)
{
    if (CARGO_STAND) return false;
    static std::mt19937 random{std::random_device{}()};
    return std::bernoulli_distribution(cabinLitShare)(random);
}

void lf_shutDown(act& RECORD)
{
    gf_setThrottle(RECORD, 0);
    gf_setFlaps(RECORD, 0);
    lf_event(RECORD, eventEngineAutoShutdown, 0);
    const std::uint8_t nav = NAV_LIGHTS_WHILE_PARKED.value ? 1 : 0;
    const std::uint8_t cabin = lf_cabinLitWhenParked(RECORD.standCargo) ? 1 : 0;
    lf_lights(RECORD, {nav, 0, 0, 0, 0, 1, cabin});
}

/// The leg onto the stand at push speed, and a short stop on it.
void lf_addStandEntry(act& RECORD)
{
    const TrackPoint& front = RECORD.track.front();
    const double d = gf_distance(front.lat, front.lon, RECORD.standPos.lat, RECORD.standPos.lon);
    const double ticks = std::max(std::round(gf_legTicks(d, std::max(RECORD.pushSpeed, 1.0))), minEntryTicks);
    TrackPoint onStand = front;
    onStand.lat = RECORD.standPos.lat;
    onStand.lon = RECORD.standPos.lon;
    onStand.groundSpeed = RECORD.pushSpeed;
    onStand.bank = RECORD.bank;
    onStand.altitude = 0; // on the ground, where the simulator holds it
    onStand.airborne = false;
    onStand.track = RECORD.standHeading * radToDeg;
    onStand.heading.reset();
    onStand.headingValid = false;
    onStand.stationary = false;
    onStand.dueTick = front.dueTick + gsl::narrow<std::int32_t>(ticks);
    TrackPoint settled = onStand;
    settled.stationary = true;
    settled.groundSpeed = 0;
    settled.dueTick += settleTicks;
    RECORD.track.push_back(onStand);
    RECORD.track.push_back(settled);
    RECORD.targetHeading = RECORD.standHeading;
    RECORD.predictedPoints = 0;
    RECORD.holding = false;
}

} // namespace

void lf_arrivalCheck(act& RECORD)
{
    if (!parkingCalls.parkAirportReady() || !RECORD.track.back().stationary) return;
    const Phase left = RECORD.previousPhase;
    if (!RECORD.towed && (left == Phase::atStand || left == Phase::pushBack || left == Phase::pushedBack)) return;
    bool wide = false;
    if (RECORD.predictedPoints <= 0) {
        const TrackPoint& last = RECORD.track.back();
        const double reach = gf_distance(last.lat, last.lon, RECORD.lat, RECORD.lon) * metresPerNm;
        if (RECORD.track[1].groundSpeed > arrivalSpeedKt || reach > arrivalReachMetres) return;
    } else {
        wide = RECORD.justLanded;
    }
    lf_arriveAtStand(RECORD, wide);
}

void lf_arriveAtStand(act& RECORD, bool WIDE)
{
    const TrackPoint& last = RECORD.track.back();
    if (last.lat == RECORD.lastSearchPos.lat && last.lon == RECORD.lastSearchPos.lon) return;
    RECORD.lastSearchPos = gf_posOf(last);
    const double radiusNm = gf_nmOfMetres(WIDE ? wideSearchMetres : narrowSearchMetres);
    const std::optional<StandRef> stand = parkingCalls.closestStand(RECORD.lastSearchPos, RECORD, radiusNm, WIDE);
    if (!stand || parkingCalls.standRefused(stand->standId)) return;
    parkingCalls.takeStand(RECORD, *stand);
    RECORD.standPos = stand->pos;
    RECORD.standHeading = stand->headingRad;
    RECORD.standId = stand->standId;
    RECORD.standCargo = stand->cargo;
    RECORD.track.truncate(1);
    RECORD.setPhase(Phase::taxiToStand);
    lf_addStandEntry(RECORD);
}

void lf_parkAtStand(act& RECORD)
{
    const double off = gf_distance(RECORD.lat, RECORD.lon, RECORD.standPos.lat, RECORD.standPos.lon) * metresPerNm;
    if (off > parkedWithinMetres) {
        RECORD.setPhase(Phase::moving);
        return;
    }
    RECORD.setPhase(Phase::atStand);
    parkingCalls.setStandOccupied(RECORD.standId, true);
    RECORD.standSince = gf_dayHalfNow();
    if (RECORD.towed) gf_log(fmt::format("          towed aircraft {} parks", RECORD.callsign));
    RECORD.track.front().stationary = true;
    RECORD.atStandSince = static_cast<double>(std::time(nullptr));
    RECORD.standLastDistance = 0;
    RECORD.awayCount = 0;
    if (!RECORD.standCargo && RECORD.cargo) parkingCalls.markStandCargo(RECORD.standId, RECORD);
    lf_shutDown(RECORD);
    gf_log(fmt::format("{:8}: {:8} arrived at stand", parkingCalls.standName(RECORD.standId), RECORD.callsign));
    newHexids.push_back(RECORD.hexid);
    if (!RECORD.airline.empty() && RECORD.standCargo == RECORD.cargo &&
        parkingCalls.addRealOption(RECORD.standId, RECORD, false, RECORD.standSince, false))
        parkingCalls.addRecentArrival(RECORD.hexid, RECORD.standSince.halfHour);
    parkingCalls.checkMaxPark(1);
}

} // namespace orv
