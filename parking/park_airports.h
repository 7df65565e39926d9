// The park airport: the one airport with a stand table. On the ground it is
// the user's own airport; in the air the first airport of the user's list
// that comes in sight; a destination goes to the head of the list. The list
// comes from airports/my_park_airports.txt and the user's add-on airports.
#pragma once

#include "core/geometry.h"

#include <filesystem>
#include <list>
#include <set>
#include <string>

namespace orv {

struct ParkAirportEntry {
    std::string icao;
    std::string reservedStand; ///< may be empty
    LatLon position;           ///< degrees, from the airport database
    double distance = 0;       ///< nautical miles from the user aircraft
};

inline const char* const parkAirportsName = "my_park_airports.txt";
inline constexpr std::size_t manyParkAirports = 3000;

/// The park airports, the nearest or the destination first (main thread).
extern std::list<ParkAirportEntry> parkAirports;
/// The current park airport; parkIcao empty when none (main thread).
extern std::string parkIcao, parkIata;
extern LatLon parkPosition;
extern double parkElevation; ///< feet
/// The airport is set; its file is read at the next check (main thread).
extern bool pendingLoad;
/// The user's position at the last sort of the list (main thread).
extern LatLon lastUserPosition;
/// The stand kept for the user's aircraft, and whether the table has it (main thread).
extern std::string reservedStandName;
extern bool reservedStandFound;
/// Soft learning may run at the park airport (main thread).
extern bool learningAllowed;
/// Airports without a stand file, not asked again in this session (main thread).
extern std::set<std::string> airportsWithoutFile;

/// airports/my_park_airports.txt
std::filesystem::path gf_parkAirportsPath();
bool lf_readMyParkAirports();
void lf_addFromMyThirdparty();
void lf_writeParkAirportHead();
bool lf_reReadParkAirports(bool CHECK_STAND, std::string& MESSAGE);
void lf_setDestination(const std::string& ICAO, const LatLon& POSITION);
bool lf_setParkAirport(const std::string& ICAO);
void lf_loadParkAirport(std::string& ERROR);
void lf_parkAirportFound(bool NOW);
void lf_leaveParkAirport();
void lf_unloadParkAirport();

} // namespace orv
