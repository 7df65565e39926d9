// The client and the two readers against the stand-in service. The client:
// login and logout, the form bodies, and a table of the answers each request
// can get and what each one does. The readers: they keep the paces the
// service hands out, bring the history and the live lines to the main thread
// with their due ticks, and end as each failure says; a reader of an ended
// session reaches nothing of the next one. Every wait is for a state.
#include "core/errors.h"
#include "feed_fixture.h"

namespace orv::test {
namespace {

using Client = ServiceFeedTest;

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

TEST_F(Client, RefusedLoginsRaiseAfterTheirMessageAndOutagesAreWaitedOut)
{
    for (int status : {402, 404}) {
        const std::string shown = fmt::format("The RT server refused the login with status {}: check the license", status);
        fail("auth:" + std::to_string(status));
        try {
            lf_startRt();
            ADD_FAILURE() << status << " was accepted";
        } catch (const UserErrorException& e) {
            EXPECT_EQ(e.what(), std::to_string(status) + ": " + shown);
        }
        EXPECT_EQ(errorText, shown);
        gf_clearError();
    }
    EXPECT_FALSE(gf_rtSessionExists() || rtConnected);
    // An old session still held (after a crash), an outage of the service: the
    // login is tried again until it goes through, the user told why.
    const std::pair<const char*, const char*> waitedOut[] = {
        {"auth:405:2", "the RT server still holds an earlier session, trying again in "},
        {"auth:503:2", "The RT server cannot be reached (status 503), trying again in 10 seconds"},
        {"auth:notjson:1", "The RT server cannot be reached ([json.exception"}};
    for (const auto& [failure, told] : waitedOut) {
        {
            std::lock_guard lock(service->lock);
            service->state.setup.loginGapSeconds = 0;
        }
        fail(failure);
        EXPECT_NO_THROW(lf_startRt()) << failure;
        EXPECT_TRUE(gf_rtSessionExists()) << failure;
        EXPECT_NE(logText().find(told), std::string::npos) << failure;
        lf_rtDeauth();
    }
    EXPECT_TRUE(errorText.empty()) << errorText;
    EXPECT_NE(logText().find("Logged in to the RT server after 3 tries"), std::string::npos);
    // A login answer without a GUID keeps its placeholder; the first request then fails with the service's status.
    fail(R"(auth:{"status":200})");
    const auto session = login();
    EXPECT_EQ(gf_guidOf(session->traffic), "empty GUID?");
    EXPECT_EQ(session->weather.rrl, 2000);
    EXPECT_NE(logText().find("Authenticated at RT server \"?\""), std::string::npos);
    std::int32_t status = 0;
    EXPECT_EQ(lf_rtTraffic(session->traffic, status), CycleEnd::endLoop);
    EXPECT_EQ(status, 401);
    // An unreachable service: tried until a stop flag comes up, then no session and no exception.
    gf_stopService(*service);
    std::thread stopper([this] {
        EXPECT_TRUE(eventually([this] { return logText().find("Couldn't connect to server), trying again") != std::string::npos; }));
        exitInProgress = true;
    });
    EXPECT_NO_THROW(lf_startRt());
    stopper.join();
    exitInProgress = false;
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
    /// traffic: "end status lines rrl"; weather: "end status qnh"; nearestmetar: "ok status station [valid]";
    /// parked: "ok lines", or what it throws
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
    {"traffic", "500", "goOn 500 0 777", "500 json traffic"}, // a server in trouble is waited out
    {"traffic", "503", "goOn 503 0 777", "503 json traffic"},
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
    {"weather", "502", "goOn 502 0", "502 json weather"},
    {"parked", "", "true 0"}, // the service parks nothing here
    {"parked", "401", "false 0", "RT Parked traffic: re-authentication to RT API is needed TAVO"},
    {"parked", "403", "false 0", "RT parkedtraffic error status: 403"},
    {"parked", "400", "sys error 400: RT API parameter fault"},
};

TEST_F(Client, EachAnswerHasItsEffect)
{
    const auto session = login();
    RtClient &traffic = session->traffic, &weather = session->weather;
    const auto ended = [](CycleEnd END) { return END == CycleEnd::goOn ? "goOn" : "endLoop"; };
    for (const auto& c : answerCases) {
        const std::string request = c.request, answer = c.answer;
        if (!answer.empty()) fail(request + ":" + answer);
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
        } else if (request == "nearestmetar") {
            gf_holdReader(weather, 300);
            const bool ok = lf_rtNearestMetar(weather, status);
            outcome = fmt::format("{} {} {}{}", ok, status, gf_metarStation(), weatherValid ? " valid" : "");
        } else {
            gf_holdReader(traffic, 250);
            try {
                const bool ok = lf_parkedTraffic(traffic);
                outcome = fmt::format("{} {}", ok, traffic.parkedLines.size());
            } catch (const SysErrorException& e) {
                outcome = e.what();
            }
        }
        EXPECT_EQ(outcome, c.outcome) << request << " " << answer;
        EXPECT_NE(logText().find(c.logged), std::string::npos) << c.logged;
    }
    EXPECT_EQ(counters().paceViolations, 0u);
    qnhShown = standardQnh;
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
        const auto sent = requests(c.path);
        ASSERT_FALSE(sent.empty()) << c.path;
        EXPECT_NE(sent.back()["body"].get<std::string>().find(c.encoded), std::string::npos) << sent.back()["body"];
    }
}

