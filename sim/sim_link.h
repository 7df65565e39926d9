// What the rest of the program asks of the simulator link: the client thread,
// the standing requests, and the send queues that the Frame event empties.
#pragma once

#include "core/user_position.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>

namespace orv {

/// The user object's id; 2 until the simulator says otherwise.
extern std::atomic<std::uint32_t> userObjectId;
/// The first ground report of the user aircraft has arrived.
extern std::atomic<bool> userGroundKnown;

/// The simulator's UTC time in Unix seconds, from the last user state reply; 0 before.
double gf_simUtc();
/// Reserves the send queues and clears simRequestsOff.
void lf_initSimQueues();
/// Starts the client thread into its slot; an earlier one is stopped and joined first.
void gf_startClientThread();
/// Asks the client thread to stop (the final exit); joins it when JOIN. The
/// thread closes its simulator connection on its way out.
void gf_stopClientThread(bool JOIN);
/// The client thread is running.
bool gf_clientThreadAlive();
/// The standing one-second request SIM ON GROUND; false when refused.
bool gf_requestSimOnGround();
/// Asks for the user position; answers the last reply.
UserPosition gf_requestUserPosition();
/// Asks for the user aircraft's title and model once.
void gf_requestTitleAndModel();
/// Asks for all aircraft within aiRequestRadius (under simLock).
void gf_requestAircraftInRange(std::int32_t RADIUS_METRES);
/// Queues an object's removal for the next Frame; takes simLock itself.
void gf_queueRemove(std::uint32_t OBJECT_ID);
/// Empties both position buffers (under simLock).
void gf_clearPositionBuffers();
/// A restart: every send queue, the simulator lists and the user record emptied.
void gf_clearSimQueues();

} // namespace orv

namespace orv {

/// A request for the simulator to make an object .
struct CreateRequest {
    std::uint32_t id = 0; ///< hexid of a live record, static number of a parked one
    std::string title;
    std::string tail;
    LatLon position;
    double altitudeFt = 0;
    double headingRad = 0;
    double pitchRad = 0;
    double bankRad = 0;
    bool onGround = true;
};

/// The engine's create queues: one request leaves each 500 ms, live first.
extern std::deque<CreateRequest> liveCreateQueue, staticCreateQueue;

/// Sends the client event ALL_LIGHTS_TOGGLE to an object at once (under simLock); false when refused.
bool gf_allLightsToggle(std::uint32_t OBJECT_ID);
/// Queues a create request for the next Frame (under simLock).
void gf_queueCreate(const CreateRequest& REQUEST);
/// Hands this pass's position list to the Frame handling: swaps under a try-lock.
void gf_handOverPositions();

} // namespace orv

namespace orv {

/// One aircraft's pose for the simulator: the eight doubles of the position
/// definition in their order (the 64-byte data block), then the object.
struct PositionUpdate {
    double lat = 0, lon = 0;                  ///< degrees
    double pitch = 0, bank = 0, heading = 0;  ///< radians; negative pitch is nose up
    double altitudeFt = 0;
    double verticalSpeedFps = 0;
    double airspeedKt = 0;
    std::uint32_t objectId = 0;
};

/// The client events that the engine sends, by their mapped ids.
enum SimEventId : std::uint32_t {
    eventGearSet = 219,
    eventEngineAutoStart = 220,
    eventEngineAutoShutdown = 221,
    eventThrottleSet = 222,
    eventFlapsSet = 217,
    eventSpoilersSet = 218,
    eventNavLightsSet = 207,
    eventBeaconLightsSet = 206,
    eventLandingLightsSet = 210,
    eventTaxiLightsSet = 208,
    eventStrobesSet = 209,
    eventLogoLightsSet = 212,
    eventCabinLightsSet = 211,
};

/// Seven 0/1 light values in the order nav, beacon, landing, taxi, strobes, logo, cabin.
struct LightSet {
    std::uint8_t nav = 0, beacon = 0, landing = 0, taxi = 0, strobes = 0, logo = 0, cabin = 0;
};

/// Main thread, no lock (the engine is the only writer): appends a pose to this pass's list.
void gf_appendPosition(const PositionUpdate& UPDATE);
/// Queues the seven light events in their order; takes simLock.
void gf_setLights(std::uint32_t OBJECT_ID, const LightSet& LIGHTS);
/// Queues CABIN_LIGHTS_SET; takes simLock.
void gf_setCabinLight(std::uint32_t OBJECT_ID, bool ON);
/// THROTTLE_SET by index 0..4; any other index sends nothing. Takes simLock.
void gf_sendThrottle(std::uint32_t OBJECT_ID, std::int32_t INDEX);
/// FLAPS_SET by index 0..4; any other index sends nothing. Takes simLock.
void gf_sendFlaps(std::uint32_t OBJECT_ID, std::int32_t INDEX);
/// GEAR_SET. Takes simLock.
void gf_sendGear(std::uint32_t OBJECT_ID, bool DOWN);
/// Queues any other client event; the caller holds simLock.
void gf_queueEvent(std::uint32_t OBJECT_ID, std::uint32_t EVENT_ID, std::uint32_t DATA);
/// Spoiler handle and both throttle levers in percent, written at once (under simLock).
void gf_setControls(std::uint32_t OBJECT_ID, double SPOILERS, double THROTTLE1, double THROTTLE2);

} // namespace orv

namespace orv {

/// The simulator's frames per second, taken from each 30th Frame event.
extern std::atomic<float> frameRate;
/// Refused simulator requests in this session; the third ends it.
extern std::atomic<std::int32_t> simRequestFailures;
/// Tries of SimConnect_Open in this process (the waiting client thread).
extern std::atomic<std::int32_t> simOpenAttempts;

/// The simulator's name as the window shows it ("MSFS 2020 (11.0.1.2)").
std::string gf_simName();
/// The stand the user aircraft stands on, as the window shows it; empty when none.
std::string gf_userStandName();

/// Counts a refused request; the third sets simRequestsOff and restarts the session.
void gf_simRequestFailed();
/// Request 102: the parked height and pitch of an AI object (answered as message kind 4).
void gf_requestStaticCg(std::uint32_t OBJECT_ID);
/// Gives an AI object its flight plan file (MSFS 2020 only; elsewhere a success). False when refused.
bool gf_setFlightPlan(std::uint32_t OBJECT_ID, const std::string& PLAN_PATH);
/// NAV_LIGHTS_SET for an object, from the window thread; takes simLock.
void gf_setNavLight(std::uint32_t OBJECT_ID, bool ON);
/// At a flight change and at the end of the client thread: keeps the stand
/// the user aircraft stands on as the park airport's user stand.
void gf_rememberUserStand();


} // namespace orv
