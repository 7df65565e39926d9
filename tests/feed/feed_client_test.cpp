// The client against the stand-in service: login and logout, the form
// bodies, the paces the answers hand out, and what each kind of faulty
// answer does.
#include "core/errors.h"
#include "feed_service_fixture.h"
#include "liveries/dbase.h"

namespace orv::test {
namespace {

class Client : public ServiceFeedTest {
  protected:
    std::shared_ptr<FeedSession> login()
    {
        lf_startRt();
        auto session = gf_feedSession();
        EXPECT_TRUE(gf_rtSessionExists());
        return session;
    }
};

TEST_F(Client, LoginShareTheSessionAndLogoutEndsIt)
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
    const auto auth = requestsTo("/v4/auth");
    ASSERT_EQ(auth.size(), 1u);
    EXPECT_EQ(auth[0]["body"], "license=TESTKEY&software=TAVO_10.9.3");

    LAST_EPOCH_TIME.value = 0;
    lf_rtDeauth();
    EXPECT_FALSE(gf_rtSessionExists());
    EXPECT_TRUE(gf_guidOf(session->traffic).empty());
    EXPECT_FALSE(rtConnected);
    EXPECT_TRUE(session->weather.stopRequested && session->traffic.stopRequested);
    EXPECT_GE(LAST_EPOCH_TIME.value, before);
    EXPECT_NE(logText().find("Deauthenticated RT server \"standin-1\""), std::string::npos);
    EXPECT_EQ(requestsTo("/v4/deauth").at(0)["body"], "GUID=" + guid);
}

TEST_F(Client, AFailedLogoutKeepsTheSession)
{
    const auto session = login();
    fail("deauth:500");
    lf_rtDeauth();
    EXPECT_TRUE(gf_rtSessionExists());
    EXPECT_TRUE(rtConnected);
    EXPECT_NE(logText().find("Deauthentication failed, status: 500"), std::string::npos);
}

TEST_F(Client, RefusedLoginsRaiseAfterTheirMessage)
{
    for (const int status : {402, 404}) {
        fail("auth:" + std::to_string(status));
        try {
            lf_startRt();
            ADD_FAILURE() << status;
        } catch (const UserErrorException& e) {
            EXPECT_EQ(e.code, status);
            EXPECT_NE(errorText.find(std::to_string(status)), std::string::npos) << errorText;
        }
        gf_clearError();
    }
    fail("auth:405");
    try {
        lf_startRt();
        ADD_FAILURE();
    } catch (const UserErrorException& e) {
        EXPECT_EQ(e.code, 405);
        EXPECT_EQ(errorText, "More than one RealTraffic session is not possible, do not run the RealTraffic app");
    }
    fail("auth:500");
    try {
        lf_startRt();
        ADD_FAILURE();
    } catch (const SysErrorException& e) {
        EXPECT_EQ(e.code, 500);
        EXPECT_NE(std::string(e.what()).find("No RT database connection"), std::string::npos);
    }
    EXPECT_FALSE(gf_rtSessionExists());
    EXPECT_FALSE(rtConnected);
}

TEST_F(Client, AnUnreachableServiceLeavesNoSessionAndNoException)
{
    gf_stopService(*service);
    EXPECT_NO_THROW(lf_startRt());
    EXPECT_FALSE(gf_rtSessionExists());
    EXPECT_NE(logText().find("Authentication code: "), std::string::npos);
}

TEST_F(Client, ALoginAnswerWithoutGuidKeepsItsPlaceholder)
{
    failWith("auth", R"({"status":200})");
    const auto session = login();
    EXPECT_EQ(gf_guidOf(session->traffic), "empty GUID?");
    EXPECT_EQ(session->weather.rrl, 2000);
    EXPECT_NE(logText().find("Authenticated at RT server \"?\""), std::string::npos);
    std::int32_t status = 0;
    EXPECT_EQ(lf_rtTraffic(session->traffic, status), CycleEnd::endLoop);
    EXPECT_EQ(status, 401) << "the first request fails with the service's status";
}

TEST_F(Client, FormBodiesCarryTheirNumbersAsTheFormatsSay)
{
    const auto session = login();
    const std::string guid = gf_guidOf(session->weather);
    std::int32_t status = 0;
    {
        std::lock_guard lock(service->lock);
        service->state.setup.station.clear();
    }
    EXPECT_FALSE(lf_rtNearestMetar(session->weather, status)) << "no station found";
    EXPECT_EQ(status, 200);
    EXPECT_FALSE(weatherValid);
    EXPECT_EQ(lf_rtWeather(session->weather, session->traffic, status), CycleEnd::goOn);
    {
        std::lock_guard lock(service->lock);
        service->state.setup.station = "EHAM";
    }
    gf_holdReader(session->weather, 300);
    EXPECT_TRUE(lf_rtNearestMetar(session->weather, status));
    EXPECT_TRUE(weatherValid);
    EXPECT_EQ(gf_metarStation(), "EHAM");
    EXPECT_EQ(lf_rtWeather(session->weather, session->traffic, status), CycleEnd::goOn);
    EXPECT_EQ(lf_rtTraffic(session->traffic, status), CycleEnd::goOn);
    gf_holdReader(session->traffic, 250);
    EXPECT_TRUE(lf_rtBufferTraffic(session->traffic, status));

    const auto metar = requestsTo("/v4/nearestmetar");
    ASSERT_EQ(metar.size(), 2u);
    EXPECT_EQ(metar[0]["body"], "GUID=" + guid + "&toffset=0&lat=52.3086&lon=4.7639");
    const auto weather = requestsTo("/v4/weather");
    ASSERT_EQ(weather.size(), 2u);
    EXPECT_EQ(weather[0]["body"],
              "GUID=" + guid + "&querytype=locwx&toffset=0&lat=52.3086&lon=4.7639&alt=1200&airports=");
    EXPECT_EQ(weather[1]["body"],
              "GUID=" + guid + "&querytype=locwx&toffset=0&lat=52.3086&lon=4.7639&alt=1200&airports=EHAM");
    const Box box = gf_rtBox();
    const std::string area =
        fmt::format("top={:.2f}&bottom={:.2f}&left={:.2f}&right={:.2f}", box.top, box.bottom, box.left, box.right);
    const auto traffic = requestsTo("/v4/traffic");
    ASSERT_EQ(traffic.size(), 2u);
    EXPECT_EQ(traffic[0]["body"], "GUID=" + guid + "&" + area + "&querytype=locationtraffic&toffset=0");
    EXPECT_EQ(traffic[1]["body"],
              "GUID=" + guid + "&" + area + "&querytype=locationtraffic&toffset=0&buffercount=5&buffertime=6");
    for (const auto& request : requests()) EXPECT_EQ(request["status"], 200) << request.dump();
}

TEST_F(Client, FormValuesAreEscaped)
{
    // Every character that means something in a form body, and a blank.
    const std::string licence = "A&B=C+D%25 E";
    {
        std::lock_guard lock(service->lock);
        service->state.setup.licences = {licence};
        service->state.setup.station = "E&H=M";
    }
    RT_LICENSE.value = licence;
    const auto session = login();
    ASSERT_TRUE(gf_rtSessionExists()) << "the service took the licence for another";
    {
        std::lock_guard lock(service->lock);
        ASSERT_EQ(service->state.sessions.size(), 1u);
        EXPECT_EQ(service->state.sessions[0].licence, licence);
    }
    std::int32_t status = 0;
    EXPECT_TRUE(lf_rtNearestMetar(session->weather, status));
    EXPECT_EQ(gf_metarStation(), "E&H=M");
    lf_rtWeather(session->weather, session->traffic, status);
    const struct {
        const char* path;
        std::string encoded;
    } cases[] = {{"/v4/auth", "license=A%26B%3DC%2BD%2525%20E&software=TAVO_10.9.3"},
                 {"/v4/weather", "&airports=E%26H%3DM"}};
    for (const auto& c : cases) {
        const auto sent = requestsTo(c.path);
        ASSERT_FALSE(sent.empty()) << c.path;
        EXPECT_NE(sent.back()["body"].get<std::string>().find(c.encoded), std::string::npos) << sent.back()["body"];
    }
}

TEST_F(Client, PacesComeWithEachGoodAnswer)
{
    const auto session = login();
    RtClient& traffic = session->traffic;
    std::int32_t status = 0;
    traffic.rrl = 777;
    lf_rtTraffic(traffic, status);
    EXPECT_EQ(traffic.rrl, 250);
    gf_holdReader(traffic, 250);
    failWith("traffic", R"({"status":200,"data":{}})");
    lf_rtTraffic(traffic, status);
    EXPECT_EQ(traffic.rrl, 2000) << "an answer without rrl sets the pace back";
    traffic.rrl = 777;
    fail("traffic:406");
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::goOn);
    EXPECT_EQ(status, 406);
    EXPECT_EQ(traffic.rrl, 777) << "a slow-down leaves the pace";
    EXPECT_NE(logText().find("curl traffic msg Too many requests, slow down"), std::string::npos);
}

