// Test support: the checks of a flown scenario against its path.
#include "tests/traffic/scenario_support.h"

#include "core/geometry.h"

#include <algorithm>
#include <cmath>

namespace orv::test {

namespace {
constexpr std::size_t searchWindow = 4000, searchBack = 400;
constexpr double farMetres = 50.0;

double lf_segmentDistance(double PX, double PY, const PathState& A, const PathState& B)
{
    const double dx = B.east - A.east, dy = B.north - A.north;
    const double len2 = dx * dx + dy * dy;
    double u = len2 > 0 ? ((PX - A.east) * dx + (PY - A.north) * dy) / len2 : 0;
    u = std::clamp(u, 0.0, 1.0);
    return std::hypot(PX - (A.east + u * dx), PY - (A.north + u * dy));
}

PathMatch lf_search(const std::vector<PathState>& PATH, double PX, double PY, std::size_t FROM, std::size_t TO)
{
    PathMatch best{1e18, FROM};
    for (std::size_t i = FROM; i + 1 < TO; ++i) {
        // Skip segments that cannot be near: a cheap box test first.
        const PathState& a = PATH[i];
        if (std::fabs(a.east - PX) > best.offMetres + 500 || std::fabs(a.north - PY) > best.offMetres + 500) continue;
        const double d = lf_segmentDistance(PX, PY, a, PATH[i + 1]);
        if (d < best.offMetres) best = {d, i};
    }
    return best;
}
} // namespace

PathMatch gf_matchPath(const std::vector<PathState>& PATH, const LatLon& POS, std::size_t HINT)
{
    double px = 0, py = 0;
    gf_testPlane(POS, px, py);
    const std::size_t from = HINT > searchBack ? HINT - searchBack : 0;
    const std::size_t to = std::min(PATH.size(), HINT + searchWindow);
    PathMatch m = lf_search(PATH, px, py, from, to);
    if (m.offMetres > farMetres) m = lf_search(PATH, px, py, 0, PATH.size());
    return m;
}

double gf_secondsFromTurn(const std::vector<PathState>& PATH, std::size_t INDEX)
{
    const bool here = PATH[INDEX].straight;
    double best = 1e18;
    for (std::size_t i = INDEX; i < PATH.size(); ++i)
        if (PATH[i].straight != here) {
            best = PATH[i].t - PATH[INDEX].t;
            break;
        }
    for (std::size_t i = INDEX; i-- > 0;)
        if (PATH[i].straight != here) {
            best = std::min(best, PATH[INDEX].t - PATH[i].t);
            break;
        }
    return here ? best : 0;
}

double gf_localSpeed(const std::vector<PathState>& PATH, std::size_t INDEX, double SECONDS)
{
    double best = PATH[INDEX].speedKt;
    for (std::size_t i = INDEX; i < PATH.size() && PATH[i].t - PATH[INDEX].t <= SECONDS; ++i)
        best = std::max(best, PATH[i].speedKt);
    for (std::size_t i = INDEX; i-- > 0 && PATH[INDEX].t - PATH[i].t <= SECONDS;)
        best = std::max(best, PATH[i].speedKt);
    return best;
}

std::vector<Phase> gf_phaseSequence(const std::vector<Sample>& SAMPLES)
{
    std::vector<Phase> phases;
    for (const Sample& s : SAMPLES)
        if (phases.empty() || phases.back() != s.phase) phases.push_back(s.phase);
    return phases;
}

std::string gf_phaseText(const std::vector<Phase>& PHASES)
{
    static const char* const names[] = {"pushBack", "pushedBack", "moving",  "takingOff",
                                        "flying",   "taxiToStand", "atStand", "unset"};
    std::string text;
    for (Phase p : PHASES) text += std::string(text.empty() ? "" : " ") + names[static_cast<int>(p)];
    return text;
}

double gf_metresBetween(const Sample& A, const Sample& B)
{
    return gf_distance(A.lat, A.lon, B.lat, B.lon) * metresPerNm;
}

} // namespace orv::test
