// A record that passed its gates becomes an object: its livery, its stand
// when it stands at one, its first pose and its create request; then the
// simulator's answer (gear, flight plan, the parked shape) or its refusal.
#include "traffic/creation.h"

#include "core/errors.h"
#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/catalogue.h"
#include "liveries/dbase.h"
#include "liveries/matching.h"
#include "traffic/engine.h"
#include "core/geometry.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace orv {

namespace {

/// A ground front point goes to a stand only this near the park airport.
constexpr double standAirportRangeNm = 5;
/// A moving first point still counts as standing when the aircraft barely moves.
constexpr double standMaxNextSpeedKt = 5;
constexpr double standMaxSpreadNm = 0.018898488120950324; ///< 35 metres
constexpr double standSearchNm = 0.029697624190064796;    ///< 55 metres
/// Wing tips of two aircraft at neighbouring stands keep this share apart.
constexpr double wingMargin = 1.1;
/// Nose down on the wheels, in the sign of pitch.
constexpr double groundPitchRad = 0.010471975511965976;
constexpr double secondsPerMinute = 60;

enum class StandOutcome { moving, parked, dropFront, erase };

void lf_trace(const act& RECORD, std::string_view WHAT)
{
    if (LOG.value) gf_log(fmt::format("          {} {}", gf_actText(RECORD), WHAT));
}

/// A stop ahead makes the aircraft stand from its first point on.
void lf_settleStops(TrackQueue& TRACK)
{
    if (TRACK.size() >= 2 && TRACK[1].stationary) {
        TRACK[0].stationary = true;
        TRACK[0].groundSpeed = TRACK[1].groundSpeed = 0;
        if (TRACK.size() >= 3 && TRACK[2].stationary) TRACK[2].groundSpeed = 0;
    } else {
        TRACK[0].stationary = false;
    }
}

/// A live aircraft at a neighbouring stand whose wings would touch this one's.
bool lf_neighbourTooClose(const act& RECORD, const StandRef& STAND)
{
    for (const StandRef& other : parkingCalls.conflictingStands(STAND.standId)) {
        const double apart = gf_distance(STAND.pos, other.pos);
        for (const act& live : liveList) {
            if (live.state != ActState::active || live.standId != other.standId) continue;
            if (live.phase != Phase::atStand && live.phase != Phase::pushBack) continue;
            if (live.callsign == RECORD.callsign) continue;
            if ((gf_halfWingspan(live.icaoType) + gf_halfWingspan(RECORD.icaoType)) * wingMargin >= apart) return true;
        }
    }
    return false;
}

/// The aircraft stands at STAND from its first point on.
void lf_placeAtStand(act& RECORD, const StandRef& STAND)
{
    TrackQueue& track = RECORD.track;
    track.truncate(1);
    TrackPoint& front = track.front();
    front.stationary = true;
    front.groundSpeed = 0;
    RECORD.standPos = STAND.pos;
    RECORD.standHeading = STAND.headingRad;
    RECORD.standId = STAND.standId;
    RECORD.standCargo = STAND.cargo;
    RECORD.setPhase(Phase::atStand);
    parkingCalls.setStandOccupied(STAND.standId, true);
    RECORD.atStandSince = static_cast<double>(std::time(nullptr));
    RECORD.standLastDistance = 0;
    RECORD.awayCount = 0;
    if (!RECORD.standCargo && RECORD.cargo) parkingCalls.markStandCargo(RECORD.standId, RECORD);
    front.lat = STAND.pos.lat;
    front.lon = STAND.pos.lon;
    front.track = STAND.headingRad * radToDeg;
    const DayHalf now = gf_dayHalfNow();
    if (parkingCalls.addRealOption(RECORD.standId, RECORD, false, now, false)) parkingCalls.addRecentArrival(RECORD.hexid, now.halfHour);
    parkingCalls.checkMaxPark(1);
}

/// A new ground record goes to a stand if it can.
StandOutcome lf_standForNewRecord(act& RECORD)
{
    const TrackQueue& track = RECORD.track;
    const TrackPoint& front = track.front();
    if (!parkingCalls.parkAirportReady() || !parkingCalls.parkAirportWithin(gf_posOf(front), standAirportRangeNm)) return StandOutcome::moving;
    if (!front.stationary &&
        (track[1].groundSpeed > standMaxNextSpeedKt || gf_distance(gf_posOf(track.back()), gf_posOf(front)) > standMaxSpreadNm))
        return StandOutcome::moving;
    const LatLon searchAt = front.stationary ? gf_posOf(front) : gf_posOf(track.back());
    const std::optional<StandRef> stand = parkingCalls.closestStand(searchAt, RECORD, standSearchNm, front.stationary);
    if (!stand) return track[1].stationary ? StandOutcome::dropFront : StandOutcome::moving;
    if (parkingCalls.standRefused(stand->standId)) return StandOutcome::erase;
    for (const act& other : liveList)
        if (&other != &RECORD && !lf_standConflictLive(RECORD, other)) return StandOutcome::erase;
    if (lf_neighbourTooClose(RECORD, *stand)) return StandOutcome::erase;
    parkingCalls.clearStandOfStatics(RECORD, *stand);
    lf_placeAtStand(RECORD, *stand);
    return StandOutcome::parked;
}

/// A new record's start: livery, then air, stand or moving. False: stop here.
bool lf_livePhase(act& RECORD)
{
    if (!lf_findLivery(RECORD)) {
        gf_addNoLivery(gf_noLiveryKey(RECORD));
        RECORD.eraseNow = true;
        return false;
    }
    if (RECORD.track.front().airborne) {
        RECORD.setPhase(Phase::flying);
        return true;
    }
    switch (lf_standForNewRecord(RECORD)) {
    case StandOutcome::parked:
        lf_trace(RECORD, fmt::format("appears at stand {}", parkingCalls.standName(RECORD.standId)));
        return true;
    case StandOutcome::moving: RECORD.setPhase(Phase::moving); return true;
    case StandOutcome::dropFront:
        lf_trace(RECORD, "drops its first point: no stand free yet");
        RECORD.track.pop_front();
        return false;
    case StandOutcome::erase:
        lf_trace(RECORD, "is not shown: its stand is taken or refused");
        RECORD.eraseNow = true;
        return false;
    }
    return false;
}

} // namespace