TEST_F(Client, FaultyTrafficAnswersAreLoggedAndTheReaderGoesOn)
{
    const auto session = login();
    RtClient& traffic = session->traffic;
    std::int32_t status = 0;
    fail("traffic:empty");
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::goOn);
    EXPECT_NE(logText().find("traffic receive: empty content"), std::string::npos);
    gf_holdReader(traffic, 250);
    fail("traffic:notjson");
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::goOn);
    EXPECT_NE(logText().find("traffic exception: "), std::string::npos);
    gf_holdReader(traffic, 250);
    failWith("traffic", R"({"status":200,"data":[1,2]})");
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::goOn);
    EXPECT_NE(logText().find("traffic exception: data is array, no object"), std::string::npos);
    EXPECT_TRUE(traffic.lines.empty());
    gf_holdReader(traffic, 250);
    fail("traffic:textstatus");
    status = 0;
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::endLoop);
    EXPECT_EQ(status, 100) << "a status sent as text counts as missing";
    gf_holdReader(traffic, 250);
    status = 0;
    failWith("traffic", R"({"status":200,"rrl":250,"data":null})");
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::goOn);
    EXPECT_TRUE(traffic.lines.empty()) << "null data gives no lines";
    gf_holdReader(traffic, 250);
    EXPECT_EQ(lf_rtTraffic(traffic, status), CycleEnd::goOn);
    EXPECT_EQ(traffic.lines.size(), 6u) << "the recording's six aircraft are all in range";
}

