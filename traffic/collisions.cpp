// Collisions of live aircraft with the user's aircraft and with each other on
// stands. The checks are not in yet: no live aircraft is removed for the
// user's sake, and no aircraft keeps another from its stand.
#include "traffic/creation.h"
#include "traffic/engine_parts.h"

namespace orv {

bool lf_standConflictLive(const act&, const act&) { return true; }
void lf_collisionUserGround() {}
bool lf_collisionUserAir(act&) { return false; }

} // namespace orv
