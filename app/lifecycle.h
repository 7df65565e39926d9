// The program's spine: the start-up of a session, the wait for a running
// flight, the main loop with its one-second tick, and the end of a session.
#pragma once

#include <cstdint>
#include <string>

#include "core/exit_request.h"
#include "core/day_half.h"

namespace orv {

/// Installs FinalExit as the exit's starter (the message loop and tests call it).
void gf_installFinalExit();
/// Installs the answers of the upper folders into the tables of the lower
/// ones (the simulator link's, the engine's parking calls), before any thread starts.
void gf_installAnswers();
/// The body of the detached exit thread.
void FinalExit(int RESTART_SECONDS);
void lf_restartCountdown(int SECONDS);
/// A final exit is running on its own thread.
bool gf_finalExitRunning();
/// Waits for the thread of the last final exit to end (the process's end).
void gf_joinFinalExit();

/// The body of the main thread, started by the window's `start`.
void lf_startUpTAVO();
void lf_prepareProgram();
void lf_runSession();
bool lf_waitForFlight();

void mainLoop();
/// One 10 ms pass; false ends mainLoop.
bool lf_tick();
void lf_secondWork();
void lf_halfMinuteWork();
void lf_flightNotRunning();
void lf_applyParkAirports();
DayHalf lf_dayHalfNow();

/// Which slow work a tick runs; the multiple of 15 masks 16, 61 and 62.
struct TickWork {
    bool fifteen = false, thirty = false, sixteen = false, sixtyOne = false, sixtyTwo = false;
};
TickWork gf_tickWork(std::int32_t TICK);

/// Inside a catch handler: rethrows, sorts the exception, reports it.
void lf_reportException(const char* WHERE);

} // namespace orv
