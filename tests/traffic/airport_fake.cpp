// Test support: the park airport and its stands as the engine asks for them,
// answered from testAirport. These definitions stand in for the program's
// own (traffic/placeholders_airport.cpp), which the linker then leaves out.
#include "tests/traffic/harness.h"
#include "traffic/engine_parts.h"
#include "traffic/geometry.h"

namespace orv {

using test::testAirport;
using test::TestStand;

namespace {
TestStand* lf_stand(std::int32_t STAND_ID)
{
    for (TestStand& s : testAirport.stands)
        if (s.id == STAND_ID) return &s;
    return nullptr;
}
} // namespace

std::optional<double> gf_parkAirportElevation()
{
    if (!testAirport.set) return std::nullopt;
    return testAirport.elevationFt;
}
bool gf_parkAirportReady() { return testAirport.set && testAirport.ready; }
std::string gf_parkAirportIata() { return testAirport.set ? testAirport.iata : std::string(); }
bool gf_parkAirportWithin(const LatLon& POS, double NM) { return testAirport.set && gf_distance(POS, testAirport.pos) <= NM; }
std::string gf_standName(std::int32_t STAND_ID)
{
    const TestStand* s = lf_stand(STAND_ID);
    return s ? s->name : std::string();
}
std::optional<StandRef> gf_closestStand(const LatLon& POS, const act&, double MAX_NM, bool)
{
    const TestStand* best = nullptr;
    double bestNm = MAX_NM;
    for (const TestStand& s : testAirport.stands) {
        const double d = gf_distance(POS, s.pos);
        if (!s.occupied && d <= bestNm) {
            bestNm = d;
            best = &s;
        }
    }
    if (best == nullptr) return std::nullopt;
    return StandRef{best->id, best->pos, best->headingRad, best->radiusNm, best->cargo};
}
bool gf_standRefused(std::int32_t) { return false; }
double gf_standRadius(std::int32_t STAND_ID)
{
    const TestStand* s = lf_stand(STAND_ID);
    return s ? s->radiusNm : 0;
}
void gf_setStandOccupied(std::int32_t STAND_ID, bool OCCUPIED)
{
    if (TestStand* s = lf_stand(STAND_ID)) s->occupied = OCCUPIED;
}
void gf_markStandCargo(std::int32_t STAND_ID, const act&)
{
    if (TestStand* s = lf_stand(STAND_ID)) s->cargo = true;
}
void lf_takeStand(act&, const StandRef&) {}
void lf_checkMaxPark(std::int32_t) {}
void lf_learnDeparture(act&) {}
void lf_learnLostAircraft(act&, bool) {}
bool lf_addRealOption(std::int32_t, act&, bool, DayHalf, bool) { return false; }
void gf_addRecentArrival(std::uint32_t, std::int32_t) {}

} // namespace orv
