// The steps of track, motion and flight phases that the engine's units share.
// Everything here runs on the main thread, on records of liveList.
#pragma once

#include "core/flags.h"
#include "traffic/act.h"
#include "core/geometry.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace orv {

// --- small shared helpers ----------------------------------------------------
inline std::int32_t lf_now() { return engineTick.load(std::memory_order_relaxed); }
inline LatLon lf_posOf(const act& RECORD) { return {RECORD.lat, RECORD.lon}; }
inline bool lf_hasCurve(const act& RECORD) { return !std::isnan(RECORD.curve.controlEast); }
inline void lf_cancelCurve(act& RECORD)
{
    RECORD.curve.controlEast = std::numeric_limits<double>::quiet_NaN();
    RECORD.curveT = 0;
}
/// The wide slack of the phases where the data may run far from the display.
inline constexpr std::int32_t slackWideBehind = 3000, slackWideAhead = 3000, slackWideTakeoff = 5000;
inline void lf_widenSlack(act& RECORD)
{
    RECORD.slackBehind = slackWideBehind;
    RECORD.slackAhead = RECORD.takeoffRoll ? slackWideTakeoff : slackWideAhead;
}
inline constexpr std::int32_t helicopterClass = 5, lightClass = 0;
inline bool lf_isHelicopter(const act& RECORD) { return RECORD.classId == helicopterClass; }

// --- track (track.cpp) -------------------------------------------------------
/// Keep or refuse a new point against the last one; may turn it into a stop.
bool lf_pointFilter(act& RECORD, TrackPoint& POINT);
/// The filter of the landing and the rollout.
bool lf_filterLanding(act& RECORD, TrackPoint& POINT);
/// Thins out a short stop, or one that ends where it began.
void removeSmallStop(act& RECORD, const TrackPoint& POINT);
/// Data again after predicted points: the front is due at once, the slack wide.
void lf_endPrediction(act& RECORD);
/// A new point for an aircraft that stands pushed back: taken when it is well away.
bool lf_pushedBackPoint(act& RECORD, TrackPoint& POINT);
/// After a livery change: the track resumes at the aircraft's present pose.
void gf_trackFromHere(act& RECORD);

// --- schedule and ground legs (schedule.cpp, ground_legs.cpp) ----------------
void lf_setDue(act& RECORD, double TICKS);
void lf_relaxSlack(act& RECORD);
double lf_speedOfLeg(const act& RECORD);
/// Nautical miles of the leg to the next point: the curve's length when there is one.
double lf_legDistance(const act& RECORD);
void lf_timeGround(act& RECORD);
void lf_timeAir(act& RECORD);
void lf_smoothSpeed(act& RECORD);
void lf_insertMidpoint(act& RECORD);
void lf_setupCurve(act& RECORD);
/// Midpoint, curve or smoothing for a moving ground leg; lf_nextPosGround's first move.
void lf_shapeGroundLeg(act& RECORD);

// --- legs (motion.cpp, air_legs.cpp) -----------------------------------------
void nextPosMain(act& RECORD);
void lf_nextPos(act& RECORD);
void lf_stepGround(act& RECORD);
void lf_stepAir(act& RECORD);
double lf_airPitchTarget(double VERTICAL_SPEED_FPM);
/// The lowest speed at which the class leaves the ground, knots.
double gf_minTakeoffSpeed(std::int32_t CLASS_ID);
double lf_nextTurn(const act& RECORD);
void lf_glideVs(act& RECORD);
void lf_noDataClimb(act& RECORD);
/// Latitude and longitude steps towards the next point.
void lf_positionSteps(act& RECORD);
/// Ticks until the next point, at least a quarter of a second.
double lf_stepTicks(const act& RECORD);

// --- every tick (integrate.cpp) ----------------------------------------------
void lf_integrate(act& RECORD);
/// Turns the heading towards TARGET by at most RATE radians.
void lf_turnTowards(act& RECORD, double TARGET, double RATE);

// --- prediction (predict.cpp) ------------------------------------------------
bool lf_predict(act& RECORD);
void lf_predictPoint(act& RECORD, std::int32_t COUNT);
/// The class may be shown at all (the class gate of the feed).
bool gf_classEnabled(std::int32_t CLASS_ID);

// --- stands (phases_stand.cpp, phases_arrival.cpp) ---------------------------
bool lf_checkStand(act& RECORD, TrackPoint& POINT);
void lf_standGivenUp(act& RECORD);
void lf_pullOut(act& RECORD);
void lf_pushBack(act& RECORD);
void lf_pushStage(act& RECORD);
/// The side of a push back from a point seen during its first leg.
void lf_pushSide(act& RECORD, const TrackPoint& POINT);
void lf_arrivalCheck(act& RECORD);
void lf_arriveAtStand(act& RECORD, bool WIDE);
void lf_parkAtStand(act& RECORD);

// --- take-off and landing (phases_takeoff.cpp, phases_landing.cpp) -----------
/// A new point may start a take-off roll or a touch-and-go.
void lf_takeoffStart(act& RECORD, const TrackPoint& POINT);
void lf_startTakeoff(act& RECORD);
void lf_rotationTest(act& RECORD);
void lf_tookOff(act& RECORD);
void lf_integrateTakingOff(act& RECORD);
void lf_flightConfig(act& RECORD);
void lf_flare(act& RECORD);
void lf_integrateNoseLowering(act& RECORD);
void lf_stepRollout(act& RECORD);

// --- the aircraft's systems (systems.cpp) ------------------------------------
void lf_event(const act& RECORD, SimEventId EVENT, std::uint32_t DATA);
/// THROTTLE_SET by index 0..4 when it differs from the record's; index 5 sends nothing. Records the index.
void gf_setThrottle(ActCore& RECORD, std::int32_t INDEX);
/// FLAPS_SET by index 0..4 when it differs, never for a helicopter. Records the index.
void gf_setFlaps(ActCore& RECORD, std::int32_t INDEX);
/// GEAR_SET, never for a helicopter.
void gf_setGear(const ActCore& RECORD, bool DOWN);
/// SPOILERS_SET, never for a helicopter.
void lf_spoilers(const act& RECORD, std::uint32_t VALUE);
/// Spoiler handle and levers, never for a light aircraft.
void lf_controls(const act& RECORD, double SPOILERS, double LEVERS);
void lf_lights(const act& RECORD, const LightSet& LIGHTS);
/// The throttle index of the phases that give a helicopter full power.
inline std::int32_t lf_powerIndex(const act& RECORD, std::int32_t INDEX) { return lf_isHelicopter(RECORD) ? 4 : INDEX; }
/// The lights of a take-off and of taxiing out.
inline constexpr LightSet takeoffLights{1, 1, 1, 1, 1, 1, 0};
inline constexpr LightSet taxiOutLights{1, 1, 0, 1, 0, 1, 0};
/// The record's present pose as the simulator gets it.
PositionUpdate lf_positionOf(const act& RECORD);

} // namespace orv
