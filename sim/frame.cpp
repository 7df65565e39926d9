// The Frame event: what the engine queued goes to the simulator, in the fixed
// order positions, events, creations, removals. And the answers to
// creations: a new object paired with its request by ATC ID, or a failure
// found by the packet id of the create call.
#include "sim/sim_session.h"

#include "core/flags.h"
#include "core/log.h"
#include "core/sim_messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <numbers>

namespace orv {
namespace {

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;
constexpr DWORD positionBytes = 64;

/// Creations reach the simulator at most one per 500 ms, removals ten a
/// second, by the clock. The engine paces them by its passes, but the main
/// loop re-anchors its schedule at each second's reply, so a count of passes
/// alone let three creations through within one second.
constexpr auto createSpacing = std::chrono::milliseconds(500);
constexpr auto removeSpacing = std::chrono::milliseconds(100);
std::chrono::steady_clock::time_point lastCreateSent, lastRemoveSent; ///< client thread, under simLock

/// Sends the first of LIST when its spacing has passed since the last one sent.
template <typename Item, typename Send>
void lf_sendPaced(std::vector<Item>& LIST, std::chrono::steady_clock::time_point& LAST,
                  std::chrono::milliseconds SPACING, Send&& SEND)
{
    if (LIST.empty()) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - LAST < SPACING) return;
    LAST = now;
    SEND(LIST.front());
    LIST.erase(LIST.begin());
}

/// Takes the first in-flight creation that MATCHES out of the list; its id, or 0.
template <typename Match>
std::uint32_t lf_takeInFlight(Match&& MATCHES)
{
    const auto it = std::find_if(createsInFlight.begin(), createsInFlight.end(), MATCHES);
    if (it == createsInFlight.end()) return 0;
    const std::uint32_t id = it->id;
    *it = std::move(createsInFlight.back());
    createsInFlight.pop_back();
    return id;
}

void lf_emptyQueues()
{
    positionSend->clear();
    eventQueue.clear();
    createList.clear();
    removeList.clear();
}

void lf_release(std::uint32_t OBJECT_ID)
{
    if (SimConnect_AIReleaseControl(simHandle, OBJECT_ID, requestRelease) != S_OK) gf_simRequestFailed();
}

void lf_sendPositions()
{
    const std::uint32_t user = userObjectId;
    for (PositionUpdate& u : *positionSend)
        if (u.objectId > user) SimConnect_SetDataOnSimObject(simHandle, defPosition, u.objectId, 0, 0, positionBytes, &u.lat);
    positionSend->clear();
}

void lf_sendEvents()
{
    for (const ClientEvent& e : eventQueue) {
        // The simulator's AI takes the object back when its flaps move.
        const bool flaps = e.eventId == eventFlapsSet;
        if (flaps) lf_release(e.objectId);
        if (SimConnect_TransmitClientEvent(simHandle, e.objectId, e.eventId, e.data, notificationGroup, 0) != S_OK) {
            gf_showStatus(fmt::format("SimConnect TransmitClientEvent: {} fails", e.eventId), true);
        } else if (flaps) {
            lf_release(e.objectId);
        }
    }
    eventQueue.clear();
}

} // namespace

void lf_onFrame()
{
    std::unique_lock lock(simLock, std::try_to_lock);
    if (!lock.owns_lock()) return; // nothing is lost: the next frame sends it
    if (simRequestsOff || simHandle == nullptr) {
        lf_emptyQueues();
        return;
    }
    lf_sendPositions();
    lf_sendEvents();
    lf_sendPaced(createList, lastCreateSent, createSpacing, lf_createObject);
    lf_sendPaced(removeList, lastRemoveSent, removeSpacing, lf_removeObject);
}

void lf_createObject(const CreateRequest& R)
{
    // The caller holds simLock.
    const SIMCONNECT_DATA_INITPOSITION init{R.position.lat,
                                            R.position.lon,
                                            R.altitudeFt,
                                            R.pitchRad * degreesPerRadian,
                                            R.bankRad * degreesPerRadian,
                                            R.headingRad * degreesPerRadian,
                                            R.onGround ? 1u : 0u,
                                            0};
    if (SimConnect_AICreateNonATCAircraft(simHandle, R.title.c_str(), R.tail.c_str(), init, requestCreate) != S_OK) {
        gf_log(fmt::format("! Simcon call to create ac in sim failed, hexid:{}, liv: \"{}\", callsign: {}", R.id,
                           R.title, R.tail));
        gf_simRequestFailed();
        return;
    }
    DWORD sendId = 0;
    if (SimConnect_GetLastSentPacketID(simHandle, &sendId) != S_OK) {
        gf_logWarning("GetLastSentPacketID");
        sendId = 0;
    }
    createsInFlight.push_back({sendId, R.id, R.tail});
}

void lf_removeObject(std::uint32_t OBJECT_ID)
{
    // The caller holds simLock.
    if (OBJECT_ID <= userObjectId) {
        gf_log(fmt::format("{}!Simconnect call to remove AI ac with objectId {}", gf_timeOfDay(), OBJECT_ID));
        return;
    }
    if (SimConnect_AIRemoveObject(simHandle, OBJECT_ID, requestRemove) == S_OK) return;
    gf_log(fmt::format("{}!Simconnect call to remove AI ac from sim failed, id {}?", gf_timeOfDay(), OBJECT_ID));
    gf_simRequestFailed();
}

void lf_freezeObject(std::uint32_t OBJECT_ID)
{
    std::lock_guard lock(simLock);
    if (simHandle == nullptr) return;
    lf_release(OBJECT_ID);
    for (const DWORD event : {eventFreezeLatLon, eventFreezeAltitude, eventFreezeAttitude})
        gf_queueEvent(OBJECT_ID, event, 1);
}

void lf_pairNewObject(std::uint32_t OBJECT_ID, const std::string& ATC_ID, double ALT_ABOVE_GROUND_FT)
{
    std::uint32_t id = 0;
    if (!ATC_ID.empty()) {
        std::lock_guard lock(simLock);
        id = lf_takeInFlight([&](const CreateInFlight& C) { return C.tailNumber == ATC_ID; });
    }
    if (id == 0) {
        // An object of another client: left alone.
        gf_logWarning(fmt::format("just created, but not by {}, oid: {}, callsign \"{}\" unknown", programName,
                                  OBJECT_ID, ATC_ID));
        return;
    }
    lf_freezeObject(OBJECT_ID);
    const bool live = id > lastStaticId;
    gf_postMessage({OBJECT_ID, id, live ? MessageKind::liveCreated : MessageKind::staticCreated, 0,
                    live ? ALT_ABOVE_GROUND_FT : 0});
}

void lf_createFailed(std::uint32_t SEND_ID)
{
    std::uint32_t id = 0;
    {
        std::lock_guard lock(simLock);
        id = lf_takeInFlight([&](const CreateInFlight& C) { return C.sendId == SEND_ID; });
    }
    if (id != 0) gf_postMessage({0, id, MessageKind::createFailed, 0, 0});
}

} // namespace orv
