// The simulator link against a real tavo-sim: connecting, the flight's state, creation paired by ATC ID and frozen,
// refusal, removal, positions and events at the frame, and the restarts (teleport, new flight, third failure).
#include "tests/sim/sim_link_support.h"
#include "tests/standin/sim_process.h"

#include "core/window_state.h"
#include "feed/feed.h"
#include "traffic/motion.h"

#include <numbers>
#include <set>

namespace orv::test {
namespace {

using enum MessageKind;

constexpr std::uint32_t liveId = 0xA1B2C3;
constexpr std::uint32_t staticId = 4711;
const std::string knownTitle = "Airbus A320 Test";

class LinkWithSim : public LinkTest {
protected:
    std::unique_ptr<SimProcess> sim; ///< outlives the client thread, which TearDown stops

    /// Starts the simulator and the client thread, and waits as the start-up
    /// does until the flight runs and the user's position is known.
    void connect(std::vector<std::string> ARGS = {})
    {
        ARGS.insert(ARGS.begin(), {"--user", "47.0,8.0"});
        sim = std::make_unique<SimProcess>(dir.path(), std::move(ARGS));
        sim->writeConfig(dir.path());
        aiRequestRadius = 20'000;
        gf_startClientThread();
        ASSERT_TRUE(eventually([] { return simRunning.load(); }));
        ASSERT_TRUE([] { std::lock_guard lock(simLock); return gf_requestSimOnGround(); }()); // the start-up's
        ASSERT_TRUE(pumpUntil([] { return userGroundKnown.load(); })); // known once there is a position
    }
    /// What the engine does each pass, as far as the link sees it: the
    /// requests for aircraft in range and the user's position.
    static bool pumpUntil(const std::function<bool()>& DONE)
    {
        return eventually([&] {
            gf_requestAircraftInRange(aiRequestRadius);
            gf_requestUserPosition();
            return DONE();
        });
    }
    static CreateRequest request(std::uint32_t ID, const std::string& TAIL, const std::string& TITLE = knownTitle)
    {
        return CreateRequest{ID, TITLE, TAIL, {47.001, 8.001}, 1200, std::numbers::pi / 2, 0, 0, false};
    }
    /// Creates a live aircraft; answers its object id once its freeze went out.
    std::uint32_t createLive(const std::string& TAIL)
    {
        gf_queueCreate(request(liveId, TAIL));
        std::vector<SimMessage> created;
        EXPECT_TRUE(pumpUntil([&] { return !(created = take(liveCreated)).empty(); }));
        const std::uint32_t object = created.empty() ? 0 : created[0].objectId;
        EXPECT_TRUE(eventually([&] { return events(object).size() == 3; }));
        return object;
    }
    std::vector<nlohmann::json> lines(const std::string& KIND, std::uint32_t OBJECT) const
    {
        auto out = linesOf(sim->recording(), KIND);
        std::erase_if(out, [&](const nlohmann::json& L) { return L["objectId"] != OBJECT; });
        return out;
    }
    /// The client events the simulator recorded for OBJECT: name and data.
    std::vector<std::pair<std::string, int>> events(std::uint32_t OBJECT) const
    {
        std::vector<std::pair<std::string, int>> out;
        for (const auto& e : lines("event", OBJECT)) out.emplace_back(e["name"], e["data"]);
        return out;
    }
    /// Waits until the restart after SECONDS was announced and the exit is over.
    static void expectRestartAfter(int SECONDS)
    {
        const std::string text = "Restarting after " + std::to_string(SECONDS) + " seconds";
        EXPECT_TRUE(pumpUntil([&] { return countInLog(text) == 1 && !gf_finalExitRunning(); })) << text;
        EXPECT_EQ(exitReason, RESTART);
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
    EXPECT_EQ(countInLog("Waiting for MSFS 2020 ..."), 1); // once, however many tries
    EXPECT_EQ(countInLog("MSFS 2020 (11.0.282174.999) connected "), 1);
}

TEST_F(LinkTest, ARefusedSimulatorEndsTheClientWithItsError)
{
    // The refusal is thrown inside the dispatch, which the simulator's library
    // calls: it has to reach the client thread's handlers past that library.
    const struct {
        std::vector<std::string> args;
        const char* error;
    } cases[] = {{{"--sim", "2024"}, "71: MSFS 2024 is running"},
                 {{"--app-name", "Glider"}, "77: \"Glider\" not being MSFS 2020 or MSFS 2024 connects"}};
    for (const auto& c : cases) {
        gf_clearError();
        SimProcess sim(dir.path(), c.args, false);
        sim.writeConfig(dir.path());
        gf_startClientThread();
        ASSERT_TRUE(eventually([] { return !gf_clientThreadAlive(); })) << c.error;
        {
            std::lock_guard lock(statusMutex);
            EXPECT_EQ(errorText.rfind(c.error, 0), 0u) << errorText;
        }
        EXPECT_FALSE(simRunning) << c.error;
        EXPECT_FALSE(exitInProgress) << c.error; // the user answers; the session is not ended here
        EXPECT_TRUE(eventually([&] { return sim.state()["clients"] == 0; })) << c.error << ": connection left open";
    }
}

TEST_F(LinkWithSim, PauseAndRunOnlyStopAndContinueTheFlightAQuitOrADropStartsASessionThatWaitsAgain)
{
    connect();
    sim->control("pause");
    ASSERT_TRUE(eventually([] { return !simRunning; }));
    sim->control("run");
    ASSERT_TRUE(eventually([] { return simRunning.load(); }));
    secondDataReady = false;
    ASSERT_TRUE(eventually([] { return secondDataReady.load(); })); // the tick comes back in the same session
    EXPECT_FALSE(exitInProgress);
    // Users close and start the simulator all the time: the session ends,
    // and the next one waits for the simulator and connects to it anew.
    int restarts = 0;
    for (const std::string action : {"drop", "quit"}) {
        exitReason = NOT_YET_SET;
        sim->control(action);
        // No requests meanwhile: a refused one could restart the session first.
        ++restarts;
        EXPECT_TRUE(eventually([&] { return countInLog("Restarting after 2 seconds") == restarts && !gf_finalExitRunning(); }))
            << action;
        EXPECT_EQ(exitReason, RESTART) << action;
        EXPECT_FALSE(gf_clientThreadAlive()) << action;
        EXPECT_TRUE(simNotConnected) << action;
        if (action == "quit") {
            sim = std::make_unique<SimProcess>(dir.path(), std::vector<std::string>{"--user", "47.0,8.0"});
            sim->writeConfig(dir.path());
        }
        gf_startClientThread(); // what the next session's start-up does
        ASSERT_TRUE(eventually([] { return simRunning.load(); })) << action;
        EXPECT_TRUE(eventually([this] { return sim->state()["clients"] == 1; })) << action;
    }
    EXPECT_EQ(countInLog("Flight Simulator no longer connected, TAVO waits for it again ..."), 2);
    EXPECT_EQ(countInLog("Waiting for MSFS 2020 ..."), 3);
}

TEST_F(LinkWithSim, CreationIsPairedByAtcIdReleasedAndFrozen)
{
    connect({"--ground", "1000"});
    gf_queueCreate(request(liveId, "TVO123"));
    gf_queueCreate(request(staticId, "PARK1*"));
    ASSERT_TRUE(pumpUntil([&] { return take(staticCreated).size() + take(liveCreated).size() == 2; }));
    const SimMessage live = take(liveCreated).at(0), parked = take(staticCreated).at(0);
    EXPECT_EQ(live.id, liveId);
    EXPECT_NEAR(live.value2, 200.0, 1e-6); // its height above the ground
    EXPECT_EQ(parked.id, staticId);
    EXPECT_EQ(parked.value2, 0.0);
    for (const auto& c : linesOf(sim->recording(), "created")) {
        EXPECT_EQ(c["objectId"], c["tail"] == "TVO123" ? live.objectId : parked.objectId);
        EXPECT_NEAR(c["heading"].get<double>(), std::numbers::pi / 2, 1e-9);
    }
    // Released and frozen within the turn of the pairing; the freeze goes at the next frame.
    const std::vector<std::pair<std::string, int>> freeze = {
        {"FREEZE_LATITUDE_LONGITUDE_SET", 1}, {"FREEZE_ALTITUDE_SET", 1}, {"FREEZE_ATTITUDE_SET", 1}};
    for (const std::uint32_t object : {live.objectId, parked.objectId}) {
        ASSERT_TRUE(eventually([&] { return events(object).size() == 3; })) << object;
        EXPECT_EQ(events(object), freeze);
        EXPECT_EQ(lines("release", object).size(), 1u);
    }
    pumpUntil([] { return true; }); // each creation is announced once
    EXPECT_EQ(take(liveCreated).size() + take(staticCreated).size(), 2u);
}

TEST_F(LinkWithSim, RefusedCreationsEndWithMessage6ByTheirSendId)
{
    writeFile(dir / "titles.txt", knownTitle + "\n");
    connect({"--titles", (dir / "titles.txt").string(), "--max-objects", "2"});
    gf_queueCreate(request(liveId, "OK1"));
    gf_queueCreate(request(staticId, "NOPE1*", "Nobody Has This Livery"));
    gf_queueCreate(request(liveId + 1, "OK2"));
    gf_queueCreate(request(liveId + 2, "FULL1")); // the third object
    ASSERT_TRUE(pumpUntil([&] { return take(createFailed).size() + take(liveCreated).size() == 4; }));
    std::set<std::uint32_t> failed, created;
    for (const auto& m : take(createFailed)) failed.insert(m.id);
    for (const auto& m : take(liveCreated)) created.insert(m.id);
    EXPECT_EQ(failed, (std::set<std::uint32_t>{staticId, liveId + 2}));
    EXPECT_EQ(created, (std::set<std::uint32_t>{liveId, liveId + 1}));
    EXPECT_TRUE(createsInFlight.empty());
    EXPECT_GE(countInLog("SimConnect: too many objects (max 1000)"), 1);
}

TEST_F(LinkWithSim, RemovalEndsWithMessage2AndTheUserIsNeverRemoved)
{
    connect();
    const std::uint32_t object = createLive("REM123");
    gf_queueRemove(object);
    gf_queueRemove(0);
    gf_queueRemove(1); // the user aircraft
    // Removals leave at most ten a second: the last is through once the user's is logged.
    ASSERT_TRUE(pumpUntil([&] { return !take(removed).empty() && countInLog("AI ac with objectId 1") == 1; }));
    EXPECT_EQ(take(removed).size(), 1u);
    EXPECT_EQ(take(removed)[0].objectId, object);
    EXPECT_EQ(lines("removed", object).size(), 1u);
    EXPECT_EQ(linesOf(sim->recording(), "remove").size(), 1u);
    EXPECT_EQ(countInLog("call to remove AI ac with objectId 0"), 1);
}

TEST_F(LinkWithSim, PositionsGoOutAtTheFrameButNeverToTheUser)
{
    connect();
    const std::uint32_t object = createLive("POS123");
    const PositionUpdate pose{47.01, 8.02, -0.03, 0.1, 2.5, 3300.0, -12.0, 180.0, object};
    gf_appendPosition(PositionUpdate{10, 10, 0, 0, 0, 100, 0, 0, 1});
    gf_appendPosition(pose);
    lf_swapPositions();
    ASSERT_TRUE(eventually([&] { return !lines("position", object).empty(); }));
    const auto p = lines("position", object)[0];
    const std::pair<const char*, double> fields[] = {
        {"lat", pose.lat},         {"lon", pose.lon}, {"pitch", pose.pitch}, {"bank", pose.bank},
        {"heading", pose.heading}, {"alt", pose.altitudeFt}, {"vs", pose.verticalSpeedFps}, {"tas", pose.airspeedKt}};
    for (const auto& [key, value] : fields) EXPECT_DOUBLE_EQ(p[key].get<double>(), value) << key;
    EXPECT_TRUE(lines("position", 1).empty());
}

TEST_F(LinkWithSim, EventsGoOutOnChangeInOrderAndFlapsReleaseTwice)
{
    connect();
    const std::uint32_t object = createLive("EVT123");
    ActCore r;
    r.objectId = object;
    r.classId = 2;
    // Only changes are sent; "none" is remembered, not sent, and a helicopter has no flaps and no gear.
    for (const std::int32_t throttle : {throttleNone, 2, 2, throttleNone}) gf_setThrottle(r, throttle);
    EXPECT_EQ(r.throttleSetting, throttleNone);
    for (const std::int32_t flaps : {1, 1, 3}) gf_setFlaps(r, flaps);
    gf_setGear(r, false);
    ActCore helicopter = r;
    helicopter.classId = 5;
    gf_setFlaps(helicopter, 2);
    gf_setGear(helicopter, true);
    EXPECT_EQ(helicopter.flapsSetting, 3);
    gf_setLights(object, LightSet{1, 0, 1, 0, 1, 0, 1}); // the last: once it is there, all are
    ASSERT_TRUE(eventually([&] {
        const auto sent = events(object);
        return !sent.empty() && sent.back().first == "CABIN_LIGHTS_SET";
    }));
    const std::vector<std::pair<std::string, int>> expected = {
        {"FREEZE_LATITUDE_LONGITUDE_SET", 1}, {"FREEZE_ALTITUDE_SET", 1}, {"FREEZE_ATTITUDE_SET", 1},
        {"THROTTLE_SET", 8191}, {"FLAPS_SET", 3072}, {"FLAPS_SET", 16383}, {"GEAR_SET", 0},
        {"NAV_LIGHTS_SET", 1}, {"BEACON_LIGHTS_SET", 0}, {"LANDING_LIGHTS_SET", 1}, {"TAXI_LIGHTS_SET", 0},
        {"STROBES_SET", 1}, {"LOGO_LIGHTS_SET", 0}, {"CABIN_LIGHTS_SET", 1}};
    EXPECT_EQ(events(object), expected);
    EXPECT_EQ(lines("release", object).size(), 1u + 4u); // the freeze's, then two for each flaps event
}

TEST_F(LinkWithSim, StaticShapeAndControlsReachTheirObject)
{
    connect();
    const std::uint32_t object = createLive("CG1234");
    gf_requestStaticCg(object);
    ASSERT_TRUE(pumpUntil([&] { return !take(staticData).empty(); }));
    const SimMessage shape = take(staticData)[0];
    EXPECT_EQ(shape.objectId, object);
    EXPECT_GE(shape.value1, 1.0); // the height, not the pitch
    gf_setControls(object, 100, -100, -100);
    ASSERT_TRUE(eventually([&] { return !lines("data", object).empty(); }));
    const auto fields = lines("data", object)[0]["fields"];
    EXPECT_EQ(fields["SPOILERS HANDLE POSITION"], 100.0);
    EXPECT_EQ(fields["GENERAL ENG THROTTLE LEVER POSITION:2"], -100.0);
}

TEST_F(LinkWithSim, TeleportOverTenMilesRestartsAfter45Seconds)
{
    connect();
    sim->control("teleport", "lat=47.16&lon=8.0"); // 9.6 nm: no teleport yet
    ASSERT_TRUE(pumpUntil([] { return gf_userState().lat == 47.16; }));
    EXPECT_EQ(countInLog("Teleport"), 0);
    sim->control("teleport", "lat=47.33&lon=8.0"); // 10.2 nm on
    expectRestartAfter(45);
    EXPECT_EQ(countInLog("Teleport"), 1);
}

TEST_F(LinkWithSim, ANewFlightRestartsAfter45Seconds)
{
    connect();
    sim->control("aircraft", "title=Another%20Aircraft");
    expectRestartAfter(45);
    EXPECT_EQ(countInLog("===> New file loaded"), 1);
}

TEST_F(LinkWithSim, EverySessionEndClosesItsConnection)
{
    connect();
    const auto clients = [this] { return sim->state()["clients"].get<int>(); };
    // Three restarts, then an end for good: none may leave its connection open.
    for (const std::int32_t reason : {RESTART, RESTART_IPP, RESTART, USER_CLOSED_SIM}) {
        EXPECT_EQ(clients(), 1) << gf_exitReasonName(reason);
        gf_requestExit(reason, 1);
        ASSERT_TRUE(eventually([] { return !exitInProgress && !gf_finalExitRunning(); }));
        EXPECT_TRUE(eventually([&] { return clients() == 0; }))
            << gf_exitReasonName(reason) << " left " << clients() << " connection(s) open";
        if (reason == USER_CLOSED_SIM) break;
        exitReason = NOT_YET_SET;
        gf_startClientThread();
        ASSERT_TRUE(eventually([] { return simRunning.load(); }));
    }
}

TEST_F(LinkWithSim, ThirdRequestFailureStopsRequestsAndRestartsAfter10Seconds)
{
    connect();
    const std::uint32_t object = createLive("REL123");
    sim->control("refuse", "count=1");
    // A flaps event is released before it is sent: the first refused call is that release.
    ActCore r;
    r.objectId = object;
    int index = 0;
    ASSERT_TRUE(eventually([&] {
        gf_setFlaps(r, ++index % 4);
        return simRequestFailures == 1;
    }));
    ASSERT_TRUE(eventually([] { std::lock_guard lock(simLock); return eventQueue.empty(); })); // all went out
    EXPECT_EQ(countInLog("SimConnect TransmitClientEvent"), 0); // the event itself went out
    sim->control("refuse", "count=1");
    ASSERT_TRUE(pumpUntil([] { return simRequestFailures == 2; }));
    EXPECT_FALSE(simRequestsOff);
    EXPECT_EQ(exitReason, NOT_YET_SET);
    sim->control("refuse", "count=1");
    ASSERT_TRUE(pumpUntil([] { return simRequestsOff.load(); }));
    gf_simRequestFailed(); // a fourth is no new error
    expectRestartAfter(10);
    EXPECT_EQ(countInLog("SimConnect request error"), 1);
    EXPECT_EQ(countInLog("SimConnect request error 3, see Log.txt"), 1);
    EXPECT_EQ(countInLog("SimConnect request ac within range fails") +
                  countInLog("===> SimConnect request user ac position fails"), 2);
}

TEST_F(LinkWithSim, WithRequestsOffQueuedCreationsVanish)
{
    connect();
    simRequestsOff = true; // as the third failure leaves it
    gf_queueCreate(request(liveId, "GONE12"));
    ASSERT_TRUE(eventually([] { std::lock_guard lock(simLock); return createList.empty(); }));
    sim->control("run"); // one more round trip: anything sent would be recorded by now
    EXPECT_TRUE(linesOf(sim->recording(), "create").empty());
    EXPECT_TRUE(take(createFailed).empty());
    EXPECT_TRUE(take(liveCreated).empty());
}

} // namespace
} // namespace orv::test
