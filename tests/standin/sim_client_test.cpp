// The stand-in client library against a real tavo-sim process: the stand-in's own contract, where TAVO's link
// tests (tests/sim) do not already show it: pause, by-type replies and the recording, bad calls and their
// exceptions, the control actions, a scenario, the ends of a connection, and the C boundary that a dispatch
// function cannot throw through.
#include "sim/simconnect_api.h"
#include "tests/standin/sim_process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <numbers>
#include <set>
#include <stdexcept>
#include <thread>

namespace orv::test {
namespace {

constexpr double kPi = std::numbers::pi;
enum : DWORD { kEvSim = 1, kEvAdded, kEvFrame, kDefGround = 10, kDefOne, kReq = 50 };

using Data = SIMCONNECT_RECV_SIMOBJECT_DATA;

/// The field of a data record's block at byte OFFSET.
template <typename T>
T field(const Data* D, std::size_t OFFSET)
{
    T v;
    std::memcpy(&v, reinterpret_cast<const char*>(&D->dwData) + OFFSET, sizeof v);
    return v;
}

/// A client connection that keeps every record it dispatches.
struct Client {
    HANDLE h = nullptr;
    std::vector<std::vector<char>> got;

    ~Client()
    {
        if (h != nullptr) SimConnect_Close(h);
    }
    static void onRecord(SIMCONNECT_RECV* P, DWORD CB, void* CTX)
    {
        const char* raw = reinterpret_cast<const char*>(P);
        static_cast<Client*>(CTX)->got.emplace_back(raw, raw + CB);
    }
    /// Dispatches until PRED holds; false when the simulator never got there.
    bool until(const std::function<bool()>& PRED)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
        for (; std::chrono::steady_clock::now() < deadline; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
            SimConnect_CallDispatch(h, onRecord, this);
            if (PRED()) return true;
        }
        return false;
    }
    /// Opens the connection, waits for its OPEN record and subscribes to the events the tests use.
    bool open()
    {
        if (SimConnect_Open(&h, "TAVO", nullptr, 0, nullptr, 0) != S_OK) return false;
        SimConnect_SubscribeToSystemEvent(h, kEvSim, "Sim");
        SimConnect_SubscribeToSystemEvent(h, kEvAdded, "ObjectAdded");
        return until([&] { return !all<SIMCONNECT_RECV_OPEN>(SIMCONNECT_RECV_ID_OPEN).empty(); });
    }
    template <typename T = SIMCONNECT_RECV>
    std::vector<const T*> all(DWORD ID) const
    {
        std::vector<const T*> out;
        for (const auto& r : got)
            if (reinterpret_cast<const SIMCONNECT_RECV*>(r.data())->dwID == ID)
                out.push_back(reinterpret_cast<const T*>(r.data()));
        return out;
    }
    /// The data of the events EVENT: Sim's state, or the object ObjectAdded announces.
    std::vector<DWORD> events(DWORD EVENT) const
    {
        std::vector<DWORD> out;
        for (DWORD id : {SIMCONNECT_RECV_ID_EVENT, SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE})
            for (const auto* e : all<SIMCONNECT_RECV_EVENT>(id))
                if (e->uEventID == EVENT) out.push_back(e->dwData);
        return out;
    }
    std::vector<const Data*> replies() const
    {
        auto out = all<Data>(SIMCONNECT_RECV_ID_SIMOBJECT_DATA);
        for (const Data* d : all<Data>(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE)) out.push_back(d);
        return out;
    }
    bool refused(DWORD SEND_ID, DWORD EXCEPTION) const
    {
        for (const auto* e : all<SIMCONNECT_RECV_EXCEPTION>(SIMCONNECT_RECV_ID_EXCEPTION))
            if (e->dwSendID == SEND_ID && e->dwException == EXCEPTION) return true;
        return false;
    }
    DWORD lastSendId() const
    {
        DWORD id = 0;
        SimConnect_GetLastSentPacketID(h, &id);
        return id;
    }
    /// Creates an aircraft heading east; answers the call's packet id.
    DWORD create(const char* TITLE, const char* TAIL, double LAT = 47, double LON = 8, double ALT = 0)
    {
        EXPECT_EQ(SimConnect_AICreateNonATCAircraft(h, TITLE, TAIL, {LAT, LON, ALT, 0, 0, 90, 0, 0}, 104), S_OK);
        return lastSendId();
    }
};

class SimClient : public ::testing::Test {
protected:
    TempDir dir;
    std::unique_ptr<SimProcess> sim;
    Client client;

