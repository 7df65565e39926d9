// Great-circle helpers and the local plane.
#include "core/geometry.h"

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
    // from 47 N 8 E to lat, lon: degrees
    const double cases[][3] = {{48, 8, 0}, {47, 9, 89.63}, {46, 8, 180}, {47, 7, 270.37}};
    for (const auto& [lat, lon, expected] : cases) {
        const double deg = gf_bearing(47.0, 8.0, lat, lon) * radToDeg;
        EXPECT_NEAR(deg, expected, 0.01) << lat << " " << lon;
        EXPECT_GE(deg, 0.0);
        EXPECT_LT(deg, 360.0);
    }
}

TEST(Geometry, DestinationComesBackByDistanceAndBearing)
{
    const LatLon start{47.0, 8.0};
    for (double course = 0; course < twoPi; course += 0.7)
        for (double feet : {10.0, 1000.0, 100000.0}) {
            const LatLon to = gf_destination(start, course, feet);
            EXPECT_NEAR(gf_distance(start, to) * feetPerNm, feet, feet * 1e-6 + 1e-6);
            EXPECT_NEAR(std::fabs(gf_angleDiff(gf_bearing(start, to), course)), 0.0, 1e-6);
        }
}

TEST(Geometry, AngleDifferenceIsSignedAndShortest)
{
    // a, b, a - b in degrees
    const double cases[][3] = {{10, 350, 20}, {350, 10, -20}, {90, 0, 90},  {0, 90, -90},
                               {180, 0, 180}, {725, 0, 5},    {-30, 30, -60}};
    for (const auto& [a, b, expected] : cases)
        EXPECT_NEAR(gf_angleDiff(a * degToRad, b * degToRad) * radToDeg, expected, 1e-9) << a << " - " << b;
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

} // namespace
} // namespace orv
