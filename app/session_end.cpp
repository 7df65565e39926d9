// The end of a session: gf_requestExit starts FinalExit on its own thread,
// which takes every aircraft out of the simulator, logs out of the service,
// and either ends the process or prepares a new session inside it.
#include "app/lifecycle.h"

#include "core/clock.h"
#include "app/event_loop.h"
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
#include "traffic/engine_parts.h"
#include "ui/traffic_view.h"

#include <fmt/format.h>

#include <mutex>
#include <thread>

namespace orv {

namespace {

constexpr int logoutWaitMs = 3000, noSessionWaitMs = 500, frameSendWaitMs = 1000, errorReadWaitMs = 5000;
constexpr int mainThreadWaitLogMs = 5000;

std::atomic<int> finalExits{0};
/// The exit thread of the last session end. It is joined, never detached:
/// the next exit joins it before it starts, the process before it ends, so
/// it can never post to a message queue that is being destroyed.
std::jthread finalExitThread;
std::mutex finalExitSlotMutex; ///< the slot above; a leaf lock

void lf_zeroTimeShift()
{
    for (IntBox* box : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS}) {
        box->value = 0;
        gf_saveClamped(*box);
    }
}

/// The parameters that outlive the process but not the session.
void lf_settleParametersForEnd()
{
    restartPending = false;
    DESTINATION.value.clear();
    gf_save(DESTINATION);
    gf_setText(BLOCK_CALLSIGN, {});
    gf_save(BLOCK_CALLSIGN);
    gf_setTimeShift(0, true);
    if (!KEEP_SIM_TIME_PAR.value) {
        SIM_TIME.value = false;
        gf_save(SIM_TIME);
        lf_zeroTimeShift();
    } else if (SIM_TIME.value) {
        lf_zeroTimeShift();
    }
    gf_writeMatchingSummary();
    gf_writeUnmatchedReport();
}

/// FinalExit walks the aircraft lists, which belong to the main thread: it
/// waits until that thread has left mainLoop (every wait there ends on
/// exitInProgress).
void lf_waitForMainThread()
{
    int waitedMs = 0;
    while (gf_mainThreadsRunning() > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if ((waitedMs += 10) == mainThreadWaitLogMs) gf_log("! FinalExit waits for the main thread");
    }
}

void lf_takeAircraftOut()
{
    lf_removeAllLive();
    gf_removeAllStatics();
    lf_flushRemoveQueue();
    gf_sleepMs(frameSendWaitMs);
}

void lf_resetForRestart(std::int32_t REASON)
{
    gf_clearError();
    processExitStatus = 0; // the error that stood is gone with the session
    gf_resetFeed();
    if (REASON != RESTART_IPP) {
        SCAN_LIVERIES.value = false;
        gf_save(SCAN_LIVERIES);
        SCAN_AIRPORTS.value = false;
        gf_save(SCAN_AIRPORTS);
    }
    secondDataReady = false;
    readerFailed = false;
    userClosed = false;
    flightStopped = false;
    parkRefreshRequested = false;
    parkRefreshPhase = false;
    objectIdLookupRequested = false;
    blockRequested = false;
    simRunning = false;
    ownPosition = UserPosition{};
    gf_publishRtPosition();
    tickCount = 0;
    statusClock = 0;
    simNotConnected = true;
    userObjectId = 2;
    gf_deriveRange();
    gf_clearSimQueues();
    lf_clearEngine();
    gf_publishTraffic(); // the traffic page empties with the lists
    gf_resetWindowFields();
}

void lf_finalExitSteps(int RESTART_SECONDS)
{
    const std::int32_t reason = exitReason;
    gf_log(fmt::format("Exiting: {}", gf_exitReasonName(reason)));
    if (reason == RESTART) gf_showStatus("Prepare for a restart ...", true);
    if (gf_rtSessionExists()) {
        gf_stopReaders();
        gf_sleepMs(logoutWaitMs);
        lf_rtDeauth();
    } else {
        gf_sleepMs(noSessionWaitMs);
    }
    lf_waitForMainThread();
    lf_takeAircraftOut();
    if (reason == SYSTEM_ERROR) gf_sleepMs(errorReadWaitMs);
    if (reason == USER_CLOSED_SIM) {
        gf_log(fmt::format("User closed {}", gf_timeOfDay()));
        userClosed = true;
    }
    if (gf_clientThreadAlive()) gf_stopClientThread(false);
    gf_clearUnmatchedFlights();
    gf_removeFlightPlanFolder();
    if (reason == RESTART || reason == RESTART_IPP) {
        restartPending = true;
        if (SIM_TIME.value) lf_zeroTimeShift();
    } else {
        lf_settleParametersForEnd();
    }
    gf_saveLearnedChanges();
    if (!restartPending) {
        gf_clearWaitingAirports();
        return;
    }
    lf_resetForRestart(reason);
    lf_restartCountdown(RESTART_SECONDS);
    if (closeDuringExit) {
        // The user closed the window while the restart counted down.
        gf_log(fmt::format("User closed {}", gf_timeOfDay()));
        userClosed = true;
        gf_stopClientThread(true);
        lf_settleParametersForEnd();
    }
}

/// Joins the exit thread in the slot; the caller holds finalExitSlotMutex.
void lf_joinFinalExitThread()
{
    if (!finalExitThread.joinable()) return;
    if (finalExitThread.get_id() == std::this_thread::get_id())
        finalExitThread.detach(); // its own last step; it ends right after
    else
        finalExitThread.join();
}

void lf_startFinalExit(int RESTART_SECONDS)
{
    ++finalExits;
    std::lock_guard slot(finalExitSlotMutex);
    lf_joinFinalExitThread();
    finalExitThread = std::jthread([RESTART_SECONDS] {
        try {
            FinalExit(RESTART_SECONDS);
        } catch (...) {
            lf_reportException("FinalExit");
            exitInProgress = false;
        }
        --finalExits;
    });
}

} // namespace

void gf_installFinalExit() { gf_setExitStarter(&lf_startFinalExit); }

void FinalExit(int RESTART_SECONDS)
{
    lf_finalExitSteps(RESTART_SECONDS);
    exitInProgress = false;
    if (windowExists) gf_postWindowMessage(restartPending ? WindowMessage::start : WindowMessage::finish);
}

bool gf_finalExitRunning() { return finalExits > 0; }

void gf_joinFinalExit()
{
    std::lock_guard slot(finalExitSlotMutex);
    lf_joinFinalExitThread();
}

void lf_restartCountdown(int SECONDS)
{
    if (SECONDS < 1) return;
    gf_log(fmt::format("Restarting after {} seconds\n\n\n\n\n", SECONDS));
    for (int left = SECONDS; left > 0; --left) {
        if (closeDuringExit || userClosed) break;
        restartSecondsLeft = left;
        gf_showStatus(fmt::format("Restarting after {} second{}", left, left > 1 ? "s" : ""), false);
        gf_sleepMs(1000);
    }
    restartSecondsLeft = 0;
}

} // namespace orv
