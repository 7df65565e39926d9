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
constexpr double leadInMetres = 30.0; ///< the straight last stretch onto a stand, nose on its heading
constexpr double leadInSlackMetres = 10.0; ///< nearer than the lead-in and this, straight onto the stand
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

/// A ground point at POS reached after TICKS at push speed, heading along COURSE (radians).
TrackPoint lf_entryPoint(const act& RECORD, const TrackPoint& FROM, const LatLon& POS, double COURSE, double TICKS)
{
    TrackPoint p = FROM;
    p.lat = POS.lat;
    p.lon = POS.lon;
    p.groundSpeed = RECORD.pushSpeed;
    p.bank = RECORD.bank;
    p.altitude = 0; // on the ground, where the simulator holds it
    p.airborne = false;
    p.track = COURSE * radToDeg;
    p.heading.reset();
    p.headingValid = false;
    p.stationary = false;
    p.dueTick = FROM.dueTick + gsl::narrow<std::int32_t>(TICKS);
    return p;
}

/// The way onto the stand at push speed: from afar along the stand's lead-in
/// line, so that the aircraft stops with its nose on the stand's heading; then
/// a short stop on it.
void lf_addStandEntry(act& RECORD)
{
    const TrackPoint& front = RECORD.track.front();
    const double speed = std::max(RECORD.pushSpeed, 1.0);
    const double d = gf_distance(front.lat, front.lon, RECORD.standPos.lat, RECORD.standPos.lon);
    const LatLon leadIn = gf_destination(RECORD.standPos, gf_wrapTwoPi(RECORD.standHeading + pi), gf_nmOfMetres(leadInMetres) * feetPerNm);
    std::vector<TrackPoint> entry;
    if (d * metresPerNm > leadInMetres + leadInSlackMetres) {
        const double toLeadIn = gf_distance(gf_posOf(front), leadIn);
        entry.push_back(lf_entryPoint(RECORD, front, leadIn, gf_bearing(gf_posOf(front), leadIn),
                                      std::max(std::round(gf_legTicks(toLeadIn, speed)), minEntryTicks)));
    }
    const TrackPoint& from = entry.empty() ? front : entry.back();
    const double last = gf_distance(from.lat, from.lon, RECORD.standPos.lat, RECORD.standPos.lon);
    entry.push_back(lf_entryPoint(RECORD, from, RECORD.standPos, RECORD.standHeading,
                                  std::max(std::round(gf_legTicks(last, speed)), minEntryTicks)));
    // The stop on the stand lasts until the nose has come round to the stand's
    // heading at the class's rate, whatever way the data brought it in.
    const double offRad = std::fabs(gf_angleDiff(RECORD.standHeading, RECORD.heading)) + pi / 2;
    const double turnTicks = RECORD.turnRate > 0 ? std::ceil(offRad / RECORD.turnRate) : 0.0;
    TrackPoint settled = entry.back();
    settled.stationary = true;
    settled.groundSpeed = 0;
    settled.dueTick += std::max(settleTicks, gsl::narrow_cast<std::int32_t>(turnTicks));
    for (const TrackPoint& p : entry) RECORD.track.push_back(p);
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
