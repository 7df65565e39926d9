// The engine's steps of identity and the work on the lists, kept as named
// calls until those parts are in.
#include "traffic/engine_parts.h"

namespace orv {

bool lf_identityUpdate(const TrafficLine&, act&) { return true; }
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

} // namespace orv
