// The park airports and the airport database as the spine asks for them.
// There are no stand files yet: the park airport is where the user's aircraft
// stands (user_airport.cpp), without stands, and nothing is learned, reserved
// or saved.
#include "parking/parking.h"

#include "parking/airport_db.h"

namespace orv {

std::string lf_readParkAirports() { return {}; }
void gf_readAirportDatabase() { gf_readAirports(); }
bool gf_parkAirportHasStands() { return false; }
void lf_clearReservedStand() {}
bool gf_userStandReserved() { return false; }
void gf_saveLearnedChanges() {}
void gf_clearWaitingAirports() {}
void gf_applyStoredDestination() {}

} // namespace orv
