// The gates of a waiting record: once its front point is near, is there room
// for it, is the user's aircraft in the way, may it be shown at all? A record
// that passes them all is prepared for creation.
//
// This unit holds lf_updateWaiting alone with its gates, so that a test
// harness that makes records active by itself can stand in for it.
#include "traffic/creation.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/dbase.h"
#include "traffic/engine.h"
#include "core/geometry.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

/// Ticks before the front point's due tick at which a record is looked at.
constexpr std::int32_t creationLead = 100;
constexpr std::int32_t creationLeadGroundMoving = 300;
/// The user's aircraft on the ground.
constexpr double madeWayMaxUserSpeedKt = 8;
constexpr double madeWayMaxPointSpeedKt = 8;
constexpr double madeWayMinDistanceNm = 500.0 / metresPerNm;
constexpr double userGroundClearanceNm = 0.08099352051835854; ///< 150 metres
/// The user's aircraft in the air, against a point on the ground.
constexpr double lowUserRangeNm = 1.5;
constexpr double lowUserHeightFt = 1000;
constexpr double lowUserLineFt = 500;
/// The user's aircraft in the air, against a point in the air.
constexpr double pathRangeNm = 6;
constexpr double pathAltitudeFt = 3000;
constexpr double pathLineFt = 4000;
/// An active aircraft must be this much farther than the new one to give way.
constexpr double fartherMarginNm = 0.1;
constexpr std::string_view noCallsign = "@@@@@@@@";
constexpr std::size_t longestCallsign = 8;

LatLon lf_userPos() { return {ownPosition.lat, ownPosition.lon}; }

/// The engine's log line of a decision about RECORD (LOG on).
void lf_trace(const act& RECORD, std::string_view WHAT)
{
    if (LOG.value) gf_log(fmt::format("          {} {}", gf_actText(RECORD), WHAT));
}

/// Drops the front point; the record is looked at again next tick. Answers true.
bool lf_dropped(act& RECORD, std::string_view WHY)
{
    lf_trace(RECORD, fmt::format("drops its first point: {}", WHY));
    RECORD.track.pop_front();
    return true;
}

/// The record goes at the end of this tick. Answers false: it passes no gate.
bool lf_erased(act& RECORD, std::string_view WHY)
{
    lf_trace(RECORD, fmt::format("is not shown: {}", WHY));
    RECORD.eraseNow = true;
    return false;
}

bool lf_isGhost(const act& RECORD) { return !RECORD.callsign.empty() && RECORD.callsign.back() == '_'; }

bool lf_mixedTrack(const TrackQueue& TRACK)
{
    bool air = false, ground = false;
    for (std::size_t i = 0; i < TRACK.size(); ++i) (TRACK[i].airborne ? air : ground) = true;
    return air && ground;
}

/// The distance in feet from a line with HEADING of a point D_NM away on
/// COURSE, on either side and in front or behind alike.
double lf_offLineFt(double COURSE, double HEADING, double D_NM)
{
    return std::fabs(std::sin(COURSE - HEADING)) * D_NM * feetPerNm;
}

/// The user's aircraft in the way. True when the front point was dropped.
bool lf_userInTheWay(act& RECORD)
{
    if (gf_isNoPosition(ownPosition.lat, ownPosition.lon)) return false;
    const TrackPoint& front = RECORD.track.front();
    const double toFront = gf_distance(lf_userPos(), gf_posOf(front));
    if (ownPosition.onGround) {
        if (RECORD.madeWay) {
            if (ownPosition.groundSpeedKt > madeWayMaxUserSpeedKt) return lf_dropped(RECORD, "made way, user moving");
            if (!front.airborne && (front.groundSpeed > madeWayMaxPointSpeedKt || toFront < madeWayMinDistanceNm))
                return lf_dropped(RECORD, "made way, user near");
        }
        if (!front.airborne && COLLISION_USER_GND.value && toFront < userGroundClearanceNm)
            return lf_dropped(RECORD, "user within 150 m");
        return false;
    }
    if (!COLLISION_USER_AIR.value) return false;
    if (!front.airborne) {
        if (RECORD.madeWay) return lf_dropped(RECORD, "made way");
        // The record has no displayed position yet: where it would appear counts.
        const double course = gf_bearing(lf_userPos(), gf_posOf(front));
        const double heightFt = ownPosition.altitudeFt - ownPosition.groundAltFt;
        if (toFront <= lowUserRangeNm && heightFt < lowUserHeightFt &&
            lf_offLineFt(course, ownPosition.headingRad, toFront) <= lowUserLineFt) {
            RECORD.madeWay = true;
            return lf_dropped(RECORD, "on the line of the low user");
        }
        return false;
    }
    if (lf_inUserPath(RECORD)) {
        RECORD.madeWay = true;
        return lf_dropped(RECORD, "user in its path");
    }
    return false;
}

