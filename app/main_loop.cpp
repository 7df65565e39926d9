// mainLoop: the 10 ms pass of the engine and the one-second tick paced by the
// simulator's replies, with the slower work on multiples of the tick.
#include "app/lifecycle.h"

#include "core/clock.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_position.h"
#include "core/window_state.h"
#include "feed/feed.h"
#include "liveries/liveries.h"
#include "parking/parking.h"
#include "sim/sim_link.h"
#include "traffic/engine.h"
#include "traffic/creation.h"
#include "traffic/engine_parts.h"
#include "ui/traffic_view.h"
#include "ui/window.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>
#include <ctime>

namespace orv {

namespace {

constexpr auto passPeriod = std::chrono::milliseconds(10);
constexpr std::int32_t secondsPerDay = 86400;
constexpr std::int32_t statusLifeTicks = 25;
constexpr double simTimeJumpSeconds = 30;


void lf_parkRefresh()
{
    if (!parkRefreshRequested) return;
    if (!parkRefreshPhase) {
        parkRefreshPhase = true;
        parkBusy = true;
        gf_requestParkedTraffic();
        return;
    }
    parkRefreshPhase = false;
    gf_clearError();
    if (gf_parkAirportHasStands()) {
        gf_adjustParking(parkRefreshRtOnly);
        parkRefreshRtOnly = false;
    }
    parkRefreshRequested = false;
}

void lf_fifteenWork(std::int32_t TICK)
{
    lf_updateLamps();
    gf_publishRtPosition();
    lf_computeBox();
    if (gf_userStandReserved()) lf_clearReservedStand();
    lf_applyParkAirports();
    lf_parkRefresh();
    if (TICK % 30 == 0) lf_halfMinuteWork();
}

void lf_followSimTime()
{
    const double simTime = gf_simUtc();
    if (simTime <= 0) return;
    if (std::fabs(simTime - lastSimUtc) >= simTimeJumpSeconds) {
        const double minutes = std::floor((static_cast<double>(std::time(nullptr)) - simTime) / 60.0);
        gf_setTimeShift(minutes < 0 ? 0 : static_cast<int>(minutes), false);
    }
    lastSimUtc = simTime;
}

void lf_nextNewHexid()
{
    if (newHexids.empty() || liveList.empty()) return;
    act* record = gf_findAct(newHexids.front());
    if (record == nullptr) return; // looked at again on the next tick
    lf_learnOnce(*record);
    if (!record->callsign.empty()) lf_removeClaimedStatic(*record);
    newHexids.pop_front();
}

void lf_collisionChecks()
{
    if (ownPosition.onGround) {
        if (COLLISION_USER_GND.value) lf_collisionUserGround();
    } else if (COLLISION_USER_AIR.value) {
        for (act& record : liveList)
            if (lf_collisionUserAir(record)) break;
    }
    if (COLLISION_LIVE_PARKED_GND.value && !liveList.empty() && !staticList.empty()) lf_collisionLiveParked();
}

/// NAV_LIGHTS_WHILE_PARKED changed on the window: every parked aircraft in
/// the simulator takes the new value.
void lf_sendNavLights()
{
    const bool on = NAV_LIGHTS_WHILE_PARKED.value;
    for (const StaticAct& record : staticList)
        if (record.objectId != 0) gf_setNavLight(record.objectId, on);
    for (const act& record : liveList)
        if (record.objectId != 0 && record.phase == Phase::atStand) gf_setNavLight(record.objectId, on);
}

/// What the window's commands asked of the main thread.
void lf_windowRequests()
{
    if (rangeRequested.exchange(false)) {
        lf_computeRange();
        lf_computeBox();
    }
    if (navLightsRequested.exchange(false)) lf_sendNavLights();
    if (maxLiveRequested.exchange(false)) maxLive = MAX_LIVE.value;
    if (destinationRequested.exchange(false)) gf_applyStoredDestination();
}

void lf_blockCallsign()
{
    const std::string blocked = gf_textOf(BLOCK_CALLSIGN);
    if (blocked.empty()) return;
    for (act& record : liveList)
        if (record.callsign == blocked && record.objectId != 0 && record.state == ActState::active)
            gf_removeAct(record);
}

} // namespace

TickWork gf_tickWork(std::int32_t TICK)
{
    TickWork work;
    work.fifteen = TICK % 15 == 0;
    work.thirty = work.fifteen && TICK % 30 == 0;
    work.sixteen = !work.fifteen && TICK % 16 == 0;
    work.sixtyOne = !work.fifteen && TICK % 61 == 0;
    work.sixtyTwo = !work.fifteen && TICK % 62 == 0;
    return work;
}

void mainLoop()
{
    gf_userAirportCheck(true);
    lf_updateLamps();
    tickCount = 0;
    auto next = std::chrono::steady_clock::now() + passPeriod;
    nowDayHalf = gf_packDayHalf(lf_dayHalfNow());
    {
        std::lock_guard lock(linesLock);
        loopRunning = true;
    }
    gf_enableControls(4);
    gf_timeBeginPeriod();
    try {
        while (lf_tick()) {
            if (next - std::chrono::steady_clock::now() >= std::chrono::milliseconds(1)) gf_sleepUntil(next);
            if (secondDataReady) next = std::chrono::steady_clock::now();
            next += passPeriod;
        }
    } catch (...) {
        gf_timeEndPeriod();
        lf_reportException("mainLoop");
        return;
    }
    gf_timeEndPeriod();
}

bool lf_tick()
{
    // A stop ends the loop at once, also while the flight stands still: no
    // second data would come to reach the check after the second's work.
    if (exitInProgress || userClosed) return false;
    if (!simRunning) {
        lf_flightNotRunning();
        return true;
    }
    lf_engineTick();
    // The traffic page's picture, a few times a second, from the records this thread owns.
    static std::int32_t passesSincePublish = 0;
    if (++passesSincePublish >= publishEveryPasses) {
        passesSincePublish = 0;
        gf_publishTraffic();
    }
    bool expected = true;
    if (!secondDataReady.compare_exchange_strong(expected, false)) return true;
    lf_secondWork();
    if (exitInProgress || userClosed) return false;

    const std::int32_t c = tickCount;
    const TickWork work = gf_tickWork(c);
    if (work.fifteen) {
        lf_fifteenWork(c);
        return true;
    }
    if (work.sixteen && !parkRefreshPhase) gf_userAirportCheck(false);
    if (work.sixtyOne && !staticList.empty() && !liveList.empty())
        for (act& record : liveList) lf_checkAgainstStatics(record);
    if (work.sixtyTwo && CALLSIGN_OBJECTIDS.value && MSFS_2020.value) gf_writeCallsignObjectIds();
    return true;
}

void lf_secondWork()
{
    if (flightStopped) {
        flightStopped = false;
        gf_log(fmt::format("{} Flight resumed", gf_timeOfDay()));
        std::lock_guard lock(linesLock);
        loopRunning = true;
    }
    ++statusClock;
    {
        std::lock_guard lock(statusMutex);
        const bool stale = statusStamp != 0 && statusClock - statusStamp >= statusLifeTicks;
        if (stale) {
            statusText.clear();
            statusStamp = 0;
            ++statusGeneration;
        }
    }
    gf_repaint();
    nowDayHalf = gf_packDayHalf(lf_dayHalfNow());
    if (SIM_TIME.value) lf_followSimTime();
    ++tickCount;
    lf_nextNewHexid();
    if (objectIdLookupRequested.exchange(false)) gf_objectIdLookup();
    if (trafficResetRequested.exchange(false)) {
        lf_removeAllLive();
        gf_removeAllStatics();
        parkRefreshRequested = true;
    }
    if (removeAllStaticsRequested.exchange(false)) {
        gf_removeAllStatics();
        if (!INITIAL_LOAD_ONLY.value) INITIAL_LOAD_ONLY.value = true;
    }
    lf_collisionChecks();
    if (blockRequested.exchange(false)) lf_blockCallsign();
    lf_windowRequests();
    lf_refreshCounts();
}

void lf_halfMinuteWork()
{
    gf_clearRecentRemovals();
    if (noLiveryResetRequested.exchange(false)) noLiverySet.clear();
    if (AUTO_RANGE.value) lf_computeRange();
    if (readerFailed) {
        gf_showError("1001: RT error");
        gf_requestExit(SYSTEM_ERROR, 0);
    }
    if (tickCount % 60 == 0) {
        std::time_t now = std::time(nullptr);
        std::tm parts{};
        gmtime_r(&now, &parts);
        nextRefreshMinutes = 20 - parts.tm_min % 20;
        gf_repaint();
    }
    if (tickCount % 1200 == 0) {
        gf_writeUnmatchedReport();
        if (gf_staticParkingActive() && (!INITIAL_LOAD_ONLY.value || RT_PARKTRAFFIC_ONLY.value) &&
            !parkRefreshRequested)
            parkRefreshRequested = true;
    }
    if (tickCount % secondsPerDay == 0) {
        tickCount = 0;
        gf_writeMatchingSummary();
        gf_clearUnmatchedFlights();
    }
}

void lf_flightNotRunning()
{
    if (!flightStopped) {
        {
            std::lock_guard lock(linesLock);
            loopRunning = false;
        }
        flightStopped = true;
        notRunningCountdown = 100;
        {
            std::lock_guard lock(simLock);
            gf_clearPositionBuffers();
        }
        gf_log(fmt::format("{} Flight not running", gf_timeOfDay()));
    }
    lf_drainMessages();
    --notRunningCountdown;
    if (notRunningCountdown % 100 == 0) {
        lf_applyParkAirports();
        lf_computeBox();
    }
    if (notRunningCountdown <= 0) {
        notRunningCountdown = 100;
        gf_repaint();
        nowDayHalf = gf_packDayHalf(lf_dayHalfNow());
    }
}

void lf_applyParkAirports()
{
    if (!reReadParkAirportsRequested || parkBusy) return;
    if (const std::string message = lf_readParkAirports(); !message.empty()) gf_showStatus(message, true);
    REREAD_BUTTON.enabled = true;
    DESTINATION.enabled = true;
    gf_repaint();
    reReadParkAirportsRequested = false;
}

DayHalf lf_dayHalfNow()
{
    std::time_t now = std::time(nullptr);
    const double feedTime = gf_trafficLastTimestamp();
    if (timeShiftOn && feedTime != 0) now = static_cast<std::time_t>(feedTime);
    return gf_dayHalfFromText(gf_utcText(now));
}

void lf_reportException(const char* WHERE)
{
    try {
        throw;
    } catch (const UserErrorException& e) {
        gf_showError(e.what());
        gf_noteErrorStatus(exitStatusUserError);
    } catch (const fmt::format_error& e) {
        gf_showError(std::string("std::format error: ") + e.what());
    } catch (const std::exception& e) {
        gf_showError(fmt::format("{}: {}", WHERE, e.what()));
        gf_noteErrorStatus(exitStatusSystemError); // also when a close came first
        gf_requestExit(SYSTEM_ERROR, 0);
    } catch (...) {
        gf_showError("Unknown exception");
    }
}

} // namespace orv
