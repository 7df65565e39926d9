// The aircraft's systems as the phases set them, seen in the simulator link's
// event queue; and the air legs that meet the ground without a landing.
#include "core/parameters.h"
#include "feed/feed.h"
#include "sim/sim_session.h"
#include "tests/traffic/harness.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <gtest/gtest.h>

#include <mutex>

namespace orv::test {
namespace {

constexpr std::int32_t now = 400000;

class SystemsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        testAirport = {};
        testAirport.pos = gf_testPosition(0, 0);
        gf_resetEngine(now);
        gf_clearSimQueues();
        qnhEngine = 1013;
    }
    void TearDown() override
    {
        lf_clearEngine();
        gf_clearSimQueues();
        qnhEngine = 1013;
    }
    /// The events queued for OBJECT so far, in order.
    static std::vector<ClientEvent> events(std::uint32_t OBJECT)
    {
        std::lock_guard lock(simLock);
        std::vector<ClientEvent> found;
        for (const ClientEvent& e : eventQueue)
            if (e.objectId == OBJECT) found.push_back(e);
        return found;
    }
    static int count(const std::vector<ClientEvent>& EVENTS, std::uint32_t ID, std::uint32_t DATA)
    {
        int n = 0;
        for (const ClientEvent& e : EVENTS) n += e.eventId == ID && e.data == DATA;
        return n;
    }
};

TEST_F(SystemsTest, AParkedAircraftSettlesWithEnginesOffAndTheBeaconDark)
{
    act& r = gf_activeRecord(1, 0, 0, true, Phase::atStand, now);
    NAV_LIGHTS_WHILE_PARKED.value = true;
    lf_lightsAfterCreate(r);
    const auto e = events(r.objectId);
    EXPECT_EQ(count(e, eventEngineAutoShutdown, 0), 1);
    EXPECT_EQ(count(e, eventEngineAutoStart, 0), 0);
    EXPECT_EQ(count(e, eventNavLightsSet, 1), 1);
    EXPECT_EQ(count(e, eventBeaconLightsSet, 0), 1);
    EXPECT_EQ(count(e, eventTaxiLightsSet, 0), 1);
    EXPECT_EQ(count(e, eventSpoilersSet, 0), 1);
    EXPECT_EQ(r.throttleSetting, 0);
    EXPECT_EQ(r.flapsSetting, 0);
}

TEST_F(SystemsTest, HighInTheAirTheLandingLightsStayOff)
{
    act& r = gf_activeRecord(2, 0, 0, false, Phase::flying, now);
    r.track.front().airborne = true;
    r.altitude = 12000;
    r.agl = 2500;
    lf_lightsAfterCreate(r);
    const auto e = events(r.objectId);
    EXPECT_EQ(count(e, eventEngineAutoStart, 0), 1);
    EXPECT_EQ(count(e, eventLandingLightsSet, 0), 1);
    EXPECT_EQ(count(e, eventLogoLightsSet, 0), 1);
    EXPECT_EQ(count(e, eventStrobesSet, 1), 1);
    EXPECT_EQ(count(e, eventCabinLightsSet, 1), 1);
}

TEST_F(SystemsTest, AboveTenThousandFeetTheCruiseSetUpComesOnce)
{
    act& r = gf_activeRecord(3, 0, 0, false, Phase::flying, now);
    r.track.front().altitude = 11000;
    r.track.push_back(gf_pointAt(0, 5000, 250, now + 2000, 11000));
    lf_flightConfig(r);
    lf_flightConfig(r);
    const auto e = events(r.objectId);
    EXPECT_EQ(count(e, eventGearSet, 0), 1) << "gear up, once";
    EXPECT_EQ(count(e, eventLandingLightsSet, 0), 1);
    EXPECT_EQ(r.throttleSetting, 3);
    EXPECT_EQ(r.flapsSetting, 0);
}

TEST_F(SystemsTest, TheGearComesUpThreeSecondsAfterRotation)
{
    act& r = gf_activeRecord(4, 0, 0, true, Phase::moving, now);
    r.takeoffRoll = true;
    r.altStep = r.maxAltRate;
    lf_tookOff(r);
    r.agl = 100;
    int passes = 0;
    while (count(events(r.objectId), eventGearSet, 0) == 0 && passes < 2000) {
        lf_integrateTakingOff(r);
        ++passes;
    }
    EXPECT_EQ(passes, r.rotateTicks + 301) << "rotation, then three seconds of climb";
}

TEST_F(SystemsTest, AHelicopterGetsNoFlapsOrGearButFullPowerWhenItLands)
{
    act& r = gf_activeRecord(5, 2000, 0, false, Phase::flying, now);
    lf_setClassFields(r, helicopterClass, 1, 1);
    r.agl = 300;
    r.track.front().altitude = 1700;
    r.track.front().verticalSpeed = -500;
    r.track.push_back(gf_pointAt(1500, 0, 60, now + 2000, 1600));
    lf_flightConfig(r);
    EXPECT_TRUE(r.landing);
    const auto e = events(r.objectId);
    EXPECT_EQ(count(e, eventGearSet, 1), 0);
    EXPECT_EQ(count(e, eventFlapsSet, 16383), 0);
    EXPECT_EQ(r.throttleSetting, 4);
}

TEST_F(SystemsTest, AboveStandardPressureTheLastAirLegGlides)
{
    act& r = gf_activeRecord(6, 0, 0, false, Phase::flying, now);
    r.landing = true;
    r.agl = 300;
    r.track.front().verticalSpeed = -700;
    r.track.push_back(gf_pointAt(0, 800, 130, now + 1000, 0));
    r.track.back().verticalSpeed = -500;
    qnhEngine = 1020;
    lf_positionSteps(r);
    lf_stepAir(r);
    EXPECT_DOUBLE_EQ(r.verticalSpeedFpm, -600 - 7 * 6);
    EXPECT_DOUBLE_EQ(r.altStep, (-600 - 7 * 6) / 6000.0);
    EXPECT_EQ(count(events(r.objectId), eventGearSet, 1), 1);
}

TEST_F(SystemsTest, AnAircraftInTheAirOverGroundPointsClimbsToTheNextAirbornePoint)
{
    act& r = gf_activeRecord(7, 0, 0, false, Phase::flying, now);
    r.altitude = testAirport.elevationFt + 300;
    r.track.front().airborne = false;
    r.track.front().altitude = 0;
    const TrackPoint g1 = gf_pointAt(0, 300, 140, now + 500), g2 = gf_pointAt(0, 600, 150, now + 1000);
    for (TrackPoint g : {g1, g2}) {
        g.verticalSpeed = 800;
        r.track.push_back(g);
    }
    TrackPoint a = gf_pointAt(0, 900, 160, now + 1500, testAirport.elevationFt + 800);
    a.verticalSpeed = 1500;
    r.track.push_back(a);
    r.track.push_back(gf_pointAt(0, 1200, 160, now + 2000, testAirport.elevationFt + 1200));
    lf_positionSteps(r);
    lf_stepAir(r);
    ASSERT_EQ(r.track.size(), 3u) << "the ground points between are gone";
    EXPECT_TRUE(r.track[1].airborne);
    EXPECT_GT(r.altStep, 0);
    EXPECT_LE(r.altStep, r.maxAltRate);
    EXPECT_NEAR(r.latStep * lf_stepTicks(r), r.track[1].lat - r.lat, 1e-12) << "the leg aims at the airborne point";
}

} // namespace
} // namespace orv::test
