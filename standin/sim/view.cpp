// The stand-in simulator's web server: the map page, its JSON, and the
// control channel. Every handler holds the server's mutex while it works.
#include "standin/sim/view.h"

#include "standin/sim/control.h"
#include "standin/sim/server.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <thread>

namespace orv::simstandin {

struct ViewServer {
    httplib::Server http;
    std::thread thread;
};

namespace {

constexpr int kBadRequest = 400;

nlohmann::json lf_objectJson(const World& W, const SimObject& O)
{
    return {{"id", O.id},
            {"tail", O.atcId},
            {"title", O.title},
            {"lat", O.latDeg},
            {"lon", O.lonDeg},
            {"alt", O.altFt},
            {"agl", gf_aglFt(W, O)},
            {"heading", O.headingRad},
            {"pitch", O.pitchRad},
            {"bank", O.bankRad},
            {"onGround", gf_onGround(W, O)},
            {"released", O.released},
            {"frozen", O.freezeLatLon && O.freezeAltitude && O.freezeAttitude},
            {"lights", O.lightStates},
            {"gearDown", O.gearDown},
            {"flaps", O.flapsPct},
            {"flightPlan", O.flightPlan}};
}

void lf_routes(Server& S, httplib::Server& H)
{
    H.Get("/", [](const httplib::Request&, httplib::Response& RES) { RES.set_content(gf_viewPage(), "text/html"); });
    H.Get("/api/state", [&S](const httplib::Request&, httplib::Response& RES) {
        RES.set_content(gf_stateJson(S), "application/json");
    });
    // Every other path under /api/ is a control action with its parameters in the query.
    H.Post(R"(/api/(\w+))", [&S](const httplib::Request& REQ, httplib::Response& RES) {
        const std::string action = REQ.matches[1];
        ControlParams params;
        for (const auto& [key, value] : REQ.params) params[key] = value;
        try {
            {
                std::lock_guard lock(S.mutex);
                gf_applyControl(S, action, params);
                // Lines of the action are on disk before the answer says it is done.
                gf_flushRecording(S.recorder);
            }
            gf_wakeServer(S);
            RES.set_content(action == "quit" ? std::string("{\"quit\":true}") : gf_stateJson(S), "application/json");
        } catch (const std::exception& e) {
            RES.status = kBadRequest;
            RES.set_content(std::string(e.what()) + "\n", "text/plain");
        }
    });
}

void lf_stop(ViewServer* V)
{
    if (V == nullptr) return;
    V->http.stop();
    if (V->thread.joinable()) V->thread.join();
    delete V;
}

} // namespace

std::string gf_stateJson(Server& S)
{
    std::lock_guard lock(S.mutex);
    const World& w = S.world;
    nlohmann::json objects = nlohmann::json::array();
    for (const auto& [id, o] : w.ai) objects.push_back(lf_objectJson(w, o));
    nlohmann::json state = {{"t", w.simUtc},
                            {"running", w.running},
                            {"fps", S.fps},
                            {"measuredFps", S.measuredFps},
                            {"appName", S.appName},
                            {"port", S.port},
                            {"clients", S.sessions.size()},
                            {"ground", w.groundFt},
                            {"user", lf_objectJson(w, w.user)},
                            {"objects", std::move(objects)}};
    state["user"]["groundSpeed"] = w.user.gsKt;
    state["user"]["atcModel"] = w.user.atcModel;
    return state.dump();
}

std::unique_ptr<ViewServer, void (*)(ViewServer*)> gf_startView(Server& S, std::uint16_t PORT)
{
    std::unique_ptr<ViewServer, void (*)(ViewServer*)> v(new ViewServer, lf_stop);
    lf_routes(S, v->http);
    if (!v->http.bind_to_port("127.0.0.1", PORT))
        throw std::runtime_error(fmt::format("cannot serve the view on 127.0.0.1:{}", PORT));
    v->thread = std::thread([raw = v.get()] { raw->http.listen_after_bind(); });
    return v;
}

} // namespace orv::simstandin
