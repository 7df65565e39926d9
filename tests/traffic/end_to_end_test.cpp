// End to end against the stand-ins: the traffic service replays recorded
// flights, the feed's readers bring them to the engine, the engine moves them
// and the simulator link writes them to tavo-sim, whose recording must show
// each aircraft where the service's recording had it, about 30 s later.
// Creation is not the engine's yet: this test makes a waiting record's object
// through the link and makes the record active when the simulator answers.
#include "core/clock.h"
#include "core/flags.h"
#include "core/lifecycle.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/sim_messages.h"
#include "feed/feed.h"
#include "feed/park_view.h"
#include "liveries/dbase.h"
#include "sim/sim_link.h"
#include "standin/service/server.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"
#include "tests/traffic/harness.h"
#include "tests/traffic/scenario_support.h"
#include "traffic/engine.h"
#include "traffic/geometry.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <thread>

namespace orv::test {
namespace {

constexpr double elevationFt = 1400;
constexpr double recordingLeadSeconds = 35; ///< the recording starts this far in the past
constexpr double runSeconds = 110;

struct Flight {
    std::uint32_t hexid;
    std::string callsign;
    std::vector<PathState> path;
};

/// A taxi at the park airport: standing, then east, a right turn and south,
/// and standing again long enough for a standing line to pass the line filter.
std::vector<PathState> lf_taxi()
{
    PathBuilder p(elevationFt, -100, -100, 90);
    p.hold(recordingLeadSeconds).straight(120, 15, elevationFt, false).turn(90, 40, 12, elevationFt, false);
    p.straight(80, 12, elevationFt, false).straight(15, 1, elevationFt, false).hold(20);
    return p.states();
}

/// An airliner passing at 3000 ft, east bound.
std::vector<PathState> lf_pass()
{
    PathBuilder p(elevationFt, -6000, 2000, 90, 4400, 200);
    p.straight(7000, 200, 4400, true);
    return p.states();
}

/// The service's recording: one live array a second of each flight.
std::string lf_recordingText(const std::vector<Flight>& FLIGHTS, double START)
{
    std::ostringstream text;
    for (const Flight& f : FLIGHTS) {
        std::size_t k = 0;
        for (double t = 0; t <= f.path.back().t; t += 1.0) {
            while (k + 1 < f.path.size() && f.path[k + 1].t <= t) ++k;
            const PathState& s = f.path[k];
            const LatLon pos = gf_testPosition(s.east, s.north);
            const double alt = s.airborne ? s.altitudeFt : 0;
            nlohmann::json a = nlohmann::json::array(
                {fmt::format("{:06x}", f.hexid), pos.lat, pos.lon, s.motionDeg, alt, s.speedKt, "1000", "", "A320",
                 "HB-" + f.callsign.substr(3), START + s.t, "LSZH", "LSGG", f.callsign, 0, s.verticalSpeedFpm,
                 f.callsign, "adsb_icao", alt, s.verticalSpeedFpm, s.speedKt, s.speedKt, 0, -1, 0,
                 s.noseDeg == 0 ? 360.0 : s.noseDeg, s.noseDeg, nullptr, "A3"});
            text << a.dump() << '\n';
        }
    }
    return text.str();
}

class EndToEnd : public ::testing::Test {
protected:
    TempDir dir;
    std::unique_ptr<SimProcess> sim;
    std::unique_ptr<RunningService> service;
    std::vector<Flight> flights{{0x4B1A01, "SWR101", lf_taxi()}, {0x4B1A02, "SWR202", lf_pass()}};
    double recordStart = 0; ///< seconds since the epoch of the recording's first second
    std::set<std::uint32_t> requested; ///< records whose object has been asked for

    void SetUp() override
    {
        gf_resetParameters();
        MSFS_2020.value = true;
        gf_openLog("Log.txt");
        testAirport = {};
        testAirport.pos = gf_testPosition(0, 0);
        testAirport.elevationFt = elevationFt;
        gf_resetEngine(1000);
        lf_initSimQueues();
        // The reference tables know the type, as the reference data would.
        gf_clearDbase();
        allModels.insert("A320");
        largeModels.insert("A320");
        wingspans["A320"] = 17.0 / metresPerNm;

        const LatLon user = gf_testPosition(0, 0);
        sim = std::make_unique<SimProcess>(
            dir.path(), std::vector<std::string>{"--user", fmt::format("{},{}", user.lat, user.lon), "--ground",
                                                 fmt::format("{}", elevationFt)});
        sim->writeConfig(dir.path());
        aiRequestRadius = 40'000;
        gf_startClientThread();
        ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
        ASSERT_TRUE(waitFor([] {
            ownPosition = gf_requestUserPosition();
            return !gf_isNoPosition(ownPosition.lat, ownPosition.lon);
        }));

        ServiceState state;
        state.setup.rrlMs = 2000;
        state.setup.wrrlMs = 2000;
        recordStart = std::floor(gf_serviceNow()) - recordingLeadSeconds;
        std::istringstream text(lf_recordingText(flights, recordStart));
        state.recording = gf_readRecording(text, "end-to-end");
        state.clock = ReplayClock{0, false};
        service = gf_startService(std::move(state), ServerSetup{});
        RT_API_URL.value = gf_serviceAddress(*service) + "/";
        RT_LICENSE.value = "TESTKEY";
        gf_publishRtPosition();
        rangeNm = 40;
        ParkView view;
        view.airport = user;
        view.elevationFt = elevationFt;
        view.ready = true;
        view.firstDistanceNm = 0;
        gf_publishParkView(view);
        lf_computeBox();
        {
            std::lock_guard lock(linesLock);
            loopRunning = true;
        }
        lf_startRt();
        gf_startWeatherReader();
        gf_startTrafficReader();
    }
    void TearDown() override
    {
        gf_stopReaders();
        lf_rtDeauth();
        {
            std::lock_guard lock(linesLock);
            loopRunning = false;
        }
        gf_stopClientThread(true);
        if (service) gf_stopService(*service);
        sim.reset();
        gf_publishParkView(ParkView{});
        lf_clearEngine();
        gf_clearDbase();
        ownPosition = {};
    }
    template <typename F>
    static bool waitFor(F&& CONDITION)
    {
        for (int k = 0; k < 2000 && !CONDITION(); ++k) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return CONDITION();
    }

