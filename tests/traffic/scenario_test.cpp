// Whole flights on the virtual clock: from a stand through push back or pull
// out, taxi, take-off, climb, cruise, approach, flare, touchdown, rollout and
// taxi in to another stand, checked against the paths they were made from.
#include "tests/traffic/harness.h"
#include "tests/traffic/scenario_support.h"
#include "traffic/engine.h"
#include "core/geometry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orv::test {
namespace {

constexpr double elevationFt = 1400;
constexpr double a320HalfSpanNm = 17.0 / 1852.0;
constexpr std::int32_t largeClass = 2;
constexpr double standRadiusNm = 20.0 / 1852.0;
constexpr std::uint32_t circuitHexid = 0x4B1234, arrivalHexid = 0x3C4455, departureHexid = 0x440012;

/// Three stands north of an east-west runway whose centre line lies 600 m
/// south: A1 and B7 face north, C3 faces south towards the taxiway.
void lf_setUpAirport()
{
    testAirport = {};
    testAirport.pos = gf_testPosition(0, 0);
    testAirport.elevationFt = elevationFt;
    testAirport.stands = {{1, "A1", gf_testPosition(0, 0), 0.0, standRadiusNm, false, false},
                          {2, "B7", gf_testPosition(1400, 0), 0.0, standRadiusNm, false, false},
                          {3, "C3", gf_testPosition(-300, 0), pi, standRadiusNm, false, false}};
}

/// From the runway's west end: the roll along the runway, the turn off north and the taxi to B7.
void lf_landAndTaxiToB7(PathBuilder& P)
{
    const double e = elevationFt;
    P.straight(7000, 140, e + 30, true).straight(300, 135, e, true);
    P.straight(1500, 20, e, false).turn(-90, 60, 15, e, false).straight(500, 15, e, false);
    P.straight(40, 0.5, e, false).hold(300);
}

/// Stand A1 to stand B7 by a circuit: push back with the nose turning west,
/// taxi to the runway's west end, take off east, climb to 11500 ft, turn
/// back, descend, turn onto final and land east, turn off north to B7.
std::vector<PathState> lf_circuit()
{
    const double e = elevationFt;
    PathBuilder p(e, 0, 0, 0);
    p.hold(90).back(30, 3).backTurn(-90, 15, 3).hold(40);
    p.straight(775, 15, e, false).turn(-90, 50, 12, e, false).straight(455, 15, e, false);
    p.turn(-90, 50, 10, e, false).hold(20);
    p.straight(1500, 150, e, false).straight(3000, 165, e + 1000, true).straight(25000, 250, 11500, true);
    p.straight(5000, 250, 11500, true).turn(-180, 4000, 250, 11500, true);
    p.straight(30000, 180, 3000, true).straight(11200, 180, 3000, true);
    p.turn(-180, 4000, 160, 2600, true);
    lf_landAndTaxiToB7(p);
    return p.states();
}

/// An arrival first seen on a long final.
std::vector<PathState> lf_arrival()
{
    PathBuilder p(elevationFt, -7460, -600, 90, elevationFt + 1200, 140);
    lf_landAndTaxiToB7(p);
    return p.states();
}

/// From C3, nose first out of the stand, to the runway and away to the east
/// until the data stops at 3400 ft.
std::vector<PathState> lf_pullOutDeparture()
{
    const double e = elevationFt;
    PathBuilder p(e, -300, 0, 180);
    p.hold(60).straight(60, 8, e, false).turn(90, 40, 10, e, false).straight(370, 15, e, false);
    p.turn(-90, 50, 12, e, false).straight(410, 15, e, false).turn(-90, 50, 10, e, false).hold(10);
    p.straight(1500, 150, e, false).straight(6000, 170, e + 2000, true);
    return p.states();
}

/// The checks that every flight must pass.
void lf_checkFlight(Harness& HARNESS, std::uint32_t HEXID, const std::vector<PathState>& PATH)
{
    const std::vector<Sample>& samples = HARNESS.samples(HEXID);
    ASSERT_FALSE(samples.empty());
    // On the data's path on straight legs. The push back and the roll onto a
    // stand are the engine's own; after a push the first leg joins the path.
    std::size_t hint = 0, checked = 0;
    double worstGround = 0, worstAir = 0;
    bool onData = true;
    for (std::size_t i = 0; i < samples.size(); i += 5) {
        const Sample& s = samples[i];
        // What prediction makes of a track that has run out isn't the data's.
        if (s.state != ActState::active || s.predictedPoints != 0) continue;
        const PathMatch m = gf_matchPath(PATH, {s.lat, s.lon}, hint);
        hint = m.index;
        if (s.phase == Phase::pushBack || s.phase == Phase::pushedBack || s.phase == Phase::taxiToStand) {
            onData = false;
            continue;
        }
        onData = onData || m.offMetres < 1.0;
        if (!onData || PATH[m.index].reversing || gf_secondsFromTurn(PATH, m.index) < 10.0) continue;
        ++checked;
        (s.onGround ? worstGround : worstAir) = std::max(s.onGround ? worstGround : worstAir, m.offMetres);
    }
    EXPECT_GT(checked, samples.size() / 20);
    EXPECT_LE(worstGround, 3.0);
    EXPECT_LE(worstAir, 5.0);

    // No step between two passes larger than twice the speed of the data round it.
    const double pushKt = 4.0;
    hint = 0;
    double speedKt = pushKt;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (i % 10 == 1) { // the data's speed changes slowly: look it up every tenth pass
            const PathMatch m = gf_matchPath(PATH, {samples[i].lat, samples[i].lon}, hint);
            hint = m.index;
            speedKt = std::max(gf_localSpeed(PATH, m.index, 15.0), pushKt);
        }
        const double allowed = 2.0 * speedKt * metresPerNm / 3600.0 / 100.0 + 0.02;
        ASSERT_LE(gf_metresBetween(samples[i - 1], samples[i]), allowed) << "pass " << samples[i].tick;
    }

