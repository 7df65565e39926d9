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

#include <algorithm>
#include <array>
#include <functional>
#include <mutex>

namespace orv::test {
namespace {

class SystemsTest : public EngineTest {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        gf_clearSimQueues();
        qnhEngine = 1013;
    }
    void TearDown() override
    {
        EngineTest::TearDown();
        gf_clearSimQueues();
        qnhEngine = 1013;
    }
    /// How often OBJECT got event ID with DATA so far.
    static int count(std::uint32_t OBJECT, std::uint32_t ID, std::uint32_t DATA)
    {
        std::lock_guard lock(simLock);
        return static_cast<int>(std::count_if(eventQueue.begin(), eventQueue.end(), [&](const ClientEvent& E) {
            return E.objectId == OBJECT && E.eventId == ID && E.data == DATA;
        }));
    }
};

TEST_F(SystemsTest, LightsEnginesGearAndPowerAsThePhaseSetsThem)
{
    struct Case {
        const char* why;
        Phase phase;
        double east;
        std::function<void(act&)> run;
        std::vector<std::array<std::uint32_t, 3>> events; ///< event, data, how often
        std::int32_t throttle, flaps;                     ///< -1: not looked at
    } cases[] = {
        {"parked: engines off, the beacon dark", Phase::atStand, 0,
         [](act& R) {
             NAV_LIGHTS_WHILE_PARKED.value = true;
             lf_lightsAfterCreate(R);
         },
         {{eventEngineAutoShutdown, 0, 1}, {eventEngineAutoStart, 0, 0}, {eventNavLightsSet, 1, 1},
          {eventBeaconLightsSet, 0, 1}, {eventTaxiLightsSet, 0, 1}, {eventSpoilersSet, 0, 1}},
         0, 0},
        {"high in the air: the landing lights stay off", Phase::flying, 0,
         [](act& R) {
             R.altitude = 12000;
             R.agl = 2500;
             lf_lightsAfterCreate(R);
         },
         {{eventEngineAutoStart, 0, 1}, {eventLandingLightsSet, 0, 1}, {eventLogoLightsSet, 0, 1},
          {eventStrobesSet, 1, 1}, {eventCabinLightsSet, 1, 1}},
         -1, -1},
        {"above 10000 ft: the cruise set-up comes once", Phase::flying, 0,
         [](act& R) {
             R.track.front().altitude = 11000;
             R.track.push_back(gf_pointAt(0, 5000, 250, now + 2000, 11000));
             lf_flightConfig(R);
             lf_flightConfig(R);
         },
         {{eventGearSet, 0, 1}, {eventLandingLightsSet, 0, 1}}, 3, 0},
        {"a helicopter landing: no flaps or gear, full power", Phase::flying, 2000,
         [](act& R) {
             lf_setClassFields(R, helicopterClass, 1, 1);
             R.agl = 300;
             R.track.front().altitude = 1700;
             R.track.front().verticalSpeed = -500;
             R.track.push_back(gf_pointAt(1500, 0, 60, now + 2000, 1600));
             lf_flightConfig(R);
             EXPECT_TRUE(R.landing);
         },
         {{eventGearSet, 1, 0}, {eventFlapsSet, 16383, 0}}, 4, -1},
    };
    std::uint32_t hexid = 1;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        act& r = gf_activeRecord(hexid++, c.east, 0, c.phase == Phase::atStand, c.phase, now);
        c.run(r);
        for (const auto& [id, data, times] : c.events) EXPECT_EQ(count(r.objectId, id, data), times) << id;
        EXPECT_TRUE(c.throttle < 0 || r.throttleSetting == c.throttle) << r.throttleSetting;
        EXPECT_TRUE(c.flaps < 0 || r.flapsSetting == c.flaps) << r.flapsSetting;
    }
}

TEST_F(SystemsTest, TheGearComesUpThreeSecondsAfterRotation)
{
    act& r = gf_activeRecord(4, 0, 0, true, Phase::moving, now);
    r.takeoffRoll = true;
    r.altStep = r.maxAltRate;
    lf_tookOff(r);
    r.agl = 100;
    int passes = 0;
    for (; count(r.objectId, eventGearSet, 0) == 0 && passes < 2000; ++passes) lf_integrateTakingOff(r);
    EXPECT_EQ(passes, r.rotateTicks + 301) << "rotation, then three seconds of climb";
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
    EXPECT_EQ(count(r.objectId, eventGearSet, 1), 1);
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
