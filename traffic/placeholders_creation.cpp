// What creation asks of identity, stand conflicts and static parking, kept as
// named calls until those parts are in: no ghost is known, no aircraft keeps
// another from its stand, no stand has neighbours, no static aircraft waits.
//
// These calls live alone in this file so that the parts that answer them can
// take them over one by one, and a test can define its own.
#include "traffic/creation.h"

namespace orv {

void lf_ghostCheck(const std::string&) {}
bool lf_realExists(const act&) { return false; }
bool lf_standConflictLive(const act&, const act&) { return true; }
void lf_clearStandOfStatics(act&, const StandRef&) {}
std::vector<StandRef> gf_conflictingStands(std::int32_t) { return {}; }
void gf_dropStaticCandidates(std::int32_t) {}

} // namespace orv
