// The flags, counters and locks shared between the program's threads.
//
// Threads: the window (event loop), main (start-up, mainLoop, the engine),
// client (simulator session), two readers, the final exit, scan workers.
//
// Lock order. A lock may be taken while holding one above it in this list,
// never one below it:
//   clientSlotMutex  the client thread's slot, held while that thread is
//                    joined (the thread itself never takes it)
//   messageLock      the engine handles its messages under it, and queues
//                    for the simulator from there
//   simLock          a refused request is logged and shown under it
//   saveMutex        parameters.xml, while it is read or saved
//   statusMutex      a status line that is also logged
//   logMutex
// Every other lock is a leaf: it may be taken under any of these, and
// nothing is taken while holding it. The leaves: linesLock, the parameters'
// textMutex (gf_textOf, gf_setText), rtPositionMutex, userStateMutex,
// standMutex, simNameMutex, the feed's sessionMutex, boxMutex, weatherMutex,
// parkViewLock, parkedLock, guidLock, seenLock and curlGlobalLock, the
// window's queueMutex, and the scans' locks.
//
// What one thread writes and another reads is atomic, or is read and written
// under its lock (loopRunning under linesLock), or is a text copied whole
// under a leaf lock (the settings' texts that other threads read).
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace orv {

// --- atomic flags: written with an exchange, read anywhere ---------------------
extern std::atomic<bool> simRunning;      ///< dispatch "Sim" event; a flight is running
extern std::atomic<bool> secondDataReady; ///< dispatch, each SIM ON GROUND reply; lf_tick consumes
extern std::atomic<bool> exitInProgress;  ///< gf_requestExit sets, FinalExit clears at its end
extern std::atomic<bool> userClosed;      ///< FinalExit reason 4; every wait ends
extern std::atomic<bool> readerFailed;    ///< a reader stopped for good; FinalExit clears
extern std::atomic<bool> simNotConnected; ///< no simulator connection yet; starts true
extern std::atomic<bool> removeAllStaticsRequested;
extern std::atomic<bool> reReadParkAirportsRequested;
extern std::atomic<bool> parkRefreshRequested;
extern std::atomic<bool> parkRefreshRtOnly;
extern std::atomic<bool> blockRequested;
extern std::atomic<bool> objectIdLookupRequested;
extern std::atomic<bool> trafficResetRequested; ///< a time shift: remove all traffic, refresh parking
extern std::atomic<bool> rangeRequested;        ///< the range settings changed: lf_computeRange anew
extern std::atomic<bool> navLightsRequested;    ///< NAV_LIGHTS_WHILE_PARKED changed: tell the parked aircraft
extern std::atomic<bool> maxLiveRequested;      ///< MAX_LIVE changed: the live limit anew
extern std::atomic<bool> noLiveryResetRequested; ///< MATCHING_DEPTH rose: forget the flights without livery
extern std::atomic<bool> destinationRequested;  ///< DESTINATION holds a new known airport
extern std::atomic<bool> parkParamsChanged;     ///< a parking setting changed since the airport file was saved

// --- flags written by one thread at a time -----------------------------------
extern std::atomic<bool> simRequestsOff; ///< third simulator request failure; cleared by lf_initSimQueues
extern bool loopRunning;                 ///< guarded by linesLock: readers may hand lines over
extern std::atomic<bool> flightStopped;  ///< main thread: "Flight not running" entered
extern std::atomic<bool> restartPending; ///< FinalExit: this exit is a restart (reasons 2, 3)
extern std::atomic<bool> parkRefreshPhase; ///< main thread: parked traffic asked for, adjust next; FinalExit clears
extern std::atomic<bool> parkBusy;       ///< main thread: the parking refresh is running

// --- counters ----------------------------------------------------------------
extern std::atomic<std::int32_t> tickCount;    ///< main thread: seconds of this session; FinalExit resets
extern std::atomic<double> lastSimUtc;         ///< the simulator time of the last tick; 0 asks for a new look
extern std::atomic<std::int32_t> engineTick;   ///< main thread: 10 ms passes of the engine
extern std::atomic<std::int32_t> statusClock;  ///< main thread: ticks since process start
extern std::atomic<std::int32_t> notRunningCountdown; ///< main thread: passes in "Flight not running"
extern unsigned hardwareThreads;               ///< start-up: worker count for the scans
extern std::atomic<int> scanProgress;          ///< scans: files done, for the window

// --- locks -------------------------------------------------------------------
extern std::mutex simLock;     ///< simulator calls outside the dispatch, the send queues
extern std::mutex messageLock; ///< simMessages, afterCreate
extern std::mutex linesLock;   ///< incomingLines, loopRunning

} // namespace orv