TEST_F(Client, WeatherStatusesAndEmptyAnswers)
{
    const auto session = login();
    RtClient& weather = session->weather;
    std::int32_t status = 0;
    fail("nearestmetar:500");
    EXPECT_FALSE(lf_rtNearestMetar(weather, status));
    EXPECT_EQ(status, 500);
    EXPECT_NE(logText().find("500 json nearestmetar Database error"), std::string::npos);
    fail("weather:406");
    EXPECT_EQ(lf_rtWeather(weather, session->traffic, status), CycleEnd::goOn);
    EXPECT_NE(logText().find("406 json weather Too many requests, slow down"), std::string::npos);
    gf_holdReader(weather, 300);
    fail("nearestmetar:empty");
    EXPECT_FALSE(lf_rtNearestMetar(weather, status));
    EXPECT_NE(logText().find("nearest metar: empty content"), std::string::npos);
    fail("weather:empty");
    EXPECT_EQ(lf_rtWeather(weather, session->traffic, status), CycleEnd::goOn);
    EXPECT_NE(logText().find("Empty content?, no QNH to be found"), std::string::npos);
    gf_holdReader(weather, 300);
    fail("weather:403");
    EXPECT_EQ(lf_rtWeather(weather, session->traffic, status), CycleEnd::endLoop);
    EXPECT_EQ(status, 403);
    gf_holdReader(weather, 300);
    {
        std::lock_guard lock(service->lock);
        service->state.setup.qnh = "2992";
    }
    EXPECT_EQ(lf_rtWeather(weather, session->traffic, status), CycleEnd::goOn);
    EXPECT_EQ(session->traffic.qnh, 1013);
    gf_holdReader(weather, 300);
    {
        std::lock_guard lock(service->lock);
        service->state.setup.qnh = "low";
    }
    EXPECT_EQ(lf_rtWeather(weather, session->traffic, status), CycleEnd::goOn);
    EXPECT_NE(logText().find("weather exception: "), std::string::npos);
    EXPECT_EQ(counters().paceViolations, 0u);
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
    const auto session = login();
    ASSERT_TRUE(lf_parkedTraffic(session->traffic));
    std::vector<std::string> stands;
    std::vector<std::int32_t> ages;
    for (const auto& line : session->traffic.parkedLines) {
        stands.push_back(line.standName);
        ages.push_back(line.halfHour);
    }
    EXPECT_EQ(stands, (std::vector<std::string>{"D5", "D1", "D3"}));
    EXPECT_EQ(ages, (std::vector<std::int32_t>{0, 1, 2}));
    const Box box = gf_boxAround(parkAirport, 3.0);
    EXPECT_NE(requestsTo("/v4/traffic")
                  .at(0)["body"]
                  .get<std::string>()
                  .find(fmt::format("top={:.2f}&bottom={:.2f}", box.top, box.bottom)),
              std::string::npos);

    gf_holdReader(session->traffic, 250);
    RT_PARKTRAFFIC_ONLY.value = true;
    ASSERT_TRUE(lf_parkedTraffic(session->traffic));
    EXPECT_EQ(session->traffic.parkedLines.back().standName, "D4") << "no age limit";
    RT_PARKTRAFFIC_ONLY.value = false;
}

TEST_F(ParkedClient, FailuresOfTheParkedRequest)
{
    const auto session = login();
    fail("parked:401");
    EXPECT_FALSE(lf_parkedTraffic(session->traffic));
    EXPECT_NE(logText().find("RT Parked traffic: re-authentication to RT API is needed TAVO"), std::string::npos);
    const auto again = [&] {
        gf_clearError();
        lf_rtDeauth();
        std::this_thread::sleep_for(std::chrono::milliseconds(2100)); // the service's gap between logins
        return login();
    };
    auto next = again();
    fail("parked:403");
    EXPECT_FALSE(lf_parkedTraffic(next->traffic));
    EXPECT_NE(logText().find("RT parkedtraffic error status: 403"), std::string::npos);
    gf_holdReader(next->traffic, 250);
    fail("parked:400");
    try {
        (void)lf_parkedTraffic(next->traffic);
        ADD_FAILURE();
    } catch (const SysErrorException& e) {
        EXPECT_EQ(e.code, 400);
        EXPECT_NE(std::string(e.what()).find("RT API parameter fault"), std::string::npos);
    }
}

} // namespace
} // namespace orv::test
