// Whole flights on the virtual clock: from a stand through push back, taxi,
// take-off, climb, cruise, approach, flare, touchdown, rollout and taxi in to
// another stand, checked against the path they were made from.
#include "tests/traffic/harness.h"
#include "tests/traffic/scenario_support.h"
#include "traffic/engine.h"
#include "traffic/geometry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orv::test {
namespace {

constexpr double elevationFt = 1400;
constexpr double a320HalfSpanNm = 17.0 / 1852.0;
constexpr std::int32_t largeClass = 2;
constexpr double standRadiusNm = 20.0 / 1852.0;
constexpr std::uint32_t hexid = 0x4B1234;

/// Two stands north of an east-west runway whose centre line lies 600 m south.
void lf_setUpAirport()
{
    testAirport = {};
    testAirport.pos = gf_testPosition(0, 0);
    testAirport.elevationFt = elevationFt;
    testAirport.stands = {{1, "A1", gf_testPosition(0, 0), 0.0, standRadiusNm, false, false},
                          {2, "B7", gf_testPosition(1400, 0), 0.0, standRadiusNm, false, false}};
}

/// Stand A1 to stand B7 by a circuit: push back with the nose turning west,
/// taxi to the runway's west end, take off east, climb to 11500 ft, turn
/// back, descend, turn onto final and land east, turn off north to B7.
PathBuilder lf_circuit()
{
    const double e = elevationFt;
    PathBuilder p(e, 0, 0, 0);
    p.hold(90).back(30, 3).backTurn(-90, 15, 3).hold(40);
    p.straight(775, 15, e, false).turn(-90, 50, 12, e, false).straight(455, 15, e, false);
    p.turn(-90, 50, 10, e, false).hold(20);
    p.straight(1500, 150, e, false).straight(3000, 165, e + 1000, true).straight(25000, 250, 11500, true);
    p.straight(5000, 250, 11500, true).turn(-180, 4000, 250, 11500, true);
    p.straight(30000, 180, 3000, true).straight(11200, 180, 3000, true);
    p.turn(-180, 4000, 160, 2600, true).straight(7000, 140, e + 30, true).straight(300, 135, e, true);
    p.straight(1500, 20, e, false).turn(-90, 60, 15, e, false).straight(500, 15, e, false);
    p.straight(40, 0.5, e, false).hold(300);
    return p;
}

class Circuit : public ::testing::Test {
protected:
    void SetUp() override
    {
        lf_setUpAirport();
        path = lf_circuit().states();
        harness.add(gf_sampleFlight(path, gf_testIdentity(hexid, "SWR123"), harness.startTick(), 7), largeClass,
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
    EXPECT_EQ(gf_phaseText(gf_phaseSequence(harness.samples(hexid))), gf_phaseText(expected));
}

TEST_F(Circuit, EndsParkedOnItsStand)
{
    const act* r = harness.record(hexid);
    ASSERT_NE(r, nullptr) << "the aircraft was removed";
    EXPECT_EQ(r->phase, Phase::atStand);
    EXPECT_EQ(r->standId, 2);
    EXPECT_LE(gf_distance(r->lat, r->lon, testAirport.stands[1].pos.lat, testAirport.stands[1].pos.lon) * metresPerNm,
              2.0);
    EXPECT_TRUE(r->onGround);
    EXPECT_NEAR(r->altitude, elevationFt + testStaticCgFt, 0.01);
    EXPECT_EQ(r->throttleSetting, 0);
    EXPECT_EQ(r->flapsSetting, 0);
    EXPECT_TRUE(testAirport.stands[1].occupied || r->predictedPoints > 0);
}

TEST_F(Circuit, TakesOffLandsAndRollsOut)
{
    bool roll = false, flare = false, rollout = false, landing = false, airborne = false;
    for (const Sample& s : harness.samples(hexid)) {
        roll = roll || s.takeoffRoll;
        flare = flare || s.flareStage > 0;
        rollout = rollout || s.rollout;
        landing = landing || s.landing;
        airborne = airborne || !s.onGround;
    }
    EXPECT_TRUE(roll);
    EXPECT_TRUE(airborne);
    EXPECT_TRUE(landing);
    EXPECT_TRUE(flare);
    EXPECT_TRUE(rollout);
}

TEST_F(Circuit, StaysOnThePathOnStraightLegs)
{
    std::size_t hint = 0, checked = 0;
    double worstGround = 0, worstAir = 0;
    bool onData = true;
    const std::vector<Sample>& samples = harness.samples(hexid);
    for (std::size_t i = 0; i < samples.size(); i += 5) {
        const Sample& s = samples[i];
        const PathMatch m = gf_matchPath(path, {s.lat, s.lon}, hint);
        hint = m.index;
        // The push back and the roll onto the stand are the engine's own, not the data's;
        // after the push the aircraft joins the data's path on its first leg.
        if (s.phase == Phase::pushBack || s.phase == Phase::pushedBack || s.phase == Phase::taxiToStand) {
            onData = false;
            continue;
        }
        onData = onData || m.offMetres < 1.0;
        if (!onData) continue;
        if (path[m.index].reversing || gf_secondsFromTurn(path, m.index) < 10.0) continue;
        ++checked;
        if (s.onGround)
            worstGround = std::max(worstGround, m.offMetres);
        else
            worstAir = std::max(worstAir, m.offMetres);
    }
    EXPECT_GT(checked, 2000u);
    EXPECT_LE(worstGround, 3.0);
    EXPECT_LE(worstAir, 5.0);
}

TEST_F(Circuit, NoStepIsLargerThanTheSpeedAllows)
{
    const std::vector<Sample>& samples = harness.samples(hexid);
    const act* r = harness.record(hexid);
    ASSERT_NE(r, nullptr);
    std::size_t hint = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const PathMatch m = gf_matchPath(path, {samples[i].lat, samples[i].lon}, hint);
        hint = m.index;
        const double speedKt = std::max(gf_localSpeed(path, m.index, 15.0), r->pushSpeed);
        const double allowed = 2.0 * speedKt * 1852.0 / 3600.0 / 100.0 + 0.02;
        ASSERT_LE(gf_metresBetween(samples[i - 1], samples[i]), allowed) << "pass " << samples[i].tick;
    }
}

TEST_F(Circuit, HeadingNeverFlipsOnTheGround)
{
    const std::vector<Sample>& samples = harness.samples(hexid);
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (!samples[i].onGround || !samples[i - 1].onGround) continue;
        const double turnDeg = std::fabs(gf_angleDiff(samples[i].heading, samples[i - 1].heading)) * radToDeg;
        ASSERT_LE(turnDeg, 1.0) << "pass " << samples[i].tick;
    }
    // Forward on the wheels, except in a push back: the nose points where the aircraft goes.
    for (std::size_t i = 100; i < samples.size(); i += 50) {
        const Sample& a = samples[i - 100];
        const Sample& b = samples[i];
        if (!a.onGround || !b.onGround || gf_metresBetween(a, b) < 5.0) continue;
        if (a.phase == Phase::pushBack || b.phase == Phase::pushBack) continue;
        const double motion = gf_bearing(a.lat, a.lon, b.lat, b.lon);
        EXPECT_LE(std::fabs(gf_angleDiff(motion, b.heading)) * radToDeg, 100.0) << "pass " << b.tick;
    }
}

TEST_F(Circuit, NeverBelowTheGround)
{
    for (const Sample& s : harness.samples(hexid)) ASSERT_GE(s.altitude, elevationFt) << "pass " << s.tick;
}

} // namespace
} // namespace orv::test
