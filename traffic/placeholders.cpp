// The engine's steps of identity, creation and the work on the lists, kept as
// named calls until those parts are in. Without them a record is accepted and
// kept waiting, and is never created.
#include "traffic/engine_parts.h"

namespace orv {

void lf_updateWaiting(act&) {}
bool lf_identityUpdate(const TrafficLine&, act&) { return true; }
bool lf_objectCreated(act&, std::uint32_t) { return false; }
void lf_createFailed(act&) {}
void lf_queueCreateRequest(act&) {}
void gf_deleteFlightPlanFile(const act&) {}
void gf_continueStaticCreation() {}
void lf_learnOnce(act&) {}
void lf_removeClaimedStatic(act&) {}
void lf_collisionUserGround() {}
bool lf_collisionUserAir(act&) { return false; }
void lf_collisionLiveParked() {}
void lf_checkAgainstStatics(act&) {}
void gf_writeCallsignObjectIds() {}
void gf_objectIdLookup() {}
void gf_clearRecentRemovals() {}
void gf_writeUnmatchedReport() {}
void gf_clearUnmatchedFlights() {}
void gf_removeFlightPlanFolder() {}

} // namespace orv