double gf_firstCourse(const act& RECORD)
{
    const TrackQueue& track = RECORD.track;
    const TrackPoint& front = track.front();
    if (track.size() >= 2 && !track[1].stationary && !gf_samePosition(front, track[1]))
        return gf_bearing(front.lat, front.lon, track[1].lat, track[1].lon);
    return gf_wrapTwoPi(front.track * degToRad);
}

void lf_firstPose(act& RECORD)
{
    const TrackPoint& front = RECORD.track.front();
    RECORD.lat = front.lat;
    RECORD.lon = front.lon;
    RECORD.altitude = front.altitude;
    RECORD.bank = front.bank.value_or(0);
    // The point's rate is per minute; the simulator is given feet per second.
    RECORD.verticalSpeedFps = front.verticalSpeed / secondsPerMinute;
    RECORD.speedOut = front.airspeed;
    RECORD.pitch = front.airborne ? lf_airPitchTarget(front.verticalSpeed) : groundPitchRad;
    double heading = 0;
    if (RECORD.headingOverride)
        heading = *RECORD.headingOverride;
    else if (RECORD.phase == Phase::atStand)
        heading = RECORD.standHeading;
    else
        heading = gf_firstCourse(RECORD);
    if (heading < 0) heading += twoPi;
    if (heading >= twoPi) heading -= twoPi;
    RECORD.heading = heading;
    if (front.airborne) RECORD.headingStep = 0;
}

void lf_createAct(act& RECORD)
{
    if (RECORD.track.empty()) {
        RECORD.eraseNow = true;
        return;
    }
    lf_settleStops(RECORD.track);
    // A record back from a livery change keeps its phase, its title and its stand.
    if (RECORD.phase == Phase::unset && !lf_livePhase(RECORD)) return;
    newHexids.push_back(RECORD.hexid);
    lf_firstPose(RECORD);
    RECORD.state = ActState::creating;
    RECORD.madeWay = false;
    pendingCreates.push_back(RECORD.hexid);
    if (RECORD.callsign.empty() || RECORD.callsign.back() != '_') lf_ghostCheck(RECORD.callsign);
}

void lf_queueCreateRequest(act& RECORD)
{
    CreateRequest request;
    request.id = RECORD.hexid;
    request.title = RECORD.livery;
    request.tail = RECORD.callsign;
    request.position = {RECORD.lat, RECORD.lon};
    request.altitudeFt = RECORD.altitude;
    request.headingRad = RECORD.heading;
    request.pitchRad = RECORD.pitch;
    request.bankRad = RECORD.bank;
    // Not put on the ground by the simulator: the pose is ours, the ground
    // height comes with the simulator's reports once the object exists.
    request.onGround = false;
    liveCreateQueue.push_back(std::move(request));
}

bool lf_objectCreated(act& RECORD, const SimMessage& MESSAGE)
{
    if (MESSAGE.objectId < 3) return false;
    RECORD.objectId = MESSAGE.objectId;
    RECORD.agl = MESSAGE.value2;
    if (!RECORD.track.empty() && !RECORD.track.front().airborne) {
        RECORD.onGround = true;
        gf_setGear(RECORD, true);
        RECORD.altStep = 0;
        if (RECORD.phase == Phase::atStand) {
            RECORD.standSince = gf_dayHalfNow();
            if (LOG.value && !RECORD.recreated)
                gf_log(fmt::format("{:8}: {:8} parks", parkingCalls.standName(RECORD.standId), RECORD.callsign));
            parkingCalls.dropStaticCandidates(RECORD.standId);
        }
        RECORD.recreated = false;
        RECORD.slots = 1;
    }
    lf_setFlightPlan(RECORD);
    gf_requestStaticCg(RECORD.objectId);
    lf_trace(RECORD, fmt::format("created as object {}", RECORD.objectId));
    return true;
}

void lf_createFailed(act& RECORD)
{
    gf_showStatus(fmt::format("{} \"{}\" could not be created by your Sim!", RECORD.callsign, RECORD.livery), true);
    const std::size_t refused = gf_addFailedTitle(RECORD.livery);
    failedCreations.push_back(RECORD.icaoType + " " + RECORD.airline);
    if (refused < failedTitleLimit) return;
    const std::string text = fmt::format("there are too many liveries that could not be created by {}!", "MSFS");
    gf_log(fmt::format("\n{}Error 81, {}\n", "===> ", text));
    throw UserErrorException(81, fmt::format("{}, see Log.txt", text));
}

} // namespace orv