    /// Creation as it will be: the object is asked for when the first point
    /// is a second away, and the record is active once the simulator made it.
    void lf_create()
    {
        {
            std::lock_guard lock(messageLock);
            for (const SimMessage& m : simMessages) {
                act* r = m.kind == MessageKind::liveCreated ? gf_findAct(m.id) : nullptr;
                if (r == nullptr || r->state != ActState::creating) continue;
                gf_activateRecord(*r, m.objectId);
                gf_requestStaticCg(m.objectId);
            }
        }
        for (act& r : liveList) {
            // A new record is held as being created: the engine's own creation leaves it alone.
            if (r.state == ActState::waiting) r.state = ActState::creating;
            if (r.state != ActState::creating || r.objectId != 0 || requested.contains(r.hexid) || r.track.empty() ||
                engineTick < r.track.front().dueTick - 100)
                continue;
            const TrackPoint& front = r.track.front();
            CreateRequest request;
            request.id = r.hexid;
            request.title = "Airbus A320 Test";
            request.tail = r.callsign;
            request.position = gf_posOf(front);
            request.altitudeFt = front.airborne ? front.altitude : elevationFt;
            request.onGround = !front.airborne;
            gf_queueCreate(request);
            requested.insert(r.hexid);
        }
    }

    /// The main loop's passes, every 10 ms of real time.
    void run(double SECONDS)
    {
        auto next = std::chrono::steady_clock::now();
        const auto end = next + std::chrono::milliseconds(static_cast<int>(SECONDS * 1000));
        while (next < end) {
            lf_create();
            lf_engineTick();
            next += std::chrono::milliseconds(10);
            std::this_thread::sleep_until(next);
        }
    }
};

TEST_F(EndToEnd, AircraftMoveInTheSimulatorAsTheServiceRecordedThem)
{
    // Lines from the service before the simulator's objects: the wait for the first traffic.
    ASSERT_TRUE(waitFor([] { return gf_trafficLastTimestamp() != 0; }));
    run(runSeconds);
    const std::vector<nlohmann::json> recording = sim->recording();
    for (const Flight& f : flights) {
        SCOPED_TRACE(f.callsign);
        std::uint32_t object = 0;
        for (const auto& c : linesOf(recording, "created"))
            if (c["tail"] == f.callsign) object = c["objectId"];
        ASSERT_NE(object, 0u) << "the object was made";
        std::vector<nlohmann::json> poses;
        for (const auto& p : linesOf(recording, "position"))
            if (p["objectId"] == object) poses.push_back(p);
        ASSERT_GT(poses.size(), 500u) << "positions each frame";

        // Where the simulator shows it lies on the recorded path; on straight legs within metres.
        std::size_t hint = 0, furthest = 0;
        double worst = 0;
        for (const auto& p : poses) {
            const LatLon pos{p["lat"].get<double>(), p["lon"].get<double>()};
            const PathMatch m = gf_matchPath(f.path, pos, hint);
            hint = m.index;
            furthest = std::max(furthest, m.index);
            // Beyond the recording's end prediction flies on: that is no longer the path.
            const bool pastTheEnd = m.index + 2 >= f.path.size();
            if (!pastTheEnd && gf_secondsFromTurn(f.path, m.index) >= 10.0) worst = std::max(worst, m.offMetres);
        }
        EXPECT_LE(worst, f.path[0].airborne ? 5.0 : 3.0);
        // It came along the whole recorded path: the taxi to where it stopped, the pass off its end.
        const PathState& last = f.path.back();
        if (last.airborne) {
            EXPECT_GE(furthest + 2, f.path.size());
        } else {
            double e = 0, n = 0;
            gf_testPlane({poses.back()["lat"].get<double>(), poses.back()["lon"].get<double>()}, e, n);
            EXPECT_LE(std::hypot(e - last.east, n - last.north), 5.0);
        }

        // It starts to move about 30 s after the recording does.
        if (!f.path[0].airborne) {
            double moved = 0;
            const double firstLat = poses.front()["lat"], firstLon = poses.front()["lon"];
            for (const auto& p : poses)
                if (gf_distance(firstLat, firstLon, p["lat"], p["lon"]) * metresPerNm > 5.0) {
                    moved = p["t"];
                    break;
                }
            EXPECT_GT(moved, 0.0);
            EXPECT_NEAR(moved - (recordStart + recordingLeadSeconds), 30.0, 15.0);
        }
    }
}

} // namespace
} // namespace orv::test
