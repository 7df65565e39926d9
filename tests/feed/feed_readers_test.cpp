// The two readers against the stand-in service: they keep the paces the
// service hands out, bring the history and the live lines to the main
// thread with their due ticks, and end as each failure says; a reader of an
// ended session reaches nothing of the next one. Every wait is for a state.
#include "feed_fixture.h"

namespace orv::test {
namespace {

constexpr std::int32_t nowTick = 70000;

class Readers : public ServiceFeedTest {
  protected:
    void SetUp() override
    {
        ServiceFeedTest::SetUp();
        exitReason = NOT_YET_SET;
        engineTick = nowTick;
        drain();
        loopRunning = true;
    }
    void TearDown() override
    {
        ServiceFeedTest::TearDown();
        drain();
        loopRunning = false;
        exitReason = NOT_YET_SET;
        readerFailed = false;
        restartPending = false;
    }
    std::shared_ptr<FeedSession> startSession()
    {
        lf_startRt();
        gf_startWeatherReader();
        gf_startTrafficReader();
        return gf_feedSession();
    }
    /// Takes what the main thread would take.
    static std::vector<TrafficLine> drain()
    {
        std::lock_guard lock(linesLock);
        return std::exchange(incomingLines, {});
    }
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
                                           EndingCase{"traffic:500:1:1", "Traffic RT API error: 500"},
                                           EndingCase{"traffic:textstatus:1:1", "Traffic RT API error: 100"},
                                           EndingCase{"weather:400", "Weather RT API: parameter fault"},
                                           EndingCase{"nearestmetar:400", "Weather RT API: parameter fault"},
                                           EndingCase{"weather:403", "Weather RT API error: 403"}));

TEST_F(Readers, SlowDownsAndSoftFailuresKeepTheReadersGoing)
{
    for (const char* failure : {"traffic:406:2", "weather:500", "nearestmetar:406", "traffic:empty:1:3", "traffic:notjson:1:3"})
        fail(failure);
    const auto session = startSession();
    ASSERT_TRUE(liveAnswers(9));
    EXPECT_FALSE(readerFailed);
    EXPECT_TRUE(errorText.empty()) << errorText;
    const std::string log = logText();
    for (const char* line : {"curl traffic msg Too many requests, slow down", "500 json weather Database error",
                             "406 json nearestmetar", "traffic receive: empty content"})
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

TEST_F(Readers, ReadersOfAFailedLoginEndAtOnce)
{
    failWith("auth", ""); // no JSON: logged, no exception, no session
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