    void start(std::vector<std::string> ARGS = {})
    {
        ARGS.insert(ARGS.begin(), {"--user", "47.0,8.0"});
        sim = std::make_unique<SimProcess>(dir.path(), std::move(ARGS));
        sim->writeConfig(dir.path());
        ASSERT_TRUE(client.open());
    }
};

TEST_F(SimClient, WhilePausedFramesGoOnButTheClockAndPeriodicDataStop)
{
    start({"--paused"});
    const double pausedAt = sim->state()["t"];
    SimConnect_AddToDataDefinition(client.h, kDefOne, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64);
    SimConnect_RequestDataOnSimObject(client.h, kReq, kDefOne, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_SECOND);
    SimConnect_SubscribeToSystemEvent(client.h, kEvFrame, "Frame");
    ASSERT_TRUE(client.until([&] { return client.all(SIMCONNECT_RECV_ID_EVENT_FRAME).size() >= 40; }));
    EXPECT_TRUE(client.replies().empty());
    EXPECT_EQ(sim->state()["t"].get<double>(), pausedAt);
    sim->control("run");
    ASSERT_TRUE(client.until([&] { return client.replies().size() >= 2; }));
    EXPECT_EQ(field<std::int64_t>(client.replies()[0], 0), 1); // parked
    EXPECT_EQ(client.events(kEvSim), (std::vector<DWORD>{0, 1})); // told at once on subscription, then the change
}

TEST_F(SimClient, ByTypeRepliesComeForTheAircraftWithinTheRadiusAndTheRecordingRunsInTime)
{
    start({"--ground", "1200"});
    for (const char* v : {"Plane Alt Above Ground", "Ground Altitude"})
        SimConnect_AddToDataDefinition(client.h, kDefGround, v, "feet");
    SimConnect_AddToDataDefinition(client.h, kDefGround, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64);
    SimConnect_AddToDataDefinition(client.h, kDefGround, "ATC ID", nullptr, SIMCONNECT_DATATYPE_STRING32);
    client.create("Airbus A320 Test", "SWR12", 47.001, 8.001, 1210);
    client.create("Boeing 737 Test", "DLH4", 47.01, 8.0, 5000);
    client.create("Boeing 737 Test", "FAR1", 49.0, 8.0, 1210); // 120 nm away
    ASSERT_TRUE(client.until([&] { return client.events(kEvAdded).size() == 3; }));
    SimConnect_RequestDataOnSimObjectType(client.h, kReq, kDefGround, 20'000, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    ASSERT_TRUE(client.until([&] { return client.replies().size() == 3; })); // the user and the two within 20 km
    std::map<std::string, std::tuple<double, double, std::int64_t>> byTail; // above ground, ground, on ground
    for (const Data* d : client.replies())
        byTail[reinterpret_cast<const char*>(&d->dwData) + 24] = {field<double>(d, 0), field<double>(d, 8),
                                                                   field<std::int64_t>(d, 16)};
    using Row = std::tuple<double, double, std::int64_t>;
    EXPECT_EQ(byTail, (decltype(byTail){{"SWR12", Row{10, 1200, 1}}, {"DLH4", Row{3800, 1200, 0}},
                                        {"N12345", Row{6, 1200, 1}}})); // parked at their heights
    double last = 0;
    for (const auto& l : sim->recording()) {
        ASSERT_TRUE(l.contains("t") && l.contains("kind") && l.contains("objectId")) << l;
        EXPECT_GE(l["t"].get<double>(), last);
        last = l["t"];
    }
}

TEST_F(SimClient, BadCallsComeBackAsExceptionsWithTheirPacketIds)
{
    start();
    SimConnect_AddToDataDefinition(client.h, kDefOne, "Plane Latitude", "degree");
    const float tooShort = 1;
    const std::pair<std::function<void()>, DWORD> calls[] = {
        {[&] { SimConnect_SubscribeToSystemEvent(client.h, 99, "NoSuchEvent"); },
         SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED},
        {[&] { SimConnect_RequestDataOnSimObject(client.h, 97, 12345, 1, SIMCONNECT_PERIOD_ONCE); },
         SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID},
        {[&] { SimConnect_RequestDataOnSimObject(client.h, 96, kDefOne, 4242, SIMCONNECT_PERIOD_ONCE); },
         SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID},
        {[&] { SimConnect_SetDataOnSimObject(client.h, kDefOne, 1, 0, 0, 4, const_cast<float*>(&tooShort)); },
         SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE},
        {[&] { SimConnect_AIRemoveObject(client.h, 1, 105); }, SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE},
        {[&] { SimConnect_AIRemoveObject(client.h, 4242, 105); }, SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID},
    };
    std::vector<DWORD> sent;
    for (const auto& [call, exception] : calls) {
        call();
        sent.push_back(client.lastSendId());
    }
    ASSERT_TRUE(client.until([&] { return client.all(SIMCONNECT_RECV_ID_EXCEPTION).size() >= sent.size(); }));
    for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_TRUE(client.refused(sent[i], calls[i].second)) << i;
}

struct ControlCase {
    const char* action;
    const char* query;
    const char* pointer;  ///< into the state the answer carries; null: the action is refused
    nlohmann::json value;
};

TEST_F(SimClient, ControlActionsChangeTheStateOrAreRefused)
{
    start();
    const ControlCase cases[] = {
        {"pause", "", "/running", false},
        {"run", "", "/running", true},
        {"fps", "value=60", "/fps", 60.0},
        {"ground", "ft=250", "/ground", 250.0},
        {"move", "speed=15&heading=90", "/user/groundSpeed", 15.0},
        {"teleport", "lat=48.5&lon=9.25&alt=8000&heading=180&speed=250", "/user/alt", 8000.0},
        {"teleport", "lat=48.5&lon=9.25&alt=8000&heading=180&speed=250", "/user/heading", kPi},
        {"teleport", "lat=48.5&lon=9.25&alt=8000&heading=180&speed=250", "/user/groundSpeed", 250.0},
        {"teleport", "lat=47&lon=8", "/user/onGround", true}, // without an altitude: parked
        {"aircraft", "title=Other%20Plane&model=B738", "/user/atcModel", "B738"},
        {"nonsense", "", nullptr, {}},
        {"teleport", "lat=47", nullptr, {}},
        {"teleport", "lat=95&lon=8", nullptr, {}},
        {"fps", "value=0", nullptr, {}},
        {"move", "speed=fast", nullptr, {}},
    };
    for (const auto& c : cases) {
        if (c.pointer == nullptr) {
            EXPECT_THROW(sim->control(c.action, c.query), std::runtime_error) << c.action << "?" << c.query;
        } else {
            const auto state = nlohmann::json::parse(sim->control(c.action, c.query));
            EXPECT_EQ(state.at(nlohmann::json::json_pointer(c.pointer)), c.value) << c.action;
        }
    }
    EXPECT_EQ(sim->state()["fps"], 60.0); // the refused ones changed nothing
}

TEST_F(SimClient, AScenarioMovesTheUserOnTheSimulatorsClock)
{
    writeFile(dir / "scenario.txt", "0.2 move speed=3600 heading=90\n"
                                    "0.3 nonsense\n" // reported, and the flight goes on
                                    "1.2 pause\n");
    start({"--scenario", (dir / "scenario.txt").string()});
    ASSERT_TRUE(client.until([&] { return client.events(kEvSim).size() == 2; }));
    EXPECT_EQ(client.events(kEvSim)[1], 0u);
    const auto st = sim->state();
    EXPECT_FALSE(st["running"]);
    // One nautical mile a second for about one second, due east.
    EXPECT_NEAR(st["user"]["lat"].get<double>(), 47.0, 1e-6);
    EXPECT_GT(st["user"]["lon"].get<double>(), 8.0 + 0.5 / 60 / std::cos(47.0 * kPi / 180));
    EXPECT_LT(st["user"]["lon"].get<double>(), 8.0 + 1.5 / 60 / std::cos(47.0 * kPi / 180));
}

TEST_F(SimClient, QuitTerminationAndLossOfTheConnectionArriveAsOneQuitToEveryClient)
{
    for (const std::string end : {"quit", "drop", "SIGTERM"}) {
        SCOPED_TRACE(end);
        TempDir folder;
        SimProcess process(folder.path(), {"--user", "47.0,8.0", "--app-name", "Other Sim 7"});
        process.writeConfig(folder.path());
        Client first, second;
        ASSERT_TRUE(first.open() && second.open());
        EXPECT_STREQ(first.all<SIMCONNECT_RECV_OPEN>(SIMCONNECT_RECV_ID_OPEN)[0]->szApplicationName, "Other Sim 7");
        first.create("Any Airliner", "END1");
        ASSERT_TRUE(first.until([&] { return !first.events(kEvAdded).empty(); }));
        if (end == "SIGTERM") EXPECT_EQ(process.stop(), 0);
        else process.control(end);
        for (Client* c : {&first, &second}) {
            ASSERT_TRUE(c->until([&] { return !c->all(SIMCONNECT_RECV_ID_QUIT).empty(); }));
            EXPECT_NE(SimConnect_CallDispatch(c->h, Client::onRecord, c), S_OK); // the stream has ended
            EXPECT_EQ(c->all(SIMCONNECT_RECV_ID_QUIT).size(), 1u);
            EXPECT_NE(SimConnect_RequestDataOnSimObject(c->h, kReq, kDefOne, 1, SIMCONNECT_PERIOD_ONCE), S_OK);
        }
        if (end == "SIGTERM") continue;
        if (end == "drop") { // a client's objects go with it
            EXPECT_TRUE(process.state()["objects"].empty());
            EXPECT_EQ(linesOf(process.recording(), "removed").size(), 1u);
        }
        EXPECT_EQ(process.stop(), 0);
    }
}

/// A dispatch function that throws at the first record of ID.
struct Thrower {
    DWORD id;
    static void onRecord(SIMCONNECT_RECV* P, DWORD, void* CTX)
    {
        if (P->dwID == static_cast<Thrower*>(CTX)->id) throw std::runtime_error("from the dispatch");
    }
};

using SimClientDeathTest = SimClient;

TEST_F(SimClientDeathTest, AThrowFromTheDispatchEndsTheProcessAsTheCLibraryWould)
{
    start();
    SimConnect_SubscribeToSystemEvent(client.h, kEvSim, "Sim"); // told at once
    Thrower thrower{SIMCONNECT_RECV_ID_EVENT};
    // The forked child dispatches until the event comes and its handler throws.
    EXPECT_DEATH(
        {
            for (int i = 0; i < 10000; ++i) {
                SimConnect_CallDispatch(client.h, Thrower::onRecord, &thrower);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        },
        "the dispatch function threw: from the dispatch");
}

} // namespace
} // namespace orv::test
