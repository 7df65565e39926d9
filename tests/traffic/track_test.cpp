// The track: the filter of new points, stops, the landing's filter, a push
// back's waiting point, and the order of the track.
#include "core/parameters.h"
#include "tests/traffic/harness.h"
#include "traffic/engine.h"
#include "traffic/engine_parts.h"
#include "traffic/motion.h"
#include "traffic/track_queue.h"

#include <gtest/gtest.h>

#include <array>

namespace orv::test {
namespace {

using TrackTest = EngineTest;

TEST_F(TrackTest, PointFilterByPlaceSpeedAndPhase)
{
    enum Place { same, nearby, far };
    struct Case {
        const char* why;
        bool onGround, takeoffRoll;
        double lastKt;
        Place place;
        bool airborne;
        double speedKt;
        bool kept, stationary;
    } cases[] = {
        {"a few metres of jitter is a stop", true, false, 5, nearby, false, 3, true, true},
        {"jitter of an airborne point", true, false, 5, nearby, true, 3, false, false},
        {"jitter while the aircraft flies", false, false, 5, nearby, false, 3, false, false},
        {"jitter in a fast roll", true, true, 55, nearby, false, 60, false, false},
        {"jitter in a slow roll", true, true, 40, nearby, false, 60, true, true},
        {"a moved point with speed", true, false, 5, far, false, 10, true, false},
        {"a moved point without speed", true, false, 5, far, false, 0, true, false},
        {"a moved airborne point without speed", false, false, 200, far, true, 0, false, false},
        {"no speed in a fast roll", true, true, 50, far, false, 0, false, false},
        {"the same place on the ground", true, false, 5, same, false, 4, true, true},
        {"the same place in the air", false, false, 200, same, true, 200, false, false},
        {"the same place in a roll at 35 kt", true, true, 35, same, false, 10, false, false},
        {"the same place in a roll at 20 kt", true, true, 20, same, false, 10, true, true},
    };
    for (const Case& c : cases) {
        gf_resetEngine(now);
        act& r = gf_activeRecord(1, 0, 0, c.onGround, Phase::moving, now);
        r.takeoffRoll = c.takeoffRoll;
        r.track.back().groundSpeed = c.lastKt;
        const double north = c.place == same ? 0 : c.place == nearby ? 5 : 50;
        TrackPoint p = gf_pointAt(0, north, c.speedKt, now + 300, c.airborne ? 3000 : 0);
        const bool kept = lf_pointFilter(r, p);
        EXPECT_EQ(kept, c.kept) << c.why;
        if (!kept) continue;
        EXPECT_EQ(p.stationary, c.stationary) << c.why;
        if (c.stationary) {
            EXPECT_EQ(p.groundSpeed, 0) << c.why;
            EXPECT_TRUE(gf_samePosition(p, r.track.back())) << c.why << ": the stop stands where the last point was";
            EXPECT_EQ(p.dueTick, now + 300) << c.why << ": the point keeps its own time";
        }
    }
}

TEST_F(TrackTest, HelicopterPointsAreNeverRefused)
{
    act& r = gf_activeRecord(2, 0, 0, false, Phase::flying, now);
    lf_setClassFields(r, helicopterClass, 1, 1);
    TrackPoint jitter = gf_pointAt(0, 5, 0, now + 300, 500);
    TrackPoint same = gf_pointAt(0, 0, 0, now + 300, 500);
    EXPECT_TRUE(lf_pointFilter(r, jitter));
    EXPECT_TRUE(lf_pointFilter(r, same));
    EXPECT_TRUE(same.stationary);
}

TEST_F(TrackTest, StopsAfterAStopMakeTheFrontDueAtOnceAndKeepOnlyTheNewest)
{
    act& r = gf_activeRecord(3, 0, 0, true, Phase::moving, now - 5000);
    r.track.front().stationary = true;
    lf_addTrackPoint(r, gf_pointAt(0, 0, 0, now + 3000));
    ASSERT_EQ(r.track.size(), 2u);
    EXPECT_TRUE(r.track[1].stationary);
    EXPECT_EQ(r.track.front().dueTick, now + 1);
    EXPECT_EQ(r.track.front().groundSpeed, 0);
    lf_addTrackPoint(r, gf_pointAt(0, 0, 0, now + 4000));
    EXPECT_EQ(r.track.size(), 2u);
    EXPECT_EQ(r.track.back().dueTick, now + 4000);
}

TEST_F(TrackTest, PointsStayInTimeOrder)
{
    act& r = gf_activeRecord(4, 0, 0, true, Phase::moving, now + 1000);
    lf_addTrackPoint(r, gf_pointAt(0, 100, 10, now + 900));
    lf_addTrackPoint(r, gf_pointAt(0, 200, 10, now + 1001));
    ASSERT_EQ(r.track.size(), 3u);
    EXPECT_EQ(r.track[1].dueTick, now + 1001);
    EXPECT_EQ(r.track[2].dueTick, now + 1002);
}

TEST_F(TrackTest, TheTwoHundredAndFirstPointRemovesTheAircraft)
{
    act& r = gf_activeRecord(5, 0, 0, true, Phase::moving, now);
    for (int i = 1; i <= 200; ++i) lf_addTrackPoint(r, gf_pointAt(0, i * 20.0, 20, now + i * 100));
    EXPECT_EQ(r.state, ActState::active);
    EXPECT_EQ(r.track.size(), 201u);
    lf_addTrackPoint(r, gf_pointAt(0, 5000, 20, now + 30000));
    EXPECT_EQ(r.state, ActState::removing);
}

TEST_F(TrackTest, AHoldThatEndsWithAJumpRemovesTheAircraft)
{
    const double far = HOLDING_THRESHOLD_METERS.value + 20.0;
    struct Row {
        const char* why;
        double metres, speedKt;
        std::int32_t heldTicks;
        bool removed;
    } rows[] = {
        {"near data ends the hold", 100, 10, 100, false},
        {"a jump", far, 10, 100, true},
        // After a gap in coverage: 90 kt for 30 s reach far beyond the point.
        {"far data the speed bears out is followed", far + 300, 90, 3000, false},
    };
    for (const Row& row : rows) {
        gf_resetEngine(now);
        act& r = gf_activeRecord(6, 0, 0, true, Phase::moving, now);
        r.holding = true;
        r.holdStartTick = now - row.heldTicks;
        lf_addTrackPoint(r, gf_pointAt(0, row.metres, row.speedKt, now + 300));
        EXPECT_EQ(r.state == ActState::removing, row.removed) << row.why;
    }
}

TEST_F(TrackTest, ShortStopsAndCreepingAreThinnedLongStopsStay)
{
    // the stop's length in ticks, the metres to the next point, the points kept
    for (const auto& [why, stopTicks, nextMetres, size] :
         {std::tuple{"a stop of 20 s, then away", 2000, 50.0, 5u}, {"a stop of 12 s", 1200, 50.0, 4u},
          {"a long stop, then a creep of 20 m", 2000, 20.0, 4u}}) {
        gf_resetEngine(now);
        act& r = gf_activeRecord(7, 0, -100, true, Phase::moving, now);
        r.track.front().groundSpeed = 10;
        lf_addTrackPoint(r, gf_pointAt(0, 0, 5, now + 1000));
        lf_addTrackPoint(r, gf_pointAt(0, 0, 0, now + 1000 + stopTicks / 2));
        lf_addTrackPoint(r, gf_pointAt(0, 0, 0, now + 1000 + stopTicks));
        ASSERT_EQ(r.track.size(), 4u) << why;
        lf_addTrackPoint(r, gf_pointAt(0, nextMetres, 5, now + 1000 + stopTicks + 800));
        EXPECT_EQ(r.track.size(), size) << why;
        EXPECT_TRUE(r.track[2].stationary) << why << ": one point of the stop stays";
    }
}

TEST_F(TrackTest, LandingFilterRefusesPointsBehindAndCapsSpeed)
{
    act& r = gf_activeRecord(9, 0, 0, false, Phase::flying, now + 200);
    r.landing = true;
    r.heading = 0; // north
    TrackPoint behind = gf_pointAt(0, -500, 140, now + 500, 2000);
    EXPECT_FALSE(lf_filterLanding(r, behind));
    TrackPoint ahead = gf_pointAt(0, 800, 140, now + 500, 2000);
    EXPECT_TRUE(lf_filterLanding(r, ahead));
    EXPECT_EQ(r.track.front().dueTick, now + 1) << "the track restarts from the aircraft, due at once";
    EXPECT_DOUBLE_EQ(r.track.front().lat, r.lat);
    r.track.push_back(ahead);
    r.track.back().groundSpeed = 100;
    TrackPoint faster = gf_pointAt(0, 1600, 130, now + 900, 1900);
    EXPECT_TRUE(lf_filterLanding(r, faster));
    EXPECT_EQ(faster.groundSpeed, 100);
    // A last point that overshot goes, and the point before it stays.
    r.track.push_back(gf_pointAt(0, 2500, 100, now + 1000, 1800));
    TrackPoint onward = gf_pointAt(0, 2000, 100, now + 1200, 1700);
    EXPECT_TRUE(lf_filterLanding(r, onward));
    EXPECT_EQ(r.track.size(), 2u);
}

TEST_F(TrackTest, PushedBackAircraftWaitsForTheDataToMoveOff)
{
    act& r = gf_activeRecord(10, 0, 0, true, Phase::pushedBack, now);
    r.standId = 3;
    r.pullOutDistance = 900;
    const double span = r.wingspan * metresPerNm;
    // A point of the data SPANS half spans east of the stand.
    const auto seen = [&](act& R, double SPANS, std::int32_t DUE) {
        TrackPoint p = gf_pointAt(SPANS * span, 0, 5, DUE);
        return lf_pushedBackPoint(R, p);
    };
    EXPECT_FALSE(seen(r, 2.0, now + 300));
    EXPECT_TRUE(r.holding);
    EXPECT_NEAR(r.pullOutDistance * metresPerNm, 2.0 * span, 0.5) << "the first point sets the distance to beat";
    EXPECT_FALSE(seen(r, 1.9, now + 600));
    EXPECT_TRUE(seen(r, 3.0, now + 900));
    EXPECT_EQ(r.phase, Phase::moving);
    EXPECT_EQ(r.standId, 0);
    EXPECT_FALSE(r.holding);
    // A point far off at once goes at once.
    act& far = gf_activeRecord(11, 0, 0, true, Phase::pushedBack, now);
    far.pullOutDistance = 900;
    EXPECT_TRUE(seen(far, 7.0, now + 300));
}

// A livery change gives the aircraft a new object at the same spot. The copy
// of its present pose goes to the front, due at once, and the data still to
// come stays behind it in time order: appended at the end it would be due
// before the points ahead of it, and a track cut to it would lose them.
TEST_F(TrackTest, LiveryChangeResumesHereAndKeepsTheDataAhead)
{
    act& r = gf_activeRecord(12, 0, 0, false, Phase::flying, now - 800);
    r.track.push_back(gf_pointAt(0, 1000, 200, now - 300, 3000));
    r.track.push_back(gf_pointAt(0, 2000, 200, now + 700, 3000));
    r.track.push_back(gf_pointAt(0, 3000, 200, now + 1700, 3000));
    const LatLon here = gf_testPosition(0, 1300);
    r.lat = here.lat;
    r.lon = here.lon;
    r.altitude = 3050;
    gf_trackFromHere(r);
    ASSERT_EQ(r.track.size(), 3u);
    EXPECT_EQ(r.track[0].dueTick, now + 1);
    EXPECT_DOUBLE_EQ(r.track[0].lat, here.lat);
    EXPECT_DOUBLE_EQ(r.track[0].altitude, 3050);
    EXPECT_EQ(r.track[1].dueTick, now + 700);
    EXPECT_EQ(r.track[2].dueTick, now + 1700);
    EXPECT_FALSE(r.track[0].stationary);

    act& parked = gf_activeRecord(13, 0, 0, true, Phase::atStand, now + 1000000);
    parked.track.push_back(gf_pointAt(0, 30, 5, now + 2000000));
    gf_trackFromHere(parked);
    ASSERT_EQ(parked.track.size(), 1u);
    EXPECT_TRUE(parked.track[0].stationary);
}

TrackPoint lf_point(int TICK)
{
    TrackPoint p;
    p.dueTick = TICK;
    return p;
}

TEST(TrackQueue, KeepsOrderAcrossTheRingAndGrowth)
{
    TrackQueue q;
    int next = 0, first = 0;
    // Many more points pass through than the ring holds, with a changing length.
    for (int round = 0; round < 500; ++round) {
        for (int k = 0; k < round % 7 + 1; ++k) q.push_back(lf_point(next++));
        for (int k = 0; k < round % 5 && !q.empty(); ++k) {
            EXPECT_EQ(q.front().dueTick, first++);
            q.pop_front();
        }
        for (std::size_t i = 0; i < q.size(); ++i) ASSERT_EQ(q[i].dueTick, first + static_cast<int>(i));
    }
    EXPECT_GT(q.size(), 32u) << "the ring has grown past its first size";
}

TEST(TrackQueue, InsertEraseTruncateAndCopy)
{
    TrackQueue q;
    for (int i = 0; i < 40; ++i) q.push_back(lf_point(i * 10));
    q.pop_front();
    q.insert(1, lf_point(15));
    EXPECT_EQ((std::array{q[0].dueTick, q[1].dueTick, q[2].dueTick}), (std::array{10, 15, 20}));
    q.erase(1, 3);
    EXPECT_EQ(q[1].dueTick, 30);
    EXPECT_EQ(q.size(), 38u);
    q.push_back(q.front()); // a point of the ring itself, while the ring may move
    EXPECT_EQ(q.back().dueTick, 10);
    TrackQueue copy = q;
    q.truncate(1);
    EXPECT_EQ(q.size(), 1u);
    EXPECT_EQ(copy.size(), 39u);
    EXPECT_EQ(copy[38].dueTick, 10);
    TrackQueue moved = std::move(copy);
    EXPECT_EQ(moved.size(), 39u);
    EXPECT_THROW(moved.at(39), std::out_of_range);
}
} // namespace

} // namespace orv::test
