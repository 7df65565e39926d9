// The stand-in simulator's frame: the clock, the user aircraft's motion,
// creations and removals coming due, the Frame event and periodic data. Also
// the changes of state that the control channel makes.
#include "standin/sim/server.h"

#include "sim/simconnect_api.h"

#include <fmt/format.h>

#include <algorithm>

namespace orv::simstandin {
namespace {

void lf_finishCreation(Server& S, PendingCreate& P)
{
    SimObject o = std::move(P.object);
    o.id = S.world.nextObjectId++;
    const std::uint32_t id = o.id;
    const auto& placed = S.world.ai.emplace(id, std::move(o)).first->second;
    gf_recordCreated(S.recorder, S.world.simUtc, P.sendId, placed);
    for (auto& c : S.sessions) {
        for (const auto& [eventId, name] : c->subscriptions)
            if (name == "objectadded") gf_sendObjectAddRemove(*c, eventId, id);
        if (c->id == P.client) gf_sendAssignedId(*c, P.requestId, id);
    }
}

void lf_finishRemoval(Server& S, std::uint32_t OBJECT_ID, std::string_view REASON)
{
    const auto it = S.world.ai.find(OBJECT_ID);
    if (it == S.world.ai.end()) return;
    gf_recordRemoved(S.recorder, S.world.simUtc, it->second, REASON);
    S.world.ai.erase(it);
    for (auto& c : S.sessions)
        for (const auto& [eventId, name] : c->subscriptions)
            if (name == "objectremoved") gf_sendObjectAddRemove(*c, eventId, OBJECT_ID);
}

void lf_dueOperations(Server& S)
{
    // Work on copies: a finished creation may not see the list change under it.
    std::vector<PendingCreate> due;
    auto split = std::stable_partition(S.creates.begin(), S.creates.end(),
                                       [&](const PendingCreate& P) { return P.dueFrame > S.frameNumber; });
    std::move(split, S.creates.end(), std::back_inserter(due));
    S.creates.erase(split, S.creates.end());
    for (PendingCreate& p : due) lf_finishCreation(S, p);

    std::vector<PendingRemove> gone;
    auto cut = std::stable_partition(S.removes.begin(), S.removes.end(),
                                     [&](const PendingRemove& P) { return P.dueFrame > S.frameNumber; });
    gone.assign(cut, S.removes.end());
    S.removes.erase(cut, S.removes.end());
    for (const PendingRemove& p : gone) lf_finishRemoval(S, p.objectId, "request");
}

void lf_periodicData(Server& S)
{
    for (auto& c : S.sessions) {
        for (auto it = c->requests.begin(); it != c->requests.end();) {
            DataRequest& q = it->second;
            bool due = false;
            if (q.period == SIMCONNECT_PERIOD_VISUAL_FRAME) due = true;
            else if (q.period == SIMCONNECT_PERIOD_SIM_FRAME) due = S.world.running;
            else if (q.period == SIMCONNECT_PERIOD_SECOND && S.world.running && S.world.simUtc >= q.nextDueUtc) {
                due = true;
                q.nextDueUtc += 1.0;
                // After a long stall keep the pace from now instead of catching up.
                if (q.nextDueUtc <= S.world.simUtc) q.nextDueUtc = S.world.simUtc + 1.0;
            }
            if (due && !gf_answerRequest(S, *c, q)) {
                it = c->requests.erase(it); // its object is gone
                continue;
            }
            ++it;
        }
    }
}

/// Runs the scenario's steps that are due by the simulator's clock. A step
/// that cannot be done is reported and skipped; the flight goes on.
void lf_scenario(Server& S)
{
    while (S.nextStep < S.scenario.size() && S.world.simUtc - S.startUtc >= S.scenario[S.nextStep].at) {
        const ScenarioStep& step = S.scenario[S.nextStep++];
        try {
            gf_applyControl(S, step.action, step.params);
        } catch (const std::exception& e) {
            fmt::print(stderr, "tavo-sim: scenario at {} s: {}\n", step.at, e.what());
        }
    }
}

void lf_measureRate(Server& S)
{
    using namespace std::chrono;
    const auto now = steady_clock::now();
    ++S.framesSinceRateStart;
    const double elapsed = duration<double>(now - S.rateStart).count();
    if (elapsed >= 1.0) {
        S.measuredFps = static_cast<float>(S.framesSinceRateStart / elapsed);
        S.framesSinceRateStart = 0;
        S.rateStart = now;
    }
}

} // namespace

bool gf_answerRequest(Server& S, ClientSession& C, DataRequest& R)
{
    const SimObject* o = gf_findObject(S.world, R.objectId);
    const auto def = C.definitions.find(R.defineId);
    if (o == nullptr || def == C.definitions.end()) return false;
    std::string data;
    gf_packData(def->second, *o, S.world, data);
    if ((R.flags & SIMCONNECT_DATA_REQUEST_FLAG_CHANGED) != 0) {
        if (data == R.lastSent) return true;
        R.lastSent = data;
    }
    gf_sendData(C, false, R.requestId, o->id, R.defineId, R.flags, 1, 1, static_cast<std::uint32_t>(def->second.size()),
                data);
    return true;
}

void gf_simFrame(Server& S, double DT_S)
{
    ++S.frameNumber;
    if (S.world.running) {
        S.world.simUtc += DT_S;
        gf_moveUser(S.world, DT_S);
    }
    lf_scenario(S);
    lf_dueOperations(S);
    lf_measureRate(S);
    for (auto& c : S.sessions)
        for (const auto& [eventId, name] : c->subscriptions)
            if (name == "frame" || (name == "simframe" && S.world.running)) gf_sendFrame(*c, eventId, S.measuredFps);
    lf_periodicData(S);
    gf_flushRecording(S.recorder);
}

void gf_sendSystemEvent(Server& S, std::string_view NAME, std::uint32_t DATA)
{
    for (auto& c : S.sessions)
        for (const auto& [eventId, name] : c->subscriptions)
            if (name == NAME) gf_sendEvent(*c, eventId, DATA);
}

void gf_setRunning(Server& S, bool RUNNING)
{
    if (S.world.running == RUNNING) return;
    S.world.running = RUNNING;
    gf_sendSystemEvent(S, "sim", RUNNING ? 1 : 0);
    gf_sendSystemEvent(S, RUNNING ? "simstart" : "simstop", 0);
    gf_sendSystemEvent(S, "pause", RUNNING ? 0 : 1);
}

void gf_changeAircraft(Server& S, const std::string& TITLE, const std::string& ATC_MODEL)
{
    SimObject& u = S.world.user;
    if (!TITLE.empty()) u.title = TITLE;
    if (!ATC_MODEL.empty()) u.atcModel = ATC_MODEL;
    gf_staticShape(u.title, u.staticCgFt, u.staticPitchRad);
    for (auto& c : S.sessions)
        for (const auto& [eventId, name] : c->subscriptions) {
            if (name == "flightloaded") gf_sendFileName(*c, eventId, "flights\\other\\" + u.title + ".FLT");
            if (name == "aircraftloaded") gf_sendFileName(*c, eventId, "SimObjects\\Airplanes\\" + u.title + "\\aircraft.CFG");
        }
}

void gf_refuseCalls(Server& S, std::uint32_t COUNT)
{
    for (auto& c : S.sessions) gf_sendRefuse(*c, COUNT);
}

void gf_endSession(Server& S, ClientSession& C, std::string_view REASON)
{
    C.closing = true;
    C.requests.clear();
    C.subscriptions.clear();
    std::erase_if(S.creates, [&](const PendingCreate& P) { return P.client == C.id; });
    std::vector<std::uint32_t> owned;
    for (const auto& [id, o] : S.world.ai)
        if (o.owner == C.id) owned.push_back(id);
    for (const std::uint32_t id : owned) lf_finishRemoval(S, id, REASON);
}

} // namespace orv::simstandin
