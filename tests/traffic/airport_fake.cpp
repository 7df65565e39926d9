// Test support: the park airport and its stands as the engine asks for them,
// answered from testAirport and installed in the engine's parking table.
#include "core/geometry.h"
#include "tests/traffic/harness.h"
#include "traffic/parking_calls.h"

namespace orv::test {

namespace {
TestStand* lf_stand(std::int32_t STAND_ID)
{
    for (TestStand& s : testAirport.stands)
        if (s.id == STAND_ID) return &s;
    return nullptr;
}

std::optional<StandRef> lf_closestStand(const LatLon& POS, const act&, double MAX_NM, bool)
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
} // namespace

void gf_installTestAirport()
{
    parkingCalls = ParkingCalls{};
    parkingCalls.parkAirportElevation = [] {
        return testAirport.set ? std::optional<double>(testAirport.elevationFt) : std::nullopt;
    };
    parkingCalls.parkAirportReady = [] { return testAirport.set && testAirport.ready; };
    parkingCalls.parkAirportIata = [] { return testAirport.set ? testAirport.iata : std::string(); };
    parkingCalls.parkAirportWithin = [](const LatLon& POS, double NM) {
        return testAirport.set && gf_distance(POS, testAirport.pos) <= NM;
    };
    parkingCalls.standName = [](std::int32_t ID) {
        const TestStand* s = lf_stand(ID);
        return s ? s->name : std::string();
    };
    parkingCalls.closestStand = lf_closestStand;
    parkingCalls.standRadius = [](std::int32_t ID) {
        const TestStand* s = lf_stand(ID);
        return s ? s->radiusNm : 0.0;
    };
    parkingCalls.setStandOccupied = [](std::int32_t ID, bool OCCUPIED) {
        if (TestStand* s = lf_stand(ID)) s->occupied = OCCUPIED;
    };
    parkingCalls.markStandCargo = [](std::int32_t ID, const act&) {
        if (TestStand* s = lf_stand(ID)) s->cargo = true;
    };
}

} // namespace orv::test
