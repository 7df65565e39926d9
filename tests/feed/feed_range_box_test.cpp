// The range of the request, its box, and the time shift.
#include "core/geometry.h"
#include "feed_fixture.h"

namespace orv::test {
namespace {

class RangeBox : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        reset();
    }
    void TearDown() override
    {
        reset();
        FeedTest::TearDown();
    }
    static void reset()
    {
        gf_publishParkView(ParkView{});
        ownPosition = UserPosition{};
        gf_resetFeed();
    }
    void fly(double ALTITUDE_FT, std::optional<double> AIRPORT_DISTANCE_NM, bool ON_GROUND = false)
    {
        ownPosition.onGround = ON_GROUND;
        ownPosition.altitudeFt = ALTITUDE_FT;
        ParkView view;
        view.firstDistanceNm = AIRPORT_DISTANCE_NM;
        gf_publishParkView(view);
        lf_computeRange();
    }
};

TEST_F(RangeBox, RangeByParameterOrByHeightAndTheFirstParkAirport)
{
    AUTO_RANGE.value = false;
    LATERAL_RANGE.value = 25;
    fly(3000, 5.0);
    EXPECT_EQ(rangeNm, 25);
    EXPECT_EQ(aiRequestRadius, 25 * 1852 + 10000);
    EXPECT_FALSE(autoRangeActive);
    AUTO_RANGE.value = true;
    struct Case {
        double altitudeFt;
        std::optional<double> distanceNm;
        bool onGround;
        double rangeNm;
    };
    for (const Case& c : {Case{0, 50.0, true, 10}, {AUTO_RANGE_ABOVE_HEIGHT.value + 1.0, 5.0, false, 100},
                          {AIRPORT_HEIGHT.value + 1.0, 5.0, false, 40}, {3000, 7.0, false, 10}, {3000, 7.01, false, 10},
                          {3000, 20.0, false, 23}, {3000, 36.4, false, 39}, {3000, 36.99, false, 40},
                          {3000, 37.0, false, 40}, {3000, std::nullopt, false, 40}}) {
        fly(c.altitudeFt, c.distanceNm, c.onGround);
        EXPECT_EQ(rangeNm, c.rangeNm) << c.altitudeFt << " ft, " << c.distanceNm.value_or(-1) << " nm";
        EXPECT_EQ(autoRangeActive, c.rangeNm == 10);
    }
    fly(3000, 20.0);
    EXPECT_EQ(aiRequestRadius, 52596);
    EXPECT_EQ(LATERAL_RANGE.value, 23);
    // The shown value stays in its bounds, the range does not.
    LATERAL_RANGE.maximum = 60;
    fly(AUTO_RANGE_ABOVE_HEIGHT.value + 1.0, std::nullopt);
    EXPECT_EQ(rangeNm, 100);
    EXPECT_EQ(LATERAL_RANGE.value, 60);
    EXPECT_EQ(aiRequestRadius, 100 * 1852 + 10000);
    LATERAL_RANGE.maximum = 100;
}

TEST_F(RangeBox, BoxFollowsThePositionAndTheRange)
{
    rangeNm = 40;
    ownPosition.lat = 0.0005;
    ownPosition.lon = 0.01;
    lf_computeBox();
    EXPECT_TRUE(gf_rtBox().top == startBox.top && gf_rtBox().left == startBox.left) << "no position keeps the start box";
    ownPosition.lat = 52.3;
    ownPosition.lon = 4.76;
    lf_computeBox();
    Box box = gf_rtBox();
    const double d = 40 * 1.852 / 111.2;
    EXPECT_DOUBLE_EQ(box.top, 52.3 + d);
    EXPECT_DOUBLE_EQ(box.bottom, 52.3 - d);
    EXPECT_NEAR(gf_distance(52.3, 4.76, 52.3, box.left), 40, 0.05);
    EXPECT_NEAR(box.right - 4.76, 4.76 - box.left, 1e-9);
    EXPECT_GT(box.right - box.left, 2 * d) << "a degree of longitude is shorter up north";
    ownPosition.lat += 0.0001;
    ownPosition.lon -= 0.0001;
    lf_computeBox();
    EXPECT_DOUBLE_EQ(gf_rtBox().top, box.top) << "a move of 0.0001 degrees doesn't change the box";
    ownPosition.lon -= 0.0001;
    lf_computeBox();
    EXPECT_LT(gf_rtBox().left, box.left);
    box = gf_rtBox();
    rangeNm = 10;
    lf_computeBox();
    EXPECT_LT(gf_rtBox().top, box.top) << "a new range makes a new box where the position stands still";
}

TEST_F(RangeBox, TimeShiftIsSplitLimitedAndTakenByBothClients)
{
    const auto session = gf_newFeedSession();
    const auto shownAs = [] { return std::tuple{TIME_SHIFT_DAYS.value, TIME_SHIFT_HOURS.value, TIME_SHIFT_MINS.value}; };
    gf_setTimeShift(50000, true);
    EXPECT_EQ(session->weather.toffset, 40320);
    EXPECT_EQ(session->traffic.toffset, 40320);
    EXPECT_EQ(shownAs(), std::tuple(28, 0, 0));
    EXPECT_TRUE(timeShiftOn);
    EXPECT_NE(logText().find("Time shifting is limited to 4 weeks"), std::string::npos);
    EXPECT_EQ(logText().find("Time shifted"), std::string::npos) << "quiet";
    trafficResetRequested = false;
    gf_setTimeShift(1501, false);
    EXPECT_EQ(shownAs(), std::tuple(1, 1, 1));
    EXPECT_EQ(session->traffic.toffset, 1501);
    EXPECT_NE(logText().find("Time shifted 1501 minutes"), std::string::npos);
    EXPECT_TRUE(trafficResetRequested) << "a shift starts the picture anew";
    gf_setTimeShift(1, false);
    EXPECT_NE(logText().find("Time shifted 1 minute\n"), std::string::npos);
    gf_setTimeShift(0, true);
    EXPECT_FALSE(timeShiftOn);
    EXPECT_EQ(session->weather.toffset, 0);
    EXPECT_EQ(shownAs(), std::tuple(0, 0, 0));
    EXPECT_NE(logText().find("Time shift = 0"), std::string::npos);
    trafficResetRequested = false;
    // A stored shift is applied quietly, and a new session takes the running offset.
    TIME_SHIFT_HOURS.value = 2;
    TIME_SHIFT_MINS.value = 5;
    const auto logged = logText().size();
    gf_applyStoredTimeShift();
    EXPECT_EQ(logText().find("Time shift", logged), std::string::npos);
    EXPECT_TRUE(timeShiftOn);
    EXPECT_EQ(gf_newFeedSession()->weather.toffset, 125);
    TIME_SHIFT_HOURS.value = 0;
    TIME_SHIFT_MINS.value = 0;
    gf_applyStoredTimeShift();
    EXPECT_FALSE(timeShiftOn);
    EXPECT_EQ(gf_newFeedSession()->traffic.toffset, 0);
}

} // namespace
} // namespace orv::test
