// What the rest of the program asks of the airports and parking: the park
// airport near the user, static parked aircraft, the stand the user holds.
#pragma once

#include <optional>
#include <string>

#include "core/geometry.h"
#include "core/user_position.h"
#include "traffic/act.h"

namespace orv {

struct ParkingCalls;
struct Stand;

/// Reads airports/my_park_airports.txt; a message for the status line, or empty.
std::string lf_readParkAirports();
/// Reads the airport database; a missing or broken file ends the preparation.
void gf_readAirportDatabase();
/// Chooses the park airport near the user (FIRST at the start of mainLoop).
void gf_userAirportCheck(bool FIRST);
/// The name of the stand under the user's aircraft at POSITION (within 55 m,
/// occupied or not); empty off the ground or without stands. Any thread.
std::string gf_userStand(const UserPosition& POSITION);
/// Parking's answers to the engine, installed by the spine.
void gf_fillParkingCalls(ParkingCalls& CALLS);
/// A freighter parked at a stand without the cargo mark: the stand gets it (logged, counted).
void gf_setCargoStand(Stand& STAND, const act& RECORD);
/// Publishes the stands' names and positions for gf_userStand (the stand table changed).
void lf_publishStandSpots();
/// Any thread: the stand the user's aircraft stood still at, for the main thread to keep.
void gf_storeUserStand(const std::string& STAND);
/// Main thread: the stand gf_storeUserStand remembered; empty when none.
std::string lf_takeStoredUserStand();
/// The user's aircraft stands still on a stand of the park airport other than
/// its reserved one: that stand becomes the reserved one, in the list and the file.
void lf_rememberUserStand();
/// Sets or clears the reserved mark of the stand reservedStandName.
void lf_markReserved(bool RESERVED);
/// A park airport is set and its stand table has stands.
bool gf_parkAirportHasStands();
/// Clears the stand reserved for the user aircraft of parked aircraft.
void lf_clearReservedStand();
/// The second phase of the parking refresh.
void gf_adjustParking(bool RT_ONLY);
/// A stand is reserved for the user aircraft.
bool gf_userStandReserved();
/// Static parking runs at the park airport.
bool gf_staticParkingActive();
/// Removes every static parked aircraft.
void gf_removeAllStatics();
/// Saves what was learned at the park airport.
void gf_saveLearnedChanges();
/// Forgets the airport names waiting for their stand files.
void gf_clearWaitingAirports();
/// Looks DESTINATION up in the airport database and applies it when known.
void gf_applyStoredDestination();
/// The elevation of the park airport in feet, when one is set.
std::optional<double> gf_parkAirportElevation();
/// A park airport is set and lies within NM nautical miles of POS.
bool gf_parkAirportWithin(const LatLon& POS, double NM);

// --- the once-a-second work of the spine on the live and static lists ---------
/// The once-only stand learning of a live aircraft that was created, landed or parked.
void lf_learnOnce(act& RECORD);
/// Removes the first static aircraft that this live one claims (same callsign).
void lf_removeClaimedStatic(act& RECORD);
/// Live aircraft on the ground against static aircraft.
void lf_collisionLiveParked();
/// A live aircraft against the static aircraft (each 61 seconds).
void lf_checkAgainstStatics(act& RECORD);

} // namespace orv
