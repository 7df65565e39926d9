// The comparison of a shown flight with its true path: every shown second is
// put beside the true position of the same moment (the recording's time,
// the program's delay taken off), and the steps between shown positions
// beside the true speed.
#include "tools/follow_compare.h"

#include "core/geometry.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace orv {
namespace {

using nlohmann::json;

constexpr double stuckMovedM = 0.3, stuckTrueMovedM = 5.0;
constexpr double teleportFactor = 3.0, teleportSlackM = 5.0, speedWindowS = 5.0;
constexpr double reversalDeg = 150.0, reversalLeastM = 1.0;
constexpr double phantomFt = 300.0;
constexpr double delayWindowS = 120.0, delayLeastMps = 2.5;

double lf_metres(double LAT1, double LON1, double LAT2, double LON2)
{
    return gf_distance(LAT1, LON1, LAT2, LON2) * metresPerNm;
}

/// The flight's truth at T by straight interpolation; false where none is known.
bool lf_truthAt(const std::vector<TruthSample>& S, double T, double LONGEST_GAP, TruthSample& OUT)
{
    if (S.empty() || T < S.front().t || T > S.back().t) return false;
    auto after = std::lower_bound(S.begin(), S.end(), T, [](const TruthSample& A, double X) { return A.t < X; });
    if (after == S.begin()) {
        OUT = *after;
        return true;
    }
    const TruthSample& a = *(after - 1);
    const TruthSample& b = *after;
    if (b.t - a.t > LONGEST_GAP) return false;
    const double u = b.t > a.t ? (T - a.t) / (b.t - a.t) : 0;
    OUT = {T, a.lat + u * (b.lat - a.lat), a.lon + u * (b.lon - a.lon), a.onGround};
    return true;
}

/// The highest true speed round T, metres per second.
double lf_trueSpeed(const std::vector<TruthSample>& S, double T)
{
    auto it = std::lower_bound(S.begin(), S.end(), T - speedWindowS, [](const TruthSample& A, double X) { return A.t < X; });
    double best = 0;
    if (it != S.begin()) --it;
    for (; it + 1 != S.end() && it->t <= T + speedWindowS; ++it) {
        const double dt = (it + 1)->t - it->t;
        if (dt > 0) best = std::max(best, lf_metres(it->lat, it->lon, (it + 1)->lat, (it + 1)->lon) / dt);
    }
    return best;
}

/// Seconds the shown position lies behind the nearest point of the true path near T.
double lf_delay(const std::vector<TruthSample>& S, const ShownSample& P, double T)
{
    double best = INFINITY, at = T;
    for (std::size_t i = 0; i + 1 < S.size(); ++i) {
        if (S[i + 1].t < T - delayWindowS || S[i].t > T + delayWindowS) continue;
        const PlaneXY a = gf_toPlane({P.lat, P.lon}, S[i].lat, S[i].lon);
        const PlaneXY b = gf_toPlane({P.lat, P.lon}, S[i + 1].lat, S[i + 1].lon);
        const double dx = b.east - a.east, dy = b.north - a.north, len2 = dx * dx + dy * dy;
        const double u = len2 > 0 ? std::clamp(-(a.east * dx + a.north * dy) / len2, 0.0, 1.0) : 0.0;
        const double d = std::hypot(a.east + u * dx, a.north + u * dy);
        if (d < best) best = d, at = S[i].t + u * (S[i + 1].t - S[i].t);
    }
    return T - at;
}

double lf_percentile(std::vector<double> V, double SHARE)
{
    if (V.empty()) return NAN;
    std::sort(V.begin(), V.end());
    return V[static_cast<std::size_t>(std::round(SHARE * static_cast<double>(V.size() - 1)))];
}

/// Distances and counts gathered for one row.
struct Gathered {
    std::vector<double> distances, delays;
    double followed = 0, stuck = 0;
    int teleports = 0, reversals = 0, phantom = 0;

