// What the engine asks of the park airport, its stands and the stand learning,
// kept as named calls until airports and parking answer them: the park
// airport is the one the feed was given (where the user's aircraft stands,
// for now), and it has no stand.
//
// These calls live alone in this file so that a program that brings its own
// airport (the engine's scenario tests do) can define all of them instead.
#include "feed/park_view.h"
#include "traffic/engine_parts.h"
#include "traffic/geometry.h"

namespace orv {

std::optional<double> gf_parkAirportElevation() { return gf_parkView().elevationFt; }
bool gf_parkAirportReady() { return false; }
std::string gf_parkAirportIata() { return {}; }
bool gf_parkAirportWithin(const LatLon& POS, double NM)
{
    const ParkView view = gf_parkView();
    return view.airport && gf_distance(POS, *view.airport) <= NM;
}
std::string gf_standName(std::int32_t) { return {}; }
std::optional<StandRef> gf_closestStand(const LatLon&, const act&, double, bool) { return std::nullopt; }
bool gf_standRefused(std::int32_t) { return false; }
double gf_standRadius(std::int32_t) { return 0; }
void gf_setStandOccupied(std::int32_t, bool) {}
void gf_markStandCargo(std::int32_t, const act&) {}
void lf_takeStand(act&, const StandRef&) {}
void lf_checkMaxPark(std::int32_t) {}
void lf_learnDeparture(act&) {}
void lf_learnLostAircraft(act&, bool) {}
bool lf_addRealOption(std::int32_t, act&, bool, DayHalf, bool) { return false; }
void gf_addRecentArrival(std::uint32_t, std::int32_t) {}

} // namespace orv