    // On the wheels the heading turns smoothly and never flips; the nose
    // points where the aircraft goes, except in a push back.
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (!samples[i].onGround || !samples[i - 1].onGround) continue;
        const double turnDeg = std::fabs(gf_angleDiff(samples[i].heading, samples[i - 1].heading)) * radToDeg;
        ASSERT_LE(turnDeg, 1.0) << "pass " << samples[i].tick;
    }
    for (std::size_t i = 100; i < samples.size(); i += 50) {
        const Sample& a = samples[i - 100];
        const Sample& b = samples[i];
        if (!a.onGround || !b.onGround || gf_metresBetween(a, b) < 5.0) continue;
        if (a.phase == Phase::pushBack || b.phase == Phase::pushBack) continue;
        const double motion = gf_bearing(a.lat, a.lon, b.lat, b.lon);
        EXPECT_LE(std::fabs(gf_angleDiff(motion, b.heading)) * radToDeg, 100.0) << "pass " << b.tick;
    }

    for (const Sample& s : samples) ASSERT_GE(s.altitude, elevationFt) << "below the ground at pass " << s.tick;
}

void lf_checkParkedAt(Harness& HARNESS, std::uint32_t HEXID, const TestStand& STAND)
{
    const act* r = HARNESS.record(HEXID);
    ASSERT_NE(r, nullptr) << "the aircraft was removed";
    EXPECT_EQ(r->phase, Phase::atStand);
    EXPECT_EQ(r->standId, STAND.id);
    EXPECT_LE(gf_distance(r->lat, r->lon, STAND.pos.lat, STAND.pos.lon) * metresPerNm, 2.0);
    EXPECT_TRUE(r->onGround);
    EXPECT_NEAR(r->altitude, elevationFt + testStaticCgFt, 0.01);
    EXPECT_EQ(r->throttleSetting, 0);
    EXPECT_EQ(r->flapsSetting, 0);
}

class Circuit : public ::testing::Test {
protected:
    void SetUp() override
    {
        lf_setUpAirport();
        path = lf_circuit();
        harness.add(gf_sampleFlight(path, gf_testIdentity(circuitHexid, "SWR123"), harness.startTick(), 7), largeClass,
                    a320HalfSpanNm);
        harness.runAll(6000);
    }
    Harness harness;
    std::vector<PathState> path;
};

TEST_F(Circuit, GoesThroughEveryPhaseInOrder)
{
    const std::vector<Phase> expected{Phase::atStand,   Phase::pushBack, Phase::pushedBack,  Phase::moving,
                                      Phase::takingOff, Phase::flying,   Phase::moving,      Phase::taxiToStand,
                                      Phase::atStand};
    EXPECT_EQ(gf_phaseText(gf_phaseSequence(harness.samples(circuitHexid))), gf_phaseText(expected));
}

