// The feed's state beside the readers: the range of the request, its box and
// the time shift; the QNH of a weather answer and the readers' lamps; the
// time model's due ticks and the hand-over to the main thread.
#include <algorithm>
#include <map>
#include <random>
#include <utility>

#include "core/geometry.h"
#include "feed_fixture.h"

namespace orv::test {
namespace {


constexpr std::int32_t now = 50000, due = now + liveDelaySeconds * 100;

/// The state beside the readers from a clean start: no park view and no
/// position, a new feed session whose client this is, standard pressure, a
/// good weather lamp, and the main loop running at the tick `now`.
class FeedState : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        reset();
        client.session = currentFeedSession;
        qnhShown = qnhEngine = client.qnh = 1013;
        weatherLamp = lampGood;
        engineTick = now;
        runLoop(true);
    }
    void TearDown() override
    {
        reset();
        runLoop(false);
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
    /// Takes the answer's DATA; the QNH then shown, engine's and client's alike.
    std::int32_t take(const std::string& DATA)
    {
        gf_takeQnh(nlohmann::json::parse(DATA), "{\"data\":" + DATA + "}", client);
        EXPECT_TRUE(qnhEngine == qnhShown && client.qnh == qnhShown) << DATA;
        return qnhShown;
    }
    /// A batch of lines at TIMES, of the aircraft 0x100001, 0x100002 and on.
    void hand(const std::vector<double>& TIMES, int DELAY_SECONDS = liveDelaySeconds)
    {
        for (const double time : TIMES) {
            TrafficLine line;
            line.timestamp = time;
            line.hexid = 0x100001 + static_cast<std::uint32_t>(client.lines.size());
            client.lines.push_back(line);
        }
        lf_handOverLines(client, DELAY_SECONDS);
    }
};
using RangeBox = FeedState;
using Weather = FeedState;
using TimeModel = FeedState;

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
    // Minutes asked, quietly or not: the offset of both clients, the boxes shown, a picture anew, and the log.
    const std::tuple<int, bool, const char*, const char*> cases[] = {
        {50000, true, "40320 28d 0h 0m on", "Time shifting is limited to 4 weeks"},
        {1501, false, "1501 1d 1h 1m on anew", "Time shifted 1501 minutes\n"},
        {1, false, "1 0d 0h 1m on anew", "Time shifted 1 minute\n"},
        {0, true, "0 0d 0h 0m off", "Time shift = 0\n"},
    };
    for (const auto& [minutes, quiet, state, logged] : cases) {
        trafficResetRequested = false;
        const auto before = logText().size();
        gf_setTimeShift(minutes, quiet);
        EXPECT_EQ(session->weather.toffset, session->traffic.toffset);
        EXPECT_EQ(fmt::format("{} {}d {}h {}m {}{}", session->traffic.toffset.load(), TIME_SHIFT_DAYS.value,
                              TIME_SHIFT_HOURS.value, TIME_SHIFT_MINS.value, timeShiftOn ? "on" : "off",
                              trafficResetRequested ? " anew" : ""),
                  state);
        const std::string log = logText().substr(before);
        EXPECT_NE(log.find(logged), std::string::npos) << minutes;
        EXPECT_TRUE(!quiet || log.find("Time shifted") == std::string::npos) << minutes;
    }
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


TEST_F(Weather, QnhInHectopascalOrInchesOfAnyKindAndStrangeOrMissingValuesLeaveTheLastGoodOne)
{
    const std::pair<const char*, std::int32_t> cases[] = {
        {R"({"QNH":1020})", 1020}, {R"({"QNH":1008.6})", 1009}, {R"({"QNH":"997"})", 997}, {R"({"QNH":2992})", 1013},
        {R"({"QNH":2950})", 999},  {R"({"QNH":"3001"})", 1016}, {R"({"QNH":930})", 930},   {R"({"QNH":1080})", 1080},
        {R"({"QNH":1021})", 1021}, {R"({"QNH":920})", 1021},    {R"({"QNH":2740})", 1021}, {R"({"METAR":"x"})", 1021},
        {R"([1013])", 1021},       {R"({"QNH":null})", 1021},   {"null", 1021},
    };
    for (const auto& [data, hpa] : cases) EXPECT_EQ(take(data), hpa) << data;
    const std::string log = logText();
    for (const char* line : {"Strange QNH 920 found in {\"data\":{\"QNH\":920}}", "Strange QNH 928 found in", // 2740 inches
                             "No QNH found in {\"data\":{\"METAR\":\"x\"}}"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
    EXPECT_THROW(take(R"({"QNH":"high"})"), std::invalid_argument) << "the request's own handler logs it";
}

TEST_F(Weather, StandardPressureAlwaysGoesThroughAndRestoresTheLamp)
{
    for (int i = 0; i < 2; ++i) {
        weatherLamp = lampWaiting;
        take(R"({"QNH":1013})");
        EXPECT_EQ(weatherLamp, lampGood) << "1013 goes through even when unchanged";
    }
    take(R"({"QNH":1002})");
    weatherLamp = lampWaiting;
    take(R"({"QNH":1002})");
    EXPECT_EQ(weatherLamp, lampWaiting) << "an unchanged value is not taken again";
    weatherLamp = lampFailed;
    take(R"({"QNH":1003})");
    EXPECT_EQ(weatherLamp, lampFailed) << "only a waiting lamp turns good";
    client.session = currentFeedSession + 7;
    EXPECT_EQ(take(R"({"QNH":1030})"), 1003) << "an ended session's answer changes nothing";
}

TEST_F(Weather, LampsFollowWeatherAndLinesOnlyWhileConnected)
{
    gf_setReaderLampsWaiting();
    rtConnected = false;
    weatherValid = true;
    lineCount = 5;
    lf_updateLamps();
    EXPECT_EQ(weatherLamp, lampWaiting);
    rtConnected = true;
    lf_updateLamps();
    EXPECT_TRUE(weatherLamp == lampGood && trafficLamp == lampGood);
    weatherValid = false;
    lineCount = 0;
    lf_updateLamps();
    EXPECT_TRUE(weatherLamp == lampWaiting && trafficLamp == lampWaiting);
    trafficLamp = lampFailed;
    lf_updateLamps();
    EXPECT_EQ(trafficLamp, lampFailed) << "nothing changed, so nothing is shown anew";
    rtConnected = false;
}


TEST_F(TimeModel, LinesKeepTheirTimesRoundTheMedianToATenth)
{
    const std::pair<std::vector<double>, std::vector<std::int32_t>> batches[] = {
        {{1700000000.37}, {due}}, // a single line is due exactly the delay ahead
        // Sorted: 99.5, 100, 101.25, 103; the median is element 4 / 2. -1.25 s: trunc(-12.5) tenths.
        {{100.0, 101.25, 99.5, 103.0}, {due - 120, due, due - 170, due + 170}},
        {{0, 1e9}, {due - 8640000, due}}, // a wild time is bent back to a day from the median
    };
    for (const auto& [times, ticks] : batches) {
        hand(times);
        EXPECT_TRUE(client.lines.empty());
        std::vector<std::int32_t> got;
        for (const auto& line : drain()) got.push_back(line.point.dueTick);
        EXPECT_EQ(got, ticks);
    }
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::vector<double> times;
        for (int i = std::uniform_int_distribution<int>(1, 60)(random); i > 0; --i)
            times.push_back(1700000000 + std::uniform_real_distribution<double>(-20, 20)(random));
        hand(times);
        const auto lines = drain();
        ASSERT_EQ(lines.size(), times.size());
        for (const auto& line : lines) {
            const double wanted = (line.timestamp - lines[0].timestamp) * 100;
            EXPECT_LT(std::abs(line.point.dueTick - lines[0].point.dueTick - wanted), 20.0);
            EXPECT_EQ(line.point.dueTick % 10, 0);
        }
        std::sort(times.begin(), times.end());
        const auto median = std::find_if(lines.begin(), lines.end(),
                                         [&](const TrafficLine& L) { return L.timestamp == times[times.size() / 2]; });
        EXPECT_EQ(median->point.dueTick, due) << "the median line itself lands on the mark";
    }
}

TEST_F(TimeModel, WhatIsNotHandedOver)
{
    client.lastTimestamp = 1700000000;
    hand({});
    EXPECT_EQ(client.lastTimestamp, 0) << "an empty batch clears the last timestamp";
    // Of two batches within one drain the second is lost whole, and not kept for later either.
    hand({100, 101});
    hand({102});
    const auto lines = drain();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].hexid, 0x100001u);
    EXPECT_TRUE(client.lines.empty());
    runLoop(false);
    hand({100});
    EXPECT_TRUE(drain().empty()) << "nothing while the loop stands still";
    runLoop(true);
    client.session = currentFeedSession + 1000;
    hand({100});
    client.history.push_back(TrafficLine{});
    lf_handOverHistory(client);
    EXPECT_TRUE(drain().empty()) << "a client of an ended session reaches nothing";
    EXPECT_TRUE(client.history.empty());
}

