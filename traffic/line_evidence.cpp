// The feed's evidence, line by line, before a line reaches the track. Real
// feeds lie: values go missing, speeds and tracks freeze after touchdown,
// positions and times repeat, a standing aircraft's position wanders by tens
// of metres, the altitude spikes on the ground and the on-ground flag
// flickers. Positions and times are taken as the truth; a reported speed is
// a hint that must agree with them.
#include "core/log.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/line_evidence.h"
#include "traffic/motion.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>

namespace orv {

namespace {

constexpr double knotsPerMps = 3600.0 / 1852.0;
constexpr double movingKt = 5.0;            ///< a reported speed above this says the aircraft moves
constexpr double repeatLimitS = 10.0;       ///< a position repeated this long while "moving" is a stop after all
constexpr double disagreeLeastKt = 20.0;    ///< a reported speed this far off the positions' one disagrees...
constexpr double disagreeShare = 0.3;       ///< ...or this share of the larger, whichever is more
constexpr double disagreeLimitS = 4.0;      ///< a speed that disagrees this long is not used
constexpr double courseLeastM = 5.0;        ///< a course needs this much movement
constexpr std::int32_t flagSettleLines = 3; ///< the on-ground flag counts once it held this many lines
constexpr double spikeSlackFt = 500.0;      ///< above the field on a first airborne line, plus what a climb gives
constexpr double fastestClimbFpm = 6000.0;
constexpr double liftOffLeastKt = 60.0;     ///< slower than this on a ground run nothing flies
constexpr double groundWanderFt = 300.0;    ///< ground altitudes wander by up to this with the day's pressure
constexpr double baseShortS = 5.0, midAfterS = 10.0, baseLongS = 20.0;
constexpr double standingKt = 4.0;          ///< slower than this over the long base, an aircraft stands
constexpr double standNoiseM = 30.0;        ///< a standing aircraft's position noise
constexpr std::int32_t leaveLines = 2;      ///< lines in a row further and further out leave the anchor
constexpr std::int32_t reanchorLines = 3;   ///< refused lines in a row that agree with each other re-anchor
constexpr double reanchorAfterS = 20.0;     ///< two agreeing refused lines this far apart re-anchor too

double lf_metres(double LAT1, double LON1, double LAT2, double LON2)
{
    return gf_distance(LAT1, LON1, LAT2, LON2) * metresPerNm;
}

void lf_readFlag(FeedEvidence& E, const TrackPoint& P)
{
    if (P.groundFlag < 0) return;
    E.groundRun = P.groundFlag == 1 ? std::max(E.groundRun, 0) + 1 : std::min(E.groundRun, 0) - 1;
    if (std::abs(E.groundRun) >= flagSettleLines) E.flagGround = E.groundRun > 0, E.flagSettled = true;
}

/// The speed over the last 10 to 20 seconds, knots; negative when too little time has passed.
double lf_longSpeed(const FeedEvidence& E, const TrackPoint& P, double T)
{
    const double span = T - E.baseTime;
    if (span < baseShortS) return -1;
    return lf_metres(E.baseLat, E.baseLon, P.lat, P.lon) / span * knotsPerMps;
}

void lf_moveBase(FeedEvidence& E, const TrackPoint& P, double T)
{
    if (!E.hasMid && T - E.baseTime >= midAfterS) E.midLat = P.lat, E.midLon = P.lon, E.midTime = T, E.hasMid = true;
    if (E.hasMid && T - E.baseTime >= baseLongS) {
        E.baseLat = E.midLat, E.baseLon = E.midLon, E.baseTime = E.midTime;
        E.hasMid = false;
    }
}

/// On the ground side of a take-off: the record and its last line are on the ground.
bool lf_groundSide(const act& RECORD) { return (RECORD.onGround || RECORD.state != ActState::active) && !RECORD.evidence.raw.airborne; }

/// An airborne line of an aircraft on the ground: a spike is dropped (false),
/// a wandering ground altitude becomes the ground.
bool lf_altitudeOnGround(const act& RECORD, TrackPoint& P, double DT, double SPEED_KT)
{
    if (!P.airborne || !lf_groundSide(RECORD) || lf_isHelicopter(RECORD)) return true;
    const double field = parkingCalls.parkAirportElevation().value_or(0.0);
    if (P.altitude - field > spikeSlackFt + fastestClimbFpm * DT / 60.0) return false;
    const FeedEvidence& E = RECORD.evidence;
    const bool flaggedGround = E.flagSettled && E.flagGround && P.groundFlag != 0;
    if ((flaggedGround || SPEED_KT < liftOffLeastKt) && P.altitude - field <= groundWanderFt) {
        P.altitude = 0;
        P.airborne = false;
    }
    return true;
}

/// A reported speed that disagrees with the positions for several seconds
/// gives way to theirs; a missing one is theirs at once. The positions' speed
/// is that of the last step (SHORT_KT) and, on the ground, that of the last
/// 10 to 20 seconds (LONG_KT, negative when not known yet): a speed that
/// agrees with either stands, so neither an acceleration nor a standing
/// aircraft's position noise makes it disagree.
void lf_checkSpeed(FeedEvidence& E, TrackPoint& P, double T, double SHORT_KT, double LONG_KT)
{
    // Standing, the long speed is the one noise does not fake; moving, the
    // last step's follows an acceleration, which the long one lags.
    const double positionKt = LONG_KT >= 0 && LONG_KT < standingKt ? LONG_KT : SHORT_KT;
    if (!P.speedKnown) {
        P.groundSpeed = positionKt;
        return;
    }
    const auto agrees = [&](double KT) {
        return std::fabs(P.groundSpeed - KT) <= std::max(disagreeLeastKt, disagreeShare * std::max(P.groundSpeed, KT));
    };
    if (agrees(SHORT_KT) || (LONG_KT >= 0 && agrees(LONG_KT))) {
        E.disagreeSince = 0;
        return;
    }
    if (E.disagreeSince == 0) E.disagreeSince = T;
    if (T - E.disagreeSince >= disagreeLimitS) P.groundSpeed = positionKt;
}

/// Standing: positions within the noise of the anchor are the anchor;
/// leaving takes lines that go further and further out. False drops the line.
bool lf_standing(act& RECORD, TrackPoint& P, double T, double LONG_KT)
{
    FeedEvidence& E = RECORD.evidence;
    const bool groundWork = RECORD.phase == Phase::moving || RECORD.phase == Phase::unset;
    if (P.airborne || !groundWork || RECORD.takeoffRoll || RECORD.rollout) {
        E.anchored = false;
        return true;
    }
    if (!E.anchored) {
        const bool slowSaid = !P.speedKnown || P.groundSpeed <= standingKt || E.disagreeSince != 0;
        if (LONG_KT < 0 || LONG_KT > standingKt || !slowSaid) return true;
        E.anchored = true;
        E.anchorLat = P.lat, E.anchorLon = P.lon;
        E.awayRun = 0;
    }
    const double d = lf_metres(E.anchorLat, E.anchorLon, P.lat, P.lon);
    if (d <= standNoiseM) {
        P.lat = E.anchorLat, P.lon = E.anchorLon;
        P.groundSpeed = 0;
        E.awayRun = 0;
        return true;
    }
    E.awayRun = E.awayRun > 0 && d > E.awayLastM ? E.awayRun + 1 : 1;
    E.awayLastM = d;
    if (E.awayRun < leaveLines) return false;
    // Off it goes: the speed over the stand's time would anchor it again at once.
    E.anchored = false;
    E.baseLat = P.lat, E.baseLon = P.lon, E.baseTime = T;
    E.hasMid = false;
    return true;
}

} // namespace

bool lf_evidenceTakes(act& RECORD, TrafficLine& LINE)
{
    FeedEvidence& E = RECORD.evidence;
    TrackPoint& p = LINE.point;
    lf_readFlag(E, p);
    const double t = LINE.timestamp;
    if (!E.hasRaw) {
        E.hasRaw = true;
        E.raw = p, E.rawTime = t;
        E.baseLat = p.lat, E.baseLon = p.lon, E.baseTime = t;
        return true;
    }
    const double dt = t - E.rawTime;
    if (dt <= 0) return false; // a repeated or late line: its place in time is taken
    const double dist = lf_metres(E.raw.lat, E.raw.lon, p.lat, p.lon);
    if (dist == 0 && p.speedKnown && p.groundSpeed > movingKt) {
        // The same place again while the speed says moving: no news of the position, for a while.
        if (E.sameSince == 0) E.sameSince = E.rawTime;
        if (t - E.sameSince < repeatLimitS) return false;
        p.groundSpeed = 0;
    } else if (dist > 0) {
        E.sameSince = 0;
    }
    const double positionKt = dist / dt * knotsPerMps;
    const double longKt = lf_longSpeed(E, p, t);
    lf_checkSpeed(E, p, t, positionKt, p.airborne ? -1.0 : longKt);
    if (!lf_altitudeOnGround(RECORD, p, dt, std::max(positionKt, p.groundSpeed))) return false;
    if (!p.trackKnown) p.track = dist >= courseLeastM ? gf_bearing(E.raw.lat, E.raw.lon, p.lat, p.lon) * radToDeg : E.raw.track;
    if (!p.verticalSpeedKnown) p.verticalSpeed = p.airborne && E.raw.airborne ? (p.altitude - E.raw.altitude) / dt * 60.0 : 0;
    if (!lf_standing(RECORD, p, t, longKt)) return false;
    lf_moveBase(E, LINE.point, t);
    E.raw = p, E.rawTime = t;
    return true;
}

bool lf_reanchor(act& RECORD, const TrafficLine& LINE)
{
    FeedEvidence& E = RECORD.evidence;
    const double s0 = E.lastRefused.groundSpeed, s1 = LINE.point.groundSpeed;
    const bool agrees = E.refusedRun > 0 && LINE.timestamp > E.lastRefusedTime &&
                        !((s0 > movingKt && s1 >= 10 * s0) || (s1 > movingKt && s0 >= 10 * s1));
    if (agrees) {
        ++E.refusedRun;
    } else {
        E.refusedRun = 1;
        E.refusedSince = LINE.timestamp;
    }
    E.lastRefused = LINE.point;
    E.lastRefusedTime = LINE.timestamp;
    const bool settled = E.refusedRun >= reanchorLines || (E.refusedRun >= 2 && LINE.timestamp - E.refusedSince >= reanchorAfterS);
    if (!settled) return false;
    if (!E.reanchorLogged) {
        gf_log(fmt::format("          {} follows its feed again after {} refused lines", RECORD.callsign, E.refusedRun));
        E.reanchorLogged = true;
    }
    E.refusedRun = 0;
    return true;
}

} // namespace orv