class ParkedClient : public ServiceFeedTest {
  protected:
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
    MAX_FIT.value = 5;
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

class Readers : public ServiceFeedTest {
  protected:
    /// Waits for the traffic reader's live requests to reach COUNT.
    bool liveAnswers(std::size_t COUNT)
    {
        return eventually([&] {
            std::size_t live = 0;
            for (const auto& r : requests("/v4/traffic")) {
                const std::string body = r["body"];
                live += body.find("buffercount") == std::string::npos && body.find("parked") == std::string::npos;
            }
            return live >= COUNT;
        });
    }
    void expectNoRequestInsideThePaces()
    {
        std::vector<double> traffic, weather;
        for (const auto& r : requests()) {
            const std::string path = r["path"], body = r["body"];
            if (path == "/v4/traffic" && body.find("parkedtraffic") == std::string::npos) traffic.push_back(r["time"]);
            if (path == "/v4/weather" || path == "/v4/nearestmetar") weather.push_back(r["time"]);
        }
        for (auto [times, pace] : {std::pair{traffic, 0.250}, {weather, 0.300}}) {
            std::sort(times.begin(), times.end());
            for (std::size_t i = 1; i < times.size(); ++i) EXPECT_GE(times[i] - times[i - 1], pace) << i;
        }
        EXPECT_EQ(counters().paceViolations, 0u);
    }
    /// The state after the readers ended without an error.
    static void expectQuietEnd(const FeedSession& SESSION)
    {
        EXPECT_TRUE(eventually([&] { return SESSION.readersRunning == 0; })) << "both readers ended";
        EXPECT_FALSE(readerFailed);
        EXPECT_TRUE(errorText.empty()) << errorText;
    }
};

TEST_F(Readers, KeepThePacesAndHandHistoryAndLiveLinesOver)
{
    const auto session = startSession();
    ASSERT_TRUE(eventually([] { return gf_weatherReceived() && gf_trafficLastTimestamp() != 0; }));
    // The buffered start: five slices of six aircraft, due 0 to 24 s ahead.
    std::vector<TrafficLine> history;
    ASSERT_TRUE(eventually([&] {
        for (auto& line : drain()) history.push_back(line);
        return history.size() >= 30;
    }));
    ASSERT_EQ(history.size(), 30u);
    for (const TrafficLine& line : history) {
        const std::int32_t ahead = line.point.dueTick - nowTick;
        EXPECT_TRUE(ahead >= -100 && ahead <= 2500) << ahead << " ts " << line.timestamp;
    }
    // Live answers land 30 s ahead, keeping the relative times of the lines.
    std::vector<TrafficLine> live;
    ASSERT_TRUE(eventually([&] { return !(live = drain()).empty(); }));
    ASSERT_EQ(live.size(), 6u);
    for (const TrafficLine& line : live) {
        EXPECT_NEAR(line.point.dueTick, nowTick + 3000, 100);
        EXPECT_NEAR(line.point.dueTick - live[0].point.dueTick, (line.timestamp - live[0].timestamp) * 100, 20);
    }
    ASSERT_TRUE(liveAnswers(6));
    EXPECT_TRUE(weatherLamp == lampGood && trafficLamp == lampGood);
    EXPECT_EQ(lineCount, 6);
    EXPECT_TRUE(weatherValid);
    EXPECT_EQ(gf_metarStation(), "EHAM");
    gf_stopReaders();
    lf_rtDeauth();
    expectNoRequestInsideThePaces();
    expectQuietEnd(*session);
    for (const auto& r : requests()) EXPECT_EQ(r["status"], 200) << r.dump();
}

TEST_F(Readers, SessionDroppedByTheServiceRestartsTheProgram)
{
    fail("traffic:401:1:1");
    startSession();
    ASSERT_TRUE(eventually([] { return logText().find("Exiting: RESTART") != std::string::npos; }));
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(exitReason, RESTART);
    const std::string log = logText();
    for (const char* line : {"The Traffic Reader has stopped with an error", "re-authentication to RT API is needed, restart TAVO"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
    EXPECT_FALSE(readerFailed);
    EXPECT_EQ(log.find("The WeatherReader has stopped"), std::string::npos) << "the other one stops quietly";
}

struct EndingCase {
    const char* failure;
    const char* message;
};
void PrintTo(const EndingCase& CASE, std::ostream* OUT) { *OUT << CASE.failure; }

class ReaderEndings : public Readers, public ::testing::WithParamInterface<EndingCase> {};

TEST_P(ReaderEndings, EndTheReaderAndMarkTheSessionFailed)
{
    fail(GetParam().failure);
    const auto session = startSession();
    ASSERT_TRUE(eventually([] { return readerFailed.load(); }));
    EXPECT_TRUE(eventually([&] { return errorText == GetParam().message; })) << errorText;
    EXPECT_EQ(exitReason, NOT_YET_SET) << "the session ends at its next half-minute work";
    EXPECT_TRUE(eventually([&] { return session->readersRunning == 0; })) << "both readers ended";
    const bool traffic = std::string(GetParam().failure).starts_with("traffic");
    EXPECT_EQ(traffic ? trafficLamp.load() : weatherLamp.load(), lampFailed);
    EXPECT_TRUE(gf_rtSessionExists()) << "the session stays for the logout at exit";
    expectNoRequestInsideThePaces();
}

INSTANTIATE_TEST_SUITE_P(Statuses, ReaderEndings,
                         ::testing::Values(EndingCase{"traffic:400:1:1", "Traffic RT API: parameter fault"},
                                           EndingCase{"traffic:403:1:1", "Traffic RT API error: 403"},
                                           EndingCase{"traffic:textstatus:1:1", "Traffic RT API error: 100"},
                                           EndingCase{"weather:400", "Weather RT API: parameter fault"},
                                           EndingCase{"nearestmetar:400", "Weather RT API: parameter fault"},
                                           EndingCase{"weather:403", "Weather RT API error: 403"}));

TEST_F(Readers, SlowDownsAndSoftFailuresKeepTheReadersGoing)
{
    for (const char* failure : {"traffic:406:2", "weather:500", "nearestmetar:406", "traffic:empty:1:3",
                                "traffic:notjson:1:3", "traffic:500:3:4", "traffic:503:1:9", "weather:502:1:2",
                                "nearestmetar:504:1:3"})
        fail(failure);
    const auto session = startSession();
    ASSERT_TRUE(liveAnswers(14));
    EXPECT_FALSE(readerFailed);
    EXPECT_TRUE(errorText.empty()) << errorText;
    const std::string log = logText();
    for (const char* line : {"curl traffic msg Too many requests, slow down", "500 json weather Database error",
                             "406 json nearestmetar", "traffic receive: empty content", "RT service fails (status 500)",
                             "RT service answers again after 3 failed requests", "502 json weather"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
    EXPECT_EQ(session->traffic.rrl, 250);
    gf_stopReaders();
    expectNoRequestInsideThePaces();
}

TEST_F(Readers, AReaderOfAnEndedSessionReachesNothingOfTheNext)
{
    // The first live request of the first session hangs in libcurl.
    fail("traffic:stall");
    const auto first = startSession();
    ASSERT_TRUE(eventually([&] { return counters().heldAnswers == 1; }));
    // The session ends as FinalExit ends it, and a new one begins at once.
    gf_stopReaders();
    lf_rtDeauth();
    gf_resetFeed();
    {
        std::lock_guard lock(service->lock);
        service->state.setup.loginGapSeconds = 0;
    }
    const auto second = startSession();
    ASSERT_NE(first, second);
    ASSERT_TRUE(eventually([] { return gf_trafficLastTimestamp() != 0; }));
    ASSERT_TRUE(liveAnswers(2));
    // The new readers stop, so that anything handed over now comes from the old one.
    gf_stopReaders();
    ASSERT_TRUE(eventually([&] { return second->readersRunning == 0; }));
    drain();
    lineCount = -5;
    const std::int32_t lamp = trafficLamp;
    const double oldLast = first->traffic.lastTimestamp;
    {
        std::lock_guard lock(service->lock);
        ++service->state.releaseGeneration;
    }
    service->released.notify_all();
    // The old reader gets its answer, decodes it into its own client, and ends quietly.
    expectQuietEnd(*first);
    EXPECT_NE(first->traffic.lastTimestamp.load(), oldLast) << "the old answer was read";
    EXPECT_TRUE(drain().empty()) << "nothing of it reached the main thread";
    EXPECT_EQ(lineCount, -5);
    EXPECT_EQ(trafficLamp, lamp);
    EXPECT_EQ(gf_feedSession(), second);
}

TEST_F(Readers, AnOutageLongerThanTheLimitRestartsTheSessionOnce)
{
    const std::int32_t limit = outageRestartMs;
    outageRestartMs = 1500;
    const auto session = startSession();
    ASSERT_TRUE(liveAnswers(1));
    fail("any:503:0");
    ASSERT_TRUE(eventually([] { return exitReason == RESTART; }));
    EXPECT_TRUE(eventually([] { return logText().find("Prepare for a restart") != std::string::npos; }));
    const std::string log = logText();
    EXPECT_NE(log.find("seconds (status 503): the session starts again"), std::string::npos);
    EXPECT_FALSE(readerFailed) << "an outage is no reader failure";
    EXPECT_EQ(log.find("has stopped with an error"), std::string::npos);
    // The holds grow while it lasts: never a request inside the pace.
    expectNoRequestInsideThePaces();
    outageRestartMs = limit;
}

TEST(Backoff, DoublesFromThePaceUpToItsBoundAndNeverGoesBelowThePace)
{
    for (const auto& [pace, failed, hold] : {std::tuple{2000, 0, 2000}, {2000, 1, 4000}, {2000, 3, 16000},
                                             {2000, 4, 30000}, {2000, 40, 30000}, {45000, 2, 45000}, {0, 1, 2}})
        EXPECT_EQ(gf_backoffMs(pace, failed), hold) << pace << " " << failed;
}

TEST_F(Readers, ReadersOfAFailedLoginEndAtOnce)
{
    fail("auth:400"); // a parameter fault: no session
    startSession();
    ASSERT_TRUE(eventually([] { return readerFailed.load(); }));
    EXPECT_TRUE(eventually([] { return logText().find("has stopped with an error") != std::string::npos; }));
    EXPECT_TRUE(gf_weatherReceived()) << "the start-up doesn't wait for weather that won't come";
    EXPECT_TRUE(requests("/v4/traffic").empty());
}

TEST_F(Readers, AFeedThatBringsNothingShowsAWaitingLampAndParkedTrafficComesBetweenLiveRequests)
{
    // Every cycle sets lineCount, an empty one to 0: so the lamp shows a feed
    // that stopped without an error at the next check.
    const auto session = startSession();
    ASSERT_TRUE(eventually([] { return lineCount == 6; }));
    lf_updateLamps();
    EXPECT_EQ(trafficLamp, lampGood);
    std::vector<ParkedLine> lines;
    EXPECT_FALSE(gf_takeParkedTraffic(lines)) << "nothing asked yet";
    gf_requestParkedTraffic();
    ASSERT_TRUE(eventually([&] { return gf_takeParkedTraffic(lines); }));
    EXPECT_TRUE(lines.empty()) << "the service parks nothing here";
    fail("traffic:empty:0");
    ASSERT_TRUE(eventually([] { return lineCount == 0; }));
    lf_updateLamps();
    EXPECT_EQ(trafficLamp, lampWaiting);
    EXPECT_FALSE(readerFailed);
    gf_stopReaders();
    expectNoRequestInsideThePaces();
}

TEST_F(Readers, LogoutAtExitEndsTheReadersQuietly)
{
    const auto session = startSession();
    ASSERT_TRUE(liveAnswers(2));
    lf_rtDeauth(); // without stopping them first
    expectQuietEnd(*session);
    EXPECT_EQ(exitReason, NOT_YET_SET);
}

} // namespace
} // namespace orv::test
