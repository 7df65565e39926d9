// The engine's steps that belong to motion, phases, identity and creation.
// Each is called from the engine's pass or its message handling.
#pragma once

#include "traffic/parking_calls.h"

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


// --- the once-a-second work on the lists ------------------------------------
/// Collision checks with the user aircraft on the ground.
void lf_collisionUserGround();
/// Collision check of one live aircraft with the user aircraft in the air; true stops the walk.
bool lf_collisionUserAir(act& RECORD);
/// Writes Callsign2ObjectId.txt.
void gf_writeCallsignObjectIds();
/// The window's object id lookup of CALLSIGN_2_OBJECTID: the live aircraft in
/// the simulator with that callsign becomes selectedObject and its id is shown.
void gf_objectIdLookup();
/// The simulator object the user looked up by callsign; 0 for none. Main thread.
extern std::uint32_t selectedObject;
/// The set of recent removals that the window keeps, emptied each 30 seconds.
void gf_clearRecentRemovals();
/// The unmatched-livery report, and the table of unmatched flights.
void gf_writeUnmatchedReport();
void gf_clearUnmatchedFlights();
/// Removes the flight plan folder with its files; true when it is gone.
bool gf_removeFlightPlanFolder();

} // namespace orv
