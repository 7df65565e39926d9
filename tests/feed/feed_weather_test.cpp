// The QNH out of a weather answer, and the lamps of the two readers.
#include "feed_fixture.h"

namespace orv::test {
namespace {

class Weather : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        client.session = currentFeedSession;
        qnhShown = qnhEngine = client.qnh = 1013;
        weatherLamp = lampGood;
    }
    /// Takes the answer's DATA; the QNH then shown, engine's and client's alike.
    std::int32_t take(const std::string& DATA)
    {
        gf_takeQnh(nlohmann::json::parse(DATA), "{\"data\":" + DATA + "}", client);
        EXPECT_TRUE(qnhEngine == qnhShown && client.qnh == qnhShown) << DATA;
        return qnhShown;
    }
};

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

} // namespace
} // namespace orv::test
