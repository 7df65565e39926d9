// The inside of the simulator link: the session handle, the identifiers the
// dispatch sorts by, the user state, the send queues and the functions of the
// client thread. Only sim/ (and its tests) include this header.
#pragma once

#include "sim/sim_link.h"
#include "sim/simconnect_api.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

namespace orv {

/// The session's handle; set and cleared by the client thread under simLock.
extern HANDLE simHandle;
/// Client thread only: the simulator said QUIT (or the connection was lost,
/// which the client library reports the same way); the session with it is over.
extern bool simQuit;

// --- identifiers: the program's own, consistent between calls and dispatch ----
enum SimSystemEvent : DWORD {
    eventSim = 201,
    eventObjectAdded = 202,
    eventObjectRemoved = 203,
    eventFrame = 204,
    eventFlightLoaded = 205,
};

enum SimDefinition : DWORD {
    defControls = 401,     ///< spoilers, two throttles
    defPosition = 402,     ///< writing an AI aircraft
    defUserState = 403,
    defInRange = 404,      ///< each aircraft in range
    defStaticShape = 405,  ///< Static CG to Ground, Static Pitch
    defLightOnStates = 406,
    defUserTitle = 407,
    defUserModel = 408,
    defSimOnGround = 409,
};

enum SimRequest : DWORD {
    requestInRange = 101,
    requestStaticCg = 102,
    requestRelease = 103,
    requestCreate = 104,
    requestRemove = 105,
    requestUserTitle = 106,
    requestUserModel = 107,
    requestSimOnGround = 108,
    requestUserState = 109,
    requestFlightPlan = 110,
};

inline constexpr DWORD eventAllLightsToggle = 213;
inline constexpr DWORD eventFreezeLatLon = 214;
inline constexpr DWORD eventFreezeAltitude = 215;
inline constexpr DWORD eventFreezeAttitude = 216;
inline constexpr DWORD notificationGroup = 301;
inline constexpr DWORD aircraftObjectType = SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT;
/// Ids up to this are static aircraft, above it live ones.
inline constexpr std::uint32_t lastStaticId = 10000;

// --- user state ----------------------------------------------------------------
/// The reply to request 109: the twelve fields of definition 403 in order.
struct UserState {
    double lat = 0, lon = 0;              ///< degrees
    double pitch = 0, bank = 0, heading = 0; ///< radians
    double altitude = 0;                  ///< feet
    double altitudeAgl = 0;               ///< feet
    double groundSpeed = 0;               ///< knots
    std::int64_t zuluSeconds = 0;
    std::int64_t zuluDayOfYear = 0;       ///< counted from 1
    std::int64_t zuluYear = 0;
    std::int64_t lightStates = 0;
};
static_assert(sizeof(UserState) == 96, "UserState is the data block of definition 403");

/// Written by the dispatch, read by gf_requestUserPosition; guarded by
/// userStateMutex (a leaf lock) so that a reader sees one reply whole.
extern UserState userState;
extern std::mutex userStateMutex;
extern std::atomic<bool> userOnGround;
extern std::atomic<std::int64_t> simUtc; ///< Unix seconds of the simulator's UTC

/// A copy of userState under its lock.
UserState gf_userState();
/// A new session: the user record, the stand shown and the counts of the last one go.
void lf_resetUserState();

// --- send queues: all guarded by simLock -------------------------------------------
struct ClientEvent {
    std::uint32_t objectId = 0;
    std::uint32_t eventId = 0;
    std::uint32_t data = 0;
};

struct CreateInFlight {
    std::uint32_t sendId = 0; ///< the packet id of the create call
    std::uint32_t id = 0;     ///< hexid, or a static aircraft's number
    std::string tailNumber;
};

extern std::vector<PositionUpdate>* positionFill; ///< the engine appends (main thread only)
extern std::vector<PositionUpdate>* positionSend; ///< the Frame handling sends
extern std::vector<ClientEvent> eventQueue;
extern std::vector<CreateRequest> createList;
extern std::vector<std::uint32_t> removeList;
extern std::vector<CreateInFlight> createsInFlight;

/// The values of THROTTLE_SET and FLAPS_SET by index 0..4.
inline constexpr std::uint32_t throttleValues[5] = {0, 4914, 8191, 11468, 16383};
inline constexpr std::uint32_t flapsValues[5] = {0, 3072, 10240, 16383, 0};
inline constexpr std::int32_t throttleNone = 5;

/// Hands this tick's positions to the Frame handling (the engine's end of tick).
void lf_swapPositions();

// --- the client thread ---------------------------------------------------------------
void lf_clientThread(std::stop_token STOP);
void lf_setUpSimSession();
void lf_closeSimSession();
/// Sorts one record; what it throws is for lf_dispatchWaiting to carry.
void CALLBACK dispatch(SIMCONNECT_RECV* RECORD, DWORD SIZE, void* CONTEXT);
/// SimConnect_CallDispatch on the session's handle. An exception of the
/// dispatch is kept while the library runs and rethrown once it returned.
void lf_dispatchWaiting();
void lf_simOpened(const SIMCONNECT_RECV_OPEN& RECORD);
void lf_simException(const SIMCONNECT_RECV_EXCEPTION& RECORD);
void lf_simObjectData(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD, DWORD SIZE);
void lf_simObjectByType(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD, DWORD SIZE);
void lf_userStateReply(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD, DWORD SIZE);

/// Objects announced by ObjectAdded and not yet identified (client thread only).
extern std::vector<std::uint32_t> pendingObjects;
/// Forgets the announced objects and the frame count: a new connection.
void lf_resetDispatchState();

// --- the Frame event and AI objects --------------------------------------------------
void lf_onFrame();
void lf_createObject(const CreateRequest& REQUEST);
void lf_removeObject(std::uint32_t OBJECT_ID);
/// Releases the new object from the simulator's AI and queues its freeze.
void lf_freezeObject(std::uint32_t OBJECT_ID);
/// A new object's first by-type reply: pairs it with its creation by ATC ID.
void lf_pairNewObject(std::uint32_t OBJECT_ID, const std::string& ATC_ID, double ALT_ABOVE_GROUND_FT);
/// Exception 22: the creation with packet id SEND_ID failed.
void lf_createFailed(std::uint32_t SEND_ID);

// --- helpers ---------------------------------------------------------------------------
/// Unix seconds of a UTC year, day of the year (from 1) and second of the day;
/// 0 for a year outside std::chrono::year.
std::int64_t gf_unixSeconds(std::int64_t YEAR, std::int64_t DAY_OF_YEAR, std::int64_t SECOND_OF_DAY);
/// Great-circle distance in nautical miles, as the teleport test measures it.
/// The data block of a data record, and how many bytes of it the record holds.
const char* gf_dataBlock(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD);
std::size_t gf_dataBytes(const SIMCONNECT_RECV_SIMOBJECT_DATA& RECORD, DWORD SIZE);

} // namespace orv
