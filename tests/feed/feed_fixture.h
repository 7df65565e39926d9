// Fixtures of the feed tests, made by code: a live line that passes every
// filter, a client with its view in a temporary program with its log; and
// the stand-in service in this process, with a recording round the park
// airport, the program's parameters pointed at it and its request log.
#pragma once

#include <ctime>
#include <filesystem>
#include <utility>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/lifecycle.h"
#include "core/clock.h"
#include "core/flags.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "feed/decode.h"
#include "feed/feed.h"
#include "feed/feed_session.h"
#include "feed/feed_state.h"
#include "feed/rt_client.h"
#include "liveries/dbase.h"
#include "standin/service/server.h"
#include "tests/support/eventually.h"
#include "tests/support/temp_dir.h"

namespace orv::test {

/// The park airport of the fixtures, and the user beside it.
inline constexpr LatLon parkAirport{52.3086, 4.7639};
inline constexpr double parkElevationFt = -11;

/// A live line that every filter keeps: an airliner 4 nm from the park
/// airport at 3000 ft.
inline nlohmann::json goodLiveLine()
{
    return nlohmann::json::array({"4840d6", 52.35, 4.80, 90.5, 3000, 180, "1000", "", "B738", "PH-BXA",
                                  1700000000.5, "EHAM", "LEMD", "KLM123", 0, -500, "KL123", "adsb_icao", 3100,
                                  -500, 175, 180, 0.3, 2.5, 0, 91, 91, nullptr, "A3"});
}

/// The same line standing at a stand of the park airport.
inline nlohmann::json groundLiveLine()
{
    nlohmann::json line = goodLiveLine();
    line[1] = 52.3090;
    line[2] = 4.7610;
    line[4] = -11;
    line[5] = 0;
    line[18] = nullptr;
    return line;
}

/// Reads every line of the log written so far.
inline std::string logText()
{
    {
        std::lock_guard lock(logMutex);
        logStream.flush();
    }
    return readFile(std::filesystem::current_path() / "Log.txt");
}

/// A fresh program folder with its parameters and log, the model and
/// registration tables the decoders consult, and a traffic client whose view
/// has the park airport set and the user beside it.
class FeedTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        gf_clearDbase();
        allModels = {"B738", "A320", "A388", "B763", "B744", "B752", "C172", "H145", "F16"};
        largeModels = {"B738", "A320", "B752"};
        heavyModels = {"A388", "B763", "B744"};
        rotorcraftModels = {"H145"};
        highPerfModels = {"F16"};
        dbaseRecords["PH-BXA"] = DbaseRecord{"KLM", "B738", "", false};
        dbaseRecords["PH-HZA"] = DbaseRecord{"KLM", "B738", "TRA", false};
        dbaseRecords["G-EUPA"] = DbaseRecord{"BAW", "A320", "", false};
        gf_resetParameters();
        gf_setUserFolder();
        std::filesystem::create_directories(userFolder);
        gf_openLog("Log.txt");
        exitInProgress = false;
        readerFailed = false;
        gf_clearError();
        client.view.centre = parkAirport;
        client.view.rangeNm = 40;
        client.view.park.airport = parkAirport;
        client.view.park.elevationFt = parkElevationFt;
        client.view.park.ready = true;
        client.airportElevation = parkElevationFt;
    }
    void TearDown() override
    {
        gf_clearDbase();
        std::lock_guard lock(logMutex);
        logStream.close();
    }
    /// Decodes LINE; the kept line, or none.
    std::optional<TrafficLine> decode(const nlohmann::json& LINE)
    {
        client.lines.clear();
        client.line = LINE;
        processLine(client);
        if (client.lines.empty()) return std::nullopt;
        return client.lines.back();
    }

    /// What the main thread would take; the queue is emptied.
    static std::vector<TrafficLine> drain()
    {
        std::lock_guard lock(linesLock);
        return std::exchange(incomingLines, {});
    }
    /// The main loop starts or stops, its queue empty.
    static void runLoop(bool RUNNING)
    {
        std::lock_guard lock(linesLock);
        incomingLines.clear();
        loopRunning = RUNNING;
    }

    TempDir dir;
    RtClient client;
};

