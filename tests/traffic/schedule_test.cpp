// The schedule of legs, the shape of ground legs, and one pass of motion:
// the window round the data's time, curves and midpoints, turn rates in the
// class table's units, a push back tail first, air legs within class limits.
#include "tests/traffic/harness.h"
#include "traffic/engine.h"
#include "traffic/motion.h"

#include <gsl/narrow>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace orv::test {
namespace {

using ScheduleTest = EngineTest;

TEST_F(ScheduleTest, DueTimeStaysWithinTheSlackOfTheData)
{
    // Legs of 100 m (or none) from the aircraft's place.
    struct Case {
        const char* why;
        std::int32_t dataDue, predicted;
        double ticks, northM, speedKt;
        std::int32_t expected;
    } cases[] = {
        // Half of the way from the time distance and speed give to the data's time, within the window.
        {"early is held back", now + 2000, 0, 500, 100, 10, now + 1250},
        {"inside the window", now + 2000, 0, 1500, 100, 10, now + 1750},
        {"early beyond the window", now + 4000, 0, 1000, 100, 10, now + 3000},
        {"late is pulled forward", now + 2000, 0, 4000, 100, 10, now + 3000},
        {"a predicted point has no window", now + 2000, 1, 500, 100, 40, now + 500},
        {"never before now", now - 5000, 0, 25, 0, 10, now},
        // 100 m at twice 10 kt: 972 ticks, where the window alone would jump there in a quarter of a second.
        {"a point long due is run to at twice its speed", now - 5000, 0, 25, 100, 10, now + 972},
        {"a predicted point too", now + 2000, 1, 25, 100, 10, now + 972},
    };
    for (const Case& c : cases) {
        gf_resetEngine(now);
        act& r = gf_activeRecord(1, 0, 0, true, Phase::moving, now);
        r.predictedPoints = c.predicted;
        r.track.front().groundSpeed = c.speedKt;
        r.track.push_back(gf_pointAt(0, c.northM, c.speedKt, c.dataDue));
        lf_setDue(r, c.ticks);
        EXPECT_EQ(r.track[1].dueTick, c.expected) << c.why;
    }
}

TEST_F(ScheduleTest, APredictedLegPastTheTickRangeThrowsInsteadOfWrapping)
{
    const double last = INT32_MAX - now; // the leg that ends on the last tick
    for (const auto& [ticks, fits] : {std::pair{last, true}, {last + 1, false}, {1e15, false}}) {
        gf_resetEngine(now);
        act& r = gf_activeRecord(1, 0, 0, true, Phase::moving, now);
        r.predictedPoints = 1;
        r.track.push_back(gf_pointAt(0, 100, 10, now + 2000));
        if (fits) {
            lf_setDue(r, ticks);
            EXPECT_EQ(r.track[1].dueTick, INT32_MAX);
        } else {
            EXPECT_THROW(lf_setDue(r, ticks), gsl::narrowing_error) << ticks;
            EXPECT_EQ(r.track[1].dueTick, now + 2000) << "left as it was";
        }
    }
}

TEST_F(ScheduleTest, AShortLegStillTakesTwentyFiveTicksAStopItsOwnTime)
{
    act& r = gf_activeRecord(2, 0, 0, true, Phase::moving, now);
    r.track.push_back(gf_pointAt(0, 10, 10, now + 10));
    lf_positionSteps(r);
    EXPECT_NEAR(r.latStep, (r.track[1].lat - r.lat) / 25.0, 1e-15);

    act& stopping = gf_activeRecord(3, 0, 0, true, Phase::moving, now);
    stopping.track.push_back(gf_pointAt(0, 0, 0, now + 700));
    stopping.track.back().stationary = true;
    lf_timeGround(stopping);
    EXPECT_EQ(stopping.track[1].dueTick, now + 700);
}

/// Front, next and the point after, with a turn of TURN_DEG at the next point.
act& lf_corner(std::uint32_t HEXID, double TURN_DEG, double FRONT_KT, std::int32_t LEG_TICKS)
{
    act& r = gf_activeRecord(HEXID, 0, 0, true, Phase::moving, now);
    r.track.front().groundSpeed = FRONT_KT;
    r.track.push_back(gf_pointAt(0, 100, FRONT_KT, now + LEG_TICKS));
    const double out = TURN_DEG * degToRad;
    r.track.push_back(gf_pointAt(100 * std::sin(out), 100 + 100 * std::cos(out), FRONT_KT, now + 2 * LEG_TICKS));
    return r;
}

TEST_F(ScheduleTest, TurnsUpTo160DegreesMakeACurve)
{
    struct Case {
        double turnDeg;
        bool curve;
    } cases[] = {{2.9, false}, {3.5, true}, {90, true}, {159.99, true}, {161, false}};
    for (const Case& c : cases) {
        gf_resetEngine(now);
        act& r = lf_corner(4, c.turnDeg, 50, 400);
        lf_shapeGroundLeg(r);
        EXPECT_EQ(lf_hasCurve(r), c.curve) << c.turnDeg;
        if (c.curve) {
            EXPECT_EQ(r.track.size(), 2u) << "the curve replaces the corner point";
            EXPECT_NEAR(r.curveAngle, c.turnDeg, 0.01);
        }
    }
}

TEST_F(ScheduleTest, AWideCornerTakenSlowlyGetsAMidpointFirst)
{
    act& r = lf_corner(5, 90, 10, 1000);
    lf_shapeGroundLeg(r);
    EXPECT_FALSE(lf_hasCurve(r));
    ASSERT_EQ(r.track.size(), 4u);
    EXPECT_NEAR(gf_testPlane(gf_posOf(r.track[1])).north, 50, 0.01);
    EXPECT_EQ(r.track[1].dueTick, now + 500);
}

// The class table gives turn rates in degrees per tick; the record holds them
// in radians per tick, converted once where it is made. A ground turn at the
// nominal rate therefore takes the table's time: 90 degrees at 0.07 degrees
// per tick (class 2) in 1286 ticks.
TEST_F(ScheduleTest, AGroundTurnTakesTheClassTablesTime)
{
    act& r = gf_activeRecord(6, 0, 0, true, Phase::moving, now);
    r.heading = 0;
    r.targetHeading = pi / 2;
    r.turning = true;
    r.turnRateNow = r.turnRate;
    r.latStep = r.lonStep = 0;
    int ticks = 0;
    while (std::fabs(gf_angleDiff(r.heading, r.targetHeading)) > 1e-9 && ticks < 100000) {
        lf_integrate(r);
        ++ticks;
    }
    EXPECT_EQ(ticks, static_cast<int>(std::ceil(90.0 / 0.07)));
}

TEST_F(ScheduleTest, TurnRateFitsTheLegInTicks)
{
    // A turn of 30 degrees that lasts exactly as long as the leg keeps the nominal rate.
    act& r = gf_activeRecord(7, 0, 0, true, Phase::moving, now);
    const double turnTicks = std::round(30.0 / 0.07);
    const double speedKt = 10;
    const double metres = turnTicks / ticksPerHour * speedKt * metresPerNm;
    r.track.front().groundSpeed = speedKt;
    r.track.push_back(gf_pointAt(0, metres, speedKt, now + static_cast<std::int32_t>(turnTicks)));
    r.turning = true;
    r.turnAngle = 30;
    lf_timeGround(r);
    EXPECT_NEAR(r.turnRateNow, r.turnRate, r.turnRate * 0.01);
}

TEST_F(ScheduleTest, APushBackGoesTailFirstWithTheNoseFollowingTheCurve)
{
    act& r = gf_activeRecord(8, 0, 0, true, Phase::pushBack, now);
    r.heading = 0;
    r.curve = {gf_posOf(r.track.front()), 0, -30, -20, -45};
    r.curveDt = 1.0 / 1000;
    r.turnRateNow = 1.0 * degToRad; // quick enough to follow the tangent closely
    double lastLat = r.lat, lastLon = r.lon;
    for (int i = 0; i < 1000; ++i) {
        lf_integrate(r);
        if (i > 100 && i % 100 == 0) {
            const double motion = gf_bearing(lastLat, lastLon, r.lat, r.lon);
            EXPECT_LT(std::fabs(gf_angleDiff(r.heading, motion + pi)) * radToDeg, 8.0) << i;
        }
        lastLat = r.lat;
        lastLon = r.lon;
    }
    const PlaneXY end = gf_testPlane(lf_posOf(r));
    EXPECT_NEAR(end.east, -20, 0.1);
    EXPECT_NEAR(end.north, -45, 0.1);
}

TEST_F(ScheduleTest, AirLegsTurnAndClimbWithinTheClassLimits)
{
    act& r = gf_activeRecord(9, 0, 0, false, Phase::flying, now);
    r.heading = 0;
    r.agl = 2500;
    r.track.front().altitude = 3000;
    r.track.push_back(gf_pointAt(0, 3000, 250, now + 2000, 9000));
    r.track.back().verticalSpeed = 6000;
    r.track.push_back(gf_pointAt(3000, 3000, 250, now + 4000, 9000)); // a right angle at the next point
    lf_positionSteps(r);
    lf_stepAir(r);
    EXPECT_LE(r.altStep, r.maxAltRate);
    EXPECT_LE(std::fabs(r.bankStep), 0.02 * degToRad + 1e-12) << "class 2 banks at most 0.02 degrees a tick";
    EXPECT_LT(r.bankStep, 0) << "a right turn banks right";
    EXPECT_LE(std::fabs(r.pitchStep), 0.0075 * degToRad + 1e-12);
    EXPECT_NEAR(r.headingStep * lf_stepTicks(r), pi / 2, 0.01) << "the heading comes round to the next leg";
}

} // namespace
} // namespace orv::test
