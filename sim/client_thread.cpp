// The client thread: it opens the simulator session (retrying each second
// while no simulator listens), sets it up, and calls the dispatch every
// millisecond until it is told to stop. Its three exception handlers decide
// what a failure means for the session; however it ends, it closes the
// connection it opened.
#include "sim/sim_session.h"

#include "core/clock.h"
#include "core/errors.h"
#include "core/flags.h"
#include "core/exit_request.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window_state.h"

#include <fmt/format.h>

#include <thread>

namespace orv {

HANDLE simHandle = nullptr;
bool simQuit = false;
std::atomic<std::int32_t> simOpenAttempts{0};

namespace {

constexpr int openRetryMs = 1000;
/// A simulator that went away: the new session starts after this many seconds.
constexpr int simGoneRestartSeconds = 2;
constexpr int retrySliceMs = 10;
constexpr auto dispatchPause = std::chrono::milliseconds(1);

std::jthread clientThread;         ///< the slot; only the main and exit threads touch it
std::mutex clientSlotMutex;        ///< the slot itself, between those two
std::atomic<bool> clientAlive{false};

bool lf_stopping(const std::stop_token& STOP) { return STOP.stop_requested() || exitInProgress || userClosed; }

/// One second between two tries, cut short by a stop.
void lf_waitBeforeRetry(const std::stop_token& STOP)
{
    for (int waited = 0; waited < openRetryMs && !lf_stopping(STOP); waited += retrySliceMs) gf_sleepMs(retrySliceMs);
}

void lf_dispatchLoop(const std::stop_token& STOP)
{
    gf_timeBeginPeriod();
    while (!STOP.stop_requested() && !simQuit) {
        lf_dispatchWaiting();
        std::this_thread::sleep_until(std::chrono::steady_clock::now() + dispatchPause);
    }
    gf_timeEndPeriod();
}

void lf_runClient(const std::stop_token& STOP)
{
    bool first = true;
    while (!lf_stopping(STOP)) {
        if (first) {
            gf_showStatus(fmt::format("Waiting for MSFS {} ...", MSFS_2020.value ? "2020" : "2024"), true);
            gf_repaint();
            first = false;
        }
        ++simOpenAttempts;
        HANDLE handle = nullptr;
        if (SimConnect_Open(&handle, "TAVO", nullptr, 0, nullptr, 0) != S_OK) {
            lf_waitBeforeRetry(STOP);
            continue;
        }
        {
            std::lock_guard lock(simLock);
            simHandle = handle;
        }
        simNotConnected = false;
        lf_resetDispatchState();
        lf_setUpSimSession();
        lf_dispatchLoop(STOP);
        if (simQuit) {
            // The simulator was closed or the connection lost: this session's
            // objects and queues belong to that simulator. The session ends
            // and a new one waits for the simulator to come back.
            lf_closeSimSession();
            break;
        }
    }
    gf_rememberUserStand();
}

/// Ends the connection, if there is one: clears the definitions and events
/// and closes the handle. Answers whether there was a connection.
bool lf_closeConnection()
{
    simConnected = false;
    gf_repaint();
    bool closeFailed = false;
    {
        std::lock_guard lock(simLock);
        if (simHandle == nullptr) return false;
        for (const DWORD definition : {defUserTitle, defUserModel, defSimOnGround, defPosition, defUserState,
                                       defControls, defInRange, defStaticShape, defLightOnStates})
            SimConnect_ClearDataDefinition(simHandle, definition);
        for (DWORD event = eventSim; event <= eventFlightLoaded; ++event)
            SimConnect_UnsubscribeFromSystemEvent(simHandle, event);
        closeFailed = SimConnect_Close(simHandle) != S_OK;
        simHandle = nullptr;
    }
    if (closeFailed) gf_logWarning("SimConnect close failed!");
    return true;
}

} // namespace

void lf_clientThread(std::stop_token STOP)
{
    clientAlive = true;
    try {
        lf_runClient(STOP);
    } catch (const UserErrorException& e) {
        // The user can mend this (switch the simulator); the window keeps the
        // message and the main thread keeps waiting for a flight.
        gf_showError(e.what());
        gf_rememberUserStand();
    } catch (const std::exception& e) {
        gf_showError(e.what());
        simRunning = false;
        lf_closeSimSession();
        gf_rememberUserStand();
    } catch (...) {
        gf_showError(fmt::format("Exception in {}", "SimClient"));
        simRunning = false;
        lf_closeSimSession();
        gf_rememberUserStand();
    }
    // The thread owns the connection: whether it was stopped (a session end)
    // or ended by an error, no handle outlives it.
    lf_closeConnection();
    clientAlive = false;
}

void lf_closeSimSession()
{
    if (!lf_closeConnection()) return;
    if (!exitInProgress) {
        // Users close and start the simulator all the time: the program
        // waits for it again rather than ending.
        gf_logWarning(fmt::format("{} Flight Simulator no longer connected, {} waits for it again ...", gf_timeOfDay(),
                                  programName));
        gf_requestExit(RESTART, simGoneRestartSeconds);
    }
}

void gf_startClientThread()
{
    std::lock_guard slot(clientSlotMutex);
    if (clientThread.joinable()) {
        clientThread.request_stop();
        clientThread.join();
    }
    // The joined thread closed its connection; the new one opens its own.
    clientAlive = true; // alive from now on, not from the thread's first step
    clientThread = std::jthread(lf_clientThread);
}

void gf_stopClientThread(bool JOIN)
{
    std::lock_guard slot(clientSlotMutex);
    if (!clientThread.joinable()) return;
    clientThread.request_stop();
    if (JOIN) clientThread.join();
}

bool gf_clientThreadAlive() { return clientAlive; }

} // namespace orv
