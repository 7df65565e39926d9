// The engine's steps that belong to motion, phases, identity and creation.
// Each is called from the engine's pass or its message handling.
#pragma once

#include "traffic/act.h"

#include <optional>
#include <string>

namespace orv {

/// Motion of an active record for this pass (its leg, its position).
void lf_moveAct(act& RECORD);
/// A waiting record: is it time to create it, and can it be made?
void lf_updateWaiting(act& RECORD);
/// A new point at the end of the track.
void lf_addTrackPoint(act& RECORD, const TrackPoint& POINT);
/// Callsign changes, doubles and ghosts; false drops the line.
bool lf_identityUpdate(const TrafficLine& LINE, act& RECORD);
/// The simulator made the object (message kind 0): gear, flight plan, the
/// parked shape asked for. False: the answer is of no use.
bool lf_objectCreated(act& RECORD, const SimMessage& MESSAGE);
/// The simulator refused the object.
void lf_createFailed(act& RECORD);
/// The ground was reported under a landing aircraft.
void lf_touchdown(act& RECORD);
/// The lights of an aircraft that has just settled.
void lf_lightsAfterCreate(act& RECORD);
/// Enters a record that has a flight plan in liveCreateQueue.
void lf_queueCreateRequest(act& RECORD);
/// Deletes a record's flight plan file.
void gf_deleteFlightPlanFile(const act& RECORD);
/// Takes the next static candidate's create request, when any waits.
void gf_continueStaticCreation();


// --- the park airport and its stands, as the motion and the phases ask ---
/// A stand as a search gives it to the engine.
struct StandRef {
    std::int32_t standId = 0;
    LatLon pos;
    double headingRad = 0;
    double radiusNm = 0;
    bool cargo = false;
};
/// The elevation of the park airport in feet, when one is set.
std::optional<double> gf_parkAirportElevation();
/// The park airport's stand file is loaded.
bool gf_parkAirportReady();
/// The park airport's code as origins and destinations of the feed name it; empty without one.
std::string gf_parkAirportIata();
/// A park airport is set and lies within NM nautical miles of POS.
bool gf_parkAirportWithin(const LatLon& POS, double NM);
/// The name of a stand for the log; empty without one.
std::string gf_standName(std::int32_t STAND_ID);
/// The nearest free stand within MAX_NM of POS that suits the record (options count when asked).
std::optional<StandRef> gf_closestStand(const LatLon& POS, const act& RECORD, double MAX_NM, bool USE_OPTIONS);
/// The reserved stand, or the stand under the user's aircraft: never given to a live aircraft.
bool gf_standRefused(std::int32_t STAND_ID);
/// The stand's radius in nautical miles.
double gf_standRadius(std::int32_t STAND_ID);
/// The mark of a stand that a live aircraft is on its way to or stands at.
void gf_setStandOccupied(std::int32_t STAND_ID, bool OCCUPIED);
/// A freighter parked at a stand without the cargo attribute: the stand gets it (logged).
void gf_markStandCargo(std::int32_t STAND_ID, const act& RECORD);
/// What stands at or beside an arriving aircraft's stand goes.
void lf_takeStand(act& RECORD, const StandRef& STAND);
/// The limit on live parked aircraft, checked after one more parked.
void lf_checkMaxPark(std::int32_t ADDED);
/// Stand learning: a departure from the record's stand.
void lf_learnDeparture(act& RECORD);
/// Stand learning for an aircraft about to go without having reached a stand.
void lf_learnLostAircraft(act& RECORD, bool ON_GROUND);
/// Stand learning: the record at STAND_ID at TIME; true when the options changed.
bool lf_addRealOption(std::int32_t STAND_ID, act& RECORD, bool CONTINUING, DayHalf TIME, bool FINISH);
/// An arrival that taught the stand something, remembered for its half hour.
void gf_addRecentArrival(std::uint32_t HEXID, std::int32_t HALF_HOUR);

// --- the once-a-second work on the lists ------------------------------------
/// The once-only stand learning of a live aircraft that was created, landed or parked.
void lf_learnOnce(act& RECORD);
/// Removes the first static aircraft that this live one claims (same callsign).
void lf_removeClaimedStatic(act& RECORD);
/// Collision checks with the user aircraft on the ground.
void lf_collisionUserGround();
/// Collision check of one live aircraft with the user aircraft in the air; true stops the walk.
bool lf_collisionUserAir(act& RECORD);
/// Live aircraft on the ground against static aircraft.
void lf_collisionLiveParked();
/// A live aircraft against the static aircraft (each 61 seconds).
void lf_checkAgainstStatics(act& RECORD);
/// Writes Callsign2ObjectId.txt.
void gf_writeCallsignObjectIds();
/// The window's object id lookup of CALLSIGN_2_OBJECTID.
void gf_objectIdLookup();
/// The set of recent removals that the window keeps, emptied each 30 seconds.
void gf_clearRecentRemovals();
/// The unmatched-livery report, and the table of unmatched flights.
void gf_writeUnmatchedReport();
void gf_clearUnmatchedFlights();
/// Removes the flight plan folder with its files; true when it is gone.
bool gf_removeFlightPlanFolder();

} // namespace orv
