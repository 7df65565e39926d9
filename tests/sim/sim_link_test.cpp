// The simulator link against a real tavo-sim process: waiting for it,
// connecting, the flight's state, creation with pairing by ATC ID and freeze,
// refusal, removal, positions and events at the frame, teleport and the third
// request failure.
#include "tests/sim/sim_link_support.h"
#include "tests/standin/sim_process.h"

#include "core/window_state.h"
#include "feed/feed.h"
#include "traffic/motion.h"

#include <cmath>
#include <numbers>

namespace orv::test {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr std::uint32_t liveId = 0xA1B2C3;
constexpr std::uint32_t staticId = 4711;

class LinkWithSim : public LinkTest {
protected:
    std::unique_ptr<SimProcess> sim;

    /// Starts the simulator and the client thread, and waits as the start-up
    /// does until the flight runs and the user's position is known.
    void connect(std::vector<std::string> ARGS)
    {
        sim = std::make_unique<SimProcess>(dir.path(), std::move(ARGS));
        sim->writeConfig(dir.path());
        aiRequestRadius = 20'000;
        gf_startClientThread();
        ASSERT_TRUE(eventually([] { return simRunning.load(); }));
        {
            std::lock_guard lock(simLock);
            ASSERT_TRUE(gf_requestSimOnGround());
        }
        ASSERT_TRUE(eventually([] {
            ownPosition = gf_requestUserPosition();
            return userGroundKnown && !gf_isNoPosition(ownPosition.lat, ownPosition.lon);
        }));
    }
    void TearDown() override
    {
        gf_stopClientThread(true);
        sim.reset();
        LinkTest::TearDown();
    }
    /// What the engine does each pass, as far as the link sees it: the
    /// aircraft-in-range request and the messages.
    bool pumpUntil(const std::function<bool()>& DONE)
    {
        return eventually([&] {
            gf_requestAircraftInRange(aiRequestRadius);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            take(MessageKind::liveCreated);
            return DONE();
        });
    }
    CreateRequest request(std::uint32_t ID, const std::string& TITLE, const std::string& TAIL, double ALT)
    {
        CreateRequest r;
        r.id = ID;
        r.title = TITLE;
        r.tail = TAIL;
        r.position = {47.001, 8.001};
        r.altitudeFt = ALT;
        r.headingRad = kPi / 2;
        r.onGround = false;
        return r;
    }
    /// Creates a live aircraft and answers its object id.
    std::uint32_t createLive(const std::string& TAIL, double ALT = 1200)
    {
        gf_queueCreate(request(liveId, "Airbus A320 Test", TAIL, ALT));
        const std::size_t before = of(MessageKind::liveCreated).size();
        EXPECT_TRUE(pumpUntil([&] { return of(MessageKind::liveCreated).size() > before; }));
        return of(MessageKind::liveCreated).empty() ? 0 : of(MessageKind::liveCreated).back().objectId;
    }
    std::vector<nlohmann::json> lines(const std::string& KIND, std::uint32_t OBJECT)
    {
        std::vector<nlohmann::json> out;
        for (const auto& l : linesOf(sim->recording(), KIND))
            if (l["objectId"] == OBJECT) out.push_back(l);
        return out;
    }
};

TEST_F(LinkTest, WithoutSimulatorItWaitsAndConnectsWhenOneComes)
{
    const std::uint16_t port = freePort();
    writeFile(dir / "SimConnect.cfg", "[SimConnect]\nAddress=127.0.0.1\nPort=" + std::to_string(port) + "\n");
    const int attemptsBefore = simOpenAttempts;
    gf_startClientThread();
    ASSERT_TRUE(eventually([&] { return simOpenAttempts >= attemptsBefore + 3; }));
    EXPECT_TRUE(simNotConnected);
    SimProcess sim(dir.path(), {"--user", "47.0,8.0"}, false, port);
    ASSERT_TRUE(eventually([] { return simRunning.load(); }));
    EXPECT_FALSE(simNotConnected);
    EXPECT_TRUE(simConnected);
    EXPECT_EQ(gf_simName(), "MSFS 2020 (11.0.282174.999)");
    EXPECT_EQ(countInLog("Waiting for MSFS 2020 ..."), 1); // once, however many tries
    EXPECT_EQ(countInLog("MSFS 2020 (11.0.282174.999) connected "), 1);
}

TEST_F(LinkTest, SimulatorOfTheOtherGenerationEndsTheClientWithError71)
{
    SimProcess sim(dir.path(), {"--sim", "2024"}, false);
    sim.writeConfig(dir.path());
    gf_startClientThread();
    ASSERT_TRUE(eventually([] { return !gf_clientThreadAlive(); }));
    std::lock_guard lock(statusMutex);
    EXPECT_EQ(errorText.rfind("71: MSFS 2024 is running", 0), 0u) << errorText;
    EXPECT_FALSE(simRunning);
    EXPECT_FALSE(exitInProgress); // the user answers; the session is not ended here
}

TEST_F(LinkWithSim, PauseStopsTheFlightAndRunContinuesIt)
{
    connect({"--user", "47.0,8.0"});
    ASSERT_TRUE(eventually([] { return secondDataReady.exchange(false); }));
    sim->control("pause");
    ASSERT_TRUE(eventually([] { return !simRunning; }));
    sim->control("run");
    ASSERT_TRUE(eventually([] { return simRunning.load(); }));
    secondDataReady = false;
    ASSERT_TRUE(eventually([] { return secondDataReady.load(); })); // the tick comes back in the same session
    EXPECT_FALSE(exitInProgress);
}

TEST_F(LinkWithSim, QuitLeavesTheFlightNotRunning)
{
    connect({"--user", "47.0,8.0"});
    sim->control("quit");
    ASSERT_TRUE(eventually([] { return !simRunning; }));
    EXPECT_TRUE(gf_clientThreadAlive()); // it keeps dispatching until the session ends
    EXPECT_FALSE(exitInProgress);
}

TEST_F(LinkWithSim, CreationIsPairedByAtcIdReleasedAndFrozen)
{
    connect({"--user", "47.0,8.0", "--ground", "1000"});
    gf_queueCreate(request(liveId, "Airbus A320 Test", "TVO123", 1200));
    gf_queueCreate(request(staticId, "Boeing 737 Test", "PARK1*", 1010));
    ASSERT_TRUE(pumpUntil([&] { return take(MessageKind::staticCreated) == 1 && take(MessageKind::liveCreated) == 1; }));
    const SimMessage live = of(MessageKind::liveCreated)[0], parked = of(MessageKind::staticCreated)[0];
    EXPECT_EQ(live.id, liveId);
    EXPECT_NEAR(live.value2, 200.0, 1e-6); // its height above the ground
    EXPECT_EQ(parked.id, staticId);
    EXPECT_EQ(parked.value2, 0.0);

    const auto created = linesOf(sim->recording(), "created");
    ASSERT_EQ(created.size(), 2u);
    for (const auto& c : created) {
        const std::uint32_t object = c["objectId"];
        EXPECT_EQ(object, c["tail"] == "TVO123" ? live.objectId : parked.objectId);
        EXPECT_NEAR(c["heading"].get<double>(), kPi / 2, 1e-9);
    }
    // Released and frozen within the turn of the pairing; the freeze goes at the next frame.
    for (const std::uint32_t object : {live.objectId, parked.objectId}) {
        ASSERT_TRUE(eventually([&] { return lines("event", object).size() == 3; })) << object;
        EXPECT_EQ(lines("release", object).size(), 1u);
        const auto events = lines("event", object);
        EXPECT_EQ(events[0]["name"], "FREEZE_LATITUDE_LONGITUDE_SET");
        EXPECT_EQ(events[1]["name"], "FREEZE_ALTITUDE_SET");
        EXPECT_EQ(events[2]["name"], "FREEZE_ATTITUDE_SET");
        for (const auto& e : events) EXPECT_EQ(e["data"], 1);
    }
    // Each creation is announced once.
    pumpUntil([&] { return true; });
    EXPECT_EQ(take(MessageKind::liveCreated), 1u);
    EXPECT_EQ(take(MessageKind::staticCreated), 1u);
}

TEST_F(LinkWithSim, UnknownTitleIsRefusedWithMessage6)
{
    writeFile(dir / "titles.txt", "Airbus A320 Test\n");
    connect({"--user", "47.0,8.0", "--titles", (dir / "titles.txt").string()});
    gf_queueCreate(request(liveId, "Nobody Has This Livery", "NOPE1", 1000));
    gf_queueCreate(request(staticId, "Nor This One", "NOPE2*", 10));
    ASSERT_TRUE(pumpUntil([&] { return take(MessageKind::createFailed) == 2; }));
    std::set<std::uint32_t> ids;
    for (const auto& m : of(MessageKind::createFailed)) ids.insert(m.id);
    EXPECT_EQ(ids, (std::set<std::uint32_t>{liveId, staticId}));
    EXPECT_TRUE(createsInFlight.empty());
    EXPECT_EQ(take(MessageKind::liveCreated), 0u);
}

TEST_F(LinkWithSim, TheObjectLimitIsReportedAndRefused)
{
    connect({"--user", "47.0,8.0", "--max-objects", "1"});
    createLive("FIRST1");
    gf_queueCreate(request(liveId + 1, "Airbus A320 Test", "SECOND", 1000));
    ASSERT_TRUE(pumpUntil([&] { return take(MessageKind::createFailed) == 1; }));
    EXPECT_EQ(of(MessageKind::createFailed)[0].id, liveId + 1);
    EXPECT_GE(countInLog("SimConnect: too many objects (max 1000)"), 1);
}

TEST_F(LinkWithSim, RemovalEndsWithMessage2)
{
    connect({"--user", "47.0,8.0"});
    const std::uint32_t object = createLive("REM123");
    ASSERT_NE(object, 0u);
    gf_queueRemove(object);
    gf_queueRemove(1); // the user aircraft is never removed
    ASSERT_TRUE(pumpUntil([&] { return take(MessageKind::removed) == 1; }));
    EXPECT_EQ(of(MessageKind::removed)[0].objectId, object);
    EXPECT_EQ(lines("removed", object).size(), 1u);
    EXPECT_TRUE(linesOf(sim->recording(), "remove").size() == 1u);
    // Removals leave at most ten a second: the second one follows.
    EXPECT_TRUE(pumpUntil([&] { return countInLog("!Simconnect call to remove AI ac with objectId 1") == 1; }));
}

TEST_F(LinkWithSim, PositionsGoOutAtTheFrameButNeverToTheUser)
{
    connect({"--user", "47.0,8.0"});
    const std::uint32_t object = createLive("POS123");
    ASSERT_NE(object, 0u);
    const PositionUpdate pose{47.01, 8.02, -0.03, 0.1, 2.5, 3300.0, -12.0, 180.0, object};
    gf_appendPosition(PositionUpdate{10, 10, 0, 0, 0, 100, 0, 0, 1});
    gf_appendPosition(pose);
    lf_swapPositions();
    ASSERT_TRUE(eventually([&] { return !lines("position", object).empty(); }));
    const auto p = lines("position", object)[0];
    EXPECT_DOUBLE_EQ(p["lat"].get<double>(), pose.lat);
    EXPECT_DOUBLE_EQ(p["lon"].get<double>(), pose.lon);
    EXPECT_DOUBLE_EQ(p["pitch"].get<double>(), pose.pitch);
    EXPECT_DOUBLE_EQ(p["bank"].get<double>(), pose.bank);
    EXPECT_DOUBLE_EQ(p["heading"].get<double>(), pose.heading);
    EXPECT_DOUBLE_EQ(p["alt"].get<double>(), pose.altitudeFt);
    EXPECT_DOUBLE_EQ(p["vs"].get<double>(), pose.verticalSpeedFps);
    EXPECT_DOUBLE_EQ(p["tas"].get<double>(), pose.airspeedKt);
    EXPECT_TRUE(lines("position", 1).empty());
}

TEST_F(LinkWithSim, EventsKeepTheirOrderAndFlapsReleaseTwice)
{
    connect({"--user", "47.0,8.0"});
    const std::uint32_t object = createLive("EVT123");
    ASSERT_NE(object, 0u);
    ASSERT_TRUE(eventually([&] { return lines("event", object).size() == 3; })); // the freeze
    ActCore r;
    r.objectId = object;
    r.classId = 2;
    gf_setFlaps(r, 1);
    gf_setFlaps(r, 3);
    gf_setThrottle(r, 4);
    gf_setLights(object, LightSet{1, 1, 0, 0, 0, 1, 0});
    ASSERT_TRUE(eventually([&] { return lines("event", object).size() == 3 + 3 + 7; }));
    const auto events = lines("event", object);
    const std::vector<std::string> names = {"FLAPS_SET", "FLAPS_SET", "THROTTLE_SET", "NAV_LIGHTS_SET",
                                            "BEACON_LIGHTS_SET", "LANDING_LIGHTS_SET", "TAXI_LIGHTS_SET",
                                            "STROBES_SET", "LOGO_LIGHTS_SET", "CABIN_LIGHTS_SET"};
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(events[3 + i]["name"], names[i]) << i;
    EXPECT_EQ(events[3]["data"], 3072);
    EXPECT_EQ(events[4]["data"], 16383);
    EXPECT_EQ(events[5]["data"], 16383);
    EXPECT_EQ(lines("release", object).size(), 1u + 4u); // the freeze's, then two for each flaps event
    const auto st = sim->state()["objects"][0];
    EXPECT_EQ(st["lights"], 0x1 | 0x2 | 0x100);
}

TEST_F(LinkWithSim, StaticShapeAndControlsReachTheirObject)
{
    connect({"--user", "47.0,8.0"});
    const std::uint32_t object = createLive("CG1234");
    ASSERT_NE(object, 0u);
    gf_requestStaticCg(object);
    ASSERT_TRUE(pumpUntil([&] { return take(MessageKind::staticData) == 1; }));
    const SimMessage shape = of(MessageKind::staticData)[0];
    EXPECT_EQ(shape.objectId, object);
    EXPECT_GE(shape.value1, 1.0);
    EXPECT_LE(shape.value1, 35.0);
    gf_setControls(object, 100, -100, -100);
    ASSERT_TRUE(eventually([&] { return !lines("data", object).empty(); }));
    const auto fields = lines("data", object)[0]["fields"];
    EXPECT_EQ(fields["SPOILERS HANDLE POSITION"], 100.0);
    EXPECT_EQ(fields["GENERAL ENG THROTTLE LEVER POSITION:2"], -100.0);
}

TEST_F(LinkWithSim, TeleportOverTenMilesRestartsAfter45Seconds)
{
    connect({"--user", "47.0,8.0"});
    sim->control("teleport", "lat=47.5&lon=8.0");
    ASSERT_TRUE(eventually([] {
        gf_requestUserPosition();
        return exitInProgress.load();
    }));
    EXPECT_EQ(exitReason, RESTART);
    EXPECT_EQ(countInLog("Teleport"), 1);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(countInLog("Restarting after 45 seconds"), 1);
}

TEST_F(LinkWithSim, ThirdRequestFailureStopsTheLinkAndRestartsAfter10Seconds)
{
    connect({"--user", "47.0,8.0"});
    sim->control("refuse", "count=3");
    ASSERT_TRUE(eventually([] {
        gf_requestAircraftInRange(aiRequestRadius);
        gf_requestUserPosition();
        return simRequestsOff.load();
    }));
    EXPECT_EQ(simRequestFailures, 3);
    EXPECT_EQ(exitReason, RESTART);
    EXPECT_EQ(countInLog("SimConnect request error 3, see Log.txt"), 1);
    EXPECT_GE(countInLog("SimConnect request ac within range fails") +
                  countInLog("===> SimConnect request user ac position fails"), 3);
    ASSERT_TRUE(eventually([] { return !gf_finalExitRunning(); }));
    EXPECT_EQ(countInLog("Restarting after 10 seconds"), 1);
}

TEST_F(LinkWithSim, AfterTheThirdFailureQueuedCreationsVanish)
{
    connect({"--user", "47.0,8.0"});
    simRequestsOff = true; // as the third failure leaves it
    gf_queueCreate(request(liveId, "Airbus A320 Test", "GONE12", 1000));
    ASSERT_TRUE(eventually([] {
        std::lock_guard lock(simLock);
        return createList.empty();
    }));
    sim->control("run"); // one more round trip: anything sent would be recorded by now
    EXPECT_TRUE(linesOf(sim->recording(), "create").empty());
    EXPECT_EQ(take(MessageKind::createFailed), 0u);
    EXPECT_EQ(take(MessageKind::liveCreated), 0u);
}

TEST_F(LinkWithSim, ChangingTheAircraftRestartsAfter45Seconds)
{
    connect({"--user", "47.0,8.0"});
    sim->control("aircraft", "title=Another%20Aircraft");
    ASSERT_TRUE(eventually([] { return exitInProgress.load(); }));
    EXPECT_EQ(exitReason, RESTART);
    EXPECT_EQ(countInLog("===> New file loaded"), 1);
}


TEST_F(LinkWithSim, RefusedReleaseOfControlCountsAsFailedRequest)
{
    connect({"--user", "47.0,8.0"});
    const std::uint32_t object = createLive("REL123");
    ASSERT_NE(object, 0u);
    ASSERT_TRUE(eventually([&] { return lines("event", object).size() == 3; })); // the freeze went out
    const std::int32_t before = simRequestFailures;
    sim->control("refuse", "count=1");
    ActCore r;
    r.objectId = object;
    r.classId = 2;
    // A flaps event is released before it is sent: the first refused call is that release.
    int index = 0;
    ASSERT_TRUE(eventually([&] {
        gf_setFlaps(r, ++index % 4);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return simRequestFailures > before;
    }));
    EXPECT_EQ(simRequestFailures, before + 1);
    EXPECT_EQ(countInLog("SimConnect TransmitClientEvent"), 0); // the event itself went out
}

} // namespace
} // namespace orv::test