/// The engine's tick while the readers run: lines are due from it on.
inline constexpr std::int32_t nowTick = 70000;

/// The program against the stand-in service, its paces 250 ms for traffic and
/// 300 ms for weather, the user 1200 ft over the park airport, the main loop
/// running.
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
        // Aircraft round the park airport every 2 s for ten minutes from two minutes ago, the
        // first one on the ground at a stand; times in whole seconds, as integers.
        const double now = std::floor(gf_serviceNow());
        std::stringstream text;
        for (int t = 0; t <= 600; t += 2) {
            for (int k = 0; k < 6; ++k) {
                nlohmann::json line = k == 0 ? groundLiveLine() : goodLiveLine();
                line[0] = fmt::format("{:06x}", 0x400000 + k);
                line[13] = fmt::format("TST{}", k);
                line[10] = static_cast<long long>(now) - 120 + t;
                if (k > 0) {
                    line[1] = 52.20 + 0.03 * k + 0.0005 * t;
                    line[2] = 4.60 + 0.02 * k;
                }
                text << line.dump() << '\n';
            }
        }
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
        ownPosition = UserPosition{};
        ownPosition.lat = parkAirport.lat;
        ownPosition.lon = parkAirport.lon;
        ownPosition.altitudeFt = 1200;
        gf_publishRtPosition();
        rangeNm = 40;
        ParkView view;
        view.airport = parkAirport;
        view.elevationFt = parkElevationFt;
        view.ready = true;
        view.firstDistanceNm = 0;
        gf_publishParkView(view);
        lf_computeBox();
        exitReason = NOT_YET_SET;
        engineTick = nowTick;
        runLoop(true);
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
        runLoop(false);
        exitReason = NOT_YET_SET;
        readerFailed = false;
        restartPending = false;
        FeedTest::TearDown();
    }
    std::shared_ptr<FeedSession> login()
    {
        lf_startRt();
        EXPECT_TRUE(gf_rtSessionExists());
        return gf_feedSession();
    }
    /// A login and both readers started.
    std::shared_ptr<FeedSession> startSession()
    {
        lf_startRt();
        gf_startWeatherReader();
        gf_startTrafficReader();
        return gf_feedSession();
    }
    /// The parked traffic of the service: report times relative to NOW.
    virtual std::string parkedText(double /*NOW*/) { return ""; }
    /// A failure on demand, as the control path would add it: REQUEST:ANSWER[:COUNT[:AFTER]];
    /// REQUEST:{...} or REQUEST: answers that body once.
    void fail(const std::string& SPEC)
    {
        const auto colon = SPEC.find(':');
        const bool custom = colon + 1 == SPEC.size() || SPEC[colon + 1] == '{';
        Failure failure = gf_parseFailure(custom ? SPEC.substr(0, colon) + ":empty" : SPEC);
        if (custom) {
            failure.kind = FailureKind::Custom;
            failure.body = SPEC.substr(colon + 1);
        }
        std::lock_guard lock(service->lock);
        service->state.failures.failures.push_back(failure);
    }
    /// The request log's lines, all or those to PATH.
    std::vector<nlohmann::json> requests(const std::string& PATH = "") const
    {
        std::vector<nlohmann::json> lines;
        std::stringstream text(readFile(dir / "requests.jsonl"));
        for (std::string line; std::getline(text, line);) {
            auto request = nlohmann::json::parse(line);
            if (PATH.empty() || request["path"] == PATH) lines.push_back(std::move(request));
        }
        return lines;
    }
    ServiceCounters counters()
    {
        std::lock_guard lock(service->lock);
        return service->state.counters;
    }

    std::unique_ptr<RunningService> service;
};

} // namespace orv::test
