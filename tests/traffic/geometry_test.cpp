// Great-circle helpers and the ring-buffer track.
#include "traffic/geometry.h"
#include "traffic/track_queue.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orv {
namespace {

TEST(Geometry, OneDegreeOfLatitudeIsSixtyNauticalMiles)
{
    EXPECT_NEAR(gf_distance(10.0, 20.0, 11.0, 20.0), 60.0, 0.01);
    EXPECT_NEAR(gf_distance(0.0, 0.0, 0.0, 1.0), 60.0, 0.01);
    EXPECT_NEAR(gf_distance(0.0, 179.5, 0.0, -179.5), 60.0, 0.01) << "across the date line";
    EXPECT_DOUBLE_EQ(gf_distance(47.0, 8.0, 47.0, 8.0), 0.0);
}

TEST(Geometry, BearingsOfTheCardinalDirections)
{
    struct Case {
        double lat2, lon2, expectedDeg;
    } cases[] = {{48, 8, 0}, {47, 9, 89.63}, {46, 8, 180}, {47, 7, 270.37}};
    for (const Case& c : cases) {
        const double deg = gf_bearing(47.0, 8.0, c.lat2, c.lon2) * radToDeg;
        EXPECT_NEAR(deg, c.expectedDeg, 0.01) << c.lat2 << " " << c.lon2;
        EXPECT_GE(deg, 0.0);
        EXPECT_LT(deg, 360.0);
    }
}

TEST(Geometry, DestinationComesBackByDistanceAndBearing)
{
    const LatLon start{47.0, 8.0};
    for (double course = 0; course < twoPi; course += 0.7) {
        for (double feet : {10.0, 1000.0, 100000.0}) {
            const LatLon to = gf_destination(start, course, feet);
            EXPECT_NEAR(gf_distance(start, to) * feetPerNm, feet, feet * 1e-6 + 1e-6);
            EXPECT_NEAR(std::fabs(gf_angleDiff(gf_bearing(start, to), course)), 0.0, 1e-6);
        }
    }
}

TEST(Geometry, AngleDifferenceIsSignedAndShortest)
{
    struct Case {
        double aDeg, bDeg, expectedDeg;
    } cases[] = {{10, 350, 20}, {350, 10, -20}, {90, 0, 90}, {0, 90, -90}, {180, 0, 180}, {725, 0, 5}, {-30, 30, -60}};
    for (const Case& c : cases)
        EXPECT_NEAR(gf_angleDiff(c.aDeg * degToRad, c.bDeg * degToRad) * radToDeg, c.expectedDeg, 1e-9)
            << c.aDeg << " - " << c.bDeg;
    EXPECT_NEAR(gf_wrapTwoPi(-0.5), twoPi - 0.5, 1e-12);
    EXPECT_NEAR(gf_wrapTwoPi(7.0), 7.0 - twoPi, 1e-12);
}

TEST(Geometry, PlaneRoundTrip)
{
    const LatLon origin{47.0, 8.0};
    const LatLon p = gf_fromPlane(origin, {120.0, -45.0});
    const PlaneXY back = gf_toPlane(origin, p.lat, p.lon);
    EXPECT_NEAR(back.east, 120.0, 1e-9);
    EXPECT_NEAR(back.north, -45.0, 1e-9);
    EXPECT_NEAR(gf_distance(origin, p) * metresPerNm, std::hypot(120.0, 45.0), 0.2);
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
    EXPECT_EQ(q[0].dueTick, 10);
    EXPECT_EQ(q[1].dueTick, 15);
    EXPECT_EQ(q[2].dueTick, 20);
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
} // namespace orv
