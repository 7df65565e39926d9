// The airport database: every airport the simulator knows (code, position,
// elevation), read once from input/airports_msfs.xml, and the long names of
// input/airports_msfs_names.xml for the airport scan. It answers whether a
// code is a known airport and which airport the user's aircraft stands at.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/geometry.h"

namespace orv {

struct AirportRecord {
    std::string icao;     ///< attribute code
    std::string iata;     ///< attribute iata, may be empty
    double lat = 0;       ///< degrees, north positive
    double lon = 0;       ///< degrees, east positive
    double elevation = 0; ///< feet, read as a 32-bit float
    bool operator==(const AirportRecord&) const = default;
};

using ClosestAirport = std::optional<AirportRecord>;

inline const std::filesystem::path airportsFile = "input/airports_msfs.xml";
inline const std::filesystem::path airportNamesFile = "input/airports_msfs_names.xml";

/// Reserved before the first read: the simulator knows a little over 40000 airports.
inline constexpr std::size_t airportCapacity = 44000;
/// The search radius round the user's aircraft, nautical miles.
inline constexpr double closestAirportRangeNm = 5.0;

/// Every airport in file order; filled once by gf_readAirports, then only read
/// (main thread).
extern std::vector<AirportRecord> airportList;
extern bool airportsLoaded;
/// ICAO code to long name; filled by lf_readAirportNames on the scan's thread.
extern std::unordered_map<std::string, std::string> airportNames;

/// Reads airports_msfs.xml the first time; afterwards returns at once. True
/// when the list is not empty. A missing or broken file, or a number that
/// does not convert, throws UserErrorException 87 with the reason.
bool gf_readAirports();
/// Reads airports_msfs_names.xml into airportNames; true when it holds names.
/// A file that does not load throws UserErrorException 88.
bool lf_readAirportNames();

/// The first record of ICAO, exact and case-sensitive.
std::optional<AirportRecord> gf_findAirport(const std::string& ICAO);
/// The airport the aircraft at POS stands at: of the airports within 5 nm,
/// the closest, unless the one met closest before it in file order (its
/// neighbour) has a stand nearer to POS.
ClosestAirport gf_closestAirport(const LatLon& POS);
/// "FIRST (SECOND)", or FIRST alone when SECOND is empty.
std::string gf_airportLabel(const std::string& FIRST, const std::string& SECOND);

/// Nautical miles from POS to the nearest stand of ICAO's airport file, with
/// that stand's name; 100.0 when nothing could be read.
double gf_readDestApfForClosestStand(const std::string& ICAO, const LatLon& POS, std::string& STAND_NAME);

// --- the lookups' parts, open to the tests and the benchmark -------------------
/// How gf_closestAirport asks for the nearest stand of an airport.
using StandDistance = std::function<double(const std::string& ICAO, const LatLon& POS, std::string& STAND_NAME)>;
/// gf_closestAirport with another source of stand distances.
ClosestAirport lf_closestAirport(const LatLon& POS, const StandDistance& ASK);
/// The same answers by walking the whole list in file order, without the index.
ClosestAirport lf_closestAirportByWalk(const LatLon& POS, const StandDistance& ASK);
std::optional<AirportRecord> lf_findAirportByWalk(const std::string& ICAO);
/// Builds the code and position index of airportList anew; gf_readAirports
/// calls it, and so must whoever fills the list by other means.
void lf_indexAirports();

} // namespace orv
