// The stand-in simulator's control actions and the scenario file that runs
// them on the simulator's clock.
#include "standin/sim/control.h"

#include "standin/sim/server.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>
#include <sstream>

namespace orv::simstandin {
namespace {

constexpr double kDeg = std::numbers::pi / 180.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kFullCircle = 360.0;

std::optional<double> lf_number(const ControlParams& P, const char* NAME)
{
    const auto it = P.find(NAME);
    if (it == P.end()) return std::nullopt;
    const std::string& text = it->second;
    double v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(v))
        throw std::invalid_argument(fmt::format("{}: \"{}\" is no number", NAME, text));
    return v;
}

std::string lf_text(const ControlParams& P, const char* NAME)
{
    const auto it = P.find(NAME);
    return it == P.end() ? std::string() : it->second;
}

double lf_course(double DEGREES) { return std::fmod(std::fmod(DEGREES, kFullCircle) + kFullCircle, kFullCircle) * kDeg; }

void lf_teleport(Server& S, const ControlParams& P)
{
    const auto lat = lf_number(P, "lat"), lon = lf_number(P, "lon");
    if (!lat || !lon) throw std::invalid_argument("teleport needs lat and lon");
    if (std::fabs(*lat) > 90.0 || std::fabs(*lon) > 180.0) throw std::invalid_argument("teleport: no such place");
    const auto alt = lf_number(P, "alt");
    const double heading = lf_number(P, "heading").value_or(S.world.user.headingRad / kDeg);
    const double altFt = alt.value_or(0);
    gf_placeUser(S.world, *lat, *lon, alt ? &altFt : nullptr, lf_course(heading));
    if (const auto speed = lf_number(P, "speed")) S.world.user.gsKt = S.world.user.tasKt = std::max(0.0, *speed);
}

void lf_move(Server& S, const ControlParams& P)
{
    SimObject& u = S.world.user;
    if (const auto heading = lf_number(P, "heading")) u.headingRad = lf_course(*heading);
    if (const auto speed = lf_number(P, "speed")) u.gsKt = u.tasKt = std::max(0.0, *speed);
    if (const auto vs = lf_number(P, "vs")) u.vsFps = *vs / kSecondsPerMinute;
    if (const auto alt = lf_number(P, "alt"))
        u.altFt = std::max(*alt, gf_groundFt(S.world, u.latDeg, u.lonDeg) + u.staticCgFt);
}

} // namespace

void gf_applyControl(Server& S, const std::string& ACTION, const ControlParams& P)
{
    if (ACTION == "pause") gf_setRunning(S, false);
    else if (ACTION == "run") gf_setRunning(S, true);
    else if (ACTION == "teleport") lf_teleport(S, P);
    else if (ACTION == "move") lf_move(S, P);
    else if (ACTION == "aircraft") gf_changeAircraft(S, lf_text(P, "title"), lf_text(P, "model"));
    else if (ACTION == "fps") {
        const auto fps = lf_number(P, "value");
        if (!fps || *fps < 1.0 || *fps > kMaxFps) throw std::invalid_argument("fps needs a value in 1..1000");
        S.fps = *fps;
    } else if (ACTION == "ground") S.world.groundFt = lf_number(P, "ft").value_or(0);
    else if (ACTION == "refuse") gf_refuseCalls(S, static_cast<std::uint32_t>(std::max(0.0, lf_number(P, "count").value_or(1))));
    else if (ACTION == "drop") gf_dropClients(S);
    else if (ACTION == "quit") gf_requestQuit(S);
    else throw std::invalid_argument(fmt::format("no action \"{}\"", ACTION));
}

std::vector<ScenarioStep> gf_parseScenario(const std::string& TEXT)
{
    std::vector<ScenarioStep> steps;
    std::istringstream in(TEXT);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (const auto hash = line.find('#'); hash != std::string::npos) line.resize(hash);
        std::istringstream words(line);
        std::string at;
        if (!(words >> at)) continue;
        ScenarioStep step;
        const auto [end, ec] = std::from_chars(at.data(), at.data() + at.size(), step.at);
        if (ec != std::errc() || end != at.data() + at.size() || step.at < 0 || !(words >> step.action))
            throw std::invalid_argument(fmt::format("scenario line {}: \"SECONDS ACTION key=value ...\" expected", number));
        for (std::string pair; words >> pair;) {
            const auto eq = pair.find('=');
            if (eq == std::string::npos || eq == 0)
                throw std::invalid_argument(fmt::format("scenario line {}: \"{}\" is no key=value", number, pair));
            step.params[pair.substr(0, eq)] = pair.substr(eq + 1);
        }
        steps.push_back(std::move(step));
    }
    std::stable_sort(steps.begin(), steps.end(), [](const ScenarioStep& A, const ScenarioStep& B) { return A.at < B.at; });
    return steps;
}

} // namespace orv::simstandin
