// The client against the stand-in service: login and logout, the form
// bodies, and a table of the answers each request can get and what each one
// does: the cycle's end, the status, the pace and the log.
#include "core/errors.h"
#include "feed_fixture.h"

namespace orv::test {
namespace {

class Client : public ServiceFeedTest {
  protected:
    std::shared_ptr<FeedSession> login()
    {
        lf_startRt();
        EXPECT_TRUE(gf_rtSessionExists());
        return gf_feedSession();
    }
};

TEST_F(Client, LoginSharesTheSessionAndLogoutEndsIt)
{
    const auto before = std::time(nullptr);
    const auto session = login();
    const std::string guid = gf_guidOf(session->weather);
    EXPECT_EQ(gf_guidOf(session->traffic), guid);
    EXPECT_TRUE(rtConnected);
    EXPECT_EQ(session->weather.rrl, 250);
    EXPECT_EQ(session->weather.wrrl, 300);
    EXPECT_GE(LAST_EPOCH_TIME.value, before);
    EXPECT_NE(logText().find("Authenticated at RT server \"standin-1\""), std::string::npos);
    EXPECT_EQ(requests("/v4/auth").at(0)["body"], "license=TESTKEY&software=TAVO_10.9.3");
    fail("deauth:500");
    lf_rtDeauth();
    EXPECT_TRUE(gf_rtSessionExists() && rtConnected) << "a failed logout keeps the session";
    EXPECT_NE(logText().find("Deauthentication failed, status: 500"), std::string::npos);
    LAST_EPOCH_TIME.value = 0;
    lf_rtDeauth();
    EXPECT_FALSE(gf_rtSessionExists());
    EXPECT_TRUE(gf_guidOf(session->traffic).empty());
    EXPECT_FALSE(rtConnected);
    EXPECT_TRUE(session->weather.stopRequested && session->traffic.stopRequested);
    EXPECT_GE(LAST_EPOCH_TIME.value, before);
    EXPECT_NE(logText().find("Deauthenticated RT server \"standin-1\""), std::string::npos);
    EXPECT_EQ(requests("/v4/deauth").at(1)["body"], "GUID=" + guid);
}

TEST_F(Client, RefusedLoginsRaiseAfterTheirMessageAndOthersLeaveNoSession)
{
    // The status, what is thrown, and what the window shows.
    const std::tuple<int, std::string, std::string> cases[] = {
        {402, "402: ", "The RT server refused the login with status 402: check the license"},
        {404, "404: ", "The RT server refused the login with status 404: check the license"},
        {405, "405: ", "More than one RealTraffic session is not possible, do not run the RealTraffic app"},
        {500, "sys error 500: No RT database connection", ""},
    };
    for (const auto& [status, thrown, shown] : cases) {
        fail("auth:" + std::to_string(status));
        try {
            lf_startRt();
            ADD_FAILURE() << status << " was accepted";
        } catch (const std::exception& e) {
            EXPECT_EQ(e.what(), thrown + (status == 500 ? "" : shown));
        }
        EXPECT_EQ(errorText, shown);
        gf_clearError();
    }
    EXPECT_FALSE(gf_rtSessionExists() || rtConnected);
    // A login answer without a GUID keeps its placeholder; the first request then fails with the service's status.
    failWith("auth", R"({"status":200})");
    const auto session = login();
    EXPECT_EQ(gf_guidOf(session->traffic), "empty GUID?");
    EXPECT_EQ(session->weather.rrl, 2000);
    EXPECT_NE(logText().find("Authenticated at RT server \"?\""), std::string::npos);
    std::int32_t status = 0;
    EXPECT_EQ(lf_rtTraffic(session->traffic, status), CycleEnd::endLoop);
    EXPECT_EQ(status, 401);
    // An unreachable service: no session, no exception.
    gf_stopService(*service);
    EXPECT_NO_THROW(lf_startRt());
    EXPECT_FALSE(gf_rtSessionExists());
    EXPECT_NE(logText().find("Authentication code: "), std::string::npos);
}

TEST_F(Client, FormBodiesCarryTheirNumbersAsTheFormatsSay)
{
    const auto session = login();
    const std::string guid = gf_guidOf(session->weather);
    std::int32_t status = 0;
    EXPECT_EQ(lf_rtWeather(session->weather, session->traffic, status), CycleEnd::goOn);
    gf_holdReader(session->weather, 300);
    EXPECT_TRUE(lf_rtNearestMetar(session->weather, status));
    EXPECT_EQ(lf_rtWeather(session->weather, session->traffic, status), CycleEnd::goOn);
    EXPECT_EQ(lf_rtTraffic(session->traffic, status), CycleEnd::goOn);
    gf_holdReader(session->traffic, 250);
    EXPECT_TRUE(lf_rtBufferTraffic(session->traffic, status));
    EXPECT_EQ(requests("/v4/nearestmetar").at(0)["body"], "GUID=" + guid + "&toffset=0&lat=52.3086&lon=4.7639");
    const auto weather = requests("/v4/weather");
    ASSERT_EQ(weather.size(), 2u);
    const std::string place = "&querytype=locwx&toffset=0&lat=52.3086&lon=4.7639&alt=1200&airports=";
    EXPECT_EQ(weather[0]["body"], "GUID=" + guid + place) << "the station is named once known";
    EXPECT_EQ(weather[1]["body"], "GUID=" + guid + place + "EHAM");
    const Box box = gf_rtBox();
    const std::string area = fmt::format("&top={:.2f}&bottom={:.2f}&left={:.2f}&right={:.2f}", box.top, box.bottom, box.left, box.right);
    const auto traffic = requests("/v4/traffic");
    ASSERT_EQ(traffic.size(), 2u);
    EXPECT_EQ(traffic[0]["body"], "GUID=" + guid + area + "&querytype=locationtraffic&toffset=0");
    EXPECT_EQ(traffic[1]["body"], "GUID=" + guid + area + "&querytype=locationtraffic&toffset=0&buffercount=5&buffertime=6");
    for (const auto& request : requests()) EXPECT_EQ(request["status"], 200) << request.dump();
}

struct AnswerCase {
    const char* request;
    const char* answer;  ///< a failure of the service, a custom body ("{..."), or "" for the normal answer
    /// traffic: "end status lines rrl"; weather: "end status qnh"; nearestmetar: "ok status station [valid]"
    const char* outcome;
    const char* logged = "";
};

const AnswerCase answerCases[] = {
    {"traffic", "", "goOn 200 6 250"}, // the recording's six aircraft are all in range
    {"traffic", "406", "goOn 406 0 777", "curl traffic msg Too many requests, slow down"}, // a slow-down keeps the pace
    {"traffic", "empty", "goOn 0 0 777", "traffic receive: empty content"},
    {"traffic", "notjson", "goOn 0 0 777", "traffic exception: "},
    {"traffic", R"({"status":200,"data":{}})", "goOn 200 0 2000"}, // an answer without rrl sets the pace back
    {"traffic", R"({"status":200,"data":[1,2]})", "goOn 200 0 2000", "traffic exception: data is array, no object"},
    {"traffic", R"({"status":200,"rrl":250,"data":null})", "goOn 200 0 250"},
    {"traffic", "textstatus", "endLoop 100 0 777"}, // a status sent as text counts as missing
    {"traffic", "403", "endLoop 403 0 777"},
    {"nearestmetar", "", "true 200 EHAM valid"},
    {"nearestmetar", R"({"status":200,"data":[]})", "false 200 "},
    {"nearestmetar", "500", "false 500 ", "500 json nearestmetar Database error"},
    {"nearestmetar", "empty", "false 0 ", "nearest metar: empty content"},
    {"weather", "", "goOn 200 1013"},
    {"weather", R"({"status":200,"wrrl":300,"data":{"QNH":"2992"}})", "goOn 200 1013"},
    {"weather", R"({"status":200,"wrrl":300,"data":{"QNH":"low"}})", "goOn 200 0", "weather exception: "},
    {"weather", "406", "goOn 406 0", "406 json weather Too many requests, slow down"},
    {"weather", "empty", "goOn 0 0", "Empty content?, no QNH to be found"},
    {"weather", "403", "endLoop 403 0"},
};

TEST_F(Client, EachAnswerHasItsEffect)
{
    const auto session = login();
    RtClient &traffic = session->traffic, &weather = session->weather;
    const auto ended = [](CycleEnd END) { return END == CycleEnd::goOn ? "goOn" : "endLoop"; };
    for (const auto& c : answerCases) {
        const std::string request = c.request, answer = c.answer;
        if (answer.starts_with("{")) failWith(request, answer);
        else if (!answer.empty()) fail(request + ":" + answer);
        std::int32_t status = 0;
        std::string outcome;
        if (request == "traffic") {
            gf_holdReader(traffic, 250);
            traffic.lines.clear();
            traffic.rrl = 777;
            const CycleEnd end = lf_rtTraffic(traffic, status);
            outcome = fmt::format("{} {} {} {}", ended(end), status, traffic.lines.size(), traffic.rrl);
        } else if (request == "weather") {
            gf_holdReader(weather, 300);
            traffic.qnh = 0;
            qnhShown = 0;
            const CycleEnd end = lf_rtWeather(weather, traffic, status);
            outcome = fmt::format("{} {} {}", ended(end), status, traffic.qnh);
        } else {
            gf_holdReader(weather, 300);
            const bool ok = lf_rtNearestMetar(weather, status);
            outcome = fmt::format("{} {} {}{}", ok, status, gf_metarStation(), weatherValid ? " valid" : "");
        }
        EXPECT_EQ(outcome, c.outcome) << request << " " << answer;
        EXPECT_NE(logText().find(c.logged), std::string::npos) << c.logged;
    }
    EXPECT_EQ(counters().paceViolations, 0u);
    qnhShown = standardQnh;
}

class ParkedClient : public Client {
  protected:
    void SetUp() override
    {
        Client::SetUp();
        gf_clearDbase();
        allModels = {"B738", "A320"};
        largeModels = {"B738", "A320"};
        MAX_FIT.value = 5;
    }
    void TearDown() override
    {
        gf_clearDbase();
        Client::TearDown();
    }
    std::string parkedText(double NOW) override
    {
        // Ages in half hours: D1 twice (1 and 3), D2 with KLM1 again at D3
        // (younger), D4 too old, D5 fresh; one report far outside the box.
        const auto at = [&](int HALF_HOURS) { return static_cast<long long>(NOW) - HALF_HOURS * 1800; };
        return fmt::format("{{\"400001\": [52.3090, 4.7610, \"D1\", \"B738\", \"PH-AAA\", {}, \"KLM1\"]}}\n"
                           "{{\"400002\": [52.3091, 4.7611, \"D1\", \"A320\", \"PH-AAB\", {}, \"KLM2\"]}}\n"
                           "{{\"400003\": [52.3092, 4.7612, \"D2\", \"B738\", \"PH-AAC\", {}, \"KLM3\"]}}\n"
                           "{{\"400004\": [52.3093, 4.7613, \"D3\", \"B738\", \"PH-AAD\", {}, \"KLM3\"]}}\n"
                           "{{\"400005\": [52.3094, 4.7614, \"D4\", \"B738\", \"PH-AAE\", {}, \"KLM5\"]}}\n"
                           "{{\"400006\": [52.3095, 4.7615, \"D5\", \"B738\", \"PH-AAF\", 0, \"KLM6\"]}}\n"
                           "{{\"400007\": [51.0000, 4.0000, \"X1\", \"B738\", \"PH-AAG\", 0, \"KLM7\"]}}\n",
                           at(3), at(1), at(4), at(2), at(9));
    }
};

TEST_F(ParkedClient, YoungestFirstOnePerStandAndCallsign)
{
    RtClient& traffic = login()->traffic;
    ASSERT_TRUE(lf_parkedTraffic(traffic));
    std::vector<std::string> stands;
    for (const auto& line : traffic.parkedLines) stands.push_back(fmt::format("{} {}", line.standName, line.halfHour));
    EXPECT_EQ(stands, (std::vector<std::string>{"D5 0", "D1 1", "D3 2"}));
    const Box box = gf_boxAround(parkAirport, 3.0);
    const std::string body = requests("/v4/traffic").at(0)["body"];
    EXPECT_NE(body.find(fmt::format("top={:.2f}&bottom={:.2f}", box.top, box.bottom)), std::string::npos);
    gf_holdReader(traffic, 250);
    RT_PARKTRAFFIC_ONLY.value = true;
    ASSERT_TRUE(lf_parkedTraffic(traffic));
    EXPECT_EQ(traffic.parkedLines.back().standName, "D4") << "no age limit";
    RT_PARKTRAFFIC_ONLY.value = false;
}

TEST_F(ParkedClient, FailuresOfTheParkedRequest)
{
    RtClient& traffic = login()->traffic;
    fail("parked:401");
    EXPECT_FALSE(lf_parkedTraffic(traffic));
    EXPECT_NE(logText().find("RT Parked traffic: re-authentication to RT API is needed TAVO"), std::string::npos);
    fail("parked:403");
    EXPECT_FALSE(lf_parkedTraffic(traffic));
    EXPECT_NE(logText().find("RT parkedtraffic error status: 403"), std::string::npos);
    fail("parked:400");
    try {
        (void)lf_parkedTraffic(traffic);
        ADD_FAILURE() << "no exception";
    } catch (const SysErrorException& e) {
        EXPECT_EQ(e.code, 400);
        EXPECT_NE(std::string(e.what()).find("RT API parameter fault"), std::string::npos);
    }
}

} // namespace
} // namespace orv::test