TEST_F(Circuit, EndsParkedOnItsStand) { lf_checkParkedAt(harness, circuitHexid, testAirport.stands[1]); }

TEST_F(Circuit, TakesOffClimbsAboveTenThousandLandsAndRollsOut)
{
    bool roll = false, flare = false, rollout = false, landing = false, airborne = false;
    double highest = 0;
    for (const Sample& s : harness.samples(circuitHexid)) {
        roll = roll || s.takeoffRoll;
        flare = flare || s.flareStage > 0;
        rollout = rollout || s.rollout;
        landing = landing || s.landing;
        airborne = airborne || !s.onGround;
        highest = std::max(highest, s.altitude);
    }
    EXPECT_TRUE(roll);
    EXPECT_TRUE(airborne);
    EXPECT_GT(highest, 11400);
    EXPECT_TRUE(landing);
    EXPECT_TRUE(flare);
    EXPECT_TRUE(rollout);
}

TEST_F(Circuit, FollowsTheDataAsItShould) { lf_checkFlight(harness, circuitHexid, path); }

TEST(Arrival, LandsFromALongFinalAndParks)
{
    lf_setUpAirport();
    Harness harness;
    const std::vector<PathState> path = lf_arrival();
    harness.add(gf_sampleFlight(path, gf_testIdentity(arrivalHexid, "DLH4AB"), harness.startTick(), 11), largeClass,
                a320HalfSpanNm);
    harness.runAll(6000);
    const std::vector<Phase> expected{Phase::flying, Phase::moving, Phase::taxiToStand, Phase::atStand};
    EXPECT_EQ(gf_phaseText(gf_phaseSequence(harness.samples(arrivalHexid))), gf_phaseText(expected));
    lf_checkParkedAt(harness, arrivalHexid, testAirport.stands[1]);
    lf_checkFlight(harness, arrivalHexid, path);
}

TEST(PullOut, LeavesNoseFirstTakesOffAndGoesWhenTheDataStops)
{
    lf_setUpAirport();
    Harness harness;
    const std::vector<PathState> path = lf_pullOutDeparture();
    harness.add(gf_sampleFlight(path, gf_testIdentity(departureHexid, "EZY77K"), harness.startTick(), 3), largeClass,
                a320HalfSpanNm);
    harness.runAll(12000);
    const std::vector<Phase> expected{Phase::atStand, Phase::moving, Phase::takingOff, Phase::flying};
    EXPECT_EQ(gf_phaseText(gf_phaseSequence(harness.samples(departureHexid))), gf_phaseText(expected));
    EXPECT_TRUE(harness.removed(departureHexid)) << "prediction ends and the aircraft goes";
    EXPECT_EQ(harness.record(departureHexid), nullptr);
    EXPECT_FALSE(testAirport.stands[2].occupied);
    lf_checkFlight(harness, departureHexid, path);
}

TEST(Together, AnArrivalAndADepartureDoNotDisturbEachOther)
{
    lf_setUpAirport();
    Harness harness;
    const std::vector<PathState> arrival = lf_arrival(), departure = lf_pullOutDeparture();
    harness.add(gf_sampleFlight(arrival, gf_testIdentity(arrivalHexid, "DLH4AB"), harness.startTick() + 20000, 11),
                largeClass, a320HalfSpanNm);
    harness.add(gf_sampleFlight(departure, gf_testIdentity(departureHexid, "EZY77K"), harness.startTick(), 3),
                largeClass, a320HalfSpanNm);
    harness.runAll(12000);
    EXPECT_EQ(gf_phaseText(gf_phaseSequence(harness.samples(arrivalHexid))),
              gf_phaseText({Phase::flying, Phase::moving, Phase::taxiToStand, Phase::atStand}));
    EXPECT_EQ(gf_phaseText(gf_phaseSequence(harness.samples(departureHexid))),
              gf_phaseText({Phase::atStand, Phase::moving, Phase::takingOff, Phase::flying}));
    lf_checkParkedAt(harness, arrivalHexid, testAirport.stands[1]);
    lf_checkFlight(harness, arrivalHexid, arrival);
    lf_checkFlight(harness, departureHexid, departure);
}

} // namespace
} // namespace orv::test
