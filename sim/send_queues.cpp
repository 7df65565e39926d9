// The send queues between the engine (main thread) and the Frame event
// (client thread): positions in two buffers swapped as a pair, client events,
// creations and removals, all guarded by simLock. Also the few writes that go
// to the simulator at once instead of through a queue.
#include "sim/sim_session.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"

#include <cstddef>

namespace orv {

namespace {

constexpr std::size_t queueReserve = 256;
/// Above this frame rate a busy lock is worth waiting for; below, a tick's
/// positions are dropped and the simulator keeps the previous ones.
constexpr float waitFrameRate = 50.0f;
constexpr std::int32_t lastIndex = 4;

std::vector<PositionUpdate> positionsA, positionsB;

static_assert(offsetof(PositionUpdate, objectId) == 64, "the first 64 bytes are the data block of definition 402");

/// Events of the engine on the main thread take the lock for one append.
void lf_queueLocked(std::uint32_t OBJECT_ID, std::uint32_t EVENT_ID, std::uint32_t DATA)
{
    std::lock_guard lock(simLock);
    gf_queueEvent(OBJECT_ID, EVENT_ID, DATA);
}

} // namespace

std::vector<PositionUpdate>* positionFill = &positionsA;
std::vector<PositionUpdate>* positionSend = &positionsB;
std::vector<ClientEvent> eventQueue;
std::vector<CreateRequest> createList;
std::vector<std::uint32_t> removeList;
std::vector<CreateInFlight> createsInFlight;

void lf_initSimQueues()
{
    std::lock_guard lock(simLock);
    for (auto* list : {&positionsA, &positionsB}) list->reserve(queueReserve);
    eventQueue.reserve(queueReserve);
    createList.reserve(queueReserve);
    removeList.reserve(queueReserve);
    createsInFlight.reserve(queueReserve);
    simRequestsOff = false;
}

void gf_clearSimQueues()
{
    {
        std::lock_guard lock(simLock);
        positionsA.clear();
        positionsB.clear();
        eventQueue.clear();
        createList.clear();
        removeList.clear();
        createsInFlight.clear();
    }
    lf_resetUserState();
}

void gf_appendPosition(const PositionUpdate& UPDATE) { positionFill->push_back(UPDATE); }

void lf_swapPositions()
{
    std::unique_lock lock(simLock, std::try_to_lock);
    if (!lock.owns_lock()) {
        if (frameRate <= waitFrameRate) {
            positionFill->clear();
            return;
        }
        lock.lock();
    }
    std::swap(positionFill, positionSend);
    positionFill->clear();
}

void gf_handOverPositions() { lf_swapPositions(); }

void gf_clearPositionBuffers()
{
    // The caller holds simLock.
    positionsA.clear();
    positionsB.clear();
}

void gf_queueCreate(const CreateRequest& REQUEST)
{
    std::lock_guard lock(simLock);
    createList.push_back(REQUEST);
}

void gf_queueRemove(std::uint32_t OBJECT_ID)
{
    std::lock_guard lock(simLock);
    removeList.push_back(OBJECT_ID);
}

void gf_queueEvent(std::uint32_t OBJECT_ID, std::uint32_t EVENT_ID, std::uint32_t DATA)
{
    eventQueue.push_back({OBJECT_ID, EVENT_ID, DATA});
}

void gf_setLights(std::uint32_t OBJECT_ID, const LightSet& LIGHTS)
{
    std::lock_guard lock(simLock);
    gf_queueEvent(OBJECT_ID, eventNavLightsSet, LIGHTS.nav);
    gf_queueEvent(OBJECT_ID, eventBeaconLightsSet, LIGHTS.beacon);
    gf_queueEvent(OBJECT_ID, eventLandingLightsSet, LIGHTS.landing);
    gf_queueEvent(OBJECT_ID, eventTaxiLightsSet, LIGHTS.taxi);
    gf_queueEvent(OBJECT_ID, eventStrobesSet, LIGHTS.strobes);
    gf_queueEvent(OBJECT_ID, eventLogoLightsSet, LIGHTS.logo);
    gf_queueEvent(OBJECT_ID, eventCabinLightsSet, LIGHTS.cabin);
}

void gf_setNavLight(std::uint32_t OBJECT_ID, bool ON) { lf_queueLocked(OBJECT_ID, eventNavLightsSet, ON ? 1 : 0); }

void gf_setCabinLight(std::uint32_t OBJECT_ID, bool ON) { lf_queueLocked(OBJECT_ID, eventCabinLightsSet, ON ? 1 : 0); }

void gf_sendThrottle(std::uint32_t OBJECT_ID, std::int32_t INDEX)
{
    if (INDEX >= 0 && INDEX <= lastIndex) lf_queueLocked(OBJECT_ID, eventThrottleSet, throttleValues[INDEX]);
}

void gf_sendFlaps(std::uint32_t OBJECT_ID, std::int32_t INDEX)
{
    if (INDEX >= 0 && INDEX <= lastIndex) lf_queueLocked(OBJECT_ID, eventFlapsSet, flapsValues[INDEX]);
}

void gf_sendGear(std::uint32_t OBJECT_ID, bool DOWN) { lf_queueLocked(OBJECT_ID, eventGearSet, DOWN ? 1 : 0); }

void gf_setControls(std::uint32_t OBJECT_ID, double SPOILERS, double THROTTLE1, double THROTTLE2)
{
    double block[3] = {SPOILERS, THROTTLE1, THROTTLE2};
    std::lock_guard lock(simLock);
    if (simHandle == nullptr || simRequestsOff) return;
    SimConnect_SetDataOnSimObject(simHandle, defControls, OBJECT_ID, 0, 0, sizeof block, block);
}

bool gf_setFlightPlan(std::uint32_t OBJECT_ID, const std::string& PLAN_PATH)
{
    if (!MSFS_2020.value) return true; // the 2024 simulator flies no plan files: skipped, and that is fine
    std::lock_guard lock(simLock);
    if (simHandle == nullptr) return false;
    return SimConnect_AISetAircraftFlightPlan(simHandle, OBJECT_ID, PLAN_PATH.c_str(), requestFlightPlan) == S_OK;
}

bool gf_allLightsToggle(std::uint32_t OBJECT_ID)
{
    std::lock_guard lock(simLock);
    if (simHandle == nullptr) return false;
    return SimConnect_TransmitClientEvent(simHandle, OBJECT_ID, eventAllLightsToggle, 0, notificationGroup, 0) == S_OK;
}

void gf_requestStaticCg(std::uint32_t OBJECT_ID)
{
    std::lock_guard lock(simLock);
    if (simHandle == nullptr || simRequestsOff) return;
    if (SimConnect_RequestDataOnSimObject(simHandle, requestStaticCg, defStaticShape, OBJECT_ID, SIMCONNECT_PERIOD_ONCE,
                                          0, 0, 0, 0) == S_OK)
        return;
    gf_logWarning("SimConnect request StaticCG fails");
    gf_simRequestFailed();
}

} // namespace orv
