// The airport database's lookups: a code's first record, and the airport the
// user's aircraft stands at. Both are defined as walks of airportList in file
// order; an index (code to first record, and a grid of half-degree cells for
// the 5 nm search) gives the same answers without walking 40000 records.
#include "parking/airport_db.h"

#include "core/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace orv {

namespace {

/// The earth's radius of the distance, nautical miles: turns a distance into
/// an angle in radians.
constexpr double earthRadiusNm = 3437.746770784939;
constexpr double cellDeg = 0.5;
constexpr int gridRows = 360, gridColumns = 720;

/// The index, valid while indexedCount equals the size of airportList.
std::unordered_map<std::string, std::uint32_t> firstOfCode;
/// Records of cell c (row-major) are cellMembers[cellStart[c] .. cellStart[c + 1]), in file order.
std::vector<std::uint32_t> cellStart;
std::vector<std::uint32_t> cellMembers;
/// Records without a usable position; the distance refuses them, but the
/// search looks at them as the walk would.
std::vector<std::uint32_t> offGrid;
std::size_t indexedCount = static_cast<std::size_t>(-1);

bool lf_indexed() { return indexedCount == airportList.size(); }

LatLon lf_positionOf(const AirportRecord& RECORD) { return {RECORD.lat, RECORD.lon}; }

bool lf_onGrid(const LatLon& POS)
{
    return std::isfinite(POS.lat) && std::isfinite(POS.lon) && std::abs(POS.lat) <= 90.0;
}

int lf_row(double LAT) { return std::clamp(static_cast<int>(std::floor((LAT + 90.0) / cellDeg)), 0, gridRows - 1); }

int lf_column(double LON)
{
    double east = std::fmod(LON + 180.0, 360.0);
    if (east < 0) east += 360.0;
    return std::clamp(static_cast<int>(east / cellDeg), 0, gridColumns - 1);
}

int lf_cellOf(const LatLon& POS) { return lf_row(POS.lat) * gridColumns + lf_column(POS.lon); }

/// The closest and the neighbour of the search, met in file order.
struct Search {
    double best = 100.0;
    std::optional<std::uint32_t> closest;
    std::optional<std::uint32_t> neighbour;