TEST_F(TimeModel, HistoryGoesToTheMainThreadOldestFirstWithItsDueTicks)
{
    runLoop(false); // the buffered start comes before the loop runs
    for (int slice = 0; slice < 5; ++slice) {
        hand({1000.0 + 6 * slice, 1000.5 + 6 * slice}, 6 * slice);
        EXPECT_TRUE(drain().empty()) << "history waits for the whole buffer";
    }
    lf_handOverHistory(client);
    auto lines = drain();
    ASSERT_EQ(lines.size(), 10u);
    // The engine takes from the end: each aircraft's points come oldest first.
    std::reverse(lines.begin(), lines.end());
    std::map<std::uint32_t, const TrafficLine*> last;
    for (const TrafficLine& line : lines) {
        if (last.contains(line.hexid)) {
            EXPECT_GT(line.timestamp, last[line.hexid]->timestamp);
            EXPECT_GT(line.point.dueTick, last[line.hexid]->point.dueTick);
        }
        last[line.hexid] = &line;
    }
    EXPECT_EQ(lines[1].point.dueTick, now); // buffer_4's median line lands now
    EXPECT_EQ(lines[0].point.dueTick, now - 50);
    EXPECT_EQ(lines.back().point.dueTick, now + 2400);
}

} // namespace
} // namespace orv::test
