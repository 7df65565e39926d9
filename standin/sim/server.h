// The stand-in simulator's server: the client connections, what each client
// has set up (definitions, subscriptions, requests, event names), the frame
// clock, and the operations that the control channel and the clients share.
//
// One thread runs gf_runServer; the web view's threads call the control
// functions. Both hold Server::mutex while they touch anything here.
#pragma once

#include "standin/sim/control.h"
#include "standin/sim/options.h"
#include "standin/sim/recorder.h"
#include "standin/sim/simvars.h"
#include "standin/sim/world.h"
#include "standin/simconnect/wire.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orv::simstandin {

/// Frames between a creation request and the object's appearance.
inline constexpr std::uint64_t kCreateDelayFrames = 2;
/// Frames between a removal request and the object's disappearance.
inline constexpr std::uint64_t kRemoveDelayFrames = 1;

struct DataRequest {
    std::uint32_t requestId = 0;
    std::uint32_t defineId = 0;
    std::uint32_t objectId = 0;
    std::uint32_t period = 0;
    std::uint32_t flags = 0;
    double nextDueUtc = 0;   ///< for the period of a second
    std::string lastSent;    ///< for replies only on change
};

struct ClientSession {
    int id = 0;
    int fd = -1;
    std::string in;
    std::size_t inPos = 0;
    std::string out;         ///< records not yet written to the socket
    bool opened = false;
    bool closing = false;    ///< drop after this round
    std::string appName;
    std::map<std::uint32_t, std::vector<Datum>> definitions;
    std::map<std::uint32_t, std::string> subscriptions; ///< client event id -> system event, lower case
    std::map<std::uint32_t, std::string> clientEvents;  ///< client event id -> simulator event, upper case
    std::map<std::uint32_t, DataRequest> requests;
};

struct PendingCreate {
    std::uint64_t dueFrame = 0;
    int client = 0;
    std::uint32_t sendId = 0;
    std::uint32_t requestId = 0;
    SimObject object;
};

struct PendingRemove {
    std::uint64_t dueFrame = 0;
    std::uint32_t objectId = 0;
};

struct Server {
    SimOptions options;
    World world;
    Recorder recorder;
    std::mutex mutex;
    int listenFd = -1;
    int wakeFd = -1;         ///< eventfd: the control channel wakes the loop
    std::uint16_t port = 0;  ///< where clients connect
    std::vector<std::unique_ptr<ClientSession>> sessions;
    int nextSessionId = 1;
    std::vector<PendingCreate> creates;
    std::vector<PendingRemove> removes;
    std::uint64_t frameNumber = 0;
    double fps = kDefaultFps;
    float measuredFps = static_cast<float>(kDefaultFps);
    std::string appName;
    std::uint32_t appVersion[4] = {};
    std::atomic<bool> quitRequested{false};
    std::vector<ScenarioStep> scenario; ///< sorted by time
    std::size_t nextStep = 0;
    double startUtc = 0;                ///< the scenario's time 0
    std::chrono::steady_clock::time_point lastFrame{};
    std::chrono::steady_clock::time_point rateStart{};
    int framesSinceRateStart = 0;
};

// --- server.cpp: sockets and the loop ------------------------------------------
/// Sets up the world and the listening socket. Throws std::runtime_error.
void gf_initServer(Server& S, const SimOptions& OPTIONS);
/// Runs until gf_requestQuit; then says QUIT to every client and closes.
void gf_runServer(Server& S);
/// Any thread, no lock needed.
void gf_requestQuit(Server& S);
void gf_wakeServer(Server& S);
/// Closes every client connection without a word, as a crash would.
void gf_dropClients(Server& S);
/// Removes a session's objects; the loop closes its socket.
void gf_endSession(Server& S, ClientSession& C, std::string_view REASON);

// --- frames.cpp: the frame clock and what the world does by itself ----------------
/// One frame, DT_S seconds after the last one: time, motion, creations and
/// removals that are due, Frame events, periodic data.
void gf_simFrame(Server& S, double DT_S);
/// Sends system event NAME with DATA to every client that subscribed to it.
void gf_sendSystemEvent(Server& S, std::string_view NAME, std::uint32_t DATA);
void gf_setRunning(Server& S, bool RUNNING);
/// A new aircraft for the user: a new flight is loaded.
void gf_changeAircraft(Server& S, const std::string& TITLE, const std::string& ATC_MODEL);
/// Asks every client library to refuse its next COUNT requests.
void gf_refuseCalls(Server& S, std::uint32_t COUNT);
/// Replies to one data request now; false when its object is gone.
bool gf_answerRequest(Server& S, ClientSession& C, DataRequest& R);

// --- session.cpp: what a client asks ------------------------------------------------
void gf_handleClientFrame(Server& S, ClientSession& C, const wire::Frame& F);

// --- outbox.cpp: records for a client -------------------------------------------------
void gf_sendException(ClientSession& C, std::uint32_t EXCEPTION, std::uint32_t SEND_ID, std::uint32_t INDEX);
void gf_sendOpen(Server& S, ClientSession& C);
void gf_sendQuit(ClientSession& C);
void gf_sendEvent(ClientSession& C, std::uint32_t EVENT_ID, std::uint32_t DATA);
void gf_sendObjectAddRemove(ClientSession& C, std::uint32_t EVENT_ID, std::uint32_t OBJECT_ID);
void gf_sendFileName(ClientSession& C, std::uint32_t EVENT_ID, const std::string& FILE_NAME);
void gf_sendFrame(ClientSession& C, std::uint32_t EVENT_ID, float FRAME_RATE);
void gf_sendData(ClientSession& C, bool BY_TYPE, std::uint32_t REQUEST_ID, std::uint32_t OBJECT_ID,
                 std::uint32_t DEFINE_ID, std::uint32_t FLAGS, std::uint32_t ENTRY, std::uint32_t OUT_OF,
                 std::uint32_t DEFINE_COUNT, const std::string& DATA);
void gf_sendAssignedId(ClientSession& C, std::uint32_t REQUEST_ID, std::uint32_t OBJECT_ID);
void gf_sendRefuse(ClientSession& C, std::uint32_t COUNT);

} // namespace orv::simstandin