    void add(const Gathered& O)
    {
        distances.insert(distances.end(), O.distances.begin(), O.distances.end());
        delays.insert(delays.end(), O.delays.begin(), O.delays.end());
        followed += O.followed, stuck += O.stuck;
        teleports += O.teleports, reversals += O.reversals, phantom += O.phantom;
    }
    FollowFigures figures(const std::string& NAME) const
    {
        FollowFigures f;
        f.name = NAME;
        f.seconds = static_cast<double>(distances.size());
        f.medianM = lf_percentile(distances, 0.5);
        f.p95M = lf_percentile(distances, 0.95);
        f.delayS = lf_percentile(delays, 0.5);
        f.followedShare = distances.empty() ? NAN : followed / f.seconds;
        f.stuckS = stuck, f.teleports = teleports, f.reversals = reversals, f.phantomAirS = phantom;
        return f;
    }
};

/// One object's shown path against its flight, once a second; G[0] ground, G[1] air.
void lf_compareObject(const std::vector<TruthSample>& TRUTH, const std::vector<ShownSample>& SHOWN,
                      const CompareSetup& SETUP, Gathered G[2])
{
    double lowest = INFINITY;
    for (const ShownSample& s : SHOWN) lowest = std::min(lowest, s.altitudeFt);
    const ShownSample* previousSecond = nullptr;
    double lastMoveEast = 0, lastMoveNorth = 0;
    for (std::size_t i = 0; i < SHOWN.size(); ++i) {
        const ShownSample& s = SHOWN[i];
        TruthSample truth;
        if (!lf_truthAt(TRUTH, s.t, SETUP.longestGapS, truth)) continue;
        Gathered& g = G[truth.onGround ? 0 : 1];
        // Steps between frames, against the true speed of the moment.
        if (i > 0 && s.t > SHOWN[i - 1].t) {
            const double step = lf_metres(SHOWN[i - 1].lat, SHOWN[i - 1].lon, s.lat, s.lon);
            if (step > teleportFactor * lf_trueSpeed(TRUTH, s.t) * (s.t - SHOWN[i - 1].t) + teleportSlackM) ++g.teleports;
        }
        if (previousSecond != nullptr && std::floor(s.t) == std::floor(previousSecond->t)) continue;
        const double d = lf_metres(s.lat, s.lon, truth.lat, truth.lon);
        g.distances.push_back(d);
        if (d <= (truth.onGround ? SETUP.groundFollowM : SETUP.airFollowM)) g.followed += 1;
        if (truth.onGround && s.altitudeFt > lowest + phantomFt) ++g.phantom;
        if (lf_trueSpeed(TRUTH, s.t) > delayLeastMps) g.delays.push_back(lf_delay(TRUTH, s, s.t));
        if (previousSecond != nullptr && s.t - previousSecond->t <= 2.0) {
            const PlaneXY move = gf_toPlane({previousSecond->lat, previousSecond->lon}, s.lat, s.lon);
            const double moved = std::hypot(move.east, move.north);
            TruthSample before;
            if (moved < stuckMovedM && lf_truthAt(TRUTH, previousSecond->t, SETUP.longestGapS, before) &&
                lf_metres(before.lat, before.lon, truth.lat, truth.lon) > stuckTrueMovedM)
                g.stuck += s.t - previousSecond->t;
            if (truth.onGround && moved >= reversalLeastM) {
                const double last = std::hypot(lastMoveEast, lastMoveNorth);
                if (last >= reversalLeastM) {
                    const double cosine = (move.east * lastMoveEast + move.north * lastMoveNorth) / (moved * last);
                    if (cosine <= std::cos(reversalDeg * degToRad)) ++g.reversals;
                }
                lastMoveEast = move.east, lastMoveNorth = move.north;
            }
        }
        previousSecond = &s;
    }
}

} // namespace

std::map<std::string, std::vector<TruthSample>> gf_truthOf(const std::vector<std::string>& RECORDING)
{
    std::map<std::string, std::vector<TruthSample>> byHexid;
    for (const std::string& text : RECORDING) {
        if (text.empty() || text[0] == '#') continue;
        const json a = json::parse(text, nullptr, false);
        if (!a.is_array() || a.size() < 15 || !a[0].is_string() || !a[1].is_number() || !a[2].is_number() ||
            !a[10].is_number())
            continue;
        TruthSample s{a[10].get<double>(), a[1].get<double>(), a[2].get<double>(), false};
        if (a[14].is_number()) s.onGround = a[14].get<double>() != 0;
        else s.onGround = !a[4].is_number() && !a[18].is_number();
        byHexid[a[0].get<std::string>()].push_back(s);
    }
    for (auto& [hexid, samples] : byHexid)
        std::stable_sort(samples.begin(), samples.end(), [](const TruthSample& A, const TruthSample& B) { return A.t < B.t; });
    return byHexid;
}