    void meet(const LatLon& POS, std::uint32_t INDEX)
    {
        const double distance = gf_distanceNm(POS, lf_positionOf(airportList[INDEX]));
        if (!(distance <= closestAirportRangeNm && distance < best)) return;
        best = distance;
        if (closest) neighbour = closest;
        closest = INDEX;
    }
};

/// Of a closest and a neighbour, the one with the stand nearest to POS; the
/// closest keeps equal distances.
ClosestAirport lf_decide(const Search& SEARCH, const LatLon& POS, const StandDistance& ASK)
{
    if (!SEARCH.closest) return std::nullopt;
    const AirportRecord& closest = airportList[*SEARCH.closest];
    if (!SEARCH.neighbour) return closest;
    const AirportRecord& neighbour = airportList[*SEARCH.neighbour];
    gf_log(fmt::format("Airport {} is closest, neighbour is {}", closest.icao, neighbour.icao));
    std::string closestStand, neighbourStand;
    const double closestDistance = ASK(closest.icao, POS, closestStand);
    const double neighbourDistance = ASK(neighbour.icao, POS, neighbourStand);
    if (!(neighbourDistance < closestDistance)) return closest;
    gf_log(fmt::format("Airport {} is closest, but stand {} at neighbouring airport {} is closest at {:.0F} meters ...",
                       closest.icao, neighbourStand, neighbour.icao, neighbourDistance * metresPerNm));
    return neighbour;
}

/// The columns within DEGREES of longitude from LON, or every column.
std::vector<int> lf_columnsAround(double LON, double DEGREES)
{
    std::vector<int> columns;
    if (2.0 * DEGREES + cellDeg >= 360.0) {
        for (int c = 0; c < gridColumns; ++c) columns.push_back(c);
        return columns;
    }
    const int last = lf_column(LON + DEGREES);
    for (int c = lf_column(LON - DEGREES);; c = (c + 1) % gridColumns) {
        columns.push_back(c);
        if (c == last) break;
    }
    return columns;
}

/// Every record that can lie within range of POS (and some that don't), in file order.
std::vector<std::uint32_t> lf_candidates(const LatLon& POS)
{
    // The cap of the search radius, widened a little against rounding.
    const double radius = closestAirportRangeNm / earthRadiusNm * 1.01;
    const double latDeg = radius * radToDeg;
    const double poleward = std::min(90.0, std::abs(POS.lat) + latDeg);
    const double spread = std::sin(radius) / std::cos(poleward * degToRad);
    const double lonDeg = poleward >= 89.9 || spread >= 1.0 ? 180.0 : std::asin(spread) * radToDeg * 1.01;
    std::vector<std::uint32_t> found = offGrid;
    const std::vector<int> columns = lf_columnsAround(POS.lon, lonDeg);
    for (int row = lf_row(POS.lat - latDeg); row <= lf_row(POS.lat + latDeg); ++row)
        for (const int column : columns) {
            const int cell = row * gridColumns + column;
            found.insert(found.end(), cellMembers.begin() + cellStart[cell], cellMembers.begin() + cellStart[cell + 1]);
        }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace

void lf_indexAirports()
{
    firstOfCode.clear();
    firstOfCode.reserve(airportList.size());
    offGrid.clear();
    cellStart.assign(gridRows * gridColumns + 1, 0);
    const auto count = static_cast<std::uint32_t>(airportList.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        firstOfCode.try_emplace(airportList[i].icao, i);
        const LatLon pos = lf_positionOf(airportList[i]);
        if (lf_onGrid(pos))
            ++cellStart[lf_cellOf(pos) + 1];
        else
            offGrid.push_back(i);
    }
    for (std::size_t c = 1; c < cellStart.size(); ++c) cellStart[c] += cellStart[c - 1];
    cellMembers.resize(count - offGrid.size());
    std::vector<std::uint32_t> next(cellStart.begin(), cellStart.end() - 1);
    for (std::uint32_t i = 0; i < count; ++i) {
        const LatLon pos = lf_positionOf(airportList[i]);
        if (lf_onGrid(pos)) cellMembers[next[lf_cellOf(pos)]++] = i;
    }
    indexedCount = airportList.size();
}

std::optional<AirportRecord> lf_findAirportByWalk(const std::string& ICAO)
{
    const auto at = std::find_if(airportList.begin(), airportList.end(),
                                 [&ICAO](const AirportRecord& RECORD) { return RECORD.icao == ICAO; });
    if (at == airportList.end()) return std::nullopt;
    return *at;
}

std::optional<AirportRecord> gf_findAirport(const std::string& ICAO)
{
    // A list that was filled without its index is walked.
    if (!lf_indexed()) return lf_findAirportByWalk(ICAO);
    const auto at = firstOfCode.find(ICAO);
    if (at == firstOfCode.end()) return std::nullopt;
    return airportList[at->second];
}

ClosestAirport lf_closestAirportByWalk(const LatLon& POS, const StandDistance& ASK)
{
    Search search;
    for (std::uint32_t i = 0; i < airportList.size(); ++i) search.meet(POS, i);
    return lf_decide(search, POS, ASK);
}

ClosestAirport lf_closestAirport(const LatLon& POS, const StandDistance& ASK)
{
    if (!lf_indexed() || !lf_onGrid(POS)) return lf_closestAirportByWalk(POS, ASK);
    Search search;
    for (const std::uint32_t i : lf_candidates(POS)) search.meet(POS, i);
    return lf_decide(search, POS, ASK);
}

ClosestAirport gf_closestAirport(const LatLon& POS) { return lf_closestAirport(POS, &gf_readDestApfForClosestStand); }

} // namespace orv
