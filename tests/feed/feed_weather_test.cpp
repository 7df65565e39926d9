// The QNH out of a weather answer, and the lamps of the two readers.
#include "feed/feed_session.h"
#include "feed_test_support.h"

namespace orv::test {
namespace {

class Weather : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        client.session = currentFeedSession;
        qnhShown = 1013;
        qnhEngine = 1013;
        client.qnh = 1013;
        weatherLamp = lampGood;
    }
    void take(const std::string& DATA)
    {
        gf_takeQnh(nlohmann::json::parse(DATA), "{\"data\":" + DATA + "}", client);
    }
};

TEST_F(Weather, QnhInHectopascalOrInchesOfAnyKind)
{
    struct Case {
        const char* data;
        std::int32_t hpa;
    };
    for (const Case& c : {Case{R"({"QNH":1020})", 1020}, {R"({"QNH":1008.6})", 1009}, {R"({"QNH":"997"})", 997},
                          {R"({"QNH":2992})", 1013}, {R"({"QNH":2950})", 999}, {R"({"QNH":"3001"})", 1016},
                          {R"({"QNH":930})", 930}, {R"({"QNH":1080})", 1080}}) {
        take(c.data);
        EXPECT_EQ(qnhShown, c.hpa) << c.data;
        EXPECT_EQ(qnhEngine, c.hpa) << c.data;
        EXPECT_EQ(client.qnh, c.hpa) << c.data;
    }
}

TEST_F(Weather, StrangeOrMissingQnhLeavesTheLastGoodValue)
{
    take(R"({"QNH":1021})");
    for (const char* data : {R"({"QNH":920})", R"({"QNH":2740})"}) {
        take(data);
        EXPECT_EQ(qnhShown, 1021) << data;
    }
    EXPECT_NE(logText().find("Strange QNH 920 found in {\"data\":{\"QNH\":920}}"), std::string::npos);
    EXPECT_NE(logText().find("Strange QNH 928 found in"), std::string::npos) << "2740 hundredths of an inch";
    for (const char* data : {R"({"METAR":"x"})", R"([1013])", R"({"QNH":null})", "null"}) {
        take(data);
        EXPECT_EQ(qnhShown, 1021) << data;
    }
    EXPECT_NE(logText().find("No QNH found in {\"data\":{\"METAR\":\"x\"}}"), std::string::npos);
    EXPECT_THROW(take(R"({"QNH":"high"})"), std::invalid_argument) << "the request's own handler logs it";
}

TEST_F(Weather, StandardPressureAlwaysGoesThroughAndRestoresTheLamp)
{
    weatherLamp = lampWaiting;
    take(R"({"QNH":1013})");
    EXPECT_EQ(weatherLamp, lampGood);
    weatherLamp = lampWaiting;
    take(R"({"QNH":1013})");
    EXPECT_EQ(weatherLamp, lampGood) << "1013 goes through even when unchanged";
    take(R"({"QNH":1002})");
    weatherLamp = lampWaiting;
    take(R"({"QNH":1002})");
    EXPECT_EQ(weatherLamp, lampWaiting) << "an unchanged value is not taken again";
    weatherLamp = lampFailed;
    take(R"({"QNH":1003})");
    EXPECT_EQ(weatherLamp, lampFailed) << "only a waiting lamp turns good";
}

TEST_F(Weather, AnEndedSessionsAnswerChangesNothing)
{
    client.session = currentFeedSession + 7;
    take(R"({"QNH":1030})");
    EXPECT_EQ(qnhShown, 1013);
    EXPECT_EQ(client.qnh, 1013);
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
    EXPECT_EQ(weatherLamp, lampGood);
    EXPECT_EQ(trafficLamp, lampGood);
    weatherValid = false;
    lineCount = 0;
    lf_updateLamps();
    EXPECT_EQ(weatherLamp, lampWaiting);
    EXPECT_EQ(trafficLamp, lampWaiting);
    trafficLamp = lampFailed;
    lf_updateLamps();
    EXPECT_EQ(trafficLamp, lampFailed) << "nothing changed, so nothing is shown anew";
    rtConnected = false;
}

} // namespace
} // namespace orv::test
