// The user's airport: set where the user's aircraft stands on the ground, kept
// on the ground, left when the aircraft flies out of sight; the feed and the
// engine see the same airport.
#include "core/parameters.h"
#include "core/user_position.h"
#include "feed/park_view.h"
#include "parking/parking.h"
#include "traffic/engine_parts.h"

#include <gtest/gtest.h>

namespace orv {
namespace {

/// Degrees of latitude in one nautical mile.
constexpr double degPerNm = 1.0 / 60.0;

class UserAirport : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_resetParameters();
        ownPosition = {};
        gf_userAirportCheck(true);
    }
    void TearDown() override
    {
        ownPosition = {};
        gf_publishParkView(ParkView{});
        gf_userAirportCheck(true);
    }
    static void place(double LAT, double LON, bool ON_GROUND, double ALTITUDE_FT = 0)
    {
        ownPosition.lat = LAT;
        ownPosition.lon = LON;
        ownPosition.onGround = ON_GROUND;
        ownPosition.altitudeFt = ALTITUDE_FT;
        ownPosition.groundAltFt = -11;
    }
};

TEST_F(UserAirport, NoPositionNoAirport)
{
    gf_userAirportCheck(false);
    EXPECT_FALSE(gf_parkView().airport);
}

TEST_F(UserAirport, OnTheGroundTheUsersPlaceIsTheAirport)
{
    place(52.3117, 4.7588, true);
    gf_userAirportCheck(false);
    const ParkView view = gf_parkView();
    ASSERT_TRUE(view.airport);
    EXPECT_DOUBLE_EQ(view.airport->lat, 52.3117);
    EXPECT_EQ(view.elevationFt, -11);
    EXPECT_FALSE(view.ready) << "no stand file";
    // The engine sees the same airport, without stands.
    EXPECT_TRUE(gf_parkAirportWithin({52.3117 + 4.9 * degPerNm, 4.7588}, 5));
    EXPECT_FALSE(gf_parkAirportWithin({52.3117 + 5.1 * degPerNm, 4.7588}, 5));
    EXPECT_EQ(gf_parkAirportElevation(), -11);
    // Taxiing away on the ground keeps it.
    place(52.3117 + 30 * degPerNm, 4.7588, true);
    gf_userAirportCheck(false);
    EXPECT_DOUBLE_EQ(gf_parkView().airport->lat, 52.3117);
}

TEST_F(UserAirport, InTheAirItStaysInSightAndGoesOutOfIt)
{
    place(52.3117, 4.7588, true);
    gf_userAirportCheck(false);
    place(52.3117 + (AIRPORT_RANGE.value - 1) * degPerNm, 4.7588, false, 3000);
    gf_userAirportCheck(false);
    EXPECT_TRUE(gf_parkView().airport) << "in range and below the height";
    place(52.3117 + (AIRPORT_RANGE.value - 1) * degPerNm, 4.7588, false, AIRPORT_HEIGHT.value + 500);
    gf_userAirportCheck(false);
    EXPECT_FALSE(gf_parkView().airport) << "above the height";
    EXPECT_FALSE(gf_parkAirportWithin({52.3117, 4.7588}, 5));
    // In the air no new airport is taken.
    place(52.3117, 4.7588, false, 1000);
    gf_userAirportCheck(false);
    EXPECT_FALSE(gf_parkView().airport);
}

TEST_F(UserAirport, ANewSessionLooksAgain)
{
    place(52.3117, 4.7588, true);
    gf_userAirportCheck(false);
    place(47.4582, 8.5555, true);
    gf_userAirportCheck(true);
    ASSERT_TRUE(gf_parkView().airport);
    EXPECT_DOUBLE_EQ(gf_parkView().airport->lat, 47.4582);
}

} // namespace
} // namespace orv
