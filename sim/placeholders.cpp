// Calls of the start-up, the engine and the exit into the simulator link,
// kept as named calls until the client thread is in. None of them talks to a
// simulator yet: without a link the program stays waiting for a flight.
#include "sim/sim_link.h"

#include "core/flags.h"
#include "traffic/act.h"

namespace orv {

std::atomic<std::uint32_t> userObjectId{2};
std::atomic<bool> userGroundKnown{false};

double gf_simUtc() { return 0; }
void lf_initSimQueues() { simRequestsOff = false; }
void gf_startClientThread() {}
void gf_stopClientThread(bool) {}
bool gf_clientThreadAlive() { return false; }
bool gf_requestSimOnGround() { return false; }
UserPosition gf_requestUserPosition() { return ownPosition; }
void gf_requestTitleAndModel() {}
void gf_requestAircraftInRange() {}
void gf_queueRemove(std::uint32_t) {}
void gf_clearPositionBuffers() {}
void gf_clearSimQueues() {}

} // namespace orv

namespace orv {

bool gf_allLightsToggle(std::uint32_t) { return true; }
void gf_queueCreate(const CreateRequest&) {}
void gf_handOverPositions() {}

} // namespace orv

namespace orv {

void gf_appendPosition(const PositionUpdate&) {}
void gf_setLights(std::uint32_t, const LightSet&) {}
void gf_setCabinLight(std::uint32_t, bool) {}
void gf_setThrottle(ActCore& RECORD, std::int32_t INDEX) { RECORD.throttleSetting = INDEX; }
void gf_setFlaps(ActCore& RECORD, std::int32_t INDEX)
{
    if (RECORD.classId != 5) RECORD.flapsSetting = INDEX;
}
void gf_setGear(const ActCore&, bool) {}
void gf_queueEvent(std::uint32_t, std::uint32_t, std::uint32_t) {}
void gf_setControls(std::uint32_t, double, double, double) {}

} // namespace orv
