// Calls of the start-up, the tick and the exit into airports and parking,
// kept as named calls until parking is in. None of them parks anything yet.
#include "parking/parking.h"

namespace orv {

std::string lf_readParkAirports() { return {}; }
void gf_readAirportDatabase() {}
bool gf_parkAirportHasStands() { return false; }
void lf_clearReservedStand() {}
void gf_adjustParking(bool) {}
bool gf_userStandReserved() { return false; }
bool gf_staticParkingActive() { return false; }
void gf_removeAllStatics() {}
void gf_saveLearnedChanges() {}
void gf_clearWaitingAirports() {}
void gf_applyStoredDestination() {}

} // namespace orv
