// The stand-in simulator's web server: the map page, its JSON, and the
// control channel. Every handler holds the server's mutex while it works.
#include "standin/sim/view.h"

#include "standin/sim/server.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <numbers>
#include <thread>

namespace orv::simstandin {

struct ViewServer {
    httplib::Server http;
    std::thread thread;
};

namespace {

constexpr double kDeg = std::numbers::pi / 180.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kFullCircle = 360.0;
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

/// A number parameter of the request, or nullopt when it is missing.
std::optional<double> lf_param(const httplib::Request& REQ, const char* NAME)
{
    if (!REQ.has_param(NAME)) return std::nullopt;
    const std::string text = REQ.get_param_value(NAME);
    double v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(v))
        throw std::invalid_argument(fmt::format("{}: \"{}\" is no number", NAME, text));
    return v;
}

/// Wraps a control action: lock, act, wake the loop so that what the action
/// queued goes out now, answer the state.
template <typename Action>
httplib::Server::Handler lf_control(Server& S, Action ACTION)
{
    return [&S, ACTION](const httplib::Request& REQ, httplib::Response& RES) {
        try {
            {
                std::lock_guard lock(S.mutex);
                ACTION(REQ);
                gf_flushRecording(S.recorder);
            }
            gf_wakeServer(S);
            RES.set_content(gf_stateJson(S), "application/json");
        } catch (const std::exception& e) {
            RES.status = kBadRequest;
            RES.set_content(std::string(e.what()) + "\n", "text/plain");
        }
    };
}

void lf_teleport(Server& S, const httplib::Request& R)
{
    const auto lat = lf_param(R, "lat"), lon = lf_param(R, "lon");
    if (!lat || !lon) throw std::invalid_argument("teleport needs lat and lon");
    const auto alt = lf_param(R, "alt");
    const double heading = lf_param(R, "heading").value_or(S.world.user.headingRad / kDeg);
    const double altFt = alt.value_or(0);
    gf_placeUser(S.world, *lat, *lon, alt ? &altFt : nullptr, std::fmod(heading, kFullCircle) * kDeg);
    if (const auto speed = lf_param(R, "speed")) S.world.user.gsKt = S.world.user.tasKt = *speed;
}

void lf_move(Server& S, const httplib::Request& R)
{
    SimObject& u = S.world.user;
    if (const auto heading = lf_param(R, "heading")) u.headingRad = std::fmod(*heading, kFullCircle) * kDeg;
    if (const auto speed = lf_param(R, "speed")) u.gsKt = u.tasKt = std::max(0.0, *speed);
    if (const auto vs = lf_param(R, "vs")) u.vsFps = *vs / kSecondsPerMinute;
    if (const auto alt = lf_param(R, "alt")) u.altFt = std::max(*alt, gf_groundFt(S.world, u.latDeg, u.lonDeg) + u.staticCgFt);
}

void lf_routes(Server& S, httplib::Server& H)
{
    H.Get("/", [](const httplib::Request&, httplib::Response& RES) { RES.set_content(gf_viewPage(), "text/html"); });
    H.Get("/api/state", [&S](const httplib::Request&, httplib::Response& RES) {
        RES.set_content(gf_stateJson(S), "application/json");
    });
    H.Post("/api/pause", lf_control(S, [&S](const httplib::Request&) { gf_setRunning(S, false); }));
    H.Post("/api/run", lf_control(S, [&S](const httplib::Request&) { gf_setRunning(S, true); }));
    H.Post("/api/teleport", lf_control(S, [&S](const httplib::Request& R) { lf_teleport(S, R); }));
    H.Post("/api/move", lf_control(S, [&S](const httplib::Request& R) { lf_move(S, R); }));
    H.Post("/api/aircraft", lf_control(S, [&S](const httplib::Request& R) {
        gf_changeAircraft(S, R.get_param_value("title"), R.get_param_value("model"));
    }));
    H.Post("/api/fps", lf_control(S, [&S](const httplib::Request& R) {
        const auto fps = lf_param(R, "value");
        if (!fps || *fps < 1.0 || *fps > kMaxFps) throw std::invalid_argument("fps needs a value in 1..1000");
        S.fps = *fps;
    }));
    H.Post("/api/ground", lf_control(S, [&S](const httplib::Request& R) {
        S.world.groundFt = lf_param(R, "ft").value_or(0);
    }));
    H.Post("/api/refuse", lf_control(S, [&S](const httplib::Request& R) {
        gf_refuseCalls(S, static_cast<std::uint32_t>(std::max(0.0, lf_param(R, "count").value_or(1))));
    }));
    H.Post("/api/drop", lf_control(S, [&S](const httplib::Request&) { gf_dropClients(S); }));
    H.Post("/api/quit", [&S](const httplib::Request&, httplib::Response& RES) {
        RES.set_content("{\"quit\":true}", "application/json");
        gf_requestQuit(S);
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
