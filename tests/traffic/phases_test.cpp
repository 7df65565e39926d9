// Flight phases: leaving a stand, towing, the rotation test, touch-and-go,
// the start of a landing, the flare, touchdown, and prediction when the data
// stops.
#include "core/parameters.h"
#include "feed/feed.h"
#include "tests/traffic/harness.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>

namespace orv::test {
namespace {

constexpr std::int32_t weekTicks = 604800 * 100;

class PhasesTest : public EngineTest {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        testAirport.stands = {{1, "A1", gf_testPosition(0, 0), 0.0, 20.0 / metresPerNm, false, true}};
    }

    act& parked(std::uint32_t HEXID)
    {
        act& r = gf_activeRecord(HEXID, 0, 0, true, Phase::atStand, now + weekTicks);
        r.standId = 1;
        r.standPos = testAirport.stands[0].pos;
        r.standHeading = 0;
        r.previousPhase = Phase::taxiToStand;
        r.predictedPoints = 1;
        return r;
    }
    /// Runs the motion of one record pass by pass until it is removed or MAX passes.
    static int runUntilRemoved(act& RECORD, int MAX)
    {
        for (int i = 0; i < MAX; ++i) {
            lf_moveAct(RECORD);
            if (RECORD.state == ActState::removing) return i;
            ++engineTick;
        }
        return -1;
    }
};

TEST_F(PhasesTest, APointOutsideTheStandsNearZoneMeansLeavingAJumpFarFromItRemoves)
{
    act& r = parked(1);
    r.previousPhase = Phase::unset;
    TrackPoint p = gf_pointAt(0, -86, 3, now + 300);
    EXPECT_TRUE(lf_checkStand(r, p));
    EXPECT_TRUE(r.standLeft);
    EXPECT_EQ(r.predictedPoints, 0) << "the week's stay is given up";
    EXPECT_EQ(r.track.front().dueTick, now + 1);
    EXPECT_FALSE(testAirport.stands[0].occupied);

    act& jumped = parked(2);
    p = gf_pointAt(0, -250, 3, now + 300);
    EXPECT_FALSE(lf_checkStand(jumped, p));
    EXPECT_EQ(jumped.state, ActState::removing);
}

TEST_F(PhasesTest, NoiseAtTheStandIsIgnoredASteadyMoveOutIsNot)
{
    act& r = parked(3);
    const double halfSpanMetres = r.wingspan * metresPerNm;
    const double steps[] = {2, 1, 6, 11, 15}; // half a span out at the fourth, the third step out at the fifth
    bool left = false;
    int taken = 0;
    for (double metres : steps) {
        TrackPoint p = gf_pointAt(0, -metres, 1, now + 300);
        left = lf_checkStand(r, p);
        if (left) break;
        ++taken;
    }
    EXPECT_TRUE(left);
    EXPECT_EQ(taken, 4) << "three steps out, half a span (" << halfSpanMetres / 2 << " m) from the first sighting";
}

TEST_F(PhasesTest, AHeavyThatLeavesWithinTheHourWasTowed)
{
    for (const auto& [minutesParked, towed] : {std::pair{59, true}, {61, false}}) {
        gf_resetEngine(now);
        act& r = parked(4);
        lf_setClassFields(r, 3, 1, 1);
        r.justLanded = true;
        r.track.front().dueTick = now + weekTicks - minutesParked * 6000;
        lf_standGivenUp(r);
        EXPECT_EQ(r.towed, towed) << minutesParked;
        EXPECT_FALSE(r.justLanded);
    }
}

TEST_F(PhasesTest, APushBackGoesTwoAndAHalfRadiiBackAndSwingsItsTailToTheSideTheDataShows)
{
    act& r = parked(20);
    r.track.front().dueTick = now;
    r.predictedPoints = 0;
    r.standLeft = true;
    r.heading = 0;
    r.track.push_back(gf_pointAt(0, -60, 3, now + 3000)); // the data sees it behind the stand
    lf_nextPos(r);
    ASSERT_EQ(r.phase, Phase::pushBack);
    ASSERT_EQ(r.track.size(), 3u) << "the midpoint, the end of the push and one side point";
    const double span = r.wingspan * metresPerNm;
    EXPECT_NEAR(gf_testPlane(gf_posOf(r.track[0])).north, -25, 0.1);
    EXPECT_NEAR(gf_testPlane(gf_posOf(r.track[1])).north, -50, 0.1) << "two and a half radii of 20 m";
    EXPECT_NEAR(gf_testPlane(gf_posOf(r.track[2])).east, span, 0.1);
    EXPECT_NEAR(gf_testPlane(gf_posOf(r.pushEndPoint)).east, -span, 0.1);
    EXPECT_LT(r.speedSigned, 0) << "backwards";
    for (int i = 0; i < 100; ++i) lf_integrate(r);
    EXPECT_NEAR(r.heading, 0, 1e-12) << "the nose stays where it was on the straight part";

    // A line during the first leg shows the nose turned east: the tail swings west.
    TrackPoint seen = gf_pointAt(0, -60, 3, now + 3100);
    seen.heading = pi / 2;
    lf_addTrackPoint(r, seen);
    EXPECT_TRUE(r.pushTurnKnown);
    EXPECT_TRUE(r.pushTurnRight);
    EXPECT_EQ(r.track.size(), 3u) << "points of the data are not taken during a push";

    engineTick = r.track.front().dueTick;
    const LatLon mid = gf_posOf(r.track.front());
    r.lat = mid.lat;
    r.lon = mid.lon;
    lf_nextPos(r);
    EXPECT_EQ(r.pushStage, 1);
    ASSERT_TRUE(lf_hasCurve(r));
    EXPECT_NEAR(r.curve.endEast, -span, 0.2);
    // The swing lasts as long as its leg, so that the tail comes round as the leg ends.
    EXPECT_DOUBLE_EQ(r.curveDt, 1.0 / std::max(static_cast<double>(r.track.front().dueTick - engineTick), 25.0));
}

/// A record in a take-off roll at 100 knots, with NEXT points after the front.
act& lf_rolling(std::uint32_t HEXID, const std::vector<TrackPoint>& NEXT)
{
    act& r = gf_activeRecord(HEXID, 0, 0, true, Phase::moving, now);
    r.takeoffRoll = true;
    r.track.front().groundSpeed = 100;
    for (const TrackPoint& p : NEXT) r.track.push_back(p);
    return r;
}

TrackPoint lf_climbing(double NORTH, double SPEED_KT, double VS_FPM, double ALT_FT, std::int32_t DUE)
{
    TrackPoint p = gf_pointAt(0, NORTH, SPEED_KT, DUE, ALT_FT);
    p.verticalSpeed = VS_FPM;
    return p;
}

// The rotation test is one choice of three. Read as three separate tests its
// third branch would make an aircraft rotate whose data never leaves the
// ground; read as one choice a roll that stays slow on the ground just rolls.
TEST_F(PhasesTest, RotationIsOneChoiceOfThree)
{
    struct Case {
        const char* why;
        std::vector<TrackPoint> next;
        bool rotates;
    } cases[] = {
        {"ground points, no climb", {lf_climbing(500, 110, 0, 0, now + 500), lf_climbing(1000, 120, 0, 0, now + 900)}, false},
        {"airborne and fast, slow climb", {lf_climbing(500, 150, 100, 1500, now + 500)}, true},
        {"airborne but slow, slow climb", {lf_climbing(500, 120, 100, 1500, now + 500)}, false},
        {"airborne, climbing", {lf_climbing(500, 150, 1500, 1600, now + 500)}, true},
        {"climbing data still on the ground", {lf_climbing(500, 150, 500, 0, now + 500)}, true},
    };
    for (const Case& c : cases) {
        gf_resetEngine(now);
        act& r = lf_rolling(5, c.next);
        lf_rotationTest(r);
        EXPECT_EQ(r.phase == Phase::takingOff, c.rotates) << c.why;
        EXPECT_TRUE(!c.rotates || (r.slots == r.rotateTicks && r.altStep > 0)) << c.why << ": rotating, then climbing";
    }
}

TEST_F(PhasesTest, TakingOffClimbsInStagesAndFliesAboveEightHundredFeet)
{
    act& r = lf_rolling(6, {lf_climbing(2000, 160, 1500, 3000, now + 3000)});
    r.altStep = r.maxAltRate;
    lf_tookOff(r);
    const double ground = r.altitude;
    for (int i = 0; i < r.rotateTicks; ++i) lf_integrateTakingOff(r);
    EXPECT_FALSE(r.onGround);
    EXPECT_NEAR(r.pitch, r.rotatePitch, 1e-9);
    EXPECT_DOUBLE_EQ(r.altitude, ground) << "no climb while rotating";
    for (int i = 0; i < 100; ++i) lf_integrateTakingOff(r);
    EXPECT_NEAR(r.altitude - ground, 99 * 0.1 * r.maxAltRate, 1e-6) << "a tenth of the step for the first second";
    r.agl = 790;
    for (int i = 0; i < 2000; ++i) lf_integrateTakingOff(r);
    EXPECT_EQ(r.phase, Phase::takingOff) << "below 800 ft it goes on climbing out";
    r.agl = 810;
    for (int i = 0; i < 2000 && r.phase == Phase::takingOff; ++i) lf_integrateTakingOff(r);
    EXPECT_EQ(r.phase, Phase::flying);
    EXPECT_LE(r.pitch, r.climbPitch + 1e-9);
    EXPECT_EQ(r.throttleSetting, 3);
}

TEST_F(PhasesTest, ATouchAndGoGoesStraightIntoATakeoffRoll)
{
    act& r = gf_activeRecord(7, 0, 0, true, Phase::moving, now);
    r.rollout = true;
    r.track.back() = gf_pointAt(0, 0, 120, now, 1450);
    lf_takeoffStart(r, gf_pointAt(0, 500, 125, now + 300, 1500));
    EXPECT_TRUE(r.takeoffRoll);
    EXPECT_EQ(r.phase, Phase::moving);
    EXPECT_EQ(r.slackAhead, 5000);
    EXPECT_EQ(r.slackBehind, 3000);
    EXPECT_EQ(r.throttleSetting, 3);
}

TEST_F(PhasesTest, OnlyANeighbourHoldingBesideEndsAHold)
{
    struct Row {
        const char* neighbour;
        double eastMetres;
        bool holding;
        bool holdGoesOn;
    } rows[] = {
        {"passing close by", 20, false, true},
        {"holding close by", 20, true, false},
        {"holding further off", 200, true, true},
    };
    for (const Row& row : rows) {
        gf_resetEngine(now);
        gf_activeRecord(21, row.eastMetres, 0, true, Phase::moving, now + 1000);
        gf_activeRecord(20, 0, 0, true, Phase::moving, now);
        gf_findAct(21)->holding = row.holding;
        act& r = *gf_findAct(20);
        EXPECT_EQ(lf_predict(r), row.holdGoesOn) << row.neighbour;
        EXPECT_EQ(r.holding, row.holdGoesOn) << row.neighbour;
    }
}

TEST_F(PhasesTest, ALandingStartsWithinTenMilesOfTheParkAirport)
{
    for (const auto& [milesOut, landing] : {std::pair{9.0, true}, {11.0, false}}) {
        gf_resetEngine(now);
        act& r = gf_activeRecord(8, -milesOut * metresPerNm, 0, false, Phase::flying, now);
        r.agl = 1500;
        r.track.front().altitude = 2900;
        r.track.front().verticalSpeed = -300;
        r.track.push_back(gf_pointAt(-milesOut * metresPerNm + 2000, 0, 140, now + 2000, 2800));
        lf_flightConfig(r);
        EXPECT_EQ(r.landing, landing) << milesOut;
        EXPECT_TRUE(!landing || r.flapsSetting == 3) << "landing flaps";
    }
}

TEST_F(PhasesTest, TheFlareComesInFourStepsAboveTheGround)
{
    act& r = gf_activeRecord(9, 0, 0, false, Phase::flying, now);
    r.landing = true;
    r.track.push_back(gf_pointAt(0, 500, 130, now + 500));
    const double field = testAirport.elevationFt;
    // height above the field in feet, the stage, its step of the altitude per pass
    for (const auto& [aglFt, stage, altStep] : {std::tuple{45.0, 0, 0.0}, {39.0, 1, -0.1}, {31.0, 1, -0.1},
                                                {29.0, 2, -0.075}, {19.0, 3, -0.05}, {12.0, 4, -0.025}}) {
        r.agl = aglFt;
        r.altitude = field + aglFt;
        lf_flare(r);
        EXPECT_EQ(r.flareStage, stage) << aglFt;
        EXPECT_TRUE(stage == 0 || r.altStep == altStep) << aglFt << ": " << r.altStep;
    }
    EXPECT_EQ(r.throttleSetting, 0) << "power off at the third step";
}

TEST_F(PhasesTest, TouchdownOfALandingAircraftLowersTheNoseAnyOtherIsTakenSilently)
{
    act& other = gf_activeRecord(11, 0, 0, false, Phase::flying, now);
    lf_touchdown(other);
    EXPECT_TRUE(other.onGround);
    EXPECT_FALSE(other.rollout || other.noseLowering || other.justLanded);

    act& r = gf_activeRecord(10, 0, 0, false, Phase::flying, now);
    r.landing = true;
    r.flareStage = 4;
    r.pitch = -4 * degToRad;
    r.bank = 1 * degToRad;
    lf_touchdown(r);
    EXPECT_TRUE(r.onGround && r.rollout && r.justLanded);
    EXPECT_FALSE(r.landing);
    int ticks = 0;
    for (; r.noseLowering && ticks < 10000; ++ticks) lf_integrateNoseLowering(r);
    EXPECT_EQ(ticks, r.touchdownTicks);
    EXPECT_DOUBLE_EQ(r.pitch, r.staticPitch);
    EXPECT_DOUBLE_EQ(r.bank, 0);
    EXPECT_EQ(r.flareStage, 0);
}

TEST_F(PhasesTest, WhenTheDataStopsAnAircraftInRangeFliesOnForSixtyFourSeconds)
{
    rangeNm = 20.0;
    // Eight points of eight seconds each; the legs are timed by distance and
    // the mean speed of their ends, so a slowing aircraft is a little early.
    for (const auto& [milesFromUser, passes, tolerance] : {std::tuple{18.0, 6400, 320}, {19.7, 0, 0}}) {
        gf_resetEngine(now);
        ownPosition = {gf_testPosition(0, 0).lat, gf_testPosition(0, 0).lon};
        act& r = gf_activeRecord(12, 0, milesFromUser * metresPerNm, false, Phase::flying, now);
        r.heading = pi; // flying south, towards the user
        r.track.front().groundSpeed = 200;
        EXPECT_NEAR(runUntilRemoved(r, 20000), passes, tolerance) << milesFromUser;
    }
}

TEST_F(PhasesTest, DataLostInTheRolloutSlowsToTwentyKnotsThenGoes)
{
    act& r = gf_activeRecord(13, 0, 0, true, Phase::moving, now);
    r.rollout = true;
    r.heading = pi / 2;
    r.touchHeading = pi / 2;
    r.track.front().groundSpeed = 120;
    double lowest = 1e9;
    int passes = 0;
    for (; passes < 10000 && r.state == ActState::active; ++passes) {
        lf_moveAct(r);
        if (!r.track.empty()) lowest = std::min(lowest, r.track.front().groundSpeed);
        ++engineTick;
    }
    EXPECT_EQ(r.state, ActState::removing);
    EXPECT_DOUBLE_EQ(lowest, 20);
    EXPECT_NEAR(passes, 10 * 300, 300) << "ten predicted points of about three seconds";
}

TEST_F(PhasesTest, ATaxiingAircraftHoldsUntilTheLimitThenGoes)
{
    act& r = gf_activeRecord(14, 0, 0, true, Phase::moving, now);
    r.track.front().groundSpeed = 0;
    const int passes = runUntilRemoved(r, 200000);
    EXPECT_NEAR(passes, MAX_HOLDING_MINUTES.value * 6000, 301);
    EXPECT_TRUE(r.holding);
}

// A taxiing aircraft whose data stopped near a stand rolls onto it and stops
// with its nose on the stand's heading, from afar (along the lead-in line) or
// near, on time or late against its data.
TEST_F(PhasesTest, AnArrivalStopsOnTheStandWithTheStandsHeading)
{
    struct Row {
        double east, north, headingDeg, standDeg, lateTicks;
    };
    const Row rows[] = {{40, 30, 90, 230, 0}, {-45, 25, 90, 230, 0}, {0, -15, 0, 0, 0},
                        {20, 10, 270, 100, 3000}, {35, -35, 180, 320, 3000}};
    for (const Row& row : rows) {
        SCOPED_TRACE(fmt::format("from {},{} heading {} onto {} late {}", row.east, row.north, row.headingDeg,
                                 row.standDeg, row.lateTicks));
        gf_resetEngine(now);
        testAirport.stands = {{1, "A1", gf_testPosition(0, 0), row.standDeg * degToRad, 20.0 / metresPerNm, false, false}};
        gf_installTestAirport();
        act& r = gf_activeRecord(20, row.east, row.north, true, Phase::moving, now - static_cast<std::int32_t>(row.lateTicks));
        r.heading = row.headingDeg * degToRad;
        r.track.front().stationary = true;
        lf_arriveAtStand(r, true);
        ASSERT_EQ(r.phase, Phase::taxiToStand);
        for (int i = 0; i < 200000 && r.phase != Phase::atStand; ++i) {
            lf_moveAct(r);
            ++engineTick;
        }
        ASSERT_EQ(r.phase, Phase::atStand);
        EXPECT_LE(gf_distance(r.lat, r.lon, r.standPos.lat, r.standPos.lon) * metresPerNm, 2.0);
        EXPECT_LE(std::fabs(gf_angleDiff(r.heading, row.standDeg * degToRad)) * radToDeg, 5.0);
    }
}

} // namespace
} // namespace orv::test
