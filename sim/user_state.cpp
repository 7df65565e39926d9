// The user aircraft as the simulator reports it: the requests for its state,
// the reply with the teleport test and the simulator's UTC, the stand under
// it, and the count of refused requests that ends a session.
#include "sim/sim_session.h"

#include "core/flags.h"
#include "core/exit_request.h"
#include "core/log.h"
#include "core/user_position.h"
#include "core/window_state.h"
#include "sim/sim_answers.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <numbers>

namespace orv {

std::atomic<std::uint32_t> userObjectId{2};
std::atomic<bool> userGroundKnown{false};
std::atomic<bool> userOnGround{false};
std::atomic<std::int64_t> simUtc{0};
std::atomic<std::int32_t> simRequestFailures{0};
UserState userState;
SimAnswers simAnswers;
std::mutex userStateMutex;

namespace {

/// A jump of more than this between two replies is a teleport.
constexpr double teleportLimitNm = 10.0;
constexpr int teleportRestartSeconds = 45;
constexpr int failureRestartSeconds = 10;
constexpr std::int32_t failuresToStop = 3;
constexpr double standStillKt = 2.0;

LatLon previousUserPos;   ///< guarded by userStateMutex
std::mutex standMutex;
std::string standText;    ///< guarded by standMutex: the stand of the last reply, as the window shows it

/// The stand under the user aircraft; only a parked aircraft has one.
std::string lf_standUnder(double LAT, double LON) { return userOnGround ? simAnswers.userStand(LAT, LON) : std::string(); }

void lf_showStand(const std::string& STAND)
{
    {
        std::lock_guard lock(standMutex);
        if (STAND == standText) return;
        standText = STAND;
    }
    gf_repaint();
}

/// Makes a request under simLock unless requests are off; a refusal is
/// logged (as a warning when asked) and counted.
template <typename Call>
void lf_request(Call&& CALL, const char* TEXT, bool WARNING)
{
    std::lock_guard lock(simLock);
    if (simHandle == nullptr || simRequestsOff) return;
    if (CALL() == S_OK) return;
    if (WARNING) gf_logWarning(TEXT);
    else gf_log(TEXT);
    gf_simRequestFailed();
}

} // namespace

std::int64_t gf_unixSeconds(std::int64_t YEAR, std::int64_t DAY_OF_YEAR, std::int64_t SECOND_OF_DAY)
{
    using namespace std::chrono;
    // A year no calendar holds reads as an unknown time, as before the first reply.
    if (YEAR < int(year::min()) || YEAR > int(year::max())) return 0;
    const sys_days newYear = year(static_cast<int>(YEAR)) / January / 1;
    const auto time = newYear + days(DAY_OF_YEAR - 1) + seconds(SECOND_OF_DAY);
    return time.time_since_epoch().count();
}

UserState gf_userState()
{
    std::lock_guard lock(userStateMutex);
    return userState;
}

double gf_simUtc() { return static_cast<double>(simUtc.load()); }

std::string gf_userStandName()
{
    std::lock_guard lock(standMutex);
    return standText;
}

void lf_userStateReply(const SIMCONNECT_RECV_SIMOBJECT_DATA& R, DWORD SIZE)
{
    UserState state;
    if (gf_dataBytes(R, SIZE) < sizeof state) return; // not the reply this definition gives
    std::memcpy(&state, gf_dataBlock(R), sizeof state);
    if (state.altitude < 0) state.altitude = 0;
    bool teleport = false;
    {
        std::lock_guard lock(userStateMutex);
        userState = state;
        if (!gf_isNoPosition(previousUserPos.lat, previousUserPos.lon))
            teleport = gf_distance(previousUserPos.lat, previousUserPos.lon, state.lat, state.lon) > teleportLimitNm;
        previousUserPos = {state.lat, state.lon};
    }
    if (teleport) {
        gf_log("Teleport");
        gf_requestExit(RESTART, teleportRestartSeconds);
    }
    lf_showStand(lf_standUnder(state.lat, state.lon));
    simUtc = gf_unixSeconds(state.zuluYear, state.zuluDayOfYear, state.zuluSeconds);
    userObjectId = R.dwObjectID;
}

bool gf_requestSimOnGround()
{
    // The caller holds simLock: this is the standing request of the wait for a flight.
    if (simHandle == nullptr) return false;
    if (SimConnect_RequestDataOnSimObject(simHandle, requestSimOnGround, defSimOnGround, SIMCONNECT_OBJECT_ID_USER,
                                          SIMCONNECT_PERIOD_SECOND, 0, 0, 0, 0) == S_OK)
        return true;
    gf_simRequestFailed();
    return false;
}

UserPosition gf_requestUserPosition()
{
    lf_request([] {
        return SimConnect_RequestDataOnSimObject(simHandle, requestUserState, defUserState, SIMCONNECT_OBJECT_ID_USER,
                                                 SIMCONNECT_PERIOD_ONCE, 0, 0, 0, 0);
    }, "SimConnect request user ac position fails", true);
    const UserState s = gf_userState();
    UserPosition p;
    p.lat = s.lat;
    p.lon = s.lon;
    p.altitudeFt = s.altitude;
    p.groundAltFt = s.altitude - s.altitudeAgl;
    p.headingRad = s.heading;
    p.groundSpeedKt = s.groundSpeed;
    p.onGround = userOnGround;
    return p;
}

void gf_requestTitleAndModel()
{
    std::lock_guard lock(simLock);
    if (simHandle == nullptr) return;
    if (SimConnect_RequestDataOnSimObject(simHandle, requestUserTitle, defUserTitle, SIMCONNECT_OBJECT_ID_USER,
                                          SIMCONNECT_PERIOD_ONCE, 0, 0, 0, 0) != S_OK) {
        gf_logWarning("SimConnect request user ac title fails");
        gf_simRequestFailed();
    }
    if (SimConnect_RequestDataOnSimObject(simHandle, requestUserModel, defUserModel, SIMCONNECT_OBJECT_ID_USER,
                                          SIMCONNECT_PERIOD_ONCE, 0, 0, 0, 0) != S_OK) {
        gf_logWarning("SimConnect reques user ac model fails");
        gf_simRequestFailed();
    }
}

void gf_requestAircraftInRange(std::int32_t RADIUS_METRES)
{
    lf_request([RADIUS_METRES] {
        return SimConnect_RequestDataOnSimObjectType(simHandle, requestInRange, defInRange,
                                                     static_cast<DWORD>(std::max(0, RADIUS_METRES)),
                                                     SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    }, "SimConnect request ac within range fails", false);
}

void gf_simRequestFailed()
{
    const std::int32_t count = ++simRequestFailures;
    if (count != failuresToStop) return;
    gf_showStatus(fmt::format("SimConnect request error {}, see Log.txt", count), true);
    simRequestsOff = true;
    gf_requestExit(RESTART, failureRestartSeconds);
}

void gf_rememberUserStand()
{
    if (!userGroundKnown) return;
    const UserState s = gf_userState();
    if (s.groundSpeed > standStillKt) return;
    const std::string stand = lf_standUnder(s.lat, s.lon);
    if (!stand.empty()) simAnswers.storeUserStand(stand);
}

void lf_resetUserState()
{
    {
        std::lock_guard lock(userStateMutex);
        userState = UserState{};
        previousUserPos = LatLon{};
    }
    {
        std::lock_guard lock(standMutex);
        standText.clear();
    }
    userGroundKnown = false;
    userOnGround = false;
    userObjectId = 2;
    simUtc = 0;
    simRequestFailures = 0;
    frameRate = 0.0f;
}

} // namespace orv
