// Identity of live aircraft: callsign changes, doubles and ghosts, and the
// lists of callsigns and objects that outside tools read. Identity rules are
// not in yet: every line keeps its record, no ghost has a real aircraft, and
// nothing is written for outside tools.
#include "traffic/creation.h"
#include "traffic/engine_parts.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"

#include <fmt/format.h>

namespace orv {

std::uint32_t selectedObject = 0;

bool lf_identityUpdate(const TrafficLine&, act&) { return true; }
void lf_ghostCheck(const std::string&) {}
bool lf_realExists(const act&) { return false; }
void gf_writeCallsignObjectIds() {}
void gf_objectIdLookup()
{
    const std::string callsign = gf_textOf(CALLSIGN_2_OBJECTID);
    if (callsign.empty()) return;
    for (const act& record : liveList) {
        if (record.callsign != callsign || record.objectId == 0 || record.state != ActState::active) continue;
        selectedObject = record.objectId;
        gf_setObjectIdText(fmt::format("= {}", record.objectId));
        gf_repaint();
        return;
    }
    gf_setObjectIdText({});
    gf_showStatus(fmt::format("callsign \"{}\" is unknown", callsign), true);
    gf_repaint();
}
void gf_clearRecentRemovals() {}

} // namespace orv
