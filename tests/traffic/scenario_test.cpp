// Whole flights on the virtual clock: from a stand through push back or pull
// out, taxi, take-off, climb, cruise, approach, flare, touchdown, rollout and
// taxi in to another stand, checked against the paths they were made from.
#include "tests/traffic/scenario_flights.h"

namespace orv::test {
namespace {


TEST_F(Scenario, ACircuitGoesThroughEveryPhaseFromStandToStand)
{
    const std::vector<PathState> path = lf_circuit();
    fly(circuitFlight, path);
    harness.runAll(6000);
    EXPECT_EQ(phases(circuitFlight), "atStand pushBack pushedBack moving takingOff flying moving taxiToStand atStand");
    lf_checkParkedAt(circuitFlight.hexid, testAirport.stands[1]);
    lf_checkFlight(harness, circuitFlight.hexid, path);
    const std::vector<Sample>& samples = harness.samples(circuitFlight.hexid);
    const auto ever = [&](bool (*SEEN)(const Sample&)) { return std::any_of(samples.begin(), samples.end(), SEEN); };
    EXPECT_TRUE(ever([](const Sample& S) { return S.takeoffRoll; }));
    EXPECT_TRUE(ever([](const Sample& S) { return S.altitude > 11400; })) << "above ten thousand feet";
    EXPECT_TRUE(ever([](const Sample& S) { return S.landing; }));
    EXPECT_TRUE(ever([](const Sample& S) { return S.flareStage > 0; }));
    EXPECT_TRUE(ever([](const Sample& S) { return S.rollout; }));
}

TEST_F(Scenario, AnArrivalLandsFromALongFinalAndParks)
{
    const std::vector<PathState> path = lf_arrival();
    fly(arrivalFlight, path);
    harness.runAll(6000);
    EXPECT_EQ(phases(arrivalFlight), arrivalPhases);
    lf_checkParkedAt(arrivalFlight.hexid, testAirport.stands[1]);
    lf_checkFlight(harness, arrivalFlight.hexid, path);
}

TEST_F(Scenario, APullOutLeavesNoseFirstTakesOffAndGoesWhenTheDataStops)
{
    const std::vector<PathState> path = lf_pullOutDeparture();
    fly(departureFlight, path);
    harness.runAll(12000);
    EXPECT_EQ(phases(departureFlight), departurePhases);
    EXPECT_TRUE(harness.removed(departureFlight.hexid)) << "prediction ends and the aircraft goes";
    EXPECT_EQ(gf_findAct(departureFlight.hexid), nullptr);
    EXPECT_FALSE(testAirport.stands[2].occupied);
    lf_checkFlight(harness, departureFlight.hexid, path);
}

TEST_F(Scenario, AnArrivalAndADepartureDoNotDisturbEachOther)
{
    const std::vector<PathState> arrival = lf_arrival(), departure = lf_pullOutDeparture();
    fly(arrivalFlight, arrival, 20000);
    fly(departureFlight, departure);
    harness.runAll(12000);
    EXPECT_EQ(phases(arrivalFlight), arrivalPhases);
    EXPECT_EQ(phases(departureFlight), departurePhases);
    lf_checkParkedAt(arrivalFlight.hexid, testAirport.stands[1]);
    lf_checkFlight(harness, arrivalFlight.hexid, arrival);
    lf_checkFlight(harness, departureFlight.hexid, departure);
}

} // namespace
} // namespace orv::test
