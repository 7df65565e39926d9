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
/// Asks the client thread to stop (the final exit); joins it when JOIN.
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
void gf_requestAircraftInRange();
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

/// Queues the client event ALL_LIGHTS_TOGGLE for an object; false when refused.
bool gf_allLightsToggle(std::uint32_t OBJECT_ID);
/// Queues a create request for the next Frame (under simLock).
void gf_queueCreate(const CreateRequest& REQUEST);
/// Hands this pass's position list to the Frame handling: swaps under a try-lock.
void gf_handOverPositions();

} // namespace orv
