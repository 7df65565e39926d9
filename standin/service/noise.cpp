// Laying the faults of real ADS-B data on a clean recording, flight by
// flight. Each line keeps the place in the file that its clean time gave it,
// so that the out-of-order and repeated lines stay where a feed sends them.
#include "standin/service/noise.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

namespace orv {
namespace {

using nlohmann::json;

constexpr std::size_t kLat = 1, kLon = 2, kTrack = 3, kBaro = 4, kSpeed = 5, kTime = 10, kOnGround = 14, kVertical = 15,
                      kGeometric = 18;
constexpr double kMetresPerDegree = 111132.95;
constexpr double kSlowKt = 5, kJumpM = 80, kFlickerSeconds = 60;
constexpr double kLateFromS = 20, kLateToS = 30;

/// One line of one flight and its place in the file.
struct Placed {
    double key = 0;
    json line;
};

bool lf_ground(const json& L) { return L[kOnGround].is_number() && L[kOnGround].get<double>() != 0; }
double lf_speed(const json& L) { return L[kSpeed].is_number() ? L[kSpeed].get<double>() : 0; }

void lf_move(json& L, double EAST_M, double NORTH_M)
{
    const double lat = L[kLat].get<double>();
    L[kLat] = lat + NORTH_M / kMetresPerDegree;
    L[kLon] = L[kLon].get<double>() + EAST_M / (kMetresPerDegree * std::cos(lat * M_PI / 180.0));
}

/// The touchdowns and lift-offs of a flight: indices where the flag changes.
std::vector<std::size_t> lf_transitions(const std::vector<Placed>& F)
{
    std::vector<std::size_t> at;
    for (std::size_t i = 1; i < F.size(); ++i)
        if (lf_ground(F[i].line) != lf_ground(F[i - 1].line)) at.push_back(i);
    return at;
}

/// Faults of a whole flight: a late start, frozen values after landing, a
/// ground phase without speed and track, a wandering ground altitude.
void lf_flightFaults(std::vector<Placed>& F, std::mt19937& R, const NoiseRates& RATES)
{
    std::uniform_real_distribution<double> unit(0, 1);
    const auto transitions = lf_transitions(F);
    const auto touchdown = std::find_if(transitions.begin(), transitions.end(),
                                        [&](std::size_t I) { return lf_ground(F[I].line); });
    if (touchdown != transitions.end() && unit(R) < RATES.lateStart) {
        const double from = F[*touchdown].line[kTime].get<double>() - std::uniform_real_distribution<double>(kLateFromS, kLateToS)(R);
        F.erase(F.begin(), std::find_if(F.begin(), F.end(), [&](const Placed& P) { return P.line[kTime].get<double>() >= from; }));
    }
    const auto after = lf_transitions(F);
    for (const std::size_t i : after) {
        if (!lf_ground(F[i].line) || unit(R) >= RATES.frozenAfterLanding) continue;
        const json speed = F[i - 1].line[kSpeed], track = F[i - 1].line[kTrack];
        for (std::size_t k = i; k < F.size() && lf_ground(F[k].line); ++k) F[k].line[kSpeed] = speed, F[k].line[kTrack] = track;
    }
    if (unit(R) < RATES.missingGroundPhase)
        for (Placed& p : F)
            if (lf_ground(p.line)) p.line[kSpeed] = nullptr, p.line[kTrack] = nullptr;
    const double wander = std::uniform_real_distribution<double>(-1, 1)(R) * RATES.groundAltitudeWanderFt;
    for (Placed& p : F)
        if (lf_ground(p.line) && p.line[kBaro].is_number()) p.line[kBaro] = std::round(p.line[kBaro].get<double>() + wander);
}

/// Faults of single lines.
void lf_lineFaults(std::vector<Placed>& F, std::mt19937& R, const NoiseRates& RATES)
{
    std::uniform_real_distribution<double> unit(0, 1);
    std::normal_distribution<double> noise(0, std::max(RATES.positionNoiseM, 1e-9));
    const auto transitions = lf_transitions(F);
    const auto nearTransition = [&](double T) {
        return std::any_of(transitions.begin(), transitions.end(), [&](std::size_t I) {
            return std::fabs(F[I].line[kTime].get<double>() - T) <= kFlickerSeconds;
        });
    };
    std::size_t missing = 0, repeated = 0;
    for (std::size_t i = 0; i < F.size(); ++i) {
        json& l = F[i].line;
        const bool ground = lf_ground(l);
        const double speed = lf_speed(l);
        if (missing == 0 && unit(R) < RATES.missingRun) missing = std::uniform_int_distribution<std::size_t>(1, 5)(R);
        if (missing > 0) --missing, l[kSpeed] = nullptr, l[kTrack] = nullptr, l[kVertical] = nullptr;
        if (i > 0 && repeated == 0 && speed > kSlowKt && unit(R) < RATES.repeatedPosition)
            repeated = std::uniform_int_distribution<std::size_t>(2, 4)(R);
        if (repeated > 0 && i > 0) --repeated, l[kLat] = F[i - 1].line[kLat], l[kLon] = F[i - 1].line[kLon];
        if (ground && speed < kSlowKt) {
            if (RATES.positionNoiseM > 0) lf_move(l, noise(R), noise(R));
            if (unit(R) < RATES.positionJump) {
                const double course = unit(R) * 2 * M_PI;
                lf_move(l, kJumpM * std::sin(course), kJumpM * std::cos(course));
            }
            if (unit(R) < RATES.standingFast) l[kSpeed] = std::round(std::uniform_real_distribution<double>(150, 450)(R));
        }
        if (ground && unit(R) < RATES.altitudeSpike)
            l[kBaro] = l[kGeometric] = std::round(std::uniform_real_distribution<double>(36000, 38000)(R));
        if (nearTransition(l[kTime].get<double>()) && unit(R) < RATES.flagFlicker) l[kOnGround] = ground ? 0 : 1;
    }
    // Repeated times and swapped neighbours, last: they move lines, not values.
    std::vector<Placed> out;
    for (std::size_t i = 0; i < F.size(); ++i) {
        out.push_back(F[i]);
        if (unit(R) < RATES.repeatedTime) out.push_back(F[i]);
        if (i + 1 < F.size() && unit(R) < RATES.outOfOrder) {
            std::swap(F[i].line, F[i + 1].line);
            out.back().line = F[i].line;
        }
    }
    F.swap(out);
}

} // namespace

std::vector<std::string> gf_addNoise(const std::vector<std::string>& RECORDING, unsigned SEED, const NoiseRates& RATES)
{
    std::map<std::string, std::vector<Placed>> flights;
    double order = 0;
    for (const std::string& text : RECORDING) {
        json line = json::parse(text, nullptr, false);
        order += 1;
        if (!line.is_array() || line.size() <= kGeometric || !line[0].is_string() || !line[kTime].is_number()) continue;
        flights[line[0].get<std::string>()].push_back({order, std::move(line)});
    }
    std::mt19937 random(SEED);
    std::vector<Placed> all;
    for (auto& [hexid, flight] : flights) {
        lf_flightFaults(flight, random, RATES);
        lf_lineFaults(flight, random, RATES);
        all.insert(all.end(), flight.begin(), flight.end());
    }
    std::stable_sort(all.begin(), all.end(), [](const Placed& A, const Placed& B) { return A.key < B.key; });
    std::vector<std::string> out;
    out.reserve(all.size());
    for (const Placed& p : all) out.push_back(p.line.dump());
    return out;
}

} // namespace orv
