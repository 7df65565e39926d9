// The feed against the stand-in service, in this process: a service with a
// recording round the park airport, the program's parameters pointed at it,
// and its request log to read back.
#pragma once

#include <ctime>

#include <fmt/format.h>

#include "app/lifecycle.h"

#include "feed/feed_session.h"
#include "feed/feed_state.h"
#include "feed_test_support.h"
#include "standin/service/server.h"

namespace orv::test {

/// Aircraft round the park airport every 2 s for ten minutes, in the live
/// layout, the first one on the ground at a stand.
inline std::vector<nlohmann::json> recordedTraffic(double START)
{
    std::vector<nlohmann::json> lines;
    for (int t = 0; t <= 600; t += 2) {
        for (int k = 0; k < 6; ++k) {
            nlohmann::json line = k == 0 ? groundLiveLine() : goodLiveLine();
            line[0] = fmt::format("{:06x}", 0x400000 + k);
            line[13] = fmt::format("TST{}", k);
            line[10] = static_cast<long long>(START) + t; // whole seconds, as integers
            if (k > 0) {
                line[1] = 52.20 + 0.03 * k + 0.0005 * t;
                line[2] = 4.60 + 0.02 * k;
            }
            lines.push_back(line);
        }
    }
    return lines;
}

class ServiceFeedTest : public FeedTest {
protected:
    void SetUp() override
    {
        FeedTest::SetUp();
        gf_installFinalExit(); // a reader's failure runs the whole exit
        sleepScale = 0.001;
        rtConnected = false;
        gf_resetFeed();
        ServiceState state;
        state.setup.rrlMs = 250;
        state.setup.wrrlMs = 300;
        state.setup.loginGapSeconds = 2;
        const double now = std::floor(gf_serviceNow());
        std::stringstream text;
        for (const auto& line : recordedTraffic(now - 120)) text << line.dump() << '\n';
        state.recording = gf_readRecording(text, "recorded");
        state.clock = ReplayClock{60, true}; // the service shows the recording's second minute now
        std::stringstream parked(parkedText(now));
        state.parked = gf_readParked(parked, "parked");
        ServerSetup setup;
        setup.requestLogPath = (dir / "requests.jsonl").string();
        service = gf_startService(std::move(state), setup);
        RT_API_URL.value = gf_serviceAddress(*service) + "/";
        RT_LICENSE.value = "TESTKEY";
        PROGRAM_VERSION.value = "10.9.3";
        UserPosition user;
        user.lat = parkAirport.lat;
        user.lon = parkAirport.lon;
        user.altitudeFt = 1200;
        user.onGround = false;
        ownPosition = user;
        gf_publishRtPosition();
        rangeNm = 40;
        ParkView view;
        view.airport = parkAirport;
        view.elevationFt = parkElevationFt;
        view.ready = true;
        view.firstDistanceNm = 0;
        gf_publishParkView(view);
        lf_computeBox();
    }
    void TearDown() override
    {
        gf_stopReaders();
        if (service) gf_stopService(*service);
        EXPECT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
        gf_resetFeed();
        gf_publishParkView(ParkView{});
        ownPosition = UserPosition{};
        gf_publishRtPosition();
        sleepScale = 1.0;
        exitInProgress = false;
        rtConnected = false;
        FeedTest::TearDown();
    }
    /// The parked traffic of the service: report times relative to NOW.
    virtual std::string parkedText(double NOW)
    {
        (void)NOW;
        return "";
    }
    /// A failure on demand, as the control path would add it.
    void fail(const std::string& SPEC)
    {
        std::lock_guard lock(service->lock);
        service->state.failures.failures.push_back(gf_parseFailure(SPEC));
    }
    void failWith(const std::string& REQUEST, const std::string& BODY)
    {
        Failure failure = gf_parseFailure(REQUEST + ":empty");
        failure.kind = FailureKind::Custom;
        failure.body = BODY;
        std::lock_guard lock(service->lock);
        service->state.failures.failures.push_back(failure);
    }
    std::vector<nlohmann::json> requests() const
    {
        std::vector<nlohmann::json> lines;
        std::stringstream text(readFile(dir / "requests.jsonl"));
        for (std::string line; std::getline(text, line);) lines.push_back(nlohmann::json::parse(line));
        return lines;
    }
    std::vector<nlohmann::json> requestsTo(const std::string& PATH) const
    {
        std::vector<nlohmann::json> found;
        for (auto& line : requests()) {
            if (line["path"] == PATH) found.push_back(line);
        }
        return found;
    }
    ServiceCounters counters()
    {
        std::lock_guard lock(service->lock);
        return service->state.counters;
    }

    std::unique_ptr<RunningService> service;
};

} // namespace orv::test
