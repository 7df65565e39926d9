// Static parked aircraft and what the once-a-second work asks of them. With
// no stand known there is no static aircraft: nothing to fill, adjust, claim,
// learn from or collide with.
#include "parking/parking.h"

#include "parking/park_airports.h"

namespace orv {

void gf_adjustParking(bool) {}
bool gf_staticParkingActive() { return false; }
void gf_removeAllStatics() {}
void lf_learnOnce(act&) {}
void lf_removeClaimedStatic(act&) {}
void lf_collisionLiveParked() {}
void lf_checkAgainstStatics(act&) {}
// No static aircraft stands on the reserved stand, and the engine never sends
// a live one there (standRefused), so there is nothing to clear.
void lf_clearReservedStand() {}
bool gf_userStandReserved() { return !reservedStandName.empty(); }

} // namespace orv