CompareResult gf_compareFollow(const std::vector<std::string>& RECORDING, const std::vector<std::string>& SIM_LINES,
                               const CompareSetup& SETUP)
{
    const auto truth = gf_truthOf(RECORDING);
    // The names an object can carry: callsign, else registration, else address.
    std::map<std::string, std::string> hexidOfName, nameOfHexid;
    double first = INFINITY;
    for (const std::string& text : RECORDING) {
        const json a = json::parse(text, nullptr, false);
        if (!a.is_array() || a.size() < 15 || !a[0].is_string() || !a[10].is_number()) continue;
        first = std::min(first, a[10].get<double>());
        const std::string hexid = a[0];
        for (const std::size_t k : {0, 9, 13})
            if (a[k].is_string() && !a[k].get<std::string>().empty()) {
                hexidOfName[a[k].get<std::string>()] = hexid;
                // The row's name: the callsign, else the registration, else the address.
                std::string& name = nameOfHexid[hexid];
                if (name.empty() || name == hexid || k == 13) name = a[k].get<std::string>();
            }
    }
    const double shift = SETUP.replayStart - first + SETUP.delaySeconds;
    std::map<std::uint32_t, std::string> flightOfObject;
    std::map<std::string, int> creations;
    std::map<std::uint32_t, std::vector<ShownSample>> shown;
    for (const std::string& text : SIM_LINES) {
        const json l = json::parse(text, nullptr, false);
        if (!l.is_object() || !l.contains("kind")) continue;
        const std::string kind = l["kind"];
        if (kind == "create" || kind == "created") {
            const std::string tail = l.value("tail", "");
            const auto it = hexidOfName.find(tail);
            if (it == hexidOfName.end()) continue;
            if (kind == "create") ++creations[it->second];
            else flightOfObject[l["objectId"].get<std::uint32_t>()] = it->second;
        } else if (kind == "position" && l["lat"].is_number() && l["lon"].is_number()) {
            shown[l["objectId"].get<std::uint32_t>()].push_back({l["t"].get<double>() - shift, l["lat"], l["lon"],
                                                                l["alt"].is_number() ? l["alt"].get<double>() : 0.0,
                                                                l["heading"].is_number() ? l["heading"].get<double>() : 0.0});
        }
    }
    CompareResult result;
    Gathered ground, air;
    std::map<std::string, Gathered[2]> perFlight;
    for (const auto& [objectId, samples] : shown) {
        const auto flight = flightOfObject.find(objectId);
        if (flight == flightOfObject.end() || !truth.contains(flight->second)) continue;
        lf_compareObject(truth.at(flight->second), samples, SETUP, perFlight[flight->second]);
    }
    for (auto& [hexid, g] : perFlight) {
        Gathered both = g[0];
        both.add(g[1]);
        FollowFigures f = both.figures(nameOfHexid[hexid]);
        f.creations = creations[hexid];
        result.flights.push_back(f);
        ground.add(g[0]);
        air.add(g[1]);
    }
    result.ground = ground.figures("ground");
    result.air = air.figures("air");
    return result;
}

std::string gf_followTable(const CompareResult& RESULT)
{
    std::string out = fmt::format("{:<10} {:>6} {:>9} {:>9} {:>7} {:>8} {:>7} {:>5} {:>5} {:>6} {:>7}\n", "flight",
                                  "secs", "median m", "p95 m", "delay s", "followed", "stuck s", "telep", "rev",
                                  "creat", "phantom");
    const auto row = [&](const FollowFigures& F) {
        out += fmt::format("{:<10} {:>6.0f} {:>9.1f} {:>9.1f} {:>7.1f} {:>7.1f}% {:>7.0f} {:>5} {:>5} {:>6} {:>7}\n",
                           F.name, F.seconds, F.medianM, F.p95M, F.delayS, F.followedShare * 100, F.stuckS,
                           F.teleports, F.reversals, F.creations, F.phantomAirS);
    };
    for (const FollowFigures& f : RESULT.flights) row(f);
    row(RESULT.ground);
    row(RESULT.air);
    return out;
}

} // namespace orv
