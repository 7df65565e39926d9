// The park airport's state: the list of park airports and the one airport
// that has a stand table, with what the window shows of it.
#include "parking/park_airports.h"

namespace orv {

std::list<ParkAirportEntry> parkAirports;
std::string parkIcao, parkIata;
LatLon parkPosition;
double parkElevation = 0;
bool pendingLoad = false;
LatLon lastUserPosition;
std::string reservedStandName;
bool reservedStandFound = false;
bool learningAllowed = false;
std::set<std::string> airportsWithoutFile;

std::filesystem::path gf_parkAirportsPath() { return std::filesystem::path("airports") / parkAirportsName; }

} // namespace orv
