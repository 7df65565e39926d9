// Identity of live aircraft: callsign changes, doubles and ghosts, and the
// lists of callsigns and objects that outside tools read. Identity rules are
// not in yet: every line keeps its record, no ghost has a real aircraft, and
// nothing is written for outside tools.
#include "traffic/creation.h"
#include "traffic/engine_parts.h"

namespace orv {

bool lf_identityUpdate(const TrafficLine&, act&) { return true; }
void lf_ghostCheck(const std::string&) {}
bool lf_realExists(const act&) { return false; }
void gf_writeCallsignObjectIds() {}
void gf_objectIdLookup() {}
void gf_clearRecentRemovals() {}

} // namespace orv