std::size_t lf_activeCount()
{
    return static_cast<std::size_t>(
        std::count_if(liveList.begin(), liveList.end(), [](const act& A) { return A.state == ActState::active; }));
}

/// Airline, type and cargo from the registration tables, when they know the airframe.
void lf_takeAirframe(act& RECORD)
{
    if (RECORD.regcode.empty()) return;
    const DbaseRecord* row = gf_dbaseLookup(RECORD.regcode);
    if (row == nullptr) return;
    RECORD.airline = row->airl;
    RECORD.icaoType = row->type;
    if (!row->opr.empty()) RECORD.airline = row->opr;
    RECORD.cargo = row->cargo;
    if (!lf_usableCallsign(RECORD)) RECORD.callsign = RECORD.regcode;
}

/// The gates of a waiting record; true when it goes on to its identity and livery.
bool lf_passesGates(act& RECORD)
{
    TrackQueue& track = RECORD.track;
    if (track.empty()) {
        RECORD.eraseNow = true;
        return false;
    }
    const TrackPoint& front = track.front();
    const std::int32_t lead = !front.airborne && front.groundSpeed != 0 ? creationLeadGroundMoving : creationLead;
    if (engineTick < front.dueTick - lead) return false;
    if (track.size() == 1) return lf_erased(RECORD, "one point");
    if (lf_isGhost(RECORD) && std::find(ghostCallsigns.begin(), ghostCallsigns.end(), RECORD.callsign) != ghostCallsigns.end())
        return lf_erased(RECORD, "ghost of a known aircraft");
    if (lf_mixedTrack(track)) return !lf_dropped(RECORD, "ground and air points");
    if (lf_userInTheWay(RECORD)) return false;
    if (liveCreateQueue.size() >= createQueueLimit && RECORD.phase == Phase::unset)
        return !lf_dropped(RECORD, "create queue full");
    const std::size_t shown = lf_activeCount() + pendingCreates.size() + liveCreateQueue.size();
    if (maxLive != -1 && shown >= static_cast<std::size_t>(maxLive) &&
        lf_removeFarthest(gf_distance(lf_userPos(), gf_posOf(track.front()))))
        return lf_erased(RECORD, "MAX_LIVE reached");
    if (const std::string blocked = gf_textOf(BLOCK_CALLSIGN); !blocked.empty() && blocked == RECORD.callsign)
        return lf_erased(RECORD, "blocked");
    return true;
}

} // namespace

bool lf_usableCallsign(const act& RECORD)
{
    return !RECORD.callsign.empty() && RECORD.callsign != noCallsign && RECORD.callsign.size() <= longestCallsign;
}

bool lf_inUserPath(const act& RECORD)
{
    const TrackPoint& front = RECORD.track.front();
    const double d = gf_distance(lf_userPos(), gf_posOf(front));
    if (d > pathRangeNm || std::fabs(front.altitude - ownPosition.altitudeFt) >= pathAltitudeFt) return false;
    const double course = gf_bearing(lf_userPos(), gf_posOf(front));
    return lf_offLineFt(gf_firstCourse(RECORD), course, d) <= pathLineFt;
}

bool lf_removeFarthest(double D_NM)
{
    double best = D_NM;
    act* farthest = nullptr;
    for (act& other : liveList) {
        if (other.state != ActState::active) continue;
        const double d = gf_distance(lf_userPos(), LatLon{other.lat, other.lon});
        if (d > best + fartherMarginNm) {
            best = d;
            farthest = &other;
        }
    }
    if (farthest == nullptr) return true;
    lf_trace(*farthest, "makes room for a nearer aircraft (MAX_LIVE)");
    gf_removeAct(*farthest);
    return false;
}

void lf_updateWaiting(act& RECORD)
{
    if (!lf_passesGates(RECORD)) return;
    lf_takeAirframe(RECORD);
    if (!lf_usableCallsign(RECORD)) {
        lf_erased(RECORD, "no usable callsign");
        return;
    }
    if (RECORD.airline.empty() && !gf_airlineFromCallsign(RECORD)) RECORD.airline = privateOwner;
    if (noLiverySet.contains(gf_noLiveryKey(RECORD))) {
        lf_erased(RECORD, "no livery earlier");
        return;
    }
    if (lf_isGhost(RECORD) && lf_realExists(RECORD)) {
        lf_erased(RECORD, "ghost of an existing aircraft");
        return;
    }
    lf_createAct(RECORD);
}

} // namespace orv
